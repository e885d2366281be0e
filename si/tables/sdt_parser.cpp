#include <tavel/sdt.h>

#include <syslog.h>

#include "dvb/byte_io.h"
#include "platform/log.h"

namespace tavel {

namespace {

enum class Parsed { complete, truncated };

// One descriptor loop of a service. Positions are 16-bit and wrap, as they
// always have; every read is bounded by the buffer all the same.
Parsed parse_descriptors(const bytes::Reader& in, uint16_t& pos, SDTServices& service, int& consumed, bool debug)
{
    const int loop_length = service.descriptors_loop_length;
    consumed = 0;
    if (loop_length == 0)
        return Parsed::complete;
    if (debug)
        tavel::log(LOG_DEBUG, "aux2 %i,  descriptors_loop_length %i", 0, loop_length);
    for (;;) {
        if (!in.has(pos, 2))
            return Parsed::truncated;
        const uint8_t tag = in.u8(pos);
        const uint8_t length = in.u8(pos + 1u);
        if (!in.has(pos + 2u, length))
            return Parsed::truncated;
        auto descriptor = Descriptor::getPtrDescriptorType(tag);
        descriptor->descriptor_tag = tag;
        descriptor->descriptor_length = length;
        const bytes::Reader::View payload = in.view(pos + 2u, length);
        descriptor->data.assign(payload.data, payload.data + payload.size);
        pos = static_cast<uint16_t>(pos + 2 + length);
        consumed += 2 + length;
        if (debug)
            tavel::log(LOG_DEBUG, "descriptor_id :%hu ", static_cast<unsigned short>(tag));
        descriptor->procesarDatos();
        service.descriptores.items.push_back(std::move(descriptor));
        if (consumed >= loop_length)
            return Parsed::complete;
        if (debug)
            tavel::log(LOG_DEBUG, "aux2 %i,  descriptors_loop_length %i", consumed, loop_length);
    }
}

// The service loop of one section; services that run past the buffer are dropped.
Parsed parse_services(const bytes::Reader& in, uint16_t& pos, SISectionSDT& section, bool debug)
{
    const int service_loop_length = static_cast<int>(section.section_length) - 12;
    if (service_loop_length <= 0)
        return Parsed::complete;
    if (debug)
        tavel::log(LOG_DEBUG, "aux %i,  service_loop_length %i", 0, service_loop_length);
    int consumed = 0;
    for (;;) {
        if (!in.has(pos, 5))
            return Parsed::truncated;
        auto service = std::make_shared<SDTServices>();
        service->service_id = in.u16(pos);
        if (debug)
            tavel::log(LOG_DEBUG, "SERVICE ID :%hu ", service->service_id);
        const uint8_t flags = in.u8(pos + 2u);
        service->EIT_schedule_flag = (flags >> 1) & 1;
        service->EIT_present_following_flag = flags & 1;
        const uint8_t status = in.u8(pos + 3u);
        service->running_status = status >> 5;
        service->free_CA_mode = (status >> 4) & 1;
        service->descriptors_loop_length = in.u12(pos + 3u);
        if (debug)
            tavel::log(LOG_DEBUG, "SDT_service_loop_actual->descriptors_loop_length %hu ",
                       service->descriptors_loop_length);
        pos = static_cast<uint16_t>(pos + 5);

        int descriptor_bytes = 0;
        if (parse_descriptors(in, pos, *service, descriptor_bytes, debug) == Parsed::truncated)
            return Parsed::truncated;
        section.services.items.push_back(std::move(service));
        consumed += descriptor_bytes + 5;
        if (consumed >= service_loop_length)
            return Parsed::complete;
        if (debug)
            tavel::log(LOG_DEBUG, "aux %i,  service_loop_length %i", consumed, service_loop_length);
    }
}

} // namespace

void tSDT::procesarSDT(const char* data, unsigned short size, bool actual)
{
    tavel::log(LOG_DEBUG, "TAMANO SDT : %d", size);
    std::vector<char> buffer;
    if (data != nullptr && size > 0)
        buffer.assign(data, data + size);
    procesarSDT(buffer, actual);
}

void tSDT::procesarSDT(const std::vector<char>& buffer, bool actual)
{
    // One mask check for the whole table instead of several masked calls per service.
    const bool debug = log_wanted(LOG_DEBUG);
    data_size = static_cast<uint32_t>(buffer.size());
    if (debug)
        tavel::log(LOG_DEBUG, "SDTDataSize : %lu", static_cast<unsigned long>(data_size));
    const bytes::Reader in(buffer);
    // The number of sections comes from the first header alone.
    const unsigned first = in.u8(6);
    const unsigned last = in.u8(7);
    if (first > last)
        return;

    uint16_t offset = 0;
    for (unsigned n = first; n <= last; ++n) {
        if (!in.has(offset, 11))
            return;
        auto section = std::make_unique<SISectionSDT>();
        section->table_id = actual ? 0x42 : in.u8(offset);
        section->section_syntax_indicator = in.u8(offset + 1u) >> 7;
        section->section_length = in.u12(offset + 1u);
        section->transport_stream_id = in.u16(offset + 3u);
        section->version_number = (in.u8(offset + 5u) >> 1) & 0x1F;
        if (debug)
            tavel::log(LOG_DEBUG, "version_number : %hhu", section->version_number);
        section->current_next_indicator = in.u8(offset + 5u) & 1;
        section->section_number = in.u8(offset + 6u);
        section->last_section_number = in.u8(offset + 7u);
        section->original_network_id = in.u16(offset + 8u);
        if (debug)
            tavel::log(LOG_DEBUG, "original_network_id : %hu , transport_stream_id %hu ", section->original_network_id,
                       section->transport_stream_id);

        uint16_t pos = static_cast<uint16_t>(offset + 11);
        const bool complete = parse_services(in, pos, *section, debug) == Parsed::complete && in.has(pos, 4);
        if (!complete) {
            // Keep the services read whole; nothing after a cut is trusted.
            secciones.push_back(std::move(section));
            return;
        }
        // Only the last CRC byte is kept: a parsed section is always resealed
        // before it goes out again, so the stored value is never emitted.
        section->CRC = in.u8(pos + 3u);
        offset = static_cast<uint16_t>(pos + 4);
        secciones.push_back(std::move(section));
    }
}

} // namespace tavel
