// parental_rating_descriptor (0x55).
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

json rating(unsigned code)
{
    if (code == 0)
        return "undefined";
    if (code <= 0x0F)
        return "minimum age " + std::to_string(code + 3);
    return "defined by the broadcaster (" + hex_number(code, 2) + ")";
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    json list = json::array();
    for (size_t pos = 0; p.has(pos, 4); pos += 4) {
        const std::vector<char> country = p.slice(pos, 3);
        list.push_back({{"country", std::string(country.begin(), country.end())}, {"rating", rating(p.u8(pos + 3))}});
    }
    out["ratings"] = list;
}

} // namespace

extern const DescriptorDecoder kParentalRatingDecoder = {0x55, "parental_rating", &decode};

} // namespace decode
} // namespace tavel_si
