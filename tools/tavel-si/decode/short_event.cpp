// short_event_descriptor (0x4D).
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext& ctx, json& out)
{
    const size_t name_length = p.u8(3);
    const size_t text_at = 4 + name_length;
    if (!p.has(0, text_at + 1) || !p.has(text_at + 1, p.u8(text_at))) {
        out["error"] = "texts run past the descriptor";
        return;
    }
    const std::vector<char> language = p.slice(0, 3);
    out["language"] = std::string(language.begin(), language.end());
    put_text(out, "event_name", p.slice(4, name_length), ctx);
    put_text(out, "text", p.slice(text_at + 1, p.u8(text_at)), ctx);
}

} // namespace

extern const DescriptorDecoder kShortEventDecoder = {0x4D, "short_event", &decode};

} // namespace decode
} // namespace tavel_si
