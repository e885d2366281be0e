// CA_identifier_descriptor (0x53): the CA systems a service uses.
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext&, json& out)
{
    json ids = json::array();
    for (size_t pos = 0; p.has(pos, 2); pos += 2)
        ids.push_back(hex_number(p.u16(pos), 4));
    out["ca_system_ids"] = ids;
}

} // namespace

extern const DescriptorDecoder kCaIdentifierDecoder = {0x53, "CA_identifier", &decode};

} // namespace decode
} // namespace tavel_si
