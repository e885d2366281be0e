// NIT generation: whole sections byte for byte, descriptor order and
// placement per LCN flavour and output kind, pattern take-over, splitting.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>

#include "platform/log.h"
#include "test_support.h"

namespace tavel {
namespace {

using test::hex;
using test::to_hex;

datos_servicios service(uint16_t sid, uint16_t type, uint16_t lcn)
{
    datos_servicios s;
    s.sid = sid;
    s.tipo_servicio = type;
    s.lcn = lcn;
    return s;
}

// Network 0x3001 "TVNET", version 5, with its cable output TSID 2 / ONID
// 0x22D4: 474 000 kHz, 6 900 ksym/s, 64-QAM, services 7 (type 1, LCN 5) and
// 8 (type 2, LCN 300). The terrestrial fields serve the tipo_salida 0 cases.
std::unique_ptr<tNIT> reference_nit(unsigned short tipo_lcn)
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, tipo_lcn, 0x40);
    nit->version = 5;
    datos_salidas& out = nit->salidas[2];
    out.tipo_salida = 1;
    out.tsid = 2;
    out.onid = 0x22D4;
    out.frecuencia = 474000;
    out.symbol_rate = 6900;
    out.modulacion = 2;
    out.code_rate = 2;
    out.modo_transmision = 1;
    out.servicios[7] = service(7, 1, 5);
    out.servicios[8] = service(8, 2, 300);
    return nit;
}

// Generates the table and returns the NIT file written.
std::vector<char> generate(tNIT& nit, const test::TempRoot& root)
{
    nit.generarNIT();
    std::vector<char> file;
    read_char_vector_from_file(root(std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile), file);
    return file;
}

// Sets section_length for the CRC to come, then appends the CRC.
std::vector<char> seal(std::vector<char> s)
{
    const size_t length = s.size() + 4 - 3;
    s[1] = static_cast<char>(0xF0 | (length >> 8));
    s[2] = static_cast<char>(length & 0xFF);
    const uint32_t crc = static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFUL, s, s.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        s.push_back(static_cast<char>(crc >> shift));
    return s;
}

TEST(NitGeneration, CableOutputWithTwoServicesIsTheReferenceTable)
{
    test::TempRoot root;
    LogCapture log;
    auto nit = reference_nit(1);
    const auto expected = hex(
        "40 F0 3F"                               // NIT actual, syntax 1, section_length 63
        "30 01 CB 00 00"                         // network_id, version 5 current, section 0 of 0
        "F0 07 40 05 54 56 4E 45 54"             // network descriptors: name "TVNET"
        "F0 2B"                                  // TS loop: 43 bytes
        "00 02 22 D4 F0 25"                      // TSID 2, ONID 0x22D4, 37 descriptor bytes
        "44 0B 04 74 00 00 FF F2 03 00 69 00 0F" // cable 474 MHz, 64-QAM, 6.9 Msym/s
        "41 06 00 07 01 00 08 02"                // service list: 7 TV, 8 radio
        "5F 04 00 00 00 28"                      // private data specifier 0x28
        "83 08 00 07 FC 05 00 08 FD 2C"          // LCN 5 and 300, visible
        "66 52 AA 30");                          // CRC_32
    EXPECT_EQ(to_hex(generate(*nit, root)), to_hex(expected));
    EXPECT_EQ(nit->data_size, 66u);
    for (const char* line : {"Generate NIT first section header. Network id: 12289 =  and version = 5",
                             "Generate network descriptor with network name TVNET", "Generate NIT file",
                             "Generating NIT FILE with size 66"})
        EXPECT_TRUE(log.has(LOG_INFO, line)) << line;
    EXPECT_TRUE(log.has(LOG_DEBUG, "Generate TS Loop. TSID 2 y ONID 8916"));
}

TEST(NitGeneration, NoOutputsGiveOneSectionWithTheNameOnly)
{
    test::TempRoot root;
    auto nit = reference_nit(1);
    nit->salidas.clear();
    const auto expected = hex("40 F0 14"                    // section_length 20
                              "30 01 CB 00 00"              // network, version 5, section 0 of 0
                              "F0 07 40 05 54 56 4E 45 54"  // network name
                              "F0 00"                       // empty TS loop
                              "8C 50 40 56");               // CRC_32
    EXPECT_EQ(to_hex(generate(*nit, root)), to_hex(expected));
}

TEST(NitGeneration, TsEntryPerLcnFlavourAndOutputKind)
{
    const std::string cable = " 44 0B 04 74 00 00 FF F2 03 00 69 00 0F"; // 474 MHz, 64-QAM, 6.9 Msym/s
    const std::string list = " 41 06 00 07 01 00 08 02";                 // 7 TV, 8 radio
    const std::string lcn = " 83 08 00 07 FC 05 00 08 FD 2C";            // 5 and 300 in 10 bits, visible
    // Territories that publish no parameters: 0xFFFFFFFF kHz (x100 on the wire), every field 0.
    const std::string unpublished = " 5A 0B FF FF FF 9C 03 00 00 FF FF FF FF";
    struct Case {
        const char* what;
        unsigned short tipo_lcn;
        uint16_t con_service_list;
        uint8_t tipo_salida;
        const char* pais;
        bool services;
        std::string entry; // TSID 2, ONID 0x22D4, descriptors length, descriptors
    } cases[] = {
        {"LCN 2: specifier 0x29, 14-bit numbers", 2, 1, 1, "FRA", true,
         "00 02 22 D4 F0 25" + cable + list + " 5F 04 00 00 00 29 83 08 00 07 C0 05 00 08 C1 2C"},
        {"LCN 3: specifier 0x29, tag 0x87 with list id, name length, \"900\", loop length", 3, 1, 1, "FRA", true,
         "00 02 22 D4 F0 2B" + cable + list + " 5F 04 00 00 00 29 87 0E 00 00 39 30 30 08 00 07 FC 05 00 08 FD 2C"},
        {"LCN 4: descriptor first, no specifier", 4, 1, 1, "FRA", true, "00 02 22 D4 F0 1F" + lcn + cable + list},
        {"LCN 5: specifier 0x233A", 5, 1, 1, "FRA", true, "00 02 22 D4 F0 25" + cable + list + " 5F 04 00 00 23 3A" + lcn},
        {"LCN 6: specifier 0x37", 6, 1, 1, "FRA", true, "00 02 22 D4 F0 25" + cable + list + " 5F 04 00 00 00 37" + lcn},
        {"no LCN, no service list", 0, 0, 1, "FRA", true, "00 02 22 D4 F0 0D" + cable},
        {"no services: no list, no LCN", 1, 1, 1, "FRA", false, "00 02 22 D4 F0 0D" + cable},
        {"tipo_salida 2: no delivery descriptor", 1, 1, 2, "FRA", true,
         "00 02 22 D4 F0 18" + list + " 5F 04 00 00 00 28" + lcn},
        // Real parameters: 474 000 kHz in 10 Hz, 8 MHz + priority, 64-QAM / 3/4, LP 7, 1/32, 8k.
        {"terrestrial ESP", 0, 1, 0, "ESP", false, "00 02 22 D4 F0 0D 5A 0B 02 D3 44 40 13 82 E2 FF FF FF FF"},
        {"terrestrial FRA", 0, 1, 0, "FRA", false, "00 02 22 D4 F0 0D" + unpublished},
        {"terrestrial GLP", 0, 1, 0, "GLP", false, "00 02 22 D4 F0 0D" + unpublished},
        {"terrestrial MTQ", 0, 1, 0, "MTQ", false, "00 02 22 D4 F0 0D" + unpublished},
        {"terrestrial REU", 0, 1, 0, "REU", false, "00 02 22 D4 F0 0D" + unpublished},
        {"terrestrial NCL", 0, 1, 0, "NCL", false, "00 02 22 D4 F0 0D" + unpublished},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TempRoot root;
        auto nit = reference_nit(c.tipo_lcn);
        nit->pais = c.pais;
        nit->con_service_list = c.con_service_list;
        nit->salidas[2].tipo_salida = c.tipo_salida;
        if (!c.services)
            nit->salidas[2].servicios.clear();
        // The reference header and name around the one TS entry.
        auto expected = hex("40 F0 00 30 01 CB 00 00 F0 07 40 05 54 56 4E 45 54 F0 00" + c.entry);
        expected[18] = static_cast<char>(expected.size() - 19);
        EXPECT_EQ(to_hex(generate(*nit, root)), to_hex(seal(expected)));
    }
}

// A pattern NIT of network 0x0055 as an input stream carries it.
std::vector<char> pattern_nit()
{
    return seal(hex("40 F0 00 00 55 C7 00 00"         // section_length set by seal; network 0x55, version 3
                    "F0 3A"                           // 58 bytes of network descriptors
                    "40 03 41 42 43 42 02 FF FF 6C 00" // name "ABC" (ours wins), stuffing, cell list: never
                    "4A 07 00 0A 00 01 00 64 01"      // linkage type 1 to (10, 1, 100): carried
                    "4A 07 00 0A 00 01 00 64 04"      // linkage type 4: dropped
                    "4A 07 00 0A 00 01 00 65 01"      // linkage type 1 to SID 101: not carried
                    "5F 04 00 00 00 28 99 02 AB CD"   // specifier, unknown: taken as they are
                    "4A 08 00 0A 00 01 00 64 02 77"   // linkage type 2 with one private byte: carried
                    "F0 36 00 10 00 01 F0 27"         // TS loop; TS 0x10 / 0x01: taken over
                    "43 0B 01 17 57 00 01 92 81 02 75 00 03" // satellite delivery: never
                    "5F 04 00 00 00 28"               // specifier matching flavour 1
                    "41 03 00 64 01 83 04 00 64 FC 01 62 04 00 00 00 01" // list, LCN, frequencies: never
                    "99 01 EE"                        // unknown: taken
                    "00 11 00 01 F0 03 99 01 FF"));   // TS 0x11 / 0x01: not asked for
}

// The reference network re-multiplexing input service (10, 1, 100) as SID 7
// of output 2 / ONID 9, and taking TS 0x10 / 0x01 from the pattern.
std::unique_ptr<tNIT> nit_with_pattern(unsigned short tipo_lcn)
{
    auto nit = reference_nit(tipo_lcn);
    datos_salidas& out = nit->salidas[2];
    out.onid = 9;
    out.servicios.clear();
    datos_servicios& s = out.servicios[7] = service(7, 1, 5);
    s.sid_entrada = 100;
    s.tsid_entrada = 10;
    s.onid_entrada = 1;
    nit->ts_desde_patron.emplace_back(0x10, 0x01);
    nit->addNITPatron(pattern_nit());
    return nit;
}

TEST(NitGeneration, PatternDescriptorsAreTakenOverWithTheirRules)
{
    // The pattern's network descriptors as carried: linkage type 1 rewritten to
    // (2, 9, 7), its specifier, its unknown one, type 2 rewritten with its byte kept.
    const std::string taken = " 4A 07 00 02 00 09 00 07 01 5F 04 00 00 00 28 99 02 AB CD 4A 08 00 02 00 09 00 07 02 77";
    const std::string cable = " 44 0B 04 74 00 00 FF F2 03 00 69 00 0F"; // ours
    const std::string list = " 41 03 00 07 01";                          // ours
    const std::string lcn = " 83 04 00 07 FC 05";                        // ours
    struct Case {
        const char* what;
        uint16_t network_id;
        unsigned short tipo_lcn;
        std::string body; // network, version 5, section 0 of 0, both loops
    } cases[] = {
        {"LCN behind the pattern's matching specifier 0x28", 0x3001, 1,
         "30 01 CB 00 00 F0 24 40 05 54 56 4E 45 54" + taken + " F0 27 00 02 00 09 F0 21" + cable + list +
             " 5F 04 00 00 00 28" + lcn + " 99 01 EE"},
        {"flavour 6 wants 0x37: its own specifier and the LCN go last", 0x3001, 6,
         "30 01 CB 00 00 F0 24 40 05 54 56 4E 45 54" + taken + " F0 2D 00 02 00 09 F0 27" + cable + list +
             " 5F 04 00 00 00 28 99 01 EE 5F 04 00 00 00 37" + lcn},
        {"network id 0: the pattern's name \"ABC\" follows ours", 0, 1,
         "00 00 CB 00 00 F0 29 40 05 54 56 4E 45 54 40 03 41 42 43" + taken + " F0 27 00 02 00 09 F0 21" + cable +
             list + " 5F 04 00 00 00 28" + lcn + " 99 01 EE"},
    };
    test::TempRoot root;
    LogCapture log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        auto nit = nit_with_pattern(c.tipo_lcn);
        nit->network_id = c.network_id;
        EXPECT_EQ(to_hex(generate(*nit, root)), to_hex(seal(hex("40 F0 00 " + c.body))));
        // The rewrite changed the pattern's own linkage object, shared with the NIT.
        const auto& patron_loop = nit->nitPatron.patrones.at(0)->secciones.at(0)->network_descriptors.items;
        EXPECT_EQ(nit->secciones.at(0)->network_descriptors.items.at(c.network_id ? 1 : 2), patron_loop.at(3));
    }
    EXPECT_TRUE(log.has(LOG_INFO, "Generate network descriptor with network id 12289d"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "SE COGEN DESCRIPTORES DEL TS: 16 1 PARA LA NIT DE SALIDA"));
}

TEST(NitGeneration, TableSpillsIntoThreeSectionsWithTheHeaderCopied)
{
    test::TempRoot root;
    auto nit = reference_nit(1);
    const datos_salidas model = nit->salidas[2];
    // 25 outputs of 10 services: 99 bytes per entry, 10 entries per section.
    for (uint16_t t = 1; t <= 25; ++t) {
        datos_salidas& out = nit->salidas[t] = model;
        out.tsid = t;
        out.servicios.clear();
        for (uint16_t s = 0; s < 10; ++s)
            out.servicios[static_cast<uint16_t>(t * 100 + s)] =
                service(static_cast<uint16_t>(t * 100 + s), 1, static_cast<uint16_t>(t * 10 + s));
    }
    const auto file = generate(*nit, root);
    ASSERT_EQ(nit->secciones.size(), 3u);
    const size_t entries[] = {10, 10, 5};
    size_t o = 0;
    for (unsigned n = 0; n < 3; ++n) {
        SCOPED_TRACE(n);
        ASSERT_LE(o + 10, file.size());
        const size_t size = (((static_cast<uint8_t>(file[o + 1]) & 0x0F) << 8) | static_cast<uint8_t>(file[o + 2])) + 3;
        ASSERT_LE(o + size, file.size());
        const std::vector<char> section(file.begin() + static_cast<long>(o), file.begin() + static_cast<long>(o + size));
        EXPECT_EQ(mpeg_crc(0xFFFFFFFFUL, section, size), 0u);
        EXPECT_LE(size, 1024u);
        // NIT actual with its syntax bits; network, version 5, section n of 2; the name in section 0 only.
        EXPECT_EQ(to_hex(section).substr(0, 4) + " " + to_hex(section).substr(9, 20),
                  "40 F 30 01 CB 0" + std::to_string(n) + " 02 F0 " + (n == 0 ? "07" : "00"));
        EXPECT_EQ(nit->secciones[n]->transport_streams.items.size(), entries[n]);
        o += size;
    }
    EXPECT_EQ(o, file.size());
}

} // namespace
} // namespace tavel
