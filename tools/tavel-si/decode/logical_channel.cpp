// Logical channel number descriptors, private: 0x83 (10-bit numbers, or
// 14-bit ones under private data specifier 0x29), 0x87 (channel lists of
// 10-bit numbers) and 0x88 (the HD simulcast numbers of specifier 0x28).
#include <tavel/service_descriptors.h>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

constexpr uint32_t kFourteenBitSpecifier = 0x29;

// 4-byte entries from pos up to end.
json entries(const Payload& p, size_t pos, size_t end, bool fourteen_bits)
{
    json list = json::array();
    for (; pos + 4 <= end && p.has(pos, 4); pos += 4) {
        const unsigned number = p.u16(pos + 2) & (fourteen_bits ? 0x3FFF : 0x03FF);
        list.push_back({{"service_id", p.u16(pos)}, {"visible", (p.u8(pos + 2) & 0x80) != 0}, {"lcn", number}});
    }
    return list;
}

// The headend's parser keeps the low 8 bits; note its reading per entry.
void note_library_entries(json& list, const Payload& p, unsigned tag)
{
    auto lib = std::static_pointer_cast<tavel::DescriptorLCN>(library_reading(tag, p));
    for (size_t i = 0; i < list.size() && i < lib->services.size(); ++i) {
        if (list[i]["service_id"] != lib->services[i].service_id)
            break;
        note_library(list[i], "lcn", lib->services[i].logical_channel_number);
        note_library(list[i], "visible", lib->services[i].visible_service_flag != 0);
    }
}

void decode_v1(const Payload& p, const DecodeContext& ctx, json& out)
{
    const bool fourteen = ctx.private_data_specifier == kFourteenBitSpecifier;
    out["lcn_bits"] = fourteen ? 14 : 10;
    json list = entries(p, 0, p.size(), fourteen);
    note_library_entries(list, p, 0x83);
    out["channels"] = list;
}

void decode_v2(const Payload& p, const DecodeContext& ctx, json& out)
{
    json lists = json::array();
    size_t pos = 0;
    while (p.has(pos, 2)) {
        const size_t name_length = p.u8(pos + 1);
        json list;
        list["channel_list_id"] = p.u8(pos);
        put_text(list, "channel_list_name", p.slice(pos + 2, name_length), ctx);
        const size_t country = pos + 2 + name_length;
        if (!p.has(country, 4)) {
            list["error"] = "truncated";
            lists.push_back(list);
            break;
        }
        const std::vector<char> code = p.slice(country, 3);
        list["country"] = std::string(code.begin(), code.end());
        const size_t loop_end = country + 4 + p.u8(country + 3);
        list["channels"] = entries(p, country + 4, loop_end, false);
        lists.push_back(list);
        pos = loop_end;
    }
    if (!lists.empty() && lists[0].contains("channels"))
        note_library_entries(lists[0]["channels"], p, 0x87);
    out["channel_lists"] = lists;
}

// Other specifiers give tag 0x88 other meanings: shown in hex there.
void decode_hd_simulcast(const Payload& p, const DecodeContext& ctx, json& out)
{
    if (ctx.private_data_specifier == 0x28)
        out["channels"] = entries(p, 0, p.size(), false);
    else
        out["hex"] = hex_bytes(payload_bytes(p));
}

} // namespace

extern const DescriptorDecoder kHdSimulcastChannelDecoder = {0x88, "hd_simulcast_logical_channel",
                                                             &decode_hd_simulcast};
extern const DescriptorDecoder kLogicalChannelDecoder = {0x83, "logical_channel", &decode_v1};
extern const DescriptorDecoder kLogicalChannelV2Decoder = {0x87, "logical_channel_v2", &decode_v2};

} // namespace decode
} // namespace tavel_si
