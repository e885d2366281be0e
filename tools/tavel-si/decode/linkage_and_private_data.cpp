// linkage_descriptor (0x4A) and private_data_specifier_descriptor (0x5F).
// The library reads both as they are coded; its classes are shown as such.
#include <tavel/network_descriptors.h>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string linkage_type(unsigned type)
{
    std::string name;
    if (type >= 0x80 && type <= 0xFE)
        name = "user defined";
    else if (type >= 0x0E && type <= 0x1F)
        name = "extended event linkage";
    else if (type == 0x20)
        name = "downloadable font info";
    else
        name = code_name({"reserved", "information service", "EPG service", "CA replacement service",
                          "TS containing complete network/bouquet SI", "service replacement service",
                          "data broadcast service", "RCS map", "mobile hand-over", "system software update service",
                          "TS containing SSU BAT or NIT", "IP/MAC notification service",
                          "TS containing INT BAT or NIT", "event linkage"},
                         type);
    return hex_number(type, 2) + " " + name;
}

void decode_linkage(const Payload& p, const DecodeContext&, json& out)
{
    auto k = std::static_pointer_cast<tavel::DescriptorLinkage>(library_reading(0x4A, p));
    out["transport_stream_id"] = k->transport_stream_id;
    out["original_network_id"] = k->original_network_id;
    out["service_id"] = k->service_id;
    out["linkage_type"] = linkage_type(k->linkage_type);
    if (!k->private_data_bytes.empty())
        out["private_data"] = hex_bytes(k->private_data_bytes);
}

void decode_specifier(const Payload& p, const DecodeContext&, json& out)
{
    out["private_data_specifier"] = hex_number(p.u32(0), 8);
}

} // namespace

extern const DescriptorDecoder kLinkageDecoder = {0x4A, "linkage", &decode_linkage};
extern const DescriptorDecoder kPrivateDataSpecifierDecoder = {0x5F, "private_data_specifier", &decode_specifier};

} // namespace decode
} // namespace tavel_si
