#include <tavel/sdt.h>

#include <syslog.h>

#include <tavel/coding.h>

#include "dvb/byte_io.h"
#include "platform/log.h"

namespace tavel {

void tSDT::generarSDTBufferChar(std::vector<char>& out, bool pattern, bool other)
{
    tavel::log(LOG_DEBUG, "data_size: %d", static_cast<int>(data_size));
    if (out.capacity() < data_size)
        out.reserve(data_size);
    uint16_t copied = 0;
    for (const auto& section : secciones) {
        if (!other) {
            copied = static_cast<uint16_t>(copied + section->copy_section_to_buffer_Other(out, pattern, false));
            continue;
        }
        // The table_id byte changes to 0x46, so the CRC has to follow it.
        std::vector<char> temp;
        copied = static_cast<uint16_t>(copied + section->copy_section_to_buffer_Other(temp, pattern, true));
        generar_new_crc(temp);
        out.insert(out.end(), temp.begin(), temp.end());
    }
    tavel::log(LOG_DEBUG, "Bytes copiados a buffer %d y size %d", copied, static_cast<int>(out.size()));
}

void tSDT::getSDT(std::vector<char>& out, bool other) { generarSDTBufferChar(out, false, other); }

bool tSDT::isSameTable(std::unique_ptr<tSDT>& other)
{
    if (!other)
        return false;
    if (getMaxSectionNumber() != other->getMaxSectionNumber())
        return false;
    std::vector<char> mine;
    std::vector<char> theirs;
    generarSDTBufferChar(mine, true, false);
    other->generarSDTBufferChar(theirs, true, false);
    return mine == theirs;
}

bool tSDT::compareSDT(const std::unique_ptr<tSDT>& other)
{
    // Only tables with sections are compared; without one there is no identity.
    if (!other || secciones.empty() || other->secciones.empty())
        return false;
    const SISectionSDT& a = *secciones.front();
    const SISectionSDT& b = *other->secciones.front();
    return a.transport_stream_id == b.transport_stream_id && a.original_network_id == b.original_network_id &&
           a.version_number == b.version_number && a.last_section_number == b.last_section_number &&
           data_size == other->data_size;
}

bool tSDT::compareSDT(const std::vector<char>& buffer)
{
    if (secciones.empty())
        return false;
    const SISectionSDT& first = *secciones.front();
    const bytes::Reader in(buffer);
    return first.transport_stream_id == in.u16(3) && first.original_network_id == in.u16(8) &&
           first.version_number == ((in.u8(5) >> 1) & 0x1F) && buffer.size() == data_size;
}

} // namespace tavel
