// cable_delivery_system_descriptor (0x44).
#include <tavel/delivery_descriptors.h>

#include "delivery_names.h"
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string fec_outer(unsigned code) { return code_name({"not defined", "no outer FEC", "RS(204/188)"}, code); }
std::string modulation(unsigned code)
{
    return code_name({"not defined", "16-QAM", "32-QAM", "64-QAM", "128-QAM", "256-QAM"}, code);
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    if (!p.has(0, 11)) {
        out["error"] = "needs 11 bytes";
        return;
    }
    // Frequency: 8 BCD digits of 100 Hz; symbol rate: 7 of 100 symbol/s.
    out["frequency_khz"] = p.u32(0) == 0xFFFFFFFFu ? json(kNotSignalled) : bcd_number(p.u32(0), 8, 1);
    out["fec_outer"] = fec_outer(p.u8(5) & 0x0F);
    out["modulation"] = modulation(p.u8(6));
    out["symbol_rate_ksym"] = bcd_number(p.u32(7) >> 4, 7, 1);
    out["fec_inner"] = fec_inner_name(p.u8(10) & 0x0F);

    // The headend's parser drops the last digit of both.
    auto lib = std::static_pointer_cast<tavel::DescriptorCableDeliverySystem>(library_reading(0x44, p));
    note_library(out, "frequency_khz", lib->frequency);
    note_library(out, "symbol_rate_ksym", lib->symbol_rate);
}

} // namespace

extern const DescriptorDecoder kCableDeliveryDecoder = {0x44, "cable_delivery_system", &decode};

} // namespace decode
} // namespace tavel_si
