// The SDT with tavel::tSDT: output services with no pattern SDT behind
// them, so each gets a fresh service descriptor.
#include <tavel/sdt.h>
#include <tavel/service_descriptors.h>

#include "tavel_side.h"

namespace peer::tavel_side {

std::vector<char> generate_sdt(const std::vector<Service>& services)
{
    tavel::SDTPatron no_patterns;
    tavel::tSDT sdt(0x42, kSdtTsid, kOriginalNetworkId, 0, 0);
    sdt.patrones = &no_patterns;
    for (const Service& s : services) {
        tavel::datos_servicios& svc = sdt.servicios[s.sid];
        svc.sid = s.sid;
        svc.sid_entrada = s.sid;
        svc.tipo_servicio = s.type;
        svc.nombre = s.name;
        svc.proveedor = kProvider;
    }
    sdt.generarSDT();
    std::vector<char> bytes;
    sdt.getSDT(bytes, false);
    return bytes;
}

Parsed parse_sdt(const std::vector<char>& table)
{
    Parsed r;
    tavel::tSDT sdt;
    sdt.procesarSDT(table, true);
    r.tables = sdt.secciones.empty() ? 0 : 1;
    for (const auto& section : sdt.secciones) {
        for (const auto& svc : section->services.items) {
            ++r.entries;
            r.checksum += svc->service_id + svc->running_status;
            for (const auto& d : svc->descriptores.items) {
                ++r.descriptors;
                if (d->descriptor_tag == 0x48) { // the class follows the tag
                    const auto* sd = static_cast<const tavel::DescriptorService*>(d.get());
                    r.checksum += sd->service_type + sd->service_name.size() + sd->provider_name.size();
                }
            }
        }
    }
    return r;
}

} // namespace peer::tavel_side
