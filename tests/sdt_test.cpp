// SDT generation from pattern SDTs, output as actual and other, comparison
// and the pattern collection. Expected sections are written out byte by byte,
// CRC_32 included.
#include <gtest/gtest.h>

#include <syslog.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/sdt.h>

#include "platform/log.h"
#include "tests/test_support.h"

namespace {

using tavel::datos_servicios;
using tavel::SDTPatron;
using tavel::tSDT;
using tavel::test::hex;
using tavel::test::to_hex;

// An input SDT as received: tsid 0x0010, onid 0x0020, version 3.
const char* const kPatternSdt =
    "42 F0 4D"             // table_id actual, section_length 77
    " 00 10 C7 00 00"      // tsid 0x0010, version 3, current, section 0 of 0
    " 00 20 FF"            // onid 0x0020, reserved
    // 0x0101: both EIT flags, running, in the clear, 33 bytes of descriptors
    " 01 01 FF 80 21"
    "   5F 04 00 00 00 28" // private data specifier 0x28
    "   48 0A 01 03 15 41 42 04 15 43 44 45" // service: TV, provider \x15AB, name \x15CDE
    "   4A 08 00 10 00 20 01 01 05 EE"       // linkage with one private byte
    "   80 03 AA BB CC"    // private descriptor nobody here knows
    " 01 02 FD 50 00"      // 0x0102: pausing, scrambled, no descriptors
    " 01 03 FC 80 0C"      // 0x0103: running, in the clear
    "   48 0A 19 03 15 41 42 04 15 43 44 45" // service: type 0x19, AB, CDE
    " 01 04 FC 80 00"      // 0x0104: running, in the clear, no descriptors
    " 6D 0A 4B 04";        // CRC_32

datos_servicios record(uint16_t sid, uint16_t sid_entrada, uint16_t tipo, const std::string& nombre)
{
    datos_servicios r;
    r.sid = sid;
    r.sid_entrada = sid_entrada;
    r.tsid_entrada = 0x0010;
    r.onid_entrada = 0x0020;
    r.tipo_servicio = tipo;
    r.nombre = nombre;
    return r;
}

// The output table every case uses: tsid 0x0457, onid 0x22D4, version 7.
struct Output {
    explicit Output(uint16_t modoScrambling = 0)
        : sdt(std::make_unique<tSDT>(0x42, 0x0457, 0x22D4, 7, modoScrambling))
    {
        patterns.addSDTPatron(hex(kPatternSdt));
        sdt->patrones = &patterns;
    }
    std::string generate()
    {
        sdt->generarSDT();
        std::vector<char> out;
        sdt->getSDT(out, false);
        return to_hex(out);
    }
    std::shared_ptr<tavel::SDTServices> pattern_service(size_t index)
    {
        return patterns.sdts.at(0)->secciones.at(0)->services.items.at(index);
    }
    SDTPatron patterns;
    std::unique_ptr<tSDT> sdt;
};

// A service not found in any pattern: fresh service descriptor, type 1.
std::vector<char> not_found_entry(uint16_t sid, const std::string& name)
{
    std::vector<char> e = hex("00 00 FC 80 00 48 00 01 06 15 54 41 56 45 4C 00 15");
    e[0] = static_cast<char>(sid >> 8);
    e[1] = static_cast<char>(sid);
    e[4] = static_cast<char>(12 + name.size()); // descriptors_loop_length
    e[6] = static_cast<char>(10 + name.size()); // descriptor_length
    e[15] = static_cast<char>(name.size() + 1); // service name length with its selector
    e.insert(e.end(), name.begin(), name.end());
    return e;
}

// Header of a section of the output table, with its loop and CRC.
std::string section(uint8_t number, uint8_t last, const std::vector<char>& loop, const std::string& crc)
{
    const size_t length = 8 + loop.size() + 4;
    std::vector<char> s = hex("42 00 00 04 57 CF 00 00 22 D4 FF");
    s[1] = static_cast<char>(0xF0 | (length >> 8));
    s[2] = static_cast<char>(length);
    s[6] = static_cast<char>(number);
    s[7] = static_cast<char>(last);
    s.insert(s.end(), loop.begin(), loop.end());
    const std::vector<char> c = hex(crc);
    s.insert(s.end(), c.begin(), c.end());
    return to_hex(s);
}

TEST(SdtGeneration, EmptyServicesGiveOneFifteenByteSection)
{
    tSDT sdt(0x42, 0x0457, 0x22D4, 7, 0);
    sdt.generarSDT();
    ASSERT_EQ(sdt.secciones.size(), 1u);
    EXPECT_EQ(sdt.data_size, 15u);
    EXPECT_EQ(sdt.num_service, 0u);
    EXPECT_EQ(sdt.seccionActual, nullptr);
    std::vector<char> out;
    sdt.getSDT(out, false);
    EXPECT_EQ(to_hex(out), to_hex(hex("42 F0 0C"         // actual, section_length 12
                                      " 04 57 CF 00 00"  // tsid, version 7 current, section 0 of 0
                                      " 22 D4 FF"        // onid, reserved
                                      " 44 4D E4 24"))); // CRC_32
}

TEST(SdtGeneration, FoundServiceKeepsDescriptorsAndMissingOneGetsFreshDescriptor)
{
    Output o;
    datos_servicios found = record(0x0201, 0x0101, 0x19, "Nuevo");
    found.proveedor = "Prov";
    o.sdt->servicios[1] = found;
    o.sdt->servicios[2] = record(0x0202, 0x0999, 0x02, "Radio");
    tavel::LogCapture log;
    EXPECT_EQ(o.generate(),
              to_hex(hex("42 F0 4B 04 57 CF 00 00 22 D4 FF" // section_length 75
                         // 0x0201 from 0x0101: running kept, EIT flags dropped, 36 bytes
                         " 02 01 FC 80 24"
                         "   5F 04 00 00 00 28"                          // shared, untouched
                         "   48 0D 19 06 15 54 41 56 45 4C 04 15 43 44 45" // type 0x19, TAVEL, name kept
                         "   4A 08 00 10 00 20 01 01 05 EE"              // in its place
                         "   80 03 AA BB CC"                             // passes through
                         // 0x0202 not found: running, clear, fresh descriptor
                         " 02 02 FC 80 11 48 0F 02 06 15 54 41 56 45 4C 06 15 52 61 64 69 6F"
                         " B8 1E 55 0D")));
    EXPECT_EQ(o.sdt->num_service, 2u);
    EXPECT_EQ(o.sdt->data_size, 78u);
    // The generator's own lines, in the order operators read them.
    std::vector<std::string> trace;
    for (const auto& line : log.lines()) {
        if (line.priority == LOG_DEBUG && (line.text.rfind("generar_service_loop", 0) == 0 ||
                                           line.text.rfind("cerra", 0) == 0 || line.text.rfind("data_size", 0) == 0))
            trace.push_back(line.text);
    }
    const std::vector<std::string> expected = {
        "generar_service_loop",
        "generar_service_loop service id 513",
        "generar_service_loop modoScrambling 0 SDTServiceEntrada->free_CA_mode 0 ervicioActual.second.Descifrar 0",
        "generar_service_loop SDTServiceEntrada->free_CA_mode 0 ervicioActual.second.Descifrar 0",
        "generar_service_loop Cambiando provider de servicio con SID 513 a TAVEL de tamaño 4",
        "generar_service_loop TIPO SALIDA 25",
        "generar_service_loop push back",
        "generar_service_loop seccionActual->espacio_libre_seccion 968",
        "generar_service_loop seccionActual->length 53",
        "generar_service_loop num_service 1",
        "generar_service_loop service id 514",
        "generar_service_loop push back",
        "generar_service_loop seccionActual->espacio_libre_seccion 946",
        "generar_service_loop seccionActual->length 75",
        "generar_service_loop num_service 2",
        "cerrar_ultima_seccion",
        "cerramos la seccion con size 78",
        "data_size: 78",
    };
    EXPECT_EQ(trace, expected);

    // Non-service descriptors are the pattern's own objects; the service
    // descriptor is a copy, so the pattern still says what it received.
    auto input = o.pattern_service(0);
    auto output = o.sdt->secciones[0]->services.items[0];
    EXPECT_EQ(output->descriptores.items[0], input->descriptores.items[0]);
    EXPECT_NE(output->descriptores.items[1], input->descriptores.items[1]);
    EXPECT_EQ(output->descriptores.items[3], input->descriptores.items[3]);
    EXPECT_EQ(input->descriptores.items[1]->descriptor_length, 10);
}

TEST(SdtGeneration, NameChangesOnlyWhenCambiarNombreIsOne)
{
    struct Case {
        uint16_t cambiar_nombre;
        const char* expected;
    } cases[] = {
        {1, "42 F0 1F 04 57 CF 00 00 22 D4 FF 03 01 FC 80 0E"
            " 48 0C 01 06 15 54 41 56 45 4C 03 15 58 59" // TAVEL, XY
            " 22 62 E9 7E"},
        {2, "42 F0 20 04 57 CF 00 00 22 D4 FF 03 01 FC 80 0F"
            " 48 0D 01 06 15 54 41 56 45 4C 04 15 43 44 45" // TAVEL, CDE kept
            " 7D 04 41 C4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cambiar_nombre);
        Output o;
        datos_servicios r = record(0x0301, 0x0103, 0x01, "XY"); // input said type 0x19
        r.cambiar_nombre = c.cambiar_nombre;
        o.sdt->servicios[1] = r;
        tavel::LogCapture log;
        EXPECT_EQ(o.generate(), to_hex(hex(c.expected)));
        EXPECT_EQ(log.has(LOG_DEBUG, "generar_service_loop Cambiando nombre de servicio con SID 769 a XY de tamaño 2"),
                  c.cambiar_nombre == 1);
    }
}

TEST(SdtGeneration, ScramblingRules)
{
    struct Case {
        const char* what;
        uint16_t modo;
        uint16_t sid_entrada; // 0x0102 scrambled input, 0x0104 clear, 0x0999 none
        uint16_t descifrar;
        uint8_t cifrado;
        const char* expected;
        uint8_t pattern_fca_after; // free_CA_mode of input 0x0102 afterwards
    } cases[] = {
        {"mode forces scrambled", 1, 0x0104, 0, 0,
         "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC 90 00 F9 73 E7 1D", 1},
        {"scrambled input stays scrambled", 0, 0x0102, 0, 0,
         "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC 50 00 3A B9 53 C9", 1},
        {"descrambled input goes out clear and clears the pattern", 0, 0x0102, 1, 0,
         "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC 40 00 2A E8 C8 DA", 0},
        {"clear input stays clear", 0, 0x0104, 1, 0,
         "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC 80 00 E9 22 7C 0E", 1},
        {"mode wins over descrambling, pattern untouched", 1, 0x0102, 1, 0,
         "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC 50 00 3A B9 53 C9", 1},
        {"not found, mode set", 1, 0x0999, 1, 0,
         "42 F0 1D 04 57 CF 00 00 22 D4 FF 05 01 FC 90 0C 48 0A 01 06 15 54 41 56 45 4C 01 15 E5 BA F1 5E", 1},
        {"not found, descrambled wins over cifrado", 0, 0x0999, 1, 1,
         "42 F0 1D 04 57 CF 00 00 22 D4 FF 05 01 FC 80 0C 48 0A 01 06 15 54 41 56 45 4C 01 15 89 C2 6B 92", 1},
        {"not found, cifrado", 0, 0x0999, 0, 1,
         "42 F0 1D 04 57 CF 00 00 22 D4 FF 05 01 FC 90 0C 48 0A 01 06 15 54 41 56 45 4C 01 15 E5 BA F1 5E", 1},
        {"not found, clear", 0, 0x0999, 0, 0,
         "42 F0 1D 04 57 CF 00 00 22 D4 FF 05 01 FC 80 0C 48 0A 01 06 15 54 41 56 45 4C 01 15 89 C2 6B 92", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Output o(c.modo);
        datos_servicios r = record(0x0501, c.sid_entrada, 0x01, "");
        r.Descifrar = c.descifrar;
        r.cifrado = c.cifrado;
        o.sdt->servicios[1] = r;
        EXPECT_EQ(o.generate(), to_hex(hex(c.expected)));
        EXPECT_EQ(o.pattern_service(1)->free_CA_mode, c.pattern_fca_after);
    }
}

TEST(SdtGeneration, DescramblingWriteBackIsSeenBySecondOutputService)
{
    Output o;
    datos_servicios first = record(0x0601, 0x0102, 0x01, "");
    first.Descifrar = 1;
    o.sdt->servicios[1] = first;
    o.sdt->servicios[2] = record(0x0602, 0x0102, 0x01, ""); // not descrambled itself
    tavel::LogCapture log;
    EXPECT_EQ(o.generate(), to_hex(hex("42 F0 16 04 57 CF 00 00 22 D4 FF"
                                       " 06 01 FC 40 00" // pausing, clear
                                       " 06 02 FC 40 00" // clear too: the pattern was cleared
                                       " 90 3C EE 8B")));
    EXPECT_TRUE(log.has(LOG_DEBUG, "generar_service_loop modoScrambling 0 SDTServiceEntrada->free_CA_mode 1 "
                                   "ervicioActual.second.Descifrar 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "generar_service_loop SDTServiceEntrada->free_CA_mode 0 ervicioActual.second.Descifrar 0"));
}

TEST(SdtGeneration, PlacementBoundaryAtFreeSpaceMinusFour)
{
    // Four services of 217 bytes leave 141 bytes free in section 0.
    std::vector<char> four;
    for (uint16_t sid = 1; sid <= 4; ++sid) {
        auto e = not_found_entry(sid, std::string(200, 'A'));
        four.insert(four.end(), e.begin(), e.end());
    }
    auto generate = [](size_t last_name) {
        auto sdt = std::make_unique<tSDT>(0x42, 0x0457, 0x22D4, 7, 0);
        SDTPatron none;
        sdt->patrones = &none;
        for (uint16_t sid = 1; sid <= 5; ++sid)
            sdt->servicios[sid] = record(sid, 0x0999, 0x01, std::string(sid == 5 ? last_name : 200, sid == 5 ? 'B' : 'A'));
        sdt->generarSDT();
        std::vector<char> out;
        sdt->getSDT(out, false);
        return std::make_pair(std::move(sdt), to_hex(out));
    };

    // descriptors_loop_length 136 = free space - 5: fills the section to 1021.
    auto fits = generate(124);
    std::vector<char> loop = four;
    auto last = not_found_entry(5, std::string(124, 'B'));
    loop.insert(loop.end(), last.begin(), last.end());
    EXPECT_EQ(fits.second, section(0, 0, loop, "44 15 CB 9F"));
    EXPECT_EQ(fits.first->secciones[0]->section_length, 1021);
    EXPECT_EQ(fits.first->secciones[0]->espacio_libre_seccion, 0);

    // descriptors_loop_length 137 = free space - 4: a new section first.
    auto spills = generate(125);
    EXPECT_EQ(spills.second, section(0, 1, four, "8B CD 7A F1") +
                                 " " + section(1, 1, not_found_entry(5, std::string(125, 'B')), "2A 53 F6 62"));
    EXPECT_EQ(spills.first->data_size, 883u + 157u);
    EXPECT_EQ(spills.first->num_service, 5u);
}

TEST(SdtGeneration, TableSpillsIntoSeveralSections)
{
    tSDT sdt(0x42, 0x0457, 0x22D4, 7, 0);
    SDTPatron none;
    sdt.patrones = &none;
    std::vector<std::vector<char>> entries;
    for (uint16_t i = 1; i <= 70; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "Servicio numero %04u", i);
        sdt.servicios[i] = record(static_cast<uint16_t>(0x1000 + i), 0x0999, 0x01, name);
        entries.push_back(not_found_entry(static_cast<uint16_t>(0x1000 + i), name));
    }
    sdt.generarSDT();
    auto loop = [&](size_t from, size_t to) {
        std::vector<char> l;
        for (size_t i = from; i < to; ++i)
            l.insert(l.end(), entries[i].begin(), entries[i].end());
        return l;
    };
    // 37-byte entries: 27 fit in 1009 bytes, leaving 10.
    std::vector<char> out;
    sdt.getSDT(out, false);
    EXPECT_EQ(to_hex(out), section(0, 2, loop(0, 27), "85 F7 01 E0") + " " + section(1, 2, loop(27, 54), "99 BE 14 1B") +
                               " " + section(2, 2, loop(54, 70), "65 7C 0C D9"));
    EXPECT_EQ(sdt.data_size, 1014u + 1014u + 607u);
    EXPECT_EQ(sdt.getMaxSectionNumber(), 2);
}

TEST(SdtOutput, OtherTableStartsWith46AndCrcVerifies)
{
    tSDT sdt(0x42, 0x0457, 0x22D4, 7, 0);
    SDTPatron none;
    sdt.patrones = &none;
    for (uint16_t i = 1; i <= 40; ++i)
        sdt.servicios[i] = record(i, 0x0999, 0x01, "Servicio numero 0000");
    sdt.generarSDT();
    ASSERT_EQ(sdt.secciones.size(), 2u);

    std::vector<char> out = hex("AB CD"); // getSDT appends
    sdt.getSDT(out, true);
    ASSERT_EQ(out.size(), 2 + sdt.data_size);
    EXPECT_EQ(to_hex(std::vector<char>(out.begin(), out.begin() + 2)), "AB CD");
    size_t offset = 2;
    for (int n = 0; n < 2; ++n) {
        const size_t length = ((static_cast<uint8_t>(out[offset + 1]) & 0x0F) << 8 | static_cast<uint8_t>(out[offset + 2])) + 3;
        std::vector<char> s(out.begin() + offset, out.begin() + offset + length);
        EXPECT_EQ(static_cast<uint8_t>(s[0]), 0x46);
        EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFF, s, s.size()), 0u);
        offset += length;
    }
    // The table itself is unchanged: the actual copy still says 0x42.
    std::vector<char> actual;
    sdt.getSDT(actual, false);
    EXPECT_EQ(static_cast<uint8_t>(actual[0]), 0x42);
    EXPECT_EQ(actual.size(), sdt.data_size);
}

TEST(SdtOutput, EmptyTableAppendsNothing)
{
    tSDT sdt;
    std::vector<char> out = hex("01");
    tavel::LogCapture log;
    sdt.getSDT(out, true);
    EXPECT_EQ(to_hex(out), "01");
    EXPECT_TRUE(log.has(LOG_DEBUG, "Bytes copiados a buffer 0 y size 1"));
}

std::unique_ptr<tSDT> generated(uint16_t version, size_t services, uint16_t tsid = 0x0457)
{
    auto sdt = std::make_unique<tSDT>(0x42, tsid, 0x22D4, version, 0);
    for (uint16_t i = 1; i <= services; ++i)
        sdt->servicios[i] = record(i, 0x0999, 0x01, "Servicio numero 0000");
    sdt->generarSDT(); // no patterns held: every service is new
    return sdt;
}

TEST(SdtComparison, VersionsSizesAndLastSectionNumber)
{
    auto base = generated(7, 3);
    auto new_version = generated(8, 3);
    auto other_tsid = generated(7, 3, 0x0458);
    auto more = generated(7, 4);
    auto two_sections = generated(7, 40);
    auto two_sections_v8 = generated(8, 40);

    EXPECT_TRUE(base->isSameTable(new_version));
    EXPECT_FALSE(base->compareSDT(new_version));
    EXPECT_FALSE(base->isSameTable(other_tsid));
    EXPECT_FALSE(base->compareSDT(other_tsid));
    EXPECT_FALSE(base->isSameTable(more));
    EXPECT_FALSE(base->compareSDT(more));
    EXPECT_FALSE(base->isSameTable(two_sections));
    EXPECT_TRUE(two_sections->isSameTable(two_sections_v8));

    auto copy = generated(7, 3);
    EXPECT_TRUE(base->compareSDT(copy));
    EXPECT_TRUE(base->isSameTable(copy));

    // Against a serialised table: tsid, onid, version and size.
    std::vector<char> bytes;
    base->getSDT(bytes, false);
    EXPECT_TRUE(base->compareSDT(bytes));
    EXPECT_FALSE(new_version->compareSDT(bytes));
    bytes.push_back(0);
    EXPECT_FALSE(base->compareSDT(bytes));
}

TEST(SdtComparison, DifferentLastSectionNumberIsNeverTheSameTable)
{
    // Same bytes in the loop, but one says it is section 0 of 1.
    auto a = generated(7, 1);
    auto b = generated(7, 1);
    b->secciones[0]->last_section_number = 1;
    tavel::LogCapture log;
    EXPECT_FALSE(a->isSameTable(b));
    EXPECT_FALSE(log.contains(LOG_DEBUG, "copy_section_to_buffer")); // decided before serialising
}

TEST(SdtComparison, ParsedBackTableIsTheSameTable)
{
    auto sdt = generated(7, 40);
    std::vector<char> bytes;
    sdt->getSDT(bytes, false);
    auto parsed = std::make_unique<tSDT>();
    parsed->procesarSDT(bytes, true);
    EXPECT_TRUE(sdt->isSameTable(parsed));
    EXPECT_TRUE(sdt->compareSDT(parsed));
}

TEST(SdtPatterns, IdentityIsTsidOnidVersionAndSize)
{
    SDTPatron patterns;
    tavel::LogCapture log;
    patterns.addSDTPatron(hex(kPatternSdt));
    EXPECT_TRUE(log.has(LOG_DEBUG, "numero de SDT patrones 1 . SDT añadida"));
    patterns.addSDTPatron(hex(kPatternSdt));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Existe SDT patron"));
    EXPECT_EQ(patterns.sdts.size(), 1u);

    // Same identity and size, other services: taken for the same pattern.
    auto renamed = hex(kPatternSdt);
    renamed[11] = 0x07;
    EXPECT_TRUE(patterns.SDT_patron_exist(renamed));
    patterns.addSDTPatron(renamed);
    EXPECT_EQ(patterns.sdts.size(), 1u);

    // A new version of the same input is kept beside the first one, and
    // look-ups keep finding the first.
    auto v4 = hex(kPatternSdt);
    v4[5] = static_cast<char>(0xC9);
    v4[14] = static_cast<char>(0x20); // 0x0101 now "not yet running"
    patterns.addSDTPatron(v4);
    EXPECT_TRUE(log.has(LOG_DEBUG, "numero de SDT patrones 2 . SDT añadida"));
    ASSERT_EQ(patterns.sdts.size(), 2u);
    EXPECT_EQ(patterns.sdts[1]->table_id, 0x42);
    EXPECT_EQ(patterns.sdts[1]->secciones[0]->table_id, 0x42);

    tSDT out;
    out.patrones = &patterns;
    auto found = out.existServiceSDTpatrones(record(1, 0x0101, 1, ""));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, patterns.sdts[0]->secciones[0]->services.items[0]);
    EXPECT_EQ(found->running_status, 4);

    EXPECT_FALSE(SDTPatron().SDT_patron_exist(hex(kPatternSdt)));
}

TEST(SdtPatterns, OtherTableIdIsKeptInPatterns)
{
    auto other = hex(kPatternSdt);
    other[0] = 0x46;
    SDTPatron patterns;
    patterns.addSDTPatron(other);
    EXPECT_EQ(patterns.sdts.at(0)->secciones.at(0)->table_id, 0x46);
}

} // namespace
