// extension_descriptor (0x7F): named by descriptor_tag_extension; the T2
// delivery system (0x04) is decoded, the others shown in hex.
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string extension_name(unsigned tag)
{
    return code_name({"image_icon", "cpcm_delivery_signalling", "CP", "CP_identifier", "T2_delivery_system",
                      "SH_delivery_system", "supplementary_audio", "network_change_notify", "message",
                      "target_region", "target_region_name", "service_relocated", "XAIT_PID",
                      "C2_delivery_system", "DTS-HD_audio_stream", "DTS_Neural", "video_depth_range", "T2MI",
                      "reserved", "URI_linkage", "CI_ancillary_data", "AC-4", "C2_bundle_delivery_system",
                      "S2X_satellite_delivery_system", "protection_message", "audio_preselection"},
                     tag);
}

json centre_frequency(uint32_t ten_hz)
{
    return number(ten_hz / 100.0); // kHz
}

void decode_t2(const Payload& p, json& out)
{
    out["plp_id"] = p.u8(1);
    out["t2_system_id"] = p.u16(2);
    if (!p.has(4, 2))
        return;
    const unsigned a = p.u8(4), b = p.u8(5);
    out["siso_miso"] = code_name({"SISO", "MISO"}, a >> 6);
    out["bandwidth"] = code_name({"8 MHz", "7 MHz", "6 MHz", "5 MHz", "10 MHz", "1.712 MHz"}, (a >> 2) & 0x0F);
    out["guard_interval"] = code_name({"1/32", "1/16", "1/8", "1/4", "1/128", "19/128", "19/256"}, b >> 5);
    out["transmission_mode"] = code_name({"2k", "8k", "4k", "1k", "16k", "32k"}, (b >> 2) & 7);
    out["other_frequency"] = (b & 2) ? "in use" : "none";
    const bool tfs = b & 1;
    out["tfs"] = tfs;
    json cells = json::array();
    size_t pos = 6;
    while (p.has(pos, 2)) {
        json cell;
        cell["cell_id"] = p.u16(pos);
        pos += 2;
        json freqs = json::array();
        if (tfs) {
            const size_t end = pos + 1 + p.u8(pos);
            for (size_t f = pos + 1; f + 4 <= end && p.has(f, 4); f += 4)
                freqs.push_back(centre_frequency(p.u32(f)));
            pos = end;
        } else {
            if (p.has(pos, 4))
                freqs.push_back(centre_frequency(p.u32(pos)));
            pos += 4;
        }
        cell["centre_frequencies_khz"] = freqs;
        // Each cell ends in its subcell loop's length, even when empty.
        if (!p.has(pos, 1) || !p.has(pos + 1, p.u8(pos))) {
            cell["error"] = "cut short";
            cells.push_back(cell);
            break;
        }
        json subcells = json::array();
        const size_t sub_end = pos + 1 + p.u8(pos);
        for (size_t s = pos + 1; s + 5 <= sub_end && p.has(s, 5); s += 5)
            subcells.push_back({{"cell_id_extension", p.u8(s)}, {"transposer_frequency_khz", centre_frequency(p.u32(s + 1))}});
        if (!subcells.empty())
            cell["subcells"] = subcells;
        cells.push_back(cell);
        pos = sub_end;
    }
    out["cells"] = cells;
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    if (!p.has(0, 1)) {
        out["error"] = "no descriptor_tag_extension";
        return;
    }
    const unsigned ext = p.u8(0);
    out["extension"] = hex_number(ext, 2) + " " + extension_name(ext);
    if (ext == 0x04 && p.has(0, 4))
        decode_t2(p, out);
    else
        out["selector"] = hex_bytes(p.slice(1, p.size()));
}

} // namespace

extern const DescriptorDecoder kExtensionDecoder = {0x7F, "extension", &decode};

} // namespace decode
} // namespace tavel_si
