// cell_list_descriptor (0x6C): cells and subcells with their extent.
#include <cmath>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

// Signed 16-bit latitude (90 degrees / 2^15) or longitude (180 / 2^15).
json degrees(unsigned raw, double full_scale)
{
    const int value = raw >= 0x8000 ? static_cast<int>(raw) - 0x10000 : static_cast<int>(raw);
    return std::round(value * full_scale / 32768.0 * 10000.0) / 10000.0;
}

// 16-bit latitude, 16-bit longitude, 12-bit extents of each at pos.
void put_area(const Payload& p, size_t pos, json& out)
{
    out["latitude"] = degrees(p.u16(pos), 90.0);
    out["longitude"] = degrees(p.u16(pos + 2), 180.0);
    const uint32_t extents = p.u24(pos + 4);
    out["extent_of_latitude"] = std::round((extents >> 12) * 90.0 / 32768.0 * 10000.0) / 10000.0;
    out["extent_of_longitude"] = std::round((extents & 0xFFF) * 180.0 / 32768.0 * 10000.0) / 10000.0;
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    json cells = json::array();
    size_t pos = 0;
    while (p.has(pos, 10)) {
        json cell;
        cell["cell_id"] = p.u16(pos);
        put_area(p, pos + 2, cell);
        const size_t sub_end = pos + 10 + p.u8(pos + 9);
        json subcells = json::array();
        for (size_t s = pos + 10; s + 8 <= sub_end && p.has(s, 8); s += 8) {
            json sub;
            sub["cell_id_extension"] = p.u8(s);
            put_area(p, s + 1, sub);
            subcells.push_back(sub);
        }
        cell["subcells"] = subcells;
        cells.push_back(cell);
        pos = sub_end;
    }
    out["cells"] = cells;
}

} // namespace

extern const DescriptorDecoder kCellListDecoder = {0x6C, "cell_list", &decode};

} // namespace decode
} // namespace tavel_si
