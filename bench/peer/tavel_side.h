// The same tables generated and parsed with libcommonTavel, the way the
// headend's programs do it: the table objects filled from the caller's
// description, generated to sealed sections and copied to bytes; parsing
// from the bytes of a table file.
#ifndef TAVEL_PEER_TAVEL_SIDE_H
#define TAVEL_PEER_TAVEL_SIDE_H

#include <cstdint>
#include <vector>

#include "content.h"
#include "dvbpsi_side.h"

namespace peer::tavel_side {

using Parsed = dvbpsi_side::Parsed;

// Whole tables: sections back to back, CRC included.
std::vector<char> generate_nit(const std::vector<Stream>& streams);
std::vector<char> generate_sdt(const std::vector<Service>& services);
std::vector<char> generate_tot(const std::vector<Offset>& offsets, int64_t unix_time);

Parsed parse_nit(const std::vector<char>& table);
Parsed parse_sdt(const std::vector<char>& table);
Parsed parse_tot(const std::vector<char>& table);

} // namespace peer::tavel_side

#endif
