// frequency_list_descriptor (0x62): further centre frequencies of a
// transport stream, coded as the coding_type says.
#include "delivery_names.h"
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext&, json& out)
{
    const unsigned coding = p.u8(0) & 3;
    out["coding_type"] = code_name({"not defined", "satellite", "cable", "terrestrial"}, coding);
    const char* unit = coding == 1 ? "frequencies_mhz" : "frequencies_khz";
    json list = json::array();
    for (size_t pos = 1; p.has(pos, 4); pos += 4) {
        const uint32_t f = p.u32(pos);
        if (f == 0xFFFFFFFFu)
            list.push_back(kNotSignalled);
        else if (coding == 1) // 8 BCD digits of 10 kHz
            list.push_back(bcd_number(f, 8, 2));
        else if (coding == 2) // 8 BCD digits of 100 Hz
            list.push_back(bcd_number(f, 8, 1));
        else if (coding == 3) // binary, 10 Hz
            list.push_back(number(f / 100.0));
        else
            list.push_back(hex_number(f, 8));
    }
    out[unit] = list;
}

} // namespace

extern const DescriptorDecoder kFrequencyListDecoder = {0x62, "frequency_list", &decode};

} // namespace decode
} // namespace tavel_si
