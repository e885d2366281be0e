// Reads stored and pattern NITs back into sections. Pattern NITs come from
// input streams, so every read is bounded: the parse stops at the first
// section, descriptor or loop that would run past the end of the buffer and
// keeps what was complete before it.
#include <tavel/nit.h>

#include <syslog.h>

#include <tavel/delivery_descriptors.h>
#include <tavel/service_descriptors.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "si/descriptors/delivery_decode.h"
#include "si/descriptors/descriptor_arena.h"

namespace tavel {

namespace {

// Entries of a loop of the given length at pos whose fixed part (header
// bytes, with the length of what follows at length_at) lies in the buffer;
// for sizing the list before it is filled.
size_t count_entries(const bytes::Reader& in, size_t pos, unsigned loop_length, size_t header, size_t length_at,
                     bool twelve_bit)
{
    size_t n = 0;
    for (unsigned consumed = 0; consumed < loop_length && in.has(pos, header); ++n) {
        const unsigned length = twelve_bit ? in.u12(pos + length_at) : in.u8(pos + length_at);
        pos += header + length;
        consumed += static_cast<unsigned>(header) + length;
    }
    return n;
}

constexpr uint8_t kServiceListTag = 0x41;
constexpr uint8_t kCableDeliveryTag = 0x44;
constexpr uint8_t kTerrestrialDeliveryTag = 0x5A;

template <typename T>
std::shared_ptr<T> with_payload(DescriptorArena& arena, uint8_t tag, uint8_t length,
                                 const bytes::Reader::View& payload)
{
    auto d = arena.make<T>();
    d->descriptor_tag = tag;
    d->descriptor_length = length;
    d->data.assign(payload.data, payload.data + payload.size);
    return d;
}

// The descriptor object for tag with its payload decoded; the classes of a
// usual TS entry come from the arena. With debug false the delivery
// descriptors skip their debug line, which the mask would drop.
std::shared_ptr<Descriptor> decoded_descriptor(DescriptorArena& arena, uint8_t tag, uint8_t length,
                                               const bytes::Reader::View& payload, bool debug)
{
    if (tag == kCableDeliveryTag) {
        auto cable = with_payload<DescriptorCableDeliverySystem>(arena, tag, length, payload);
        if (debug)
            cable->procesarDatos();
        else
            decode_cable_delivery(*cable);
        return cable;
    }
    if (tag == kTerrestrialDeliveryTag) {
        auto terrestrial = with_payload<DescriptorTerrestrialDeliverySystem>(arena, tag, length, payload);
        if (debug)
            terrestrial->procesarDatos();
        else
            decode_terrestrial_delivery(*terrestrial);
        return terrestrial;
    }
    if (tag == kServiceListTag) {
        auto list = with_payload<DescriptorServiceList>(arena, tag, length, payload);
        list->procesarDatos();
        return list;
    }
    auto descriptor = Descriptor::getPtrDescriptorType(tag);
    descriptor->descriptor_tag = tag;
    descriptor->descriptor_length = length;
    descriptor->data.assign(payload.data, payload.data + payload.size);
    descriptor->procesarDatos();
    return descriptor;
}

// Reads one descriptor loop of the given length starting at pos; consumed is
// the bytes read. False when a descriptor would run past the end of the
// buffer; pos is then left at it.
bool read_descriptor_loop(const bytes::Reader& in, uint16_t& pos, unsigned loop_length, bool debug,
                          DescriptorArena& arena, SIVectorDescriptores& into, unsigned& consumed)
{
    into.items.reserve(into.items.size() + count_entries(in, pos, loop_length, 2, 1, false));
    consumed = 0;
    while (consumed < loop_length) {
        if (!in.has(pos, 2))
            return false;
        const uint8_t tag = in.u8(pos);
        const uint8_t length = in.u8(pos + 1u);
        if (!in.has(pos + 2u, length))
            return false;
        into.items.push_back(decoded_descriptor(arena, tag, length, in.view(pos + 2u, length), debug));
        pos = static_cast<uint16_t>(pos + 2u + length);
        consumed += 2u + length;
    }
    return true;
}

// Parses the section at o. Returns false when the section was cut short;
// whatever was complete is still in it. next is where the following section
// starts (after the CRC, which is skipped, not checked). Positions are
// 16-bit and wrap at 65536, as stored NITs have always been read.
bool read_section(const bytes::Reader& in, uint16_t o, bool debug, DescriptorArena& arena, SISectionNIT& s,
                  uint16_t& next)
{
    s.table_id = in.u8(o);
    s.section_syntax_indicator = in.u8(o + 1) >> 7;
    s.section_length = in.u12(o + 1);
    s.network_id = in.u16(o + 3);
    s.version_number = (in.u8(o + 5) >> 1) & 0x1F;
    s.current_next_indicator = in.u8(o + 5) & 1;
    s.section_number = in.u8(o + 6);
    s.last_section_number = in.u8(o + 7);
    s.network_descriptors_length = in.u12(o + 8);

    uint16_t pos = static_cast<uint16_t>(o + 10u);
    unsigned descriptor_bytes = 0;
    if (!read_descriptor_loop(in, pos, s.network_descriptors_length, debug, arena, s.network_descriptors,
                              descriptor_bytes))
        return false;

    if (!in.has(pos, 2))
        return false;
    s.transport_stream_loop_length = in.u12(pos);
    pos = static_cast<uint16_t>(pos + 2u);
    s.transport_streams.items.reserve(count_entries(in, pos, s.transport_stream_loop_length, 6, 4, true));
    unsigned consumed = 0;
    while (consumed < s.transport_stream_loop_length) {
        if (!in.has(pos, 6))
            return false;
        auto ts = std::make_unique<NITTS>(in.u16(pos), in.u16(pos + 2u));
        ts->transport_descriptors_length = in.u12(pos + 4u);
        pos = static_cast<uint16_t>(pos + 6u);
        const bool complete = read_descriptor_loop(in, pos, ts->transport_descriptors_length, debug, arena,
                                                   ts->descriptores, descriptor_bytes);
        if (complete)
            s.transport_streams.items.push_back(std::move(ts));
        if (!complete)
            return false;
        consumed += 6u + descriptor_bytes;
    }
    next = static_cast<uint16_t>(pos + 4u);
    return true;
}

} // namespace

void tNIT::procesarNIT(const std::vector<char>& buffer)
{
    const bytes::Reader in(buffer);
    data_size = static_cast<uint32_t>(buffer.size());
    if (!in.has(0, 10))
        return;
    const unsigned first = in.u8(6);
    const unsigned last = in.u8(7);
    if (first > last)
        return;

    // Checked once per table: a mask changed while it is read applies from the next one.
    const bool debug = log_wanted(LOG_DEBUG);
    DescriptorArena arena;
    uint16_t o = 0;
    for (unsigned n = first; n <= last; ++n) {
        if (!in.has(o, 10))
            return;
        auto seccion = std::make_unique<SISectionNIT>();
        uint16_t next = 0;
        const bool complete = read_section(in, o, debug, arena, *seccion, next);
        secciones.push_back(std::move(seccion));
        if (!complete)
            return;
        o = next;
    }
}

void tNIT::procesarNIT(const char* data, unsigned short length)
{
    std::vector<char> buffer;
    if (data != nullptr && length > 0)
        buffer.assign(data, data + length);
    procesarNIT(buffer);
}

} // namespace tavel
