// Caller-filled records of the outgoing network: one output transport
// stream and one service re-multiplexed into it. Shared by NIT and SDT.
#ifndef TAVEL_SERVICE_RECORDS_H
#define TAVEL_SERVICE_RECORDS_H

#include <cstdint>
#include <map>
#include <string>

#include <tavel/export.h>

namespace tavel {

struct TAVEL_API datos_servicios {
    uint16_t sid = 0;          // service_id in the output TS
    uint16_t sid_entrada = 0;  // service_id in its input TS
    uint16_t tsid_entrada = 0; // transport_stream_id of the input TS
    uint16_t onid_entrada = 0; // original_network_id of the input TS
    uint16_t lcn = 0;          // logical channel number
    uint16_t spare = 0;        // kept for the callers; not read by the library
    uint16_t tipo_servicio = 0; // DVB service_type (low 8 bits used)
    uint16_t Descifrar = 0;    // non-zero: the headend descrambles the service
    uint8_t cifrado = 0;       // scrambled flag of the output
    std::string nombre;        // service name (UTF-8)
    uint16_t cambiar_nombre = 0; // 1: the name replaces the pattern's
    std::string proveedor;     // provider name
};

struct TAVEL_API datos_salidas {
    uint16_t tipo_salida = 0;      // 0 terrestrial, 1 cable, other: no delivery descriptor
    uint16_t tsid = 0;
    uint16_t onid = 0;
    uint32_t frecuencia = 0;       // kHz
    uint16_t ancho_banda = 0;      // terrestrial bandwidth code
    uint16_t modo_transmision = 0; // terrestrial transmission_mode code
    uint16_t intervalo_guarda = 0; // terrestrial guard_interval code
    uint16_t modulacion = 0;       // terrestrial constellation; cable: index (code sent = index + 1)
    uint16_t code_rate = 0;        // terrestrial code_rate_HP_stream
    uint16_t symbol_rate = 0;      // cable, ksymbol/s
    std::map<uint16_t, datos_servicios> servicios; // by output service_id
};

} // namespace tavel

#endif
