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

// The NIT again, generated as the headend does when its inputs carry NITs:
// the pattern NITs (table bytes) are added to the object, their network
// descriptors and transport streams looked through, then the table is made.
std::vector<char> generate_nit_with_patterns(const std::vector<Stream>& streams,
                                             const std::vector<std::vector<char>>& patterns);
// Only the caller's part of generate_nit: the tNIT filled and dropped.
size_t describe_nit_only(const std::vector<Stream>& streams);
// Pattern NITs of count input networks (8 cable TS each) as table bytes.
std::vector<std::vector<char>> pattern_nits(int count);

Parsed parse_nit(const std::vector<char>& table);
Parsed parse_sdt(const std::vector<char>& table);
Parsed parse_tot(const std::vector<char>& table);

} // namespace peer::tavel_side

#endif
