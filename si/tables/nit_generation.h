// Values shared by the NIT generation steps.
#ifndef TAVEL_SI_TABLES_NIT_GENERATION_H
#define TAVEL_SI_TABLES_NIT_GENERATION_H

#include <memory>

#include <cstdint>

#include <tavel/descriptor.h>
#include <tavel/sections.h>

namespace tavel {
namespace nit {

// Loop bytes one NIT section can hold (1021 - 13 fixed bytes).
constexpr int kSectionCapacity = 1008;
// section_length before any loop byte: header after the length field, both
// loop lengths and the CRC.
constexpr unsigned short kFixedSectionLength = 13;

// Bytes a descriptor takes in its loop: tag, length byte and payload.
inline unsigned loop_bytes(const Descriptor& d) { return d.descriptor_length + 2u; }

// Adds n bytes to one of the section's loop lengths; its free space shrinks
// by as much, as it does in every generator.
inline void add_loop_bytes(SISection& s, uint16_t& loop_length, unsigned n)
{
    loop_length = static_cast<uint16_t>(loop_length + n);
    s.espacio_libre_seccion = static_cast<uint16_t>(s.espacio_libre_seccion - n);
}

} // namespace nit
} // namespace tavel

#endif
