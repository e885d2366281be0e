#include <tavel/eit.h>

#include <string>
#include <syslog.h>

#include <tavel/constants.h>
#include <tavel/file_io.h>

#include "platform/log.h"
#include "platform/platform_path.h"

namespace tavel {

namespace {

constexpr unsigned char kDefaultEitTableId = 0x4E;
constexpr uint16_t kEitHeaderLength = 15; // header after section_length, CRC included

} // namespace

tEIT::tEIT() : tEIT(kDefaultEitTableId, 0, 0, 0, 0, 0, 0) {}

tEIT::tEIT(unsigned char table_id, unsigned short service_id, unsigned char version_number,
           unsigned short transport_stream_id, unsigned short original_network_id,
           unsigned char segment_last_section_number, unsigned char last_table_id)
    : table_id(table_id), service_id(service_id), version_number(version_number),
      transport_stream_id(transport_stream_id), original_network_id(original_network_id),
      segment_last_section_number(segment_last_section_number), last_table_id(last_table_id)
{
}

tEIT::~tEIT() = default;

SISectionEIT* tEIT::generar_cabecera_primera_section()
{
    table = std::make_unique<tablaEIT>();
    table->total_size = 0;
    current_section = std::make_unique<SISectionEIT>(table_id);
    SISectionEIT& s = *current_section;
    s.section_syntax_indicator = 1;
    s.section_length = kEitHeaderLength;
    s.service_id = service_id;
    s.version_number = version_number;
    s.current_next_indicator = 1;
    s.section_number = 0;
    s.last_section_number = 0;
    s.transport_stream_id = transport_stream_id;
    s.original_network_id = original_network_id;
    s.segment_last_section_number = segment_last_section_number;
    s.last_table_id = last_table_id;
    return current_section.get();
}

SISectionEIT* tEIT::generar_cabecera_section()
{
    if (!table || table->sections.empty())
        return nullptr;
    const SISectionEIT& last = *table->sections.back();
    current_section = std::make_unique<SISectionEIT>(table_id);
    SISectionEIT& s = *current_section;
    s.section_syntax_indicator = last.section_syntax_indicator;
    s.transport_stream_id = last.transport_stream_id;
    s.version_number = last.version_number;
    s.current_next_indicator = last.current_next_indicator;
    s.original_network_id = last.original_network_id;
    s.segment_last_section_number = last.segment_last_section_number;
    s.last_table_id = last.last_table_id;
    // service_id is not copied: follow-on sections carry 0 there, as the
    // playout side has always received them. Keep it so.
    s.section_length = kEitHeaderLength;
    s.section_number = static_cast<uint8_t>(last.section_number + 1);
    return current_section.get();
}

void tEIT::cerrar_seccion(bool last)
{
    if (!current_section || !table)
        return;
    table->total_size += current_section->section_length + 3u;
    table->sections.push_back(std::move(current_section));
    if (!last)
        generar_cabecera_section();
}

void tEIT::cerrar_ultima_seccion()
{
    tavel::log(LOG_DEBUG, "cerrar_ultima_seccion");
    if (!current_section || !table)
        return;
    const uint8_t last_number = current_section->section_number;
    cerrar_seccion(true);
    for (auto& section : table->sections) {
        section->last_section_number = last_number;
        section->generar_crc();
    }
}

int tEIT::getEIT(char)
{
    // Placeholder: callers link against it; events are not served from here.
    return 0;
}

bool tEIT::leer_archivo_EIT_a_buffer(std::vector<char>& buffer)
{
    const std::string path = std::string(constants::kSiTablesDir) + constants::kEitTableFile;
    tavel::log(LOG_DEBUG, "Leemos el archivo %s", path.c_str());
    // Both lines keep the NIT wording: the log readers search for it.
    if (read_char_vector_from_file(platform_path(path), buffer) == 0) {
        tavel::log(LOG_WARNING, "Imposible leer el archivo NIT o archivo NIT no existente. %s", path.c_str());
        return false;
    }
    tavel::log(LOG_DEBUG, "leer_archivo_NIT_a_buffer: tamano_archivo %i", static_cast<int>(buffer.size()));
    return true;
}

} // namespace tavel
