#include <tavel/sections.h>

#include <syslog.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "si/sections/descriptor_copy.h"

namespace tavel {

namespace {
constexpr unsigned char kSdtActualTableId = 0x42;
constexpr unsigned char kSdtOtherTableId = 0x46;
constexpr unsigned short kSdtLoopBudget = 1009; // 1021 - 12 fixed bytes
} // namespace

SISectionSDT::SISectionSDT() : SISectionSDT(kSdtActualTableId) {}

SISectionSDT::SISectionSDT(unsigned char table_id)
    : SISection(kSdtLoopBudget, table_id), transport_stream_id(0), original_network_id(0)
{
}

unsigned short SISectionSDT::copy_section_to_buffer(std::vector<char>& out, bool pattern)
{
    return copy_section_to_buffer_Other(out, pattern, false);
}

unsigned short SISectionSDT::copy_section_to_buffer_Other(std::vector<char>& out, bool pattern, bool other)
{
    tavel::log(LOG_DEBUG, "SISectionSDT copy_section_to_buffer");
    const size_t start = out.size();
    append_section_start(out, other ? kSdtOtherTableId : table_id, section_syntax_indicator, section_length);
    bytes::put16(out, transport_stream_id);
    bytes::put8(out, 0xC0 | (pattern ? 0 : ((version_number * 2) & 0x3E)) | current_next_indicator);
    bytes::put8(out, section_number);
    bytes::put8(out, last_section_number);
    bytes::put16(out, original_network_id);
    bytes::put8(out, 0xFF);
    for (auto& service : services.items) {
        if (!service)
            continue;
        bytes::put16(out, service->service_id);
        // The EIT schedule bit always goes out as 0: no schedule is sent.
        bytes::put8(out, 0xFC | service->EIT_present_following_flag);
        bytes::put8(out, (service->running_status << 5) | (service->free_CA_mode << 4) |
                             ((service->descriptors_loop_length >> 8) & 0x0F));
        bytes::put8(out, service->descriptors_loop_length);
        append_descriptors(out, service->descriptores);
    }
    bytes::put32(out, pattern ? 0 : CRC);
    const auto count = static_cast<unsigned short>(out.size() - start);
    tavel::log(LOG_DEBUG, "BYTES de seccion copiados: %d", count);
    return count;
}

} // namespace tavel
