// content_descriptor (0x54): the genre of an event, level 1 by name.
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string genre(unsigned level1)
{
    if (level1 == 0x0F)
        return "user defined";
    return code_name({"undefined content", "movie/drama", "news/current affairs", "show/game show", "sports",
                      "children's/youth programmes", "music/ballet/dance", "arts/culture (without music)",
                      "social/political issues/economics", "education/science/factual topics",
                      "leisure hobbies", "special characteristics"},
                     level1);
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    json list = json::array();
    for (size_t pos = 0; p.has(pos, 2); pos += 2)
        list.push_back({{"level_1", hex_number(p.u8(pos) >> 4, 1) + " " + genre(p.u8(pos) >> 4)},
                        {"level_2", p.u8(pos) & 0x0F},
                        {"user_byte", hex_number(p.u8(pos + 1), 2)}});
    out["contents"] = list;
}

} // namespace

extern const DescriptorDecoder kContentDecoder = {0x54, "content", &decode};

} // namespace decode
} // namespace tavel_si
