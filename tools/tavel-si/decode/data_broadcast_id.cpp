// data_broadcast_id_descriptor (0x66).
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

std::string broadcast_id(unsigned id)
{
    if (id == 0 || id > 0x000B)
        return hex_number(id, 4);
    return hex_number(id, 4) + " " +
           code_name({"", "data pipe", "asynchronous data stream", "synchronous data stream",
                      "synchronised data stream", "multiprotocol encapsulation", "data carousel", "object carousel",
                      "DVB ATM streams", "higher protocols based on asynchronous data streams",
                      "system software update", "IP/MAC notification table"},
                     id);
}

void decode(const Payload& p, const DecodeContext&, json& out)
{
    out["data_broadcast_id"] = broadcast_id(p.u16(0));
    out["id_selector"] = hex_bytes(p.slice(2, p.size()));
}

} // namespace

extern const DescriptorDecoder kDataBroadcastIdDecoder = {0x66, "data_broadcast_id", &decode};

} // namespace decode
} // namespace tavel_si
