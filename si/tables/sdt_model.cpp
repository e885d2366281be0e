#include <tavel/sdt.h>

#include <syslog.h>

#include <string>

#include <tavel/constants.h>
#include <tavel/file_io.h>

#include "platform/log.h"
#include "platform/platform_path.h"

namespace tavel {

tSDT::tSDT() : tSDT(0x42, 0, 0, 0, 0) {}

tSDT::tSDT(unsigned short table_id, unsigned short transport_stream_id, unsigned short original_network_id,
           unsigned short version_number, unsigned short modoScrambling)
    : data_size(0), table_id(table_id), transport_stream_id(transport_stream_id),
      original_network_id(original_network_id), version_number(version_number), modoScrambling(modoScrambling),
      num_service(0)
{
}

tSDT::~tSDT() = default;

bool tSDT::leer_archivo_SDT_a_buffer(std::vector<char>& buffer)
{
    const std::string path = std::string(constants::kSiTablesDir) + constants::kSdtTableFile;
    tavel::log(LOG_DEBUG, "Leemos el archivo %s", path.c_str());
    if (!read_char_vector_from_file(platform_path(path), buffer)) {
        tavel::log(LOG_WARNING, "Imposible leer el archivo SDT o archivo SDT no existente. %s", path.c_str());
        return false;
    }
    tavel::log(LOG_DEBUG, "leer_archivo_SDT_a_buffer: tamano_archivo %i", static_cast<int>(buffer.size()));
    // Header and CRC alone are not a table: a file this short counts as none.
    return buffer.size() > 14;
}

std::shared_ptr<SDTServices> tSDT::buscar_servicio(const datos_servicios& record)
{
    // One check for the whole search: it logs a line per service compared.
    const bool debug = log_wanted(LOG_DEBUG);
    // The output sid is logged here, not the input one; operators read it so.
    if (debug)
        tavel::log(LOG_DEBUG, "Buscar_servicio SID %i TSID %i ONID %i", record.sid, record.tsid_entrada,
                   record.onid_entrada);
    for (const auto& section : secciones) {
        for (const auto& service : section->services.items) {
            if (debug)
                tavel::log(LOG_DEBUG, "Buscar_servicio SID %i = %i TSID %i = %i ONID %i = %i", record.sid_entrada,
                           service->service_id, record.tsid_entrada, section->transport_stream_id,
                           record.onid_entrada, section->original_network_id);
            if (section->transport_stream_id == record.tsid_entrada &&
                section->original_network_id == record.onid_entrada && service->service_id == record.sid_entrada) {
                if (debug)
                    tavel::log(LOG_DEBUG, "Buscar_servicio ENCONTRADO");
                return service;
            }
        }
    }
    return nullptr;
}

std::shared_ptr<SDTServices> tSDT::existServiceSDTpatrones(const datos_servicios& record)
{
    if (patrones == nullptr)
        return nullptr;
    for (const auto& pattern : patrones->sdts) {
        auto found = pattern->buscar_servicio(record);
        if (found)
            return found;
    }
    return nullptr;
}

unsigned char tSDT::getMaxSectionNumber()
{
    // Callers only ask tables that have sections; an empty one answers 0
    // rather than touching a section that is not there.
    if (secciones.empty())
        return 0;
    return secciones.front()->last_section_number;
}

unsigned char tSDT::getSDTVersion()
{
    if (secciones.empty())
        return 0;
    return secciones.front()->version_number;
}

} // namespace tavel
