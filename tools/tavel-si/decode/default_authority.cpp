// default_authority_descriptor (0x73): the CRID authority, plain bytes.
#include "dvb_text_decode.h"
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext&, json& out)
{
    // No selector byte here: any leading byte is part of the name.
    std::vector<char> bytes = payload_bytes(p);
    bytes.insert(bytes.begin(), '\x15');
    const DvbText text = decode_dvb_text(bytes, "UTF-8");
    out["default_authority"] = text.text;
    if (text.undecodable)
        out["default_authority_undecodable"] = true;
}

} // namespace

extern const DescriptorDecoder kDefaultAuthorityDecoder = {0x73, "default_authority", &decode};

} // namespace decode
} // namespace tavel_si
