// The RF channel plan as flat rows, one per channel, generated at build time
// from rf/rf-plans.csv (see rf/make_rf_plan_table.cmake).
#ifndef TAVEL_PLATFORM_RF_PLAN_ROWS_H
#define TAVEL_PLATFORM_RF_PLAN_ROWS_H

#include <cstddef>
#include <cstdint>

#include "platform/rf_channels_constants.h"

namespace tavel {
namespace thrift {
namespace coax {

struct RfPlanRow {
    Country country;
    int32_t band_number;
    const char* band_name;
    int32_t band_start_khz;
    int32_t band_stop_khz;
    int32_t channel_bandwidth_khz;
    const char* channel_name;
    int32_t centre_khz;
};

extern const RfPlanRow kRfPlanRows[];
extern const std::size_t kRfPlanRowCount;

} // namespace coax
} // namespace thrift
} // namespace tavel

#endif
