// Pattern SDTs come from input streams: any bytes must parse, be collected,
// feed a generation and serialise without stepping outside a buffer.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <tavel/sdt.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<char> buffer(reinterpret_cast<const char*>(data), reinterpret_cast<const char*>(data) + size);

    tavel::tSDT parsed;
    parsed.procesarSDT(reinterpret_cast<const char*>(data), static_cast<unsigned short>(size & 0xFFFF), true);
    parsed.getSDTVersion();
    parsed.getMaxSectionNumber();
    parsed.compareSDT(buffer);

    tavel::SDTPatron patterns;
    patterns.addSDTPatron(buffer);
    patterns.addSDTPatron(buffer);

    // Re-emit every service the patterns hold, with and without descrambling.
    auto sdt = std::make_unique<tavel::tSDT>(0x42, 1, 2, 3, 0);
    sdt->patrones = &patterns;
    uint16_t key = 0;
    for (const auto& pattern : patterns.sdts) {
        for (const auto& section : pattern->secciones) {
            for (const auto& service : section->services.items) {
                tavel::datos_servicios record;
                record.sid = key;
                record.sid_entrada = service->service_id;
                record.tsid_entrada = section->transport_stream_id;
                record.onid_entrada = section->original_network_id;
                record.tipo_servicio = key;
                record.Descifrar = key & 1;
                record.cambiar_nombre = (key >> 1) & 1;
                record.nombre = "fuzz";
                sdt->servicios[key++] = record;
            }
        }
    }
    sdt->generarSDT();
    std::vector<char> out;
    sdt->getSDT(out, false);
    sdt->getSDT(out, true);

    std::unique_ptr<tavel::tSDT> back = std::make_unique<tavel::tSDT>();
    back->procesarSDT(out, false);
    sdt->isSameTable(back);
    sdt->compareSDT(back);
    return 0;
}
