// The NIT with tavel::tNIT: cable outputs with their service lists.
#include <tavel/delivery_descriptors.h>
#include <tavel/nit.h>
#include <tavel/service_descriptors.h>

#include "tavel_side.h"

namespace peer::tavel_side {

std::vector<char> generate_nit(const std::vector<Stream>& streams)
{
    tavel::tNIT nit("DEU", kNetworkId, kNetworkName, 1, 0, 0x40);
    for (const Stream& s : streams) {
        tavel::datos_salidas& out = nit.salidas[s.tsid];
        out.tipo_salida = 1; // cable
        out.tsid = s.tsid;
        out.onid = kOriginalNetworkId;
        out.frecuencia = s.frequency_hz / 1000;
        out.modulacion = static_cast<uint16_t>(s.modulation - 1); // index; the code sent is index + 1
        out.symbol_rate = static_cast<uint16_t>(s.symbol_rate_ksym);
        for (uint16_t sid : s.sids) {
            tavel::datos_servicios& svc = out.servicios[sid];
            svc.sid = sid;
            svc.tipo_servicio = 0x01;
        }
    }
    // generarNIT without its last step, which writes the file.
    nit.generar_cabecera_primera_section();
    nit.generar_network_name_descriptor();
    nit.generar_TS_loop();
    nit.cerrar_ultima_seccion();
    std::vector<char> bytes;
    nit.generarNITBufferChar(bytes, false);
    return bytes;
}

Parsed parse_nit(const std::vector<char>& table)
{
    Parsed r;
    tavel::tNIT nit;
    nit.procesarNIT(table);
    r.tables = nit.secciones.empty() ? 0 : 1;
    for (const auto& section : nit.secciones) {
        for (const auto& d : section->network_descriptors.items) {
            ++r.descriptors;
            if (d->descriptor_tag == 0x40)
                r.checksum += d->descriptor_length;
        }
        for (const auto& ts : section->transport_streams.items) {
            ++r.entries;
            r.checksum += ts->transport_stream_id + ts->original_network_id;
            for (const auto& d : ts->descriptores.items) {
                ++r.descriptors;
                if (auto* c = dynamic_cast<tavel::DescriptorCableDeliverySystem*>(d.get()))
                    r.checksum += c->frequency + c->symbol_rate + c->modulation;
                else if (auto* l = dynamic_cast<tavel::DescriptorServiceList*>(d.get()))
                    for (const auto& s : l->services)
                        r.checksum += s.service_id + s.service_type;
            }
        }
    }
    return r;
}

} // namespace peer::tavel_side
