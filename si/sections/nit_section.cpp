#include <tavel/sections.h>

#include <syslog.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "si/sections/descriptor_copy.h"

namespace tavel {

namespace {
constexpr unsigned char kNitActualTableId = 0x40;
constexpr unsigned short kNitLoopBudget = 1008; // 1021 - 13 fixed bytes
} // namespace

SISectionNIT::SISectionNIT() : SISectionNIT(kNitActualTableId) {}

SISectionNIT::SISectionNIT(unsigned char table_id)
    : SISection(kNitLoopBudget, table_id), network_id(0), network_descriptors_length(0),
      transport_stream_loop_length(0)
{
}

unsigned short SISectionNIT::copy_section_to_buffer(std::vector<char>& out, bool pattern)
{
    const size_t start = out.size();
    append_section_start(out, table_id, section_syntax_indicator, section_length);
    bytes::put16(out, network_id);
    bytes::put8(out, 0xC0 | (pattern ? 0 : ((version_number * 2) & 0x3E)) | current_next_indicator);
    bytes::put8(out, section_number);
    bytes::put8(out, last_section_number);
    append_loop_length(out, network_descriptors_length);
    append_descriptors(out, network_descriptors);
    append_loop_length(out, transport_stream_loop_length);
    for (auto& ts : transport_streams.items) {
        if (!ts)
            continue;
        bytes::put16(out, ts->transport_stream_id);
        bytes::put16(out, ts->original_network_id);
        append_loop_length(out, ts->transport_descriptors_length);
        append_descriptors(out, ts->descriptores);
    }
    bytes::put32(out, pattern ? 0 : CRC);
    const auto count = static_cast<unsigned short>(out.size() - start);
    tavel::log(LOG_DEBUG, "BYTES de seccion copiados: %d", count);
    return count;
}

} // namespace tavel
