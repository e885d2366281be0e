// service_descriptor (0x48) and service_list_descriptor (0x41).
#include <tavel/dvb_text.h>
#include <tavel/service_descriptors.h>

#include "descriptor_decoder.h"
#include "service_type_names.h"

namespace tavel_si {
namespace decode {
namespace {

void decode_service(const Payload& p, const DecodeContext& ctx, json& out)
{
    out["service_type"] = service_type_name(p.u8(0));
    const size_t provider_length = p.u8(1);
    const size_t name_at = 2 + provider_length;
    if (!p.has(0, name_at + 1) || !p.has(name_at + 1, p.u8(name_at))) {
        out["error"] = "names run past the descriptor";
        return;
    }
    put_text(out, "provider_name", p.slice(2, provider_length), ctx);
    put_text(out, "service_name", p.slice(name_at + 1, p.u8(name_at)), ctx);
    // The headend decodes names by its own charset table.
    auto lib = std::static_pointer_cast<tavel::DescriptorService>(library_reading(0x48, p));
    note_library(out, "provider_name", lib->provider_name);
    note_library(out, "service_name", lib->service_name);
}

void decode_service_list(const Payload& p, const DecodeContext&, json& out)
{
    json list = json::array();
    for (size_t pos = 0; p.has(pos, 3); pos += 3)
        list.push_back({{"service_id", p.u16(pos)}, {"service_type", service_type_name(p.u8(pos + 2))}});
    out["services"] = list;
}

} // namespace

extern const DescriptorDecoder kServiceDecoder = {0x48, "service", &decode_service};
extern const DescriptorDecoder kServiceListDecoder = {0x41, "service_list", &decode_service_list};

} // namespace decode
} // namespace tavel_si
