// terrestrial_delivery_system_descriptor (0x5A).
#include <tavel/delivery_descriptors.h>

#include "delivery_names.h"
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string bandwidth(unsigned code) { return code_name({"8 MHz", "7 MHz", "6 MHz", "5 MHz"}, code); }
std::string constellation(unsigned code) { return code_name({"QPSK", "16-QAM", "64-QAM"}, code); }
std::string hierarchy(unsigned code)
{
    return code_name({"non-hierarchical, native interleaver", "alpha=1, native interleaver",
                      "alpha=2, native interleaver", "alpha=4, native interleaver",
                      "non-hierarchical, in-depth interleaver", "alpha=1, in-depth interleaver",
                      "alpha=2, in-depth interleaver", "alpha=4, in-depth interleaver"},
                     code);
}
std::string code_rate(unsigned code) { return code_name({"1/2", "2/3", "3/4", "5/6", "7/8"}, code); }
std::string guard_interval(unsigned code) { return code_name({"1/32", "1/16", "1/8", "1/4"}, code); }
std::string transmission_mode(unsigned code) { return code_name({"2k", "8k", "4k"}, code); }

void decode(const Payload& p, const DecodeContext&, json& out)
{
    if (!p.has(0, 11)) {
        out["error"] = "needs 11 bytes";
        return;
    }
    const uint32_t frequency = p.u32(0); // 10 Hz units
    out["frequency_khz"] = frequency == 0xFFFFFFFFu ? json(kNotSignalled) : number(frequency / 100.0);
    out["bandwidth"] = bandwidth(p.u8(4) >> 5);
    out["priority"] = (p.u8(4) & 0x10) ? "HP (or non-hierarchical)" : "LP";
    out["time_slicing"] = (p.u8(4) & 0x08) ? "not used" : "used";
    out["mpe_fec"] = (p.u8(4) & 0x04) ? "not used" : "used";
    out["constellation"] = constellation(p.u8(5) >> 6);
    out["hierarchy"] = hierarchy((p.u8(5) >> 3) & 7);
    out["code_rate_hp"] = code_rate(p.u8(5) & 7);
    out["code_rate_lp"] = code_rate(p.u8(6) >> 5);
    out["guard_interval"] = guard_interval((p.u8(6) >> 3) & 3);
    out["transmission_mode"] = transmission_mode((p.u8(6) >> 1) & 3);
    out["other_frequency"] = (p.u8(6) & 1) ? "in use" : "none";

    // The headend's parser keeps its own reading of byte 6; show it beside.
    auto lib = std::static_pointer_cast<tavel::DescriptorTerrestrialDeliverySystem>(library_reading(0x5A, p));
    note_library(out, "frequency_khz", lib->frequency);
    note_library(out, "hierarchy", hierarchy(lib->hierarchy_information));
    note_library(out, "code_rate_lp", code_rate(lib->code_rate_LP_stream));
    note_library(out, "guard_interval", "not read");
    note_library(out, "transmission_mode", "not read");
    // Without hierarchy there is no LP stream: whatever the field holds means nothing.
    if ((((p.u8(5) >> 3) & 7) & 3) == 0)
        out["code_rate_lp"] = "not applicable";
}

} // namespace

extern const DescriptorDecoder kTerrestrialDeliveryDecoder = {0x5A, "terrestrial_delivery_system", &decode};

} // namespace decode
} // namespace tavel_si
