// NIT output: the byte image of the sections, the new NIT file, the files
// read back, the next version and the comparison with the NIT last sent.
#include <tavel/nit.h>

#include <syslog.h>

#include <tavel/file_io.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "platform/platform_path.h"
#include "si/tables/nit_paths.h"

namespace tavel {

namespace {

// A stored NIT of 15 bytes or fewer is treated as absent.
constexpr size_t kShortestUsableNit = 16;
constexpr unsigned kLastVersion = 31;

void clear_if_inside(std::vector<char>& image, long position, char mask)
{
    if (position >= 0 && static_cast<unsigned long>(position) < image.size())
        image[static_cast<size_t>(position)] = static_cast<char>(image[static_cast<size_t>(position)] & mask);
}

// Blanks version and CRC of the stored image for sections 0..last.
void blank_version_and_crc(std::vector<char>& image, unsigned last)
{
    uint16_t o = 0;
    for (unsigned n = 0; n <= last; ++n) {
        const bytes::Reader in(image);
        clear_if_inside(image, o + 5L, static_cast<char>(0xC1));
        const long length = in.u12(o + 1u);
        for (long k = -1; k <= 2; ++k)
            clear_if_inside(image, o + length + k, 0);
        // This offset is right for sections 0 and 1 only, so tables of three or
        // more sections are re-versioned; published versions depend on it, keep it.
        o = static_cast<uint16_t>(2u * o + 3u + static_cast<unsigned>(length));
    }
}

} // namespace

void tNIT::generarNITBufferChar(std::vector<char>& buffer, bool comparar)
{
    tavel::log(LOG_DEBUG, "data_size: %d", static_cast<int>(data_size));
    buffer.reserve(buffer.size() + data_size);
    unsigned short copied = 0;
    for (auto& seccion : secciones) {
        if (seccion)
            copied = static_cast<unsigned short>(copied + seccion->copy_section_to_buffer(buffer, comparar));
    }
    tavel::log(LOG_DEBUG, "Bytes copiados a buffer ANTES: %d", copied);
}

void tNIT::generar_archivo_NIT()
{
    tavel::log(LOG_INFO, "Generate NIT file");
    std::vector<char> buffer;
    generarNITBufferChar(buffer, false);
    // Fire and forget: the multiplexer keeps the previous file if this one fails.
    write_char_vector_to_file(buffer, platform_path(nit_new_file_path()), false);
    tavel::log(LOG_INFO, "Generating NIT FILE with size %i", static_cast<int>(data_size));
}

int tNIT::leer_archivo_NIT_a_buffer(unsigned short nid, std::vector<char>& buffer, int origen)
{
    tavel::log(LOG_DEBUG, "leer_archivo_NIT_a_buffer: NID %i", nid);
    const std::string path = origen == 1 ? nit_network_file_path(nid) : nit_last_sent_file_path();
    const int result = read_char_vector_from_file(platform_path(path), buffer);
    // The size is traced before the result is judged, a failed read included.
    tavel::log(LOG_DEBUG, "leer_archivo_NIT_a_buffer: tamano_archivo %i", static_cast<int>(buffer.size()));
    if (result == 0) {
        tavel::log(LOG_WARNING, "Imposible leer el archivo NIT o archivo NIT no existente. %s", path.c_str());
        return 0;
    }
    return result;
}

unsigned tNIT::getNextNITVersion()
{
    std::vector<char> anterior;
    if (read_char_vector_from_file(platform_path(nit_last_sent_file_path()), anterior) == 0 ||
        anterior.size() < kShortestUsableNit)
        return 0;
    const unsigned v = (bytes::at(anterior, 5) >> 1) & 0x1F;
    return v == kLastVersion ? 0 : v + 1;
}

bool tNIT::isSameTable()
{
    std::vector<char> anterior;
    if (read_char_vector_from_file(platform_path(nit_last_sent_file_path()), anterior) == 0 ||
        anterior.size() < kShortestUsableNit)
        return false;

    const unsigned previous_last = bytes::at(anterior, 7);
    tavel::log(LOG_DEBUG, "getMaxSectionNumber %i, numSeccionMayorAnterior %i", getMaxSectionNumber(),
               previous_last);
    if (getMaxSectionNumber() != previous_last)
        return false;

    std::vector<char> actual;
    generarNITBufferChar(actual, true);
    tavel::log(LOG_DEBUG, "NIT_actual.size() %i, NIT_anterior.size() %i", static_cast<int>(actual.size()),
               static_cast<int>(anterior.size()));
    if (actual.size() != anterior.size())
        return false;

    blank_version_and_crc(anterior, previous_last);
    return actual == anterior;
}

bool tNIT::compareNIT(const std::unique_ptr<tNIT>& other)
{
    if (!other)
        return false;
    const bool mine = !secciones.empty() && secciones.front();
    const bool theirs = !other->secciones.empty() && other->secciones.front();
    // Tables that yielded no section (garbage from an input) are only equal to each other.
    if (!mine || !theirs)
        return mine == theirs && data_size == other->data_size;
    const SISectionNIT& a = *secciones.front();
    const SISectionNIT& b = *other->secciones.front();
    return a.network_id == b.network_id && a.version_number == b.version_number &&
           a.last_section_number == b.last_section_number && data_size == other->data_size;
}

} // namespace tavel
