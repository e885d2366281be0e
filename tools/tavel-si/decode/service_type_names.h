// service_type values by name (also used by the diff).
#ifndef TAVEL_SI_DECODE_SERVICE_TYPE_NAMES_H
#define TAVEL_SI_DECODE_SERVICE_TYPE_NAMES_H

#include <string>

namespace tavel_si {
namespace decode {

// "0x19 H.264/AVC HD digital television"; "0x9A user defined"; "0x2A reserved".
std::string service_type_name(unsigned type);

} // namespace decode
} // namespace tavel_si

#endif
