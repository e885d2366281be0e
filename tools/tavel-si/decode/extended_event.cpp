// extended_event_descriptor (0x4E): a long event text cut over several
// descriptors, numbered, with optional items (description, value).
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext& ctx, json& out)
{
    if (!p.has(0, 5) || !p.has(5, p.u8(4) + size_t{1})) {
        out["error"] = "items run past the descriptor";
        return;
    }
    out["descriptor_number"] = p.u8(0) >> 4;
    out["last_descriptor_number"] = p.u8(0) & 0x0F;
    const std::vector<char> language = p.slice(1, 3);
    out["language"] = std::string(language.begin(), language.end());
    const size_t items_end = 5 + p.u8(4);
    json items = json::array();
    for (size_t pos = 5; pos < items_end;) {
        const size_t description_length = p.u8(pos);
        const size_t value_at = pos + 1 + description_length;
        if (value_at >= items_end || value_at + 1 + p.u8(value_at) > items_end) {
            out["error"] = "an item runs past its loop";
            break;
        }
        json item;
        put_text(item, "description", p.slice(pos + 1, description_length), ctx);
        put_text(item, "item", p.slice(value_at + 1, p.u8(value_at)), ctx);
        items.push_back(item);
        pos = value_at + 1 + p.u8(value_at);
    }
    out["items"] = items;
    if (!p.has(items_end + 1, p.u8(items_end))) {
        out["error"] = "text runs past the descriptor";
        return;
    }
    put_text(out, "text", p.slice(items_end + 1, p.u8(items_end)), ctx);
}

} // namespace

extern const DescriptorDecoder kExtendedEventDecoder = {0x4E, "extended_event", &decode};

} // namespace decode
} // namespace tavel_si
