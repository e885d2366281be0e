#include "platform/rf_channels_constants.h"

#include "platform/rf_plan_rows.h"

namespace tavel {
namespace thrift {
namespace coax {

namespace {

rfchannelsConstants build_plan()
{
    rfchannelsConstants plan;
    for (std::size_t i = 0; i < kRfPlanRowCount; ++i) {
        const RfPlanRow& row = kRfPlanRows[i];
        Band& band = plan.rfchannels[row.country][row.band_number];
        // Band fields repeat on every row of the band; the first row sets them.
        if (band.channels.empty()) {
            band.enabled = true;
            band.name = row.band_name;
            band.start_frequency = row.band_start_khz;
            band.stop_frequency = row.band_stop_khz;
            band.channel_bandwidth = row.channel_bandwidth_khz;
        }
        band.channels.push_back(Channel{row.centre_khz, row.channel_name, row.channel_bandwidth_khz});
    }
    return plan;
}

} // namespace

const rfchannelsConstants& rfchannels_constants()
{
    static const rfchannelsConstants plan = build_plan();
    return plan;
}

const rfchannelsConstants& g_rfchannels_constants = rfchannels_constants();

} // namespace coax
} // namespace thrift
} // namespace tavel
