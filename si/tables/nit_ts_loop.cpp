// NIT generation: the transport stream loop, one entry per output, with its
// delivery system, service list, pattern and LCN descriptors.
#include <tavel/nit.h>

#include <syslog.h>

#include <algorithm>
#include <utility>

#include <tavel/delivery_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "si/descriptors/descriptor_arena.h"
#include "si/tables/nit_generation.h"

namespace tavel {

namespace {

constexpr unsigned char kPrivateDataSpecifierTag = 0x5F;

constexpr unsigned long kPdsEacem = 0x28;
constexpr unsigned long kPdsNordig = 0x29;
constexpr unsigned long kPdsFreeview = 0x233A;
constexpr unsigned long kPdsFrance = 0x37;

// Descriptors of a pattern TS entry that the generator always makes itself.
bool never_taken_from_pattern(unsigned tag)
{
    switch (tag) {
    case 0x41: // service list
    case 0x42: // stuffing
    case 0x43: // satellite delivery
    case 0x44: // cable delivery
    case 0x5A: // terrestrial delivery
    case 0x62: // frequency list
    case 0x6D: // cell frequency link
    case 0x79: // S2 satellite delivery
    case 0x83: // logical channel numbers
        return true;
    default:
        return false;
    }
}

// True when a pattern specifier is the one the LCN flavour lives under.
bool specifier_matches_flavour(unsigned long value, unsigned tipo_lcn)
{
    switch (tipo_lcn) {
    case 1:
        return value == kPdsEacem;
    case 2:
    case 3:
        return value == kPdsNordig;
    case 5:
        return value == kPdsFreeview;
    case 6:
        return value == kPdsFrance;
    default:
        return false;
    }
}

// The specifier written in front of an LCN descriptor when no pattern gave one.
unsigned long specifier_for_flavour(unsigned tipo_lcn)
{
    switch (tipo_lcn) {
    case 1:
        return kPdsEacem;
    case 5:
        return kPdsFreeview;
    case 6:
        return kPdsFrance;
    default:
        return kPdsNordig;
    }
}

unsigned long specifier_value(const std::shared_ptr<Descriptor>& d)
{
    if (auto pds = std::dynamic_pointer_cast<DescriptorPrivateDataSpecifier>(d))
        return pds->private_data_specifier;
    return bytes::Reader(d->data).u32(0);
}

// Countries whose terrestrial delivery descriptor carries no real parameters.
bool publishes_no_terrestrial_parameters(const std::string& pais)
{
    return pais == "FRA" || pais == "GLP" || pais == "MTQ" || pais == "REU" || pais == "NCL";
}

// From the loop's arena; the public one-descriptor steps have none.
template <typename T, typename... Args>
std::shared_ptr<T> make_descriptor(DescriptorArena* arena, Args&&... args)
{
    if (arena != nullptr)
        return arena->make<T>(std::forward<Args>(args)...);
    return std::make_shared<T>(std::forward<Args>(args)...);
}

void append_descriptor(NITTS& ts, std::shared_ptr<Descriptor> d)
{
    ts.transport_descriptors_length = static_cast<uint16_t>(ts.transport_descriptors_length + nit::loop_bytes(*d));
    ts.descriptores.items.push_back(std::move(d));
}

// The delivery and list descriptors of the generation steps below; the
// public steps log their milestone and call these, the TS loop logs it only
// when the mask lets it through.
void add_cable_delivery(const datos_salidas& salida, NITTS& ts, DescriptorArena* arena)
{
    // The outputs hold a modulation index; the wire code is one above it. FEC outer RS(204/188), inner none.
    auto cable = make_descriptor<DescriptorCableDeliverySystem>(
        arena, salida.frecuencia, static_cast<unsigned long>(salida.symbol_rate),
        static_cast<unsigned char>((salida.modulacion + 1) & 0xFF), 2, 15);
    cable->generateDataVector();
    append_descriptor(ts, std::move(cable));
}

void add_terrestrial_delivery(const datos_salidas& salida, const std::string& pais, NITTS& ts,
                              DescriptorArena* arena)
{
    std::shared_ptr<DescriptorTerrestrialDeliverySystem> terrestrial;
    if (publishes_no_terrestrial_parameters(pais)) {
        // These territories publish no real terrestrial parameters; receivers there expect this form.
        terrestrial =
            make_descriptor<DescriptorTerrestrialDeliverySystem>(arena, 0xFFFFFFFFUL, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
    } else {
        terrestrial = make_descriptor<DescriptorTerrestrialDeliverySystem>(
            arena, salida.frecuencia, static_cast<unsigned char>(salida.ancho_banda), 1, 0, 0,
            static_cast<unsigned char>(salida.modulacion), 0, static_cast<unsigned char>(salida.code_rate), 7,
            static_cast<unsigned char>(salida.intervalo_guarda), static_cast<unsigned char>(salida.modo_transmision),
            0);
    }
    terrestrial->generateDataVector();
    append_descriptor(ts, std::move(terrestrial));
}

void add_service_list(const datos_salidas& salida, NITTS& ts, DescriptorArena* arena)
{
    if (salida.servicios.empty())
        return;
    auto list = make_descriptor<DescriptorServiceList>(arena);
    list->services.reserve(salida.servicios.size());
    for (const auto& servicio : salida.servicios)
        list->addNewService(servicio.second.sid, static_cast<unsigned char>(servicio.second.tipo_servicio));
    list->generateDataVector();
    append_descriptor(ts, std::move(list));
}

bool ts_taken_from_pattern(const std::vector<std::pair<uint16_t, uint16_t>>& list, uint16_t tsid, uint16_t onid)
{
    return std::find(list.begin(), list.end(), std::make_pair(tsid, onid)) != list.end();
}

} // namespace

void tNIT::generar_TS_loop()
{
    tavel::log(LOG_INFO, "Generate TS Loop");
    if (salidas.empty())
        return;
    if (!seccion_actual)
        generar_cabecera_primera_section();
    // Checked once: lines the mask drops are not even built in the loop.
    const bool info = log_wanted(LOG_INFO);
    const bool debug = log_wanted(LOG_DEBUG);
    // The delivery and service list descriptors share a few blocks.
    DescriptorArena arena;
    // Look-ups by TSID below may add empty outputs; map iterators stay valid.
    for (auto it = salidas.begin(); it != salidas.end(); ++it) {
        const datos_salidas& salida = it->second;
        if (debug)
            tavel::log(LOG_DEBUG, "Generate TS Loop. TSID %hi y ONID %hi", salida.tsid, salida.onid);
        auto ts = std::make_unique<NITTS>(salida.tsid, salida.onid);
        // Delivery, service list, specifier and LCN: one allocation for the usual entry.
        ts->descriptores.items.reserve(4);
        if (debug)
            tavel::log(LOG_DEBUG, "Tipo Salida %u", static_cast<unsigned>(salida.tipo_salida));

        if (salida.tipo_salida == 1) {
            if (info)
                tavel::log(LOG_INFO, "Generate cable delivery descriptor");
            add_cable_delivery(salida, *ts, &arena);
        } else if (salida.tipo_salida == 0) {
            if (info)
                tavel::log(LOG_INFO, "Generate terrestrial delivery system descriptor");
            add_terrestrial_delivery(salida, pais, *ts, &arena);
        }

        if (con_service_list == 1) {
            if (info)
                tavel::log(LOG_INFO, "Generate service list descriptor");
            // May add an empty output under that TSID, as it always has.
            add_service_list(salidas[salida.tsid], *ts, &arena);
        }

        unsigned short pds_position = 0;
        for (const auto& patron : nitPatron.patrones) {
            if (!patron)
                continue;
            if (debug)
                tavel::log(LOG_DEBUG, "NIT patron con NID %i", patron->secciones.empty() || !patron->secciones.front()
                                                                       ? 0
                                                                       : patron->secciones.front()->network_id);
            for (const auto& seccion : patron->secciones) {
                if (!seccion)
                    continue;
                for (const auto& entry : seccion->transport_streams.items) {
                    if (!entry)
                        continue;
                    if (debug)
                        tavel::log(LOG_DEBUG, "buscamos TSID %hu ONID %hu", entry->transport_stream_id,
                                   entry->original_network_id);
                    if (!ts_taken_from_pattern(ts_desde_patron, entry->transport_stream_id,
                                               entry->original_network_id))
                        continue;
                    if (debug)
                        tavel::log(LOG_DEBUG, "SE COGEN DESCRIPTORES DEL TS: %hu %hu PARA LA NIT DE SALIDA",
                                   entry->transport_stream_id, entry->original_network_id);
                    for (const auto& d : entry->descriptores.items) {
                        if (!d)
                            continue;
                        if (debug)
                            tavel::log(LOG_DEBUG, "DESCRIPTOR ID %i", d->descriptor_tag);
                        if (never_taken_from_pattern(d->descriptor_tag))
                            continue;
                        if (d->descriptor_tag == kPrivateDataSpecifierTag) {
                            if (specifier_matches_flavour(specifier_value(d), tipo_lcn))
                                pds_position = static_cast<unsigned short>(ts->descriptores.items.size() + 1);
                        } else {
                            if (debug)
                                tavel::log(LOG_DEBUG, "Insertamos descriptor con id %hhu y tamaño %hhu",
                                           d->descriptor_tag, d->descriptor_length);
                        }
                        // Shared with the pattern, not copied.
                        append_descriptor(*ts, d);
                    }
                }
            }
        }

        if (tipo_lcn != 0)
            generate_lcn_descriptor(salida.tsid, tipo_lcn, pds_position, ts);

        // An entry is never split: one that does not fit opens the next section.
        const unsigned short needed = static_cast<unsigned short>(ts->transport_descriptors_length + 6);
        const int free = nit::kSectionCapacity - seccion_actual->network_descriptors_length -
                         seccion_actual->transport_stream_loop_length;
        if (free < needed)
            cerrar_seccion(false);
        nit::add_loop_bytes(*seccion_actual, seccion_actual->transport_stream_loop_length, needed);
        seccion_actual->transport_streams.items.push_back(std::move(ts));
    }
}

void tNIT::generate_cable_delivery_system_descriptor(const datos_salidas& salida, std::unique_ptr<NITTS>& ts)
{
    tavel::log(LOG_INFO, "Generate cable delivery descriptor");
    add_cable_delivery(salida, *ts, nullptr);
}

void tNIT::generate_terrestrial_delivery_system_descriptor(const datos_salidas& salida, std::unique_ptr<NITTS>& ts)
{
    tavel::log(LOG_INFO, "Generate terrestrial delivery system descriptor");
    add_terrestrial_delivery(salida, pais, *ts, nullptr);
}

void tNIT::generate_service_list_descriptor(unsigned short tsid, std::unique_ptr<NITTS>& ts)
{
    tavel::log(LOG_INFO, "Generate service list descriptor");
    add_service_list(salidas[tsid], *ts, nullptr);
}

void tNIT::generate_lcn_descriptor(unsigned short tsid, unsigned short tipo_lcn, unsigned short pds_position,
                                   std::unique_ptr<NITTS>& ts)
{
    tavel::log(LOG_INFO, "Generate lcn descriptor");
    const datos_salidas& salida = salidas[tsid];
    tavel::log(LOG_DEBUG, "serviciosSalidaSize %i", static_cast<int>(salida.servicios.size()));
    if (salida.servicios.empty())
        return;

    auto lcn = std::make_shared<DescriptorLCN>(tipo_lcn);
    for (const auto& servicio : salida.servicios)
        lcn->addNewService(servicio.second.sid, 1, servicio.second.lcn);
    lcn->generateDataVector();
    if (lcn->data.empty())
        return;

    auto& list = ts->descriptores.items;
    ts->transport_descriptors_length = static_cast<uint16_t>(ts->transport_descriptors_length + nit::loop_bytes(*lcn));
    if (tipo_lcn == 4) {
        // This flavour's receivers look for the LCN first and know no specifier.
        list.insert(list.begin(), std::move(lcn));
    } else if (pds_position != 0) {
        // Directly behind the specifier taken over from the pattern.
        const size_t at = std::min<size_t>(pds_position, list.size());
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), std::move(lcn));
    } else {
        auto pds = std::make_shared<DescriptorPrivateDataSpecifier>(specifier_for_flavour(tipo_lcn));
        pds->generateDataVector();
        append_descriptor(*ts, std::move(pds));
        list.push_back(std::move(lcn));
    }
}

} // namespace tavel
