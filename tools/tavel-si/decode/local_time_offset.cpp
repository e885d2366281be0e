// local_time_offset_descriptor (0x58), through the library's class, which
// reads it as coded.
#include <cstdio>
#include <ctime>

#include <tavel/coding.h>
#include <tavel/network_descriptors.h>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string utc_text(uint64_t mjd_utc)
{
    if ((mjd_utc & 0xFFFFFFFFFFull) == 0xFFFFFFFFFFull)
        return "none";
    tm parts{};
    tavel::mjd_utc_to_gmt_time(mjd_utc, parts);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return buf;
}

// A BCD hhmm offset with its sign.
std::string offset_text(bool negative, unsigned bcd)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%c%02X:%02X", negative ? '-' : '+', (bcd >> 8) & 0xFF, bcd & 0xFF);
    return buf;
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    auto lto = std::static_pointer_cast<tavel::DescriptorLocalTimeOffset>(library_reading(0x58, p));
    json list = json::array();
    for (const auto& e : lto->offsets)
        list.push_back({{"country", e.country_code},
                        {"region", e.country_region_id},
                        {"offset", offset_text(e.local_time_offset_polarity, e.local_time_offset)},
                        {"time_of_change", utc_text(e.time_of_change)},
                        {"next_offset", offset_text(e.local_time_offset_polarity, e.next_time_offset)}});
    out["offsets"] = list;
}

} // namespace

extern const DescriptorDecoder kLocalTimeOffsetDecoder = {0x58, "local_time_offset", &decode};

} // namespace decode
} // namespace tavel_si
