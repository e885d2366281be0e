#include <tavel/sdt.h>

#include <syslog.h>

#include <tavel/constants.h>
#include <tavel/service_descriptors.h>

#include "platform/log.h"
#include "si/descriptors/descriptor_arena.h"
#include "si/sections/section_seal.h"

namespace tavel {

namespace {

constexpr uint8_t kServiceDescriptorTag = 0x48;
constexpr uint8_t kRunning = 4;

// A working copy of a pattern's service descriptor. The factory always makes
// a DescriptorService for tag 0x48; anything else carrying that tag is
// decoded from its payload.
std::shared_ptr<DescriptorService> copy_service_descriptor(const std::shared_ptr<Descriptor>& original,
                                                           DescriptorArena& arena)
{
    if (auto typed = std::dynamic_pointer_cast<DescriptorService>(original))
        return arena.make<DescriptorService>(*typed);
    auto decoded = arena.make<DescriptorService>();
    decoded->descriptor_tag = original->descriptor_tag;
    decoded->descriptor_length = original->descriptor_length;
    decoded->data = original->data;
    decoded->procesarDatos();
    return decoded;
}

} // namespace

void tSDT::generarSDT()
{
    generar_cabecera_primera_section();
    generar_service_loop();
    cerrar_ultima_seccion();
}

void tSDT::generar_cabecera_primera_section()
{
    data_size = 0;
    seccionActual = std::make_unique<SISectionSDT>(static_cast<unsigned char>(table_id & 0xFF));
    seccionActual->section_syntax_indicator = 1;
    seccionActual->current_next_indicator = 1;
    seccionActual->section_length = 12;
    seccionActual->version_number = static_cast<uint8_t>(version_number);
    seccionActual->section_number = 0;
    seccionActual->transport_stream_id = transport_stream_id;
    seccionActual->original_network_id = original_network_id;
}

SISectionSDT* tSDT::generar_cabecera_section()
{
    if (secciones.empty()) {
        // Nothing to follow yet: this is a first section.
        generar_cabecera_primera_section();
        return seccionActual.get();
    }
    const SISectionSDT& previous = *secciones.back();
    seccionActual = std::make_unique<SISectionSDT>(static_cast<unsigned char>(table_id & 0xFF));
    seccionActual->section_syntax_indicator = previous.section_syntax_indicator;
    seccionActual->transport_stream_id = previous.transport_stream_id;
    seccionActual->version_number = previous.version_number;
    seccionActual->current_next_indicator = previous.current_next_indicator;
    seccionActual->original_network_id = previous.original_network_id;
    seccionActual->section_number = static_cast<uint8_t>(previous.section_number + 1);
    seccionActual->section_length = 12;
    return seccionActual.get();
}

void tSDT::generar_service_loop()
{
    num_service = 0;
    // Checked once: with debug masked, the loop builds no log line at all.
    const bool debug = log_wanted(LOG_DEBUG);
    if (debug)
        tavel::log(LOG_DEBUG, "generar_service_loop");
    if (servicios.empty())
        return;
    if (!seccionActual)
        generar_cabecera_section();

    // Entries and their service descriptors share a few blocks.
    DescriptorArena arena;
    for (const auto& entry : servicios) {
        const datos_servicios& record = entry.second;
        if (debug)
            tavel::log(LOG_DEBUG, "generar_service_loop service id %hu", record.sid);
        std::shared_ptr<SDTServices> input = existServiceSDTpatrones(record);
        auto service = arena.make<SDTServices>(record.sid, 0, 0, 0, 0);

        if (input) {
            service->running_status = input->running_status;
            if (debug)
                tavel::log(LOG_DEBUG,
                           "generar_service_loop modoScrambling %i SDTServiceEntrada->free_CA_mode %i "
                           "ervicioActual.second.Descifrar %i",
                           modoScrambling, input->free_CA_mode, record.Descifrar);
            if (modoScrambling != 0) {
                service->free_CA_mode = 1;
            } else {
                if (debug)
                    tavel::log(LOG_DEBUG,
                               "generar_service_loop SDTServiceEntrada->free_CA_mode %i "
                               "ervicioActual.second.Descifrar %i",
                               input->free_CA_mode, record.Descifrar);
                if (input->free_CA_mode == 1 && record.Descifrar != 0) {
                    service->free_CA_mode = 0;
                    // Written back into the pattern on purpose: every later output
                    // of this input service sees it in the clear as well.
                    input->free_CA_mode = 0;
                } else {
                    service->free_CA_mode = input->free_CA_mode;
                }
            }

            for (const auto& descriptor : input->descriptores.items) {
                if (descriptor->descriptor_tag != kServiceDescriptorTag) {
                    // Shared with the pattern, not copied: it goes out byte for byte.
                    service->descriptores.items.push_back(descriptor);
                    service->descriptors_loop_length =
                        static_cast<uint16_t>(service->descriptors_loop_length + descriptor->descriptor_length + 2);
                    continue;
                }
                auto copy = copy_service_descriptor(descriptor, arena);
                copy->setProvider(constants::kMakerLabel);
                if (debug)
                    tavel::log(LOG_DEBUG,
                               "generar_service_loop Cambiando provider de servicio con SID %hu a %s de tamaño %i",
                               record.sid, constants::kMakerLabel, static_cast<int>(record.proveedor.size()));
                if (record.cambiar_nombre == 1) {
                    if (debug)
                        tavel::log(LOG_DEBUG,
                                   "generar_service_loop Cambiando nombre de servicio con SID %hu a %s de tamaño %i",
                                   service->service_id, record.nombre.c_str(),
                                   static_cast<int>(record.nombre.size()));
                    copy->setName(record.nombre);
                }
                if (debug)
                    tavel::log(LOG_DEBUG, "generar_service_loop TIPO SALIDA %i", record.tipo_servicio);
                copy->service_type = static_cast<unsigned char>(record.tipo_servicio & 0xFF);
                copy->generateDataVector();
                service->descriptors_loop_length =
                    static_cast<uint16_t>(service->descriptors_loop_length + copy->descriptor_length + 2);
                service->descriptores.items.push_back(std::move(copy));
            }
        } else {
            service->running_status = kRunning;
            if (modoScrambling != 0)
                service->free_CA_mode = 1;
            else if (record.Descifrar != 0)
                service->free_CA_mode = 0;
            else
                service->free_CA_mode = record.cifrado != 0 ? 1 : 0;
            auto fresh = arena.make<DescriptorService>(static_cast<unsigned char>(record.tipo_servicio & 0xFF),
                                                       constants::kMakerLabel, record.nombre);
            fresh->generateDataVector();
            service->descriptors_loop_length = static_cast<uint16_t>(fresh->descriptor_length + 2);
            service->descriptores.items.push_back(std::move(fresh));
        }

        // Header (5 bytes) and descriptors must fit. An entry too big for an
        // empty section is placed all the same; there is no second check.
        if (seccionActual->espacio_libre_seccion <= service->descriptors_loop_length + 4)
            cerrar_seccion(false);

        if (debug)
            tavel::log(LOG_DEBUG, "generar_service_loop push back");
        const uint16_t entry_size = static_cast<uint16_t>(service->descriptors_loop_length + 5);
        seccionActual->services.items.push_back(std::move(service));
        seccionActual->espacio_libre_seccion = static_cast<uint16_t>(seccionActual->espacio_libre_seccion - entry_size);
        if (debug)
            tavel::log(LOG_DEBUG, "generar_service_loop seccionActual->espacio_libre_seccion %i",
                       seccionActual->espacio_libre_seccion);
        seccionActual->section_length = static_cast<uint16_t>(seccionActual->section_length + entry_size);
        if (debug)
            tavel::log(LOG_DEBUG, "generar_service_loop seccionActual->length %i", seccionActual->section_length);
        ++num_service;
        if (debug)
            tavel::log(LOG_DEBUG, "generar_service_loop num_service %i", num_service);
    }
}

void tSDT::cerrar_seccion(bool ultima)
{
    if (!seccionActual)
        return;
    data_size += seccionActual->section_length + 3u;
    tavel::log(LOG_DEBUG, "cerramos la seccion con size %i", static_cast<int>(data_size));
    secciones.push_back(std::move(seccionActual));
    if (!ultima)
        generar_cabecera_section();
}

void tSDT::cerrar_ultima_seccion()
{
    tavel::log(LOG_DEBUG, "cerrar_ultima_seccion");
    if (!seccionActual)
        return;
    const uint8_t last = seccionActual->section_number;
    cerrar_seccion(true);
    const bool debug = log_wanted(LOG_DEBUG);
    std::vector<char> image;
    // Every section held, including those of an earlier call: a second
    // generation appends its sections, and callers generate once per object.
    for (auto& section : secciones) {
        section->last_section_number = last;
        seal_section(*section, image, debug);
    }
}

} // namespace tavel
