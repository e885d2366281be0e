// The CRC-32/MPEG-2 the way the peer libraries compute it: one 256-entry
// table, one byte per step.
#ifndef TAVEL_PEER_CRC_SIDE_H
#define TAVEL_PEER_CRC_SIDE_H

#include <cstddef>
#include <cstdint>

namespace peer {

uint32_t byte_table_crc(uint32_t crc, const uint8_t* data, size_t len);

} // namespace peer

#endif
