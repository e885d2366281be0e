// The tables of one round of the crash test's writer, and file helpers of
// the tests around writing. Round r is carried in
// the NIT's network_id, the SDT's transport_stream_id and the TOT's time
// (1700000000 + r), so a reader can tell which round a file holds.
#ifndef TAVEL_TEST_TABLE_ROUNDS_H
#define TAVEL_TEST_TABLE_ROUNDS_H

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>

#include "platform/platform_path.h"

namespace tavel {
namespace test {

constexpr unsigned long kRoundEpoch = 1700000000UL;

// By default 30 cable outputs of 8 services: three NIT sections.
inline std::unique_ptr<tNIT> round_nit(unsigned r, uint16_t outputs = 30)
{
    auto nit = std::make_unique<tNIT>("ESP", static_cast<unsigned short>(r), "round " + std::to_string(r), 1, 1, 0x40);
    nit->version = static_cast<uint8_t>(r % 32);
    for (uint16_t t = 1; t <= outputs; ++t) {
        datos_salidas& out = nit->salidas[t];
        out.tipo_salida = 1;
        out.tsid = t;
        out.onid = 0x22D4;
        for (uint16_t s = 1; s <= 8; ++s)
            out.servicios[static_cast<uint16_t>(t * 16 + s)].lcn = static_cast<uint16_t>(t * 10 + s);
    }
    return nit;
}

inline std::vector<char> round_sdt(unsigned r)
{
    SDTPatron none;
    tSDT sdt(0x42, static_cast<unsigned short>(r), 0x22D4, r % 32, 0);
    sdt.patrones = &none;
    for (uint16_t s = 1; s <= 6; ++s) {
        datos_servicios& rec = sdt.servicios[s];
        rec.sid = s;
        rec.tipo_servicio = 1;
        rec.nombre = "Round " + std::to_string(r) + "." + std::to_string(s);
    }
    sdt.generarSDT();
    std::vector<char> bytes;
    sdt.getSDT(bytes, false);
    return bytes;
}

inline unsigned long long round_utc(unsigned r)
{
    unsigned long long utc = 0;
    std_time_to_mjd_utc(kRoundEpoch + r, utc);
    return utc;
}

// The table files, as the headend's programs name them under TAVEL_ROOT.
inline std::vector<std::string> round_files()
{
    const std::string dir = platform_path("/tavel/datosWeb/tablasSI/");
    return {dir + "NIT_table_aux", dir + "SDT_table", dir + "TOT_table"};
}

// Writes round r, NIT first; the NIT and TOT through their generators' own
// file writes. True when the TOT and SDT were written (the NIT says nothing).
inline bool write_round(unsigned r)
{
    round_nit(r)->generarNIT();
    tTOT tot;
    tot.offsets = {"ESP", "3600 7200 1711846800"};
    const bool tot_written = tot.generarTOT(round_utc(r), true) == 1;
    return write_char_vector_to_file(round_sdt(r), round_files()[1], false) && tot_written;
}

// Round r built and sealed in memory: what write_round puts in the files.
inline std::vector<std::vector<char>> round_bytes(unsigned r, uint16_t outputs = 30)
{
    std::vector<std::vector<char>> files(3);
    auto nit = round_nit(r, outputs);
    nit->generar_cabecera_primera_section();
    nit->generar_network_name_descriptor();
    nit->generar_TS_loop();
    nit->cerrar_ultima_seccion();
    nit->generarNITBufferChar(files[0], false);
    files[1] = round_sdt(r);
    tTOT tot;
    tot.offsets = {"ESP", "3600 7200 1711846800"};
    tot.generar_cabecera_primera_section(round_utc(r));
    tot.generar_descriptors_loop();
    tot.cerrar_ultima_seccion();
    tot.sections[0]->copy_section_to_buffer(files[2], true, false);
    return files;
}

// Sorted, without the dot entries. Through std::filesystem: a 32-bit
// readdir() gets nothing under qemu-user on a 64-bit host's file system.
inline std::vector<std::string> names_in(const std::string& dir)
{
    std::vector<std::string> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec))
        if (it->path().filename().string()[0] != '.')
            names.push_back(it->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace test
} // namespace tavel

#endif
