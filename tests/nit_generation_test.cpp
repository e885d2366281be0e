// NIT generation: whole sections byte for byte, descriptor order and
// placement per LCN flavour, pattern take-over and section splitting.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/network_descriptors.h>
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

// The cable output of the reference network: TSID 2 / ONID 0x22D4 on
// 474 000 kHz, 6 900 ksym/s, 64-QAM, services 7 (LCN 5) and 8 (LCN 300).
datos_salidas cable_output()
{
    datos_salidas out;
    out.tipo_salida = 1;
    out.tsid = 2;
    out.onid = 0x22D4;
    out.frecuencia = 474000;
    out.symbol_rate = 6900;
    out.modulacion = 2;
    out.servicios[7] = service(7, 1, 5);
    out.servicios[8] = service(8, 2, 300);
    return out;
}

std::unique_ptr<tNIT> reference_nit(unsigned short tipo_lcn)
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, tipo_lcn, 0x40);
    nit->version = 5;
    nit->salidas[2] = cable_output();
    return nit;
}

std::vector<char> written_file(const test::TempRoot& root)
{
    std::vector<char> file;
    read_char_vector_from_file(root(std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile), file);
    return file;
}

// Bytes of the section at offset o, whole.
std::vector<char> section_at(const std::vector<char>& file, size_t o)
{
    const size_t length = ((static_cast<uint8_t>(file[o + 1]) & 0x0F) << 8) | static_cast<uint8_t>(file[o + 2]);
    return std::vector<char>(file.begin() + static_cast<long>(o), file.begin() + static_cast<long>(o + length + 3));
}

std::string bytes_of(const std::shared_ptr<Descriptor>& d) { return to_hex(d->data); }

bool crc_ok(const std::vector<char>& section)
{
    return mpeg_crc(0xFFFFFFFFUL, section, section.size()) == 0;
}

TEST(NitGeneration, CableOutputWithTwoServicesIsTheReferenceTable)
{
    test::TempRoot root;
    LogCapture log;
    auto nit = reference_nit(1);
    nit->generarNIT();

    const auto expected = hex(
        "40 F0 3F"            // NIT actual, syntax 1, section_length 63
        "30 01"               // network_id
        "CB"                  // version 5, current
        "00 00"               // section 0 of 0
        "F0 07"               // network descriptors: 7 bytes
        "40 05 54 56 4E 45 54" // network name "TVNET"
        "F0 2B"               // TS loop: 43 bytes
        "00 02 22 D4 F0 25"   // TSID 2, ONID 0x22D4, 37 descriptor bytes
        "44 0B 04 74 00 00 FF F2 03 00 69 00 0F" // cable 474 MHz, 64-QAM, 6.9 Msym/s
        "41 06 00 07 01 00 08 02"                // service list: 7 TV, 8 radio
        "5F 04 00 00 00 28"                      // private data specifier 0x28
        "83 08 00 07 FC 05 00 08 FD 2C"          // LCN 5 and 300, visible
        "66 52 AA 30");                          // CRC_32
    EXPECT_EQ(to_hex(written_file(root)), to_hex(expected));
    EXPECT_EQ(nit->data_size, 66u);
    EXPECT_TRUE(log.has(LOG_INFO, "Generate NIT first section header. Network id: 12289 =  and version = 5"));
    EXPECT_TRUE(log.has(LOG_INFO, "Generate network descriptor with network name TVNET"));
    EXPECT_TRUE(log.has(LOG_INFO, "Generate NIT file"));
    EXPECT_TRUE(log.has(LOG_INFO, "Generating NIT FILE with size 66"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Generate TS Loop. TSID 2 y ONID 8916"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Tipo Salida 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "serviciosSalidaSize 2"));
}

TEST(NitGeneration, NoOutputsGiveOneSectionWithTheNameOnly)
{
    test::TempRoot root;
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit->version = 5;
    nit->generarNIT();
    const auto expected = hex("40 F0 14"                // section_length 20
                              "30 01 CB 00 00"          // network, version 5, section 0 of 0
                              "F0 07 40 05 54 56 4E 45 54" // network name
                              "F0 00"                   // empty TS loop
                              "8C 50 40 56");           // CRC_32
    EXPECT_EQ(to_hex(written_file(root)), to_hex(expected));
    ASSERT_EQ(nit->secciones.size(), 1u);
    EXPECT_EQ(nit->secciones[0]->last_section_number, 0);
}

// The TS entry of the reference output (from its TSID) for one LCN flavour.
struct FlavourCase {
    unsigned short tipo_lcn;
    const char* entry;
};

TEST(NitGeneration, EveryLcnFlavourHasItsDescriptorAndSpecifier)
{
    const char* cable = "44 0B 04 74 00 00 FF F2 03 00 69 00 0F ";
    const char* list = "41 06 00 07 01 00 08 02 ";
    const std::string lcn_10bit = "83 08 00 07 FC 05 00 08 FD 2C ";
    const FlavourCase cases[] = {
        // 1: specifier 0x28 then 10-bit numbers
        {1, "5F 04 00 00 00 28 83 08 00 07 FC 05 00 08 FD 2C"},
        // 2: specifier 0x29, 14-bit coding (C0/C1 flags)
        {2, "5F 04 00 00 00 29 83 08 00 07 C0 05 00 08 C1 2C"},
        // 3: specifier 0x29, tag 0x87 with list id, name length, "900", loop length
        {3, "5F 04 00 00 00 29 87 0E 00 00 39 30 30 08 00 07 FC 05 00 08 FD 2C"},
        // 5: specifier 0x233A
        {5, "5F 04 00 00 23 3A 83 08 00 07 FC 05 00 08 FD 2C"},
        // 6: specifier 0x37
        {6, "5F 04 00 00 00 37 83 08 00 07 FC 05 00 08 FD 2C"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tipo_lcn);
        test::TempRoot root;
        auto nit = reference_nit(c.tipo_lcn);
        nit->generarNIT();
        const auto file = written_file(root);
        const std::string descriptors = std::string(cable) + list + c.entry;
        const auto body = hex(descriptors);
        std::vector<char> entry = hex("00 02 22 D4");
        entry.push_back(static_cast<char>(0xF0));
        entry.push_back(static_cast<char>(body.size()));
        entry.insert(entry.end(), body.begin(), body.end());
        ASSERT_GE(file.size(), 19u + entry.size() + 4);
        EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 19, file.end() - 4)), to_hex(entry));
        EXPECT_TRUE(crc_ok(file));
    }
    // 4: the LCN descriptor first and no specifier at all.
    test::TempRoot root;
    auto nit = reference_nit(4);
    nit->generarNIT();
    const auto file = written_file(root);
    const auto entry = hex("00 02 22 D4 F0 1F" + lcn_10bit + cable + list);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 19, file.end() - 4)), to_hex(entry));
}

TEST(NitGeneration, NoLcnFlavourAndNoServiceListGiveOnlyTheDeliveryDescriptor)
{
    test::TempRoot root;
    auto nit = reference_nit(0);
    nit->con_service_list = 0;
    nit->generarNIT();
    const auto file = written_file(root);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 17, file.end() - 4)),
              "F0 13 00 02 22 D4 F0 0D 44 0B 04 74 00 00 FF F2 03 00 69 00 0F");
}

TEST(NitGeneration, TerrestrialOutputInsideAndOutsideTheTerritories)
{
    struct Case {
        const char* pais;
        const char* descriptor;
    } cases[] = {
        // Real parameters: 474 000 kHz in 10 Hz, 8 MHz + priority, 64-QAM / 3/4, LP 7, 1/32, 8k.
        {"ESP", "5A 0B 02 D3 44 40 13 82 E2 FF FF FF FF"},
        // These territories publish no parameters: 0xFFFFFFFF kHz (x100 on the wire), every field 0.
        {"FRA", "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF"},
        {"GLP", "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF"},
        {"MTQ", "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF"},
        {"REU", "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF"},
        {"NCL", "5A 0B FF FF FF 9C 03 00 00 FF FF FF FF"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pais);
        test::TempRoot root;
        tNIT nit(c.pais, 0x3001, "TVNET", 0, 0, 0x40);
        datos_salidas out;
        out.tipo_salida = 0;
        out.tsid = 2;
        out.onid = 0x22D4;
        out.frecuencia = 474000;
        out.ancho_banda = 0;
        out.modulacion = 2;
        out.code_rate = 2;
        out.intervalo_guarda = 0;
        out.modo_transmision = 1;
        nit.salidas[2] = out;
        nit.generarNIT();
        const auto file = written_file(root);
        EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 19, file.end() - 4)),
                  to_hex(hex(std::string("00 02 22 D4 F0 0D ") + c.descriptor)));
    }
}

TEST(NitGeneration, OutputTypeTwoHasNoDeliveryDescriptorButKeepsListAndLcn)
{
    test::TempRoot root;
    auto nit = reference_nit(1);
    nit->salidas[2].tipo_salida = 2;
    nit->generarNIT();
    const auto file = written_file(root);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 19, file.end() - 4)),
              to_hex(hex("00 02 22 D4 F0 18"
                         "41 06 00 07 01 00 08 02"
                         "5F 04 00 00 00 28"
                         "83 08 00 07 FC 05 00 08 FD 2C")));
    EXPECT_TRUE(crc_ok(file));
}

TEST(NitGeneration, OutputWithoutServicesHasNoListAndNoLcn)
{
    test::TempRoot root;
    auto nit = reference_nit(1);
    nit->salidas[2].servicios.clear();
    nit->generarNIT();
    const auto file = written_file(root);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 19, file.end() - 4)),
              "00 02 22 D4 F0 0D 44 0B 04 74 00 00 FF F2 03 00 69 00 0F");
}

// A pattern NIT of network 0x0055 as an input stream carries it.
std::vector<char> pattern_nit()
{
    auto section = hex(
        "40 F0 00"                       // section_length patched below
        "00 55 C7 00 00"                 // network 0x55, version 3, section 0 of 0
        "F0 3A"                          // 58 bytes of network descriptors
        "40 03 41 42 43"                 // network name "ABC": ours wins
        "42 02 FF FF"                    // stuffing: never taken
        "6C 00"                          // cell list: never taken
        "4A 07 00 0A 00 01 00 64 01"     // linkage type 1 to (10, 1, 100): carried
        "4A 07 00 0A 00 01 00 64 04"     // linkage type 4: dropped
        "4A 07 00 0A 00 01 00 65 01"     // linkage type 1 to SID 101: not carried
        "5F 04 00 00 00 28"              // specifier: taken
        "99 02 AB CD"                    // unknown: taken as is
        "4A 08 00 0A 00 01 00 64 02 77"  // linkage type 2 with one private byte: carried
        "F0 36"                          // 54 bytes of TS loop
        "00 10 00 01 F0 27"              // TS 0x10 / 0x01: taken over
        "43 0B 01 17 57 00 01 92 81 02 75 00 03" // satellite delivery: never
        "5F 04 00 00 00 28"              // specifier matching flavour 1
        "41 03 00 64 01"                 // service list: never
        "83 04 00 64 FC 01"              // LCN: never
        "62 04 00 00 00 01"              // frequency list: never
        "99 01 EE"                       // unknown: taken
        "00 11 00 01 F0 03"              // TS 0x11 / 0x01: not asked for
        "99 01 FF");
    const size_t length = section.size() + 4 - 3;
    section[1] = static_cast<char>(0xF0 | (length >> 8));
    section[2] = static_cast<char>(length & 0xFF);
    const uint32_t crc = static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFUL, section, section.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<char>(crc >> shift));
    return section;
}

std::unique_ptr<tNIT> nit_with_pattern()
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit->version = 5;
    datos_salidas out = cable_output();
    out.tsid = 2;
    out.onid = 9;
    out.servicios.clear();
    datos_servicios s = service(7, 1, 5);
    s.sid_entrada = 100;
    s.tsid_entrada = 10;
    s.onid_entrada = 1;
    out.servicios[7] = s;
    nit->salidas[2] = out;
    nit->ts_desde_patron.emplace_back(0x10, 0x01);
    nit->addNITPatron(pattern_nit());
    return nit;
}

TEST(NitGeneration, PatternDescriptorsAreTakenOverWithTheirRules)
{
    test::TempRoot root;
    LogCapture log;
    auto nit = nit_with_pattern();
    ASSERT_EQ(nit->nitPatron.patrones.size(), 1u);
    nit->generarNIT();
    const auto file = written_file(root);

    std::vector<char> expected = hex(
        "40 F0 58"                          // section_length 88
        "30 01 CB 00 00"
        "F0 24"                             // 36 bytes of network descriptors
        "40 05 54 56 4E 45 54"              // our own name
        "4A 07 00 02 00 09 00 07 01"        // linkage rewritten to (2, 9, 7)
        "5F 04 00 00 00 28"
        "99 02 AB CD"
        "4A 08 00 02 00 09 00 07 02 77"     // type 2 rewritten, private byte kept
        "F0 27"                             // 39 bytes of TS loop
        "00 02 00 09 F0 21"
        "44 0B 04 74 00 00 FF F2 03 00 69 00 0F" // our cable descriptor
        "41 03 00 07 01"                    // our service list
        "5F 04 00 00 00 28"                 // the pattern's specifier
        "83 04 00 07 FC 05"                 // our LCN right behind it
        "99 01 EE");                        // the pattern's unknown descriptor
    const uint32_t crc = static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFUL, expected, expected.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        expected.push_back(static_cast<char>(crc >> shift));
    EXPECT_EQ(to_hex(file), to_hex(expected));

    // The pattern's own linkage object was rewritten, not a copy.
    const auto& patron_loop = nit->nitPatron.patrones[0]->secciones[0]->network_descriptors.items;
    auto linkage = std::dynamic_pointer_cast<DescriptorLinkage>(patron_loop[3]);
    ASSERT_TRUE(linkage);
    EXPECT_EQ(linkage->transport_stream_id, 2);
    EXPECT_EQ(linkage->original_network_id, 9);
    EXPECT_EQ(linkage->service_id, 7);
    EXPECT_EQ(nit->secciones[0]->network_descriptors.items[1], patron_loop[3]);

    EXPECT_TRUE(log.has(LOG_INFO, "Generate network descriptor with network id 12289d"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "SE COGEN DESCRIPTORES DEL TS: 16 1 PARA LA NIT DE SALIDA"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Insertamos descriptor con id 153 y tamaño 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "DESCRIPTOR ID 131"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "buscamos TSID 17 ONID 1"));
}

TEST(NitGeneration, NetworkNameFromPatternIsTakenWhenTheNetworkIdIsZero)
{
    test::TempRoot root;
    auto nit = nit_with_pattern();
    nit->network_id = 0;
    nit->generarNIT();
    const auto& loop = nit->secciones[0]->network_descriptors.items;
    ASSERT_GE(loop.size(), 2u);
    EXPECT_EQ(loop[0]->descriptor_tag, 0x40);
    EXPECT_EQ(loop[1]->descriptor_tag, 0x40);
    EXPECT_EQ(std::string(loop[1]->data.begin(), loop[1]->data.end()), "ABC");
}

TEST(NitGeneration, SpecifierOfAnotherFlavourLeavesTheLcnAtTheEnd)
{
    test::TempRoot root;
    auto nit = nit_with_pattern();
    nit->tipo_lcn = 6; // pattern specifier is 0x28, flavour 6 wants 0x37
    nit->generarNIT();
    const auto& list = nit->secciones[0]->transport_streams.items[0]->descriptores.items;
    std::vector<int> tags;
    for (const auto& d : list)
        tags.push_back(d->descriptor_tag);
    EXPECT_EQ(tags, (std::vector<int>{0x44, 0x41, 0x5F, 0x99, 0x5F, 0x83}));
    EXPECT_EQ(bytes_of(list[4]), "00 00 00 37");
}

TEST(NitGeneration, TableSpillsIntoThreeSectionsWithTheHeaderCopied)
{
    test::TempRoot root;
    tNIT nit("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit.version = 9;
    // 25 outputs of 10 services: 99 bytes per entry, 10 entries per section.
    for (uint16_t t = 1; t <= 25; ++t) {
        datos_salidas out = cable_output();
        out.tsid = t;
        out.servicios.clear();
        for (uint16_t s = 0; s < 10; ++s)
            out.servicios[static_cast<uint16_t>(t * 100 + s)] =
                service(static_cast<uint16_t>(t * 100 + s), 1, static_cast<uint16_t>(t * 10 + s));
        nit.salidas[t] = out;
    }
    nit.generarNIT();
    ASSERT_EQ(nit.secciones.size(), 3u);
    const auto file = written_file(root);
    EXPECT_EQ(file.size(), nit.data_size);
    size_t o = 0;
    const size_t entries[] = {10, 10, 5};
    for (unsigned n = 0; n < 3; ++n) {
        SCOPED_TRACE(n);
        const auto section = section_at(file, o);
        EXPECT_TRUE(crc_ok(section));
        EXPECT_LE(section.size(), 1024u);
        EXPECT_EQ(to_hex(std::vector<char>(section.begin(), section.begin() + 1)), "40");
        EXPECT_EQ(static_cast<uint8_t>(section[1]) & 0xF0, 0xF0); // syntax indicator copied
        // network_id, version 9, section n of 2
        EXPECT_EQ(to_hex(std::vector<char>(section.begin() + 3, section.begin() + 8)),
                  "30 01 D3 0" + std::to_string(n) + " 02");
        EXPECT_EQ(nit.secciones[n]->transport_streams.items.size(), entries[n]);
        o += section.size();
    }
    EXPECT_EQ(o, file.size());
    // Only section 0 carries the network name.
    EXPECT_EQ(nit.secciones[1]->network_descriptors_length, 0);
}

} // namespace
} // namespace tavel
