// The NIT with tavel::tNIT: cable outputs with their service lists.
#include <tavel/delivery_descriptors.h>
#include <tavel/nit.h>
#include <tavel/service_descriptors.h>

#include <string>

#include "tavel_side.h"

namespace peer::tavel_side {

namespace {

void describe_outputs(tavel::tNIT& nit, const std::vector<Stream>& streams)
{
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
}

std::vector<char> sections_of(tavel::tNIT& nit)
{
    std::vector<char> bytes;
    nit.generarNITBufferChar(bytes, false);
    return bytes;
}

} // namespace

std::vector<char> generate_nit(const std::vector<Stream>& streams)
{
    tavel::tNIT nit("DEU", kNetworkId, kNetworkName, 1, 0, 0x40);
    describe_outputs(nit, streams);
    // generarNIT without its last step, which writes the file.
    nit.generar_cabecera_primera_section();
    nit.generar_network_name_descriptor();
    nit.generar_TS_loop();
    nit.cerrar_ultima_seccion();
    return sections_of(nit);
}

size_t describe_nit_only(const std::vector<Stream>& streams)
{
    tavel::tNIT nit("DEU", kNetworkId, kNetworkName, 1, 0, 0x40);
    describe_outputs(nit, streams);
    return nit.salidas.size();
}

std::vector<char> generate_nit_with_patterns(const std::vector<Stream>& streams,
                                             const std::vector<std::vector<char>>& patterns)
{
    tavel::tNIT nit("DEU", kNetworkId, kNetworkName, 1, 0, 0x40);
    describe_outputs(nit, streams);
    for (const auto& pattern : patterns)
        nit.addNITPatron(pattern);
    // Descriptors of the first input's first TS are carried over.
    nit.ts_desde_patron.emplace_back(1, 0x2000);
    // generarNIT without its last step, which writes the file.
    nit.generar_cabecera_primera_section();
    nit.generar_network_name_descriptor();
    nit.generar_network_descriptors();
    nit.generar_TS_loop();
    nit.cerrar_ultima_seccion();
    return sections_of(nit);
}

std::vector<std::vector<char>> pattern_nits(int count)
{
    std::vector<std::vector<char>> out;
    for (int n = 0; n < count; ++n) {
        const auto onid = static_cast<uint16_t>(0x2000 + n);
        tavel::tNIT nit("DEU", static_cast<uint16_t>(0x3100 + n), "Input " + std::to_string(n + 1), 1, 0, 0x40);
        for (int t = 0; t < 8; ++t) {
            const auto tsid = static_cast<uint16_t>(t + 1);
            tavel::datos_salidas& in = nit.salidas[tsid];
            in.tipo_salida = 1;
            in.tsid = tsid;
            in.onid = onid;
            in.frecuencia = 114000 + 8000 * static_cast<uint32_t>(t);
            in.modulacion = 2;
            in.symbol_rate = 6900;
            for (int k = 0; k < 10; ++k) {
                tavel::datos_servicios& svc = in.servicios[static_cast<uint16_t>(tsid * 1000 + k)];
                svc.sid = static_cast<uint16_t>(tsid * 1000 + k);
                svc.tipo_servicio = 0x19;
            }
        }
        nit.generar_cabecera_primera_section();
        nit.generar_network_name_descriptor();
        nit.generar_TS_loop();
        nit.cerrar_ultima_seccion();
        out.push_back(sections_of(nit));
    }
    return out;
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
                // The parser makes each descriptor's class from its tag, so the
                // tag says the type, as libdvbpsi's side reads it.
                if (d->descriptor_tag == 0x44) {
                    const auto* c = static_cast<const tavel::DescriptorCableDeliverySystem*>(d.get());
                    r.checksum += c->frequency + c->symbol_rate + c->modulation;
                } else if (d->descriptor_tag == 0x41) {
                    for (const auto& s : static_cast<const tavel::DescriptorServiceList*>(d.get())->services)
                        r.checksum += s.service_id + s.service_type;
                }
            }
        }
    }
    return r;
}

} // namespace peer::tavel_side
