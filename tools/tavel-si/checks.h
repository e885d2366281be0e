// Checks of a headend description that catch the faults a field engineer
// would otherwise find on a receiver: outputs off the country's channel
// plan or on top of each other, channel numbers shared or out of range,
// names too long for their descriptor. Each refusal is one ConfigError.
#ifndef TAVEL_SI_CHECKS_H
#define TAVEL_SI_CHECKS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <tavel/rf_plans.h>

#include "config.h"

namespace tavel_si {

// An RF output as the plan check sees it.
struct OutputOnAir {
    std::string field; // "outputs[2]"
    uint32_t frequency_khz = 0;
    uint32_t width_khz = 0; // occupied width when off the plan
    bool off_plan = false;
};

// A channel of a plan near a frequency.
struct ChannelNear {
    std::string name;
    int32_t centre_khz = 0;
    int32_t bandwidth_khz = 0;
};

// Offsets (kHz from a channel centre) transmitters of a country use; the
// country handle is that of tavel::getThriftCountryHandle.
const std::vector<int32_t>& usual_offsets_khz(int country_handle);
// "±166, ±167 kHz", "+125 kHz" or "none".
std::string describe_offsets(const std::vector<int32_t>& offsets);
// The plan's channels whose span holds khz, in plan order.
std::vector<ChannelNear> channels_holding(tavel::spectrumInfo& plan, int64_t khz);
// The channel whose centre is nearest to khz (the first of equals); plan not empty.
ChannelNear nearest_channel(tavel::spectrumInfo& plan, int64_t khz);

// Country: alpha-3 of the description. Refuses an output off the plan
// (unless off_plan or on a usual offset) and two overlapping outputs.
void check_outputs_on_plan(const std::string& country, const std::vector<OutputOnAir>& outputs);

// field: "outputs[0].services[1].lcn". Refuses what the flavour cannot carry.
uint16_t checked_lcn(const std::string& field, uint64_t lcn, uint16_t flavour);

struct NumberedService {
    std::string field; // "outputs[0].services[1]"
    std::string name;
    uint16_t lcn = 0;
};
// Refuses two services with one number (0: no number) unless allowed.
void check_shared_lcns(const std::vector<NumberedService>& services, const std::set<uint16_t>& allowed);

// field: "outputs[0].services[1]". Refuses a name or provider whose
// service descriptor would pass 255 bytes.
void check_names_fit(const std::string& field, const std::string& name, const std::string& provider);

} // namespace tavel_si

#endif
