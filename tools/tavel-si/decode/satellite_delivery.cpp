// satellite_delivery_system_descriptor (0x43).
#include <cstdio>

#include <tavel/delivery_descriptors.h>

#include "delivery_names.h"
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string polarisation(unsigned code) { return code_name({"H", "V", "L", "R"}, code); }
std::string roll_off(unsigned code) { return code_name({"0.35", "0.25", "0.20"}, code); }
std::string modulation_type(unsigned code) { return code_name({"auto", "QPSK", "8PSK", "16-QAM"}, code); }

// Tenths of a degree (4 BCD digits) and the west_east_flag.
json orbital_position(unsigned bcd, unsigned east)
{
    const json degrees = bcd_number(bcd, 4, 1);
    if (!degrees.is_number())
        return degrees;
    char buf[24];
    std::snprintf(buf, sizeof buf, "%.1f %s", degrees.get<double>(), east ? "E" : "W");
    return buf;
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    if (!p.has(0, 11)) {
        out["error"] = "needs 11 bytes";
        return;
    }
    // Frequency: 8 BCD digits of 10 kHz; symbol rate: 7 of 100 symbol/s.
    out["frequency_mhz"] = p.u32(0) == 0xFFFFFFFFu ? json(kNotSignalled) : bcd_number(p.u32(0), 8, 2);
    out["orbital_position"] = orbital_position(p.u16(4), p.u8(6) >> 7);
    out["polarisation"] = polarisation((p.u8(6) >> 5) & 3);
    const unsigned s2 = (p.u8(6) >> 2) & 1;
    out["roll_off"] = s2 ? roll_off((p.u8(6) >> 3) & 3) : "0.35 (DVB-S)";
    out["modulation_system"] = s2 ? "DVB-S2" : "DVB-S";
    out["modulation_type"] = modulation_type(p.u8(6) & 3);
    out["symbol_rate_ksym"] = bcd_number(p.u32(7) >> 4, 7, 1);
    out["fec_inner"] = fec_inner_name(p.u8(10) & 0x0F);

    // The headend's parser keeps whole MHz, six symbol rate digits and its
    // own polarisation reading; show them beside.
    auto lib = std::static_pointer_cast<tavel::DescriptorSatelliteDeliverySystem>(library_reading(0x43, p));
    note_library(out, "frequency_mhz", lib->frequency);
    note_library(out, "orbital_position", orbital_position(p.u16(4), lib->west_east_flag));
    note_library(out, "polarisation", polarisation(lib->polarization));
    note_library(out, "symbol_rate_ksym", lib->symbol_rate);
}

} // namespace

extern const DescriptorDecoder kSatelliteDeliveryDecoder = {0x43, "satellite_delivery_system", &decode};

} // namespace decode
} // namespace tavel_si
