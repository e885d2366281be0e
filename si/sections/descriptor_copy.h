// Writing a descriptor loop into a section image.
#ifndef TAVEL_SI_SECTIONS_DESCRIPTOR_COPY_H
#define TAVEL_SI_SECTIONS_DESCRIPTOR_COPY_H

#include <vector>

#include <tavel/descriptor.h>

namespace tavel {

// Each descriptor regenerates its payload, then goes out as tag, length and
// the payload bytes as they stand.
void append_descriptors(std::vector<char>& out, SIVectorDescriptores& descriptors);

// First three bytes of every section: table_id, then the flags with the
// 12-bit section_length. Makes room in out for the whole section.
void append_section_start(std::vector<char>& out, unsigned table_id, unsigned syntax_indicator,
                          unsigned section_length);

// 0xF0 with the top 4 bits of a 12-bit loop length, then its low byte.
void append_loop_length(std::vector<char>& out, unsigned length);

} // namespace tavel

#endif
