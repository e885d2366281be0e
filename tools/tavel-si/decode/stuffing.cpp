// stuffing_descriptor (0x42): bytes without meaning, shown as they are.
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

void decode(const Payload& p, const DecodeContext&, json& out)
{
    out["stuffing_bytes"] = hex_bytes(payload_bytes(p));
}

} // namespace

extern const DescriptorDecoder kStuffingDecoder = {0x42, "stuffing", &decode};

} // namespace decode
} // namespace tavel_si
