// The same tables generated and parsed with libdvbpsi, the way a program
// built on it would: descriptor structs through its descriptor generators,
// table structs through its section generators; parsing through its demux
// and table decoders fed with TS packets, then its descriptor decoders.
#ifndef TAVEL_PEER_DVBPSI_SIDE_H
#define TAVEL_PEER_DVBPSI_SIDE_H

#include <cstdint>
#include <vector>

#include "content.h"

namespace peer::dvbpsi_side {

// Whole tables: sections back to back, CRC included.
std::vector<uint8_t> generate_nit(const std::vector<Stream>& streams);
std::vector<uint8_t> generate_sdt(const std::vector<Service>& services);
std::vector<uint8_t> generate_tot(const std::vector<Offset>& offsets, int64_t unix_time);

// What a parse found, to check that both libraries read the same content.
struct Parsed {
    int tables = 0;
    int entries = 0;       // TS entries, services or offset entries
    int descriptors = 0;
    uint64_t checksum = 0; // over decoded field values
};

// ts holds 188-byte packets (see packetise).
Parsed parse_nit(const std::vector<uint8_t>& ts);
Parsed parse_sdt(const std::vector<uint8_t>& ts);
Parsed parse_tot(const std::vector<uint8_t>& ts);

// libdvbpsi 1.3.3 writes the TOT's section_length without the CRC_32, so
// its own decoder drops the table; this sets the length right and reseals.
std::vector<uint8_t> repaired_tot(std::vector<uint8_t> tot);

// Sections to TS packets on pid, each section starting a packet.
std::vector<uint8_t> packetise(const std::vector<uint8_t>& sections, uint16_t pid);

} // namespace peer::dvbpsi_side

#endif
