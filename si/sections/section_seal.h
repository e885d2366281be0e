// generar_crc for table code that checks the log mask once for all its
// sections and seals them through one reused image buffer.
#ifndef TAVEL_SI_SECTIONS_SECTION_SEAL_H
#define TAVEL_SI_SECTIONS_SECTION_SEAL_H

#include <vector>

#include <tavel/sections.h>

namespace tavel {

// What generar_crc does, logging its debug lines only when debug is true.
void seal_section(SISection& section, std::vector<char>& image, bool debug);

} // namespace tavel

#endif
