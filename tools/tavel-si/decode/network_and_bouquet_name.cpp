// network_name_descriptor (0x40) and bouquet_name_descriptor (0x47): the
// whole payload is one text.
#include <tavel/dvb_text.h>
#include <tavel/network_descriptors.h>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode_network_name(const Payload& p, const DecodeContext& ctx, json& out)
{
    put_text(out, "network_name", payload_bytes(p), ctx);
    auto lib = std::static_pointer_cast<tavel::DescriptorNetworkName>(library_reading(0x40, p));
    note_library(out, "network_name", tavel::DVB_text_decode(lib->name));
}

void decode_bouquet_name(const Payload& p, const DecodeContext& ctx, json& out)
{
    put_text(out, "bouquet_name", payload_bytes(p), ctx);
}

} // namespace

extern const DescriptorDecoder kNetworkNameDecoder = {0x40, "network_name", &decode_network_name};
extern const DescriptorDecoder kBouquetNameDecoder = {0x47, "bouquet_name", &decode_bouquet_name};

} // namespace decode
} // namespace tavel_si
