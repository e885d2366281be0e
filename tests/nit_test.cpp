// NIT generation byte for byte, the parser, versioning against the NIT last
// sent, the files read back and the pattern collection.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>

#include "platform/log.h"
#include "test_support.h"

namespace tavel {
namespace {

using test::hex;
using test::seal;
using test::to_hex;

const std::string kLastSent = std::string(constants::kSiTablesDir) + constants::kNitTableFile;
const std::string kNew = std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile;

datos_servicios service(uint16_t sid, uint16_t type, uint16_t lcn)
{
    return {sid, 0, 0, 0, lcn, 0, type, 0, 0, "", 0, ""};
}

// Network 0x3001 "TVNET", version 5, with its cable output TSID 2 / ONID
// 0x22D4: 474 000 kHz, 6 900 ksym/s, 64-QAM, services 7 (type 1, LCN 5) and
// 8 (type 2, LCN 300). The terrestrial fields serve the tipo_salida 0 cases.
std::unique_ptr<tNIT> reference_nit(unsigned short tipo_lcn)
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, tipo_lcn, 0x40);
    nit->version = 5;
    // Cable, TSID, ONID, kHz, bandwidth, mode, guard, modulation, code rate, ksym/s, services.
    nit->salidas[2] = {1, 2, 0x22D4, 474000, 0, 1, 0, 2, 2, 6900, {{7, service(7, 1, 5)}, {8, service(8, 2, 300)}}};
    return nit;
}

// The reference network with cable outputs 1..n of 10 services each: 99
// bytes per TS entry, 10 entries per section.
std::unique_ptr<tNIT> network(unsigned outputs, unsigned version)
{
    auto nit = reference_nit(1);
    nit->version = static_cast<uint8_t>(version);
    const datos_salidas model = nit->salidas[2];
    nit->salidas.clear();
    for (uint16_t t = 1; t <= outputs; ++t) {
        datos_salidas& out = nit->salidas[t] = model;
        out.tsid = t;
        out.servicios.clear();
        for (uint16_t s = t * 100; s < t * 100 + 10; ++s)
            out.servicios[s] = service(s, 1, static_cast<uint16_t>(s - t * 90));
    }
    return nit;
}

// Generates the table and returns the NIT file written.
std::vector<char> generate(tNIT& nit, const test::TempRoot& root)
{
    nit.generarNIT();
    return test::read_file(root(kNew));
}

// The reference table: network 0x3001 "TVNET", version 5, cable TS 2 / 0x22D4.
const char* kReferenceNit = "40 F0 3F"                               // NIT actual, section_length 63
                            "30 01 CB 00 00"                         // network, version 5 current, section 0 of 0
                            "F0 07 40 05 54 56 4E 45 54"             // network descriptors: name "TVNET"
                            "F0 2B"                                  // TS loop: 43 bytes
                            "00 02 22 D4 F0 25"                      // TSID 2, ONID 0x22D4, 37 descriptor bytes
                            "44 0B 04 74 00 00 FF F2 03 00 69 00 0F" // cable 474 MHz, 64-QAM, 6.9 Msym/s
                            "41 06 00 07 01 00 08 02"                // service list: 7 TV, 8 radio
                            "5F 04 00 00 00 28"                      // private data specifier 0x28
                            "83 08 00 07 FC 05 00 08 FD 2C"          // LCN 5 and 300, visible
                            "66 52 AA 30";                           // CRC_32

TEST(NitGeneration, CableOutputWithTwoServicesIsTheReferenceTable)
{
    test::TempRoot root;
    LogCapture log;
    auto nit = reference_nit(1);
    EXPECT_EQ(to_hex(generate(*nit, root)), to_hex(hex(kReferenceNit)));
    for (const char* line : {"Generate NIT first section header. Network id: 12289 =  and version = 5",
                             "Generate network descriptor with network name TVNET", "Generate NIT file",
                             "Generating NIT FILE with size 66"})
        EXPECT_TRUE(log.has(LOG_INFO, line)) << line;
    EXPECT_TRUE(log.has(LOG_DEBUG, "Generate TS Loop. TSID 2 y ONID 8916"));

    auto empty = reference_nit(1);
    empty->salidas.clear(); // no outputs: the name alone and an empty TS loop
    EXPECT_EQ(to_hex(generate(*empty, root)), "40 F0 14 30 01 CB 00 00 F0 07 40 05 54 56 4E 45 54 F0 00 8C 50 40 56");

    // The open section's free space shrinks with each loop byte: 7 of the name, 43 of the TS loop.
    auto steps = reference_nit(1);
    steps->generar_cabecera_primera_section();
    steps->generar_network_name_descriptor();
    steps->generar_TS_loop();
    EXPECT_EQ(steps->seccion_actual->espacio_libre_seccion, 1008 - 7 - 43);
}

TEST(NitGeneration, TsEntryPerLcnFlavourAndOutputKind)
{
    const std::string cable = " 44 0B 04 74 00 00 FF F2 03 00 69 00 0F"; // 474 MHz, 64-QAM, 6.9 Msym/s
    const std::string list = " 41 06 00 07 01 00 08 02";                 // 7 TV, 8 radio
    const std::string lcn = " 83 08 00 07 FC 05 00 08 FD 2C";            // 5 and 300 in 10 bits, visible
    // Terrestrial in territories that publish no parameters: 0xFFFFFFFF kHz (x100 on the wire), every field 0.
    const std::string unpublished = "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF";
    struct Case {
        const char* what;
        unsigned short tipo_lcn;
        uint16_t con_service_list;
        uint8_t tipo_salida;
        const char* pais;
        bool services;
        std::string descriptors; // of TSID 2 / ONID 0x22D4
    } cases[] = {
        {"LCN 2: specifier 0x29, 14-bit numbers", 2, 1, 1, "FRA", true,
         cable + list + " 5F 04 00 00 00 29 83 08 00 07 C0 05 00 08 C1 2C"},
        {"LCN 3: specifier 0x29, tag 0x87 with list id, name length, \"900\", loop length", 3, 1, 1, "FRA", true,
         cable + list + " 5F 04 00 00 00 29 87 0E 00 00 39 30 30 08 00 07 FC 05 00 08 FD 2C"},
        {"LCN 4: descriptor first, no specifier", 4, 1, 1, "FRA", true, lcn + cable + list},
        {"LCN 5: specifier 0x233A", 5, 1, 1, "FRA", true, cable + list + " 5F 04 00 00 23 3A" + lcn},
        {"LCN 6: specifier 0x37", 6, 1, 1, "FRA", true, cable + list + " 5F 04 00 00 00 37" + lcn},
        {"no LCN, no service list", 0, 0, 1, "FRA", true, cable},
        {"no services: no list, no LCN", 1, 1, 1, "FRA", false, cable},
        {"tipo_salida 2: no delivery descriptor", 1, 1, 2, "FRA", true, list + " 5F 04 00 00 00 28" + lcn},
        // Real parameters: 474 000 kHz in 10 Hz, 8 MHz + priority, 64-QAM / 3/4, LP 7, 1/32, 8k.
        {"terrestrial ESP", 0, 1, 0, "ESP", false, "5A 0B 02 D3 44 40 13 82 E2 FF FF FF FF"},
        {"FRA", 0, 1, 0, "FRA", false, unpublished}, {"GLP", 0, 1, 0, "GLP", false, unpublished},
        {"MTQ", 0, 1, 0, "MTQ", false, unpublished}, {"REU", 0, 1, 0, "REU", false, unpublished},
        {"NCL", 0, 1, 0, "NCL", false, unpublished},
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
        // The reference header and name around the one TS entry, the two loop lengths counted here.
        auto expected = hex("40 F0 00 30 01 CB 00 00 F0 07 40 05 54 56 4E 45 54 F0 00" // header, name
                            "00 02 22 D4 F0 00" + c.descriptors);
        expected[18] = static_cast<char>(expected.size() - 19);
        expected[24] = static_cast<char>(expected.size() - 25);
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
    out.servicios = {{7, {7, 100, 10, 1, 5, 0, 1, 0, 0, "", 0, ""}}}; // LCN 5, type 1
    nit->ts_desde_patron.emplace_back(0x10, 0x01);
    nit->addNITPatron(pattern_nit());
    return nit;
}

TEST(NitGeneration, PatternDescriptorsAreTakenOverWithTheirRules)
{
    // The pattern's network descriptors as carried: linkage type 1 rewritten to
    // (2, 9, 7), its specifier, its unknown one, type 2 rewritten with its byte kept.
    const std::string taken = " 4A 07 00 02 00 09 00 07 01 5F 04 00 00 00 28 99 02 AB CD 4A 08 00 02 00 09 00 07 02 77";
    const std::string head = "30 01 CB 00 00 F0 24 40 05 54 56 4E 45 54" + taken; // network 0x3001, name, taken
    const std::string ours = " 44 0B 04 74 00 00 FF F2 03 00 69 00 0F 41 03 00 07 01"; // cable, service list
    const std::string lcn = " 83 04 00 07 FC 05";                                        // ours
    const std::string entry = " 00 02 00 09 F0 ";                                        // TS 2 / ONID 9
    struct Case {
        const char* what;
        uint16_t network_id;
        unsigned short tipo_lcn;
        std::string body; // network, version 5, section 0 of 0, both loops
    } cases[] = {
        {"LCN behind the pattern's matching specifier 0x28", 0x3001, 1,
         head + " F0 27" + entry + "21" + ours + " 5F 04 00 00 00 28" + lcn + " 99 01 EE"},
        {"flavour 6 wants 0x37: its own specifier and the LCN go last", 0x3001, 6,
         head + " F0 2D" + entry + "27" + ours + " 5F 04 00 00 00 28 99 01 EE 5F 04 00 00 00 37" + lcn},
        {"flavour 4 matches no specifier: the LCN first, the pattern's specifier kept", 0x3001, 4,
         head + " F0 27" + entry + "21" + lcn + ours + " 5F 04 00 00 00 28 99 01 EE"},
        {"an unlisted flavour matches no specifier: its own 0x29 and the LCN go last", 0x3001, 7,
         head + " F0 2D" + entry + "27" + ours + " 5F 04 00 00 00 28 99 01 EE 5F 04 00 00 00 29" + lcn},
        {"network id 0: the pattern's name \"ABC\" follows ours", 0, 1,
         "00 00 CB 00 00 F0 29 40 05 54 56 4E 45 54 40 03 41 42 43" + taken + " F0 27" + entry + "21" + ours +
             " 5F 04 00 00 00 28" + lcn + " 99 01 EE"},
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

// The network loop takes a pattern descriptor while it fits exactly.
TEST(NitGeneration, NetworkLoopRoomCheckBoundary)
{
    for (const size_t last : {size_t{228}, size_t{229}}) {
        SCOPED_TRACE(last);
        // Our name (7 bytes) and three 257-byte descriptors leave 230 bytes.
        std::string loop;
        for (size_t size : {size_t{255}, size_t{255}, size_t{255}, last}) {
            std::vector<char> d = {static_cast<char>(0x99), static_cast<char>(size)};
            d.resize(size + 2, 0x11);
            loop += " " + to_hex(d);
        }
        auto pattern = hex("40 F0 00 00 55 C7 00 00 F0 00" + loop + " F0 00");
        pattern[9] = static_cast<char>(pattern.size() - 12); // network_descriptors_length 0x3E9 or 0x3EA
        pattern[8] = static_cast<char>(0xF3);
        auto nit = reference_nit(1);
        nit->salidas.clear();
        nit->addNITPatron(seal(pattern));
        test::TempRoot root;
        generate(*nit, root);
        ASSERT_EQ(nit->secciones.size(), last == 228 ? 1u : 2u);
        EXPECT_EQ(nit->secciones[0]->network_descriptors_length, last == 228 ? 1008 : 778);
    }
}

// Every field read goes out again as it came in, but the CRC (not kept) and
// LCN 300's high bits (the LCN parser keeps the low byte).
TEST(NitParser, ReadsTheReferenceTableBack)
{
    const auto bytes = hex(kReferenceNit);
    tNIT nit;
    EXPECT_EQ(nit.getNITVersion(), 65535); // nothing parsed yet
    nit.procesarNIT(bytes.data(), static_cast<unsigned short>(bytes.size()));
    EXPECT_EQ(nit.data_size, 66u);
    std::vector<char> back;
    nit.generarNITBufferChar(back, false);
    const std::string read = to_hex(bytes);
    EXPECT_EQ(to_hex(back), read.substr(0, read.size() - 17) + "FC 2C 00 00 00 00");
    EXPECT_EQ(nit.getNITVersion() * 10 + nit.getMaxSectionNumber(), 50u);
}

// Two sections (0 and 1 of 1) of network 0x0100 version 2: section 0 a
// cable TS, section 1 a satellite TS at 11 757 MHz, 19.2 E, 27 500 ksym/s.
const char* kTwoSections = "40 F0 25 01 00 C5 00 01 F0 05 40 03 53 41 54 F0 13"
                           "00 01 00 46 F0 0D 44 0B 04 74 00 00 FF F2 03 00 69 00 0F"
                           "00 00 00 00"                 // CRC (not checked)
                           "40 F0 20 01 00 C5 01 01 F0 00 F0 13"
                           "04 4C 00 46 F0 0D 43 0B 01 17 57 00 01 92 81 02 75 00 03"
                           "00 00 00 00";

TEST(NitParser, ReadsConsecutiveSectionsAndFindsTheSatelliteTs)
{
    tNIT nit;
    nit.procesarNIT(hex(kTwoSections));
    ASSERT_EQ(nit.secciones.size(), 2u);
    EXPECT_EQ(nit.secciones[1]->section_number, 1);
    EXPECT_EQ(nit.getMaxSectionNumber(), 1u);
    EXPECT_EQ(nit.getNITVersion(), 2);

    LogCapture log;
    unsigned long frecuencia = 1, symbol_rate = 1;
    unsigned short orbital = 1, west_east = 9;
    unsigned char polarization = 9;
    // The cable TS has no satellite descriptor: not found, outputs untouched.
    EXPECT_EQ(nit.getTSinfo(1, 0x46, frecuencia, symbol_rate, orbital, west_east, polarization), 0);
    EXPECT_EQ(std::make_pair(frecuencia, polarization), std::make_pair(1ul, static_cast<unsigned char>(9)));
    EXPECT_EQ(nit.getTSinfo(0x044C, 0x46, frecuencia, symbol_rate, orbital, west_east, polarization), 1);
    EXPECT_EQ(std::make_tuple(frecuencia, symbol_rate, orbital, west_east, polarization),
              std::make_tuple(11757ul, 27500ul, static_cast<unsigned short>(192), static_cast<unsigned short>(1),
                              static_cast<unsigned char>(1))); // polarization: bit 5 clear
    EXPECT_TRUE(log.has(LOG_DEBUG, "Buscamos los datos de frecuencia y symbol_rate para TSID 1100 y ONID 70"));

    // TS entries with descriptor loops shorter than their own header: the loop still ends where it says.
    auto both = seal(hex("40 F0 00 01 00 C5 00 01 F0 00 F0 10 00 01 00 46 F0 02 99 00 00 02 00 46 F0 02 99 00"));
    const auto second = seal(hex("40 F0 00 01 00 C5 01 01 F0 00 F0 00"));
    both.insert(both.end(), second.begin(), second.end());
    tNIT short_loops;
    short_loops.procesarNIT(both);
    ASSERT_EQ(short_loops.secciones.size(), 2u);
    EXPECT_EQ(short_loops.secciones[0]->transport_streams.items.size(), 2u);
}

// Every prefix of a good table parses without reading outside it, and keeps
// exactly the sections and TS entries that were complete.
TEST(NitParser, TruncatedInputKeepsWhatWasComplete)
{
    const auto full = hex(kTwoSections);
    for (size_t n = 0; n <= full.size(); ++n) {
        SCOPED_TRACE(n);
        tNIT nit;
        nit.procesarNIT(std::vector<char>(full.begin(), full.begin() + static_cast<long>(n)));
        EXPECT_EQ(nit.data_size, n);
        size_t entries = 0;
        for (const auto& s : nit.secciones)
            entries += s->transport_streams.items.size();
        // Section 0's TS entry ends at byte 36, section 1 starts at 40 and its entry ends at 71.
        EXPECT_EQ(nit.secciones.size(), n < 10 ? 0u : n < 50 ? 1u : 2u);
        EXPECT_EQ(entries, (n >= 36 ? 1u : 0u) + (n >= 71 ? 1u : 0u));
    }
}

TEST(NitParser, LengthsPointingPastTheEndStopThere)
{
    struct Case {
        const char* what;
        const char* bytes;
        size_t sections, network_descriptors, entries;
    } cases[] = {
        {"descriptor longer than the buffer", "40 F0 20 00 01 C1 00 00 F0 10 40 FF 41 42", 1, 0, 0},
        {"network loop longer than its descriptors", "40 F0 20 00 01 C1 00 00 FF FF 40 01 41", 1, 1, 0},
        {"TS loop length missing", "40 F0 20 00 01 C1 00 00 F0 03 40 01 41", 1, 1, 0},
        {"TS entry header cut", "40 F0 20 00 01 C1 00 00 F0 00 F0 10 00 01 00", 1, 0, 0},
        {"TS descriptor cut", "40 F0 20 00 01 C1 00 00 F0 00 F0 10 00 01 00 02 F0 05 5F 04 00", 1, 0, 0},
        {"last section 255 of a one-section buffer", "40 F0 0D 00 01 C1 00 FF F0 00 F0 00 00 00 00 00", 1, 0, 0},
        {"first section number above the last", "40 F0 0D 00 01 C1 03 01 F0 00 F0 00 00 00 00 00", 0, 0, 0},
        {"no table id", "", 0, 0, 0},
        {"table id only", "40", 0, 0, 0},
        {"header cut before the network loop length", "40 F0 0D 00 01 C1 00 00 F0", 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        tNIT nit;
        nit.procesarNIT(hex(c.bytes));
        EXPECT_EQ(nit.data_size, hex(c.bytes).size());
        ASSERT_EQ(nit.secciones.size(), c.sections);
        if (c.sections == 0)
            continue;
        EXPECT_EQ(nit.secciones[0]->network_descriptors.items.size(), c.network_descriptors);
        EXPECT_EQ(nit.secciones[0]->transport_streams.items.size(), c.entries);
    }
    tNIT empty;
    empty.procesarNIT(hex(kReferenceNit).data(), 0); // the pointer form, zero length
    EXPECT_TRUE(empty.secciones.empty());
}

TEST(NitVersion, FollowsTheNitLastSent)
{
    test::TempRoot root;
    tNIT nit;
    EXPECT_EQ(nit.getNextNITVersion(), 0u); // no file

    struct Case {
        const char* what;
        std::vector<char> file;
        unsigned next;
    } cases[] = {
        {"version 7", hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00 00"), 8},
        {"version 31 wraps", hex("40 F0 0D 30 01 FF 00 00 F0 00 F0 00 00 00 00 00"), 0},
        {"15 bytes count as absent", hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00"), 0},
        {"empty file", {}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_NE(write_char_vector_to_file(c.file, root(kLastSent), false), 0);
        EXPECT_EQ(nit.getNextNITVersion(), c.next);
    }
}

// Unchanged tables are the same under a new version; any content change is another table.
TEST(NitSameTable, ComparedWithTheNitLastSent)
{
    const struct {
        const char* what;
        unsigned outputs, version;
        void (*change)(tNIT&);
        bool same;
    } cases[] = {
        {"one section", 1, 5, nullptr, true},
        {"two sections", 15, 5, nullptr, true},
        // From the third section on the blanking misses: even the very same table differs.
        {"three sections", 25, 5, nullptr, false},
        {"three sections, same version", 25, 4, nullptr, false},
        {"one LCN", 15, 5, [](tNIT& n) { n.salidas[1].servicios[100].lcn = 999; }, false},
        {"frequency", 15, 5, [](tNIT& n) { n.salidas[15].frecuencia = 482000; }, false},
        {"network name, same length", 15, 5, [](tNIT& n) { n.network_name = "TVNEU"; }, false},
        {"one service more", 15, 5, [](tNIT& n) { n.salidas[2].servicios[299].sid = 299; }, false},
        {"one section less", 15, 5, [](tNIT& n) { n.salidas.erase(n.salidas.find(11), n.salidas.end()); }, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TempRoot root;
        // Sent as version 4 and promoted to the NIT last sent, as the headend does.
        ASSERT_NE(write_char_vector_to_file(generate(*network(c.outputs, 4), root), root(kLastSent), false), 0);
        auto again = network(c.outputs, c.version);
        if (c.change)
            c.change(*again);
        again->generarNIT();
        EXPECT_EQ(again->isSameTable(), c.same);
    }
    // No file, a short one, or one of the same size whose section_length points
    // far past the end: never the same, and the blanking stays inside the image.
    test::TempRoot root;
    auto nit = network(1, 0);
    nit->generarNIT();
    EXPECT_FALSE(nit->isSameTable());
    std::vector<char> past_the_end(nit->data_size, 0);
    past_the_end[1] = past_the_end[2] = static_cast<char>(0xFF);
    for (const auto& stored : {hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00"), past_the_end}) {
        ASSERT_NE(write_char_vector_to_file(stored, root(kLastSent), false), 0);
        EXPECT_FALSE(nit->isSameTable());
    }
}

TEST(NitOutput, FilesAreReadFromTheirPlaces)
{
    test::TempRoot root;
    const auto last_sent = hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00 00");
    const auto network_copy = hex("40 F0 0D 04 D2 C3 00 00 F0 00 F0 00 00 00 00 00");
    ASSERT_NE(write_char_vector_to_file(last_sent, root(kLastSent), false), 0);
    ASSERT_NE(write_char_vector_to_file(
                  network_copy, root(std::string(constants::kNitFilesDir) + "NIT_table1234"), false),
              0);
    tNIT nit;
    std::vector<char> buffer;
    EXPECT_NE(nit.leer_archivo_NIT_a_buffer(1234, buffer, 1), 0);
    EXPECT_EQ(buffer, network_copy);
    EXPECT_NE(nit.leer_archivo_NIT_a_buffer(1234, buffer, 0), 0);
    EXPECT_EQ(buffer, last_sent);

    LogCapture log;
    std::vector<char> missing;
    EXPECT_EQ(nit.leer_archivo_NIT_a_buffer(99, missing, 1), 0);
    // NID, then the size read (none), then the warning with the unmapped path.
    ASSERT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.lines()[1].text, "leer_archivo_NIT_a_buffer: tamano_archivo 0");
    EXPECT_EQ(log.lines()[2].priority, LOG_WARNING);
    EXPECT_EQ(log.lines()[2].text,
              "Imposible leer el archivo NIT o archivo NIT no existente. /tavel/datosWeb/NIT_files/NIT_table99");
}

// One-section pattern NIT: network id, version, and n bytes of an unknown descriptor.
std::vector<char> pattern(uint16_t network_id, uint8_t version, uint8_t filler, size_t n = 2)
{
    std::vector<char> s = hex("40 F0 00 00 00 C1 00 00 F0 00 99 00");
    s[3] = static_cast<char>(network_id >> 8);
    s[4] = static_cast<char>(network_id);
    s[5] = static_cast<char>(0xC1 | (version << 1));
    s[9] = static_cast<char>(n + 2);
    s[11] = static_cast<char>(n);
    s.insert(s.end(), n, static_cast<char>(filler));
    s.push_back(static_cast<char>(0xF0));
    s.push_back(0);
    return seal(s);
}

TEST(NitPatron, KeepsOnePatternPerIdentity)
{
    LogCapture log;
    tNIT nit;
    nit.addNITPatron(pattern(0x55, 3, 0xAA));
    EXPECT_TRUE(log.has(LOG_DEBUG, "numero de NIT patrones 1 . NIT añadida"));
    // Same network, version, last section and size: not kept, even with other descriptors.
    nit.addNITPatron(pattern(0x55, 3, 0xBB));
    ASSERT_EQ(nit.nitPatron.patrones.size(), 1u);
    EXPECT_EQ(static_cast<uint8_t>(nit.nitPatron.patrones[0]->secciones[0]->network_descriptors.items[0]->data[0]),
              0xAA);
    nit.addNITPatron(pattern(0x55, 4, 0xAA));     // other version
    nit.addNITPatron(pattern(0x56, 3, 0xAA));     // other network
    nit.addNITPatron(pattern(0x55, 3, 0xAA, 3));  // other size
    EXPECT_EQ(nit.nitPatron.patrones.size(), 4u);
    EXPECT_TRUE(log.has(LOG_DEBUG, "numero de NIT patrones 4 . NIT añadida"));

    auto probe = std::make_unique<tNIT>();
    probe->procesarNIT(pattern(0x56, 3, 0xCC));
    EXPECT_TRUE(nit.nitPatron.NIT_patron_exist(probe));
    auto stranger = std::make_unique<tNIT>();
    stranger->procesarNIT(pattern(0x57, 3, 0xCC));
    EXPECT_FALSE(nit.nitPatron.NIT_patron_exist(stranger));
    EXPECT_FALSE(stranger->compareNIT(nullptr));
}

TEST(NitPatron, GarbageYieldsOneEmptyPatternPerSize)
{
    NITPatron patrones;
    patrones.addNITPatron(hex("00 01 02"));
    patrones.addNITPatron(hex("04 05 06"));
    ASSERT_EQ(patrones.patrones.size(), 1u);
    EXPECT_TRUE(patrones.patrones[0]->secciones.empty());
    patrones.addNITPatron(hex("07 08")); // garbage of another size is another pattern
    patrones.addNITPatron(pattern(0x55, 3, 0xAA));
    EXPECT_EQ(patrones.patrones.size(), 3u);
}

} // namespace
} // namespace tavel
