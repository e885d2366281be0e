// The TOT with tavel::tTOT; parsed back through the descriptor factory, as
// the library has no TOT parser of its own.
#include <string>

#include <tavel/coding.h>
#include <tavel/network_descriptors.h>
#include <tavel/tot.h>

#include "tavel_side.h"

namespace peer::tavel_side {

std::vector<char> generate_tot(const std::vector<Offset>& offsets, int64_t unix_time)
{
    unsigned long long utc = 0;
    tavel::std_time_to_mjd_utc(static_cast<unsigned long>(unix_time), utc);
    tavel::tTOT tot;
    tot.offsets.push_back(offsets.empty() ? std::string("ESP") : offsets.front().country);
    for (const Offset& o : offsets)
        tot.offsets.push_back(std::to_string(o.current_s) + " " + std::to_string(o.next_s) + " " +
                              std::to_string(o.change_unix));
    // generarTOT without its last step, which writes the file.
    tot.generar_cabecera_primera_section(utc);
    tot.generar_descriptors_loop();
    tot.cerrar_ultima_seccion();
    std::vector<char> out;
    for (const auto& section : tot.sections)
        section->copy_section_to_buffer(out, false);
    return out;
}

Parsed parse_tot(const std::vector<char>& table)
{
    Parsed r;
    auto at = [&](size_t i) { return static_cast<uint8_t>(table[i]); };
    if (table.size() < 10)
        return r;
    size_t end = 3 + (((at(1) & 0x0F) << 8) | at(2));
    if (end > table.size() || end < 14)
        return r;
    ++r.tables;
    uint64_t utc = 0;
    for (size_t i = 3; i < 8; ++i)
        utc = (utc << 8) | at(i);
    r.checksum += utc;
    size_t loop_end = 10 + (((at(8) & 0x0F) << 8) | at(9));
    if (loop_end > end - 4)
        loop_end = end - 4;
    for (size_t p = 10; p + 2 <= loop_end;) {
        size_t len = at(p + 1);
        if (p + 2 + len > loop_end)
            break;
        auto d = tavel::Descriptor::getPtrDescriptorType(at(p));
        d->descriptor_tag = at(p);
        d->descriptor_length = static_cast<unsigned char>(len);
        d->data.assign(table.begin() + static_cast<long>(p + 2), table.begin() + static_cast<long>(p + 2 + len));
        d->procesarDatos();
        ++r.descriptors;
        if (d->descriptor_tag == 0x58) { // the factory's class for the tag
            const auto* lto = static_cast<const tavel::DescriptorLocalTimeOffset*>(d.get());
            for (const auto& e : lto->offsets) {
                ++r.entries;
                r.checksum += e.local_time_offset + e.next_time_offset + e.time_of_change + e.country_region_id;
            }
        }
        p += 2 + len;
    }
    return r;
}

} // namespace peer::tavel_side
