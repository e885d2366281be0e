#include <tavel/sections.h>

#include "dvb/byte_io.h"
#include "si/sections/descriptor_copy.h"

namespace tavel {

namespace {
constexpr unsigned char kTotTableId = 0x73;
constexpr unsigned short kTotLoopBudget = 1010; // 1021 - 11 fixed bytes
} // namespace

SISectionTOT::SISectionTOT() : SISectionTOT(kTotTableId) {}

SISectionTOT::SISectionTOT(unsigned char table_id)
    : SISection(kTotLoopBudget, table_id), UTC_time(0), descriptors_loop_length(0)
{
}

unsigned short SISectionTOT::copy_section_to_buffer(std::vector<char>& out, bool pattern)
{
    return copy_section_to_buffer(out, true, pattern);
}

unsigned short SISectionTOT::copy_section_to_buffer(std::vector<char>& out, bool whole, bool /*pattern*/)
{
    const size_t start = out.size();
    if (whole) {
        append_section_start(out, table_id, section_syntax_indicator, section_length);
        bytes::put40(out, UTC_time);
    }
    append_loop_length(out, descriptors_loop_length);
    append_descriptors(out, descriptors);
    if (whole)
        bytes::put32(out, CRC); // the TOT carries its CRC even in a comparison image
    return static_cast<unsigned short>(out.size() - start);
}

} // namespace tavel
