// NIT generation: section opening and closing, the first loop (network name
// and the network descriptors taken over from the pattern NITs) and sealing.
// The TS loop is in nit_ts_loop.cpp.
#include <tavel/nit.h>

#include <syslog.h>

#include <tavel/network_descriptors.h>

#include "platform/log.h"
#include "si/sections/section_seal.h"
#include "si/tables/nit_generation.h"

namespace tavel {

namespace {

constexpr unsigned char kNetworkNameTag = 0x40;
constexpr unsigned char kStuffingTag = 0x42;
constexpr unsigned char kLinkageTag = 0x4A;
constexpr unsigned char kCellListTag = 0x6C;

// Linkage types that point at a service the headend may carry.
bool linkage_type_follows_service(unsigned type)
{
    switch (type) {
    case 1: case 2: case 3: case 5: case 6: case 9: case 11:
        return true;
    default:
        return false;
    }
}

// Points a pattern linkage at the service as re-multiplexed by the headend.
// False when no output carries the linked service.
bool retarget_linkage(DescriptorLinkage& linkage, const std::map<uint16_t, datos_salidas>& salidas)
{
    for (const auto& salida : salidas) {
        for (const auto& servicio : salida.second.servicios) {
            const datos_servicios& s = servicio.second;
            if (s.tsid_entrada == linkage.transport_stream_id && s.onid_entrada == linkage.original_network_id &&
                s.sid_entrada == linkage.service_id) {
                linkage.transport_stream_id = salida.second.tsid;
                linkage.original_network_id = salida.second.onid;
                linkage.service_id = s.sid;
                return true;
            }
        }
    }
    return false;
}

} // namespace

void tNIT::generarNIT()
{
    generar_cabecera_primera_section();
    generar_network_name_descriptor();
    if (!nitPatron.patrones.empty())
        generar_network_descriptors();
    generar_TS_loop();
    cerrar_ultima_seccion();
    generar_archivo_NIT();
}

void tNIT::generar_cabecera_primera_section()
{
    // The doubled blank and " =  and" are what the log readers expect.
    tavel::log(LOG_INFO, "Generate NIT first section header. Network id: %d =  and version = %d", network_id,
               version);
    data_size = 0;
    seccion_actual = std::make_unique<SISectionNIT>(table_id);
    seccion_actual->section_syntax_indicator = 1;
    seccion_actual->section_length = nit::kFixedSectionLength;
    seccion_actual->network_id = network_id;
    seccion_actual->version_number = version;
    seccion_actual->current_next_indicator = 1;
    seccion_actual->section_number = 0;
    seccion_actual->network_descriptors_length = 0;
    seccion_actual->transport_stream_loop_length = 0;
    tavel::log(LOG_DEBUG, "generar_cabecera_primera_section: FIN");
}

void tNIT::generar_cabecera_section()
{
    tavel::log(LOG_INFO, "Generate NIT section header");
    seccion_actual = std::make_unique<SISectionNIT>(table_id);
    if (!secciones.empty() && secciones.back()) {
        const SISectionNIT& previous = *secciones.back();
        seccion_actual->section_syntax_indicator = previous.section_syntax_indicator;
        seccion_actual->network_id = previous.network_id;
        seccion_actual->version_number = previous.version_number;
        seccion_actual->current_next_indicator = previous.current_next_indicator;
        seccion_actual->section_number = static_cast<uint8_t>(previous.section_number + 1);
    }
    seccion_actual->section_length = nit::kFixedSectionLength;
    seccion_actual->network_descriptors_length = 0;
    seccion_actual->transport_stream_loop_length = 0;
    tavel::log(LOG_DEBUG, "generar_cabecera_section: FIN");
}

void tNIT::generar_network_name_descriptor()
{
    tavel::log(LOG_INFO, "Generate network descriptor with network name %s", network_name.c_str());
    if (!seccion_actual)
        generar_cabecera_primera_section();
    auto name = std::make_shared<DescriptorNetworkName>(network_name);
    name->generateDataVector();
    // No room check: the name always opens section 0.
    nit::add_loop_bytes(*seccion_actual, seccion_actual->network_descriptors_length, nit::loop_bytes(*name));
    seccion_actual->network_descriptors.items.push_back(std::move(name));
}

void tNIT::generar_network_descriptors()
{
    // "%ud" prints the id followed by a 'd'; the log readers match it so.
    tavel::log(LOG_INFO, "Generate network descriptor with network id %ud", static_cast<unsigned>(network_id));
    if (!seccion_actual)
        generar_cabecera_primera_section();
    for (const auto& patron : nitPatron.patrones) {
        if (!patron)
            continue;
        for (const auto& seccion : patron->secciones) {
            if (!seccion)
                continue;
            for (const auto& d : seccion->network_descriptors.items) {
                if (!d)
                    continue;
                const unsigned tag = d->descriptor_tag;
                if (tag == kStuffingTag || tag == kCellListTag)
                    continue;
                // With a network id of our own the generator has written the name already.
                if (tag == kNetworkNameTag && network_id != 0)
                    continue;
                if (tag == kLinkageTag) {
                    auto linkage = std::dynamic_pointer_cast<DescriptorLinkage>(d);
                    if (!linkage || !linkage_type_follows_service(linkage->linkage_type))
                        continue;
                    if (!retarget_linkage(*linkage, salidas))
                        continue;
                    // The pattern's own object is rewritten: it is shared, not copied.
                    linkage->generateDataVector();
                }
                const int free = nit::kSectionCapacity - seccion_actual->network_descriptors_length;
                if (free < static_cast<int>(nit::loop_bytes(*d)))
                    cerrar_seccion(false);
                nit::add_loop_bytes(*seccion_actual, seccion_actual->network_descriptors_length, nit::loop_bytes(*d));
                seccion_actual->network_descriptors.items.push_back(d);
            }
        }
    }
}

void tNIT::cerrar_seccion(bool ultima)
{
    tavel::log(LOG_DEBUG, "cerrar_seccion");
    if (!seccion_actual)
        return;
    SISectionNIT& s = *seccion_actual;
    s.section_length =
        static_cast<uint16_t>(s.section_length + s.network_descriptors_length + s.transport_stream_loop_length);
    data_size += s.section_length + 3u;
    secciones.push_back(std::move(seccion_actual));
    if (!ultima)
        generar_cabecera_section();
}

void tNIT::cerrar_ultima_seccion()
{
    tavel::log(LOG_DEBUG, "cerrar_ultima_seccion");
    uint8_t last = 0;
    if (seccion_actual)
        last = seccion_actual->section_number;
    else if (!secciones.empty() && secciones.back())
        last = secciones.back()->section_number;
    cerrar_seccion(true);
    const bool debug = log_wanted(LOG_DEBUG);
    std::vector<char> image;
    for (auto& seccion : secciones) {
        if (!seccion)
            continue;
        seccion->last_section_number = last;
        seal_section(*seccion, image, debug);
    }
}

} // namespace tavel
