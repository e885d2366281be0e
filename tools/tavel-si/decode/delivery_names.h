// Value names shared by the delivery system decoders.
#ifndef TAVEL_SI_DECODE_DELIVERY_NAMES_H
#define TAVEL_SI_DECODE_DELIVERY_NAMES_H

#include <cstdint>
#include <string>

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {

// A frequency field of all ones.
constexpr const char* kNotSignalled = "not signalled";

// FEC_inner of the cable and satellite descriptors (4 bits).
std::string fec_inner_name(unsigned code);

// n BCD digits of value (most significant first) as a number, with
// `decimals` of them after the point; "invalid BCD" when a digit is > 9.
json bcd_number(uint32_t value, int digits, int decimals);

} // namespace decode
} // namespace tavel_si

#endif
