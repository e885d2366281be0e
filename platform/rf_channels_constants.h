// Stand-in for the headend's generated interface of coaxial RF channels:
// the constant channel plan of every supported country, same shape as the
// generated code. All frequencies and bandwidths are in kHz.
#ifndef TAVEL_PLATFORM_RF_CHANNELS_CONSTANTS_H
#define TAVEL_PLATFORM_RF_CHANNELS_CONSTANTS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tavel {
namespace thrift {
namespace coax {

// Country numbers of the interface; they key the plan's country map.
enum Country : int32_t {
    ES = 1,
    FR = 2,
    GB = 3,
    AU = 4,
    IT = 5,
    PT = 6,
    GR = 7,
    NZ = 8,
    SE = 9,
    FI = 10,
    MV = 11,
    MX = 12,
    KR = 13,
    TW = 14,
    RU = 15,
};

struct Channel {
    int32_t frequency = 0; // centre frequency, kHz
    std::string name;      // as printed on the receivers, e.g. "21", "E5", "S12"
    int32_t bandwidth = 0; // kHz
};

struct Band {
    bool enabled = false;
    std::string name;
    int32_t start_frequency = 0;   // lower edge, kHz
    int32_t stop_frequency = 0;    // upper edge, kHz
    int32_t channel_bandwidth = 0; // kHz
    std::vector<Channel> channels; // in ascending frequency
};

// Country number to band number to band.
using RfChannelPlan = std::map<int32_t, std::map<int32_t, Band>>;

struct rfchannelsConstants {
    RfChannelPlan rfchannels;
};

// The plan, built on first use (a function-local static, so it is ready
// whenever it is asked for, even from another unit's static initialiser).
const rfchannelsConstants& rfchannels_constants();

// The name code written against the generated interface uses. It is bound
// during static initialisation of this library: from static initialisers
// elsewhere call rfchannels_constants() instead.
extern const rfchannelsConstants& g_rfchannels_constants;

} // namespace coax
} // namespace thrift
} // namespace tavel

#endif
