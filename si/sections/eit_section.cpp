#include <tavel/sections.h>

namespace tavel {

namespace {
constexpr unsigned char kEitActualPresentFollowingTableId = 0x4E;
constexpr unsigned short kEitLoopBudget = 4078; // 4093 - 15 fixed bytes
} // namespace

SISectionEIT::SISectionEIT() : SISectionEIT(kEitActualPresentFollowingTableId) {}

SISectionEIT::SISectionEIT(unsigned char table_id)
    : SISection(kEitLoopBudget, table_id), service_id(0), transport_stream_id(0), original_network_id(0),
      segment_last_section_number(0), last_table_id(0)
{
}

unsigned short SISectionEIT::copy_section_to_buffer(std::vector<char>& /*out*/, bool /*pattern*/)
{
    // EIT sections are assembled elsewhere; this class only keeps the header.
    return 0;
}

} // namespace tavel
