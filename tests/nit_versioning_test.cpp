// NIT versioning and output: next version from the NIT last sent, the
// comparison with it, the files read back, and the pattern collection.
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
using test::to_hex;

const std::string kLastSent = std::string(constants::kSiTablesDir) + constants::kNitTableFile;
const std::string kNew = std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile;

datos_salidas output(uint16_t tsid, uint16_t services)
{
    datos_salidas out;
    out.tipo_salida = 1;
    out.tsid = tsid;
    out.onid = 0x22D4;
    out.frecuencia = 474000;
    out.symbol_rate = 6900;
    out.modulacion = 4;
    for (uint16_t s = 0; s < services; ++s) {
        datos_servicios d;
        d.sid = static_cast<uint16_t>(tsid * 100 + s);
        d.tipo_servicio = 1;
        d.lcn = static_cast<uint16_t>(tsid * 10 + s);
        out.servicios[d.sid] = d;
    }
    return out;
}

// A network of n outputs of 10 services; 10 outputs fill about one section.
std::unique_ptr<tNIT> network(unsigned outputs, unsigned version)
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit->version = static_cast<uint8_t>(version);
    for (uint16_t t = 1; t <= outputs; ++t)
        nit->salidas[t] = output(t, 10);
    return nit;
}

// Generates and promotes the new NIT to the NIT last sent, as the headend does.
void send(const test::TempRoot& root, tNIT& nit)
{
    nit.generarNIT();
    std::vector<char> file;
    ASSERT_NE(read_char_vector_from_file(root(kNew), file), 0);
    ASSERT_NE(write_char_vector_to_file(file, root(kLastSent), false), 0);
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

TEST(NitSameTable, NoOrShortNitLastSentIsNeverTheSame)
{
    test::TempRoot root;
    auto nit = network(1, 0);
    nit->generarNIT();
    EXPECT_FALSE(nit->isSameTable());
    ASSERT_NE(write_char_vector_to_file(hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00"), root(kLastSent), false),
              0);
    EXPECT_FALSE(nit->isSameTable());
}

TEST(NitSameTable, UnchangedOneAndTwoSectionTablesAreTheSameUnderANewVersion)
{
    for (unsigned outputs : {1u, 15u}) {
        SCOPED_TRACE(outputs);
        test::TempRoot root;
        auto sent = network(outputs, 4);
        send(root, *sent);
        ASSERT_EQ(sent->secciones.size(), outputs == 1 ? 1u : 2u);

        auto again = network(outputs, sent->getNextNITVersion());
        ASSERT_EQ(again->version, 5);
        LogCapture log;
        again->generarNIT();
        EXPECT_TRUE(again->isSameTable());
        const std::string last = std::to_string(outputs == 1 ? 0 : 1);
        EXPECT_TRUE(log.has(LOG_DEBUG, "getMaxSectionNumber " + last + ", numSeccionMayorAnterior " + last));
        const std::string size = std::to_string(sent->data_size);
        EXPECT_TRUE(log.has(LOG_DEBUG, "NIT_actual.size() " + size + ", NIT_anterior.size() " + size));
    }
}

TEST(NitSameTable, AnyContentChangeIsADifferentTable)
{
    struct Case {
        const char* what;
        void (*change)(tNIT&);
    } cases[] = {
        {"one LCN", [](tNIT& n) { n.salidas[1].servicios[100].lcn = 999; }},
        {"frequency", [](tNIT& n) { n.salidas[15].frecuencia = 482000; }},
        {"network name, same length", [](tNIT& n) { n.network_name = "TVNEU"; }},
        {"one service more", [](tNIT& n) { n.salidas[2] = output(2, 11); }},
        {"one section less", [](tNIT& n) { n.salidas.erase(15); n.salidas.erase(14); n.salidas.erase(13); n.salidas.erase(12); n.salidas.erase(11); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TempRoot root;
        auto sent = network(15, 4);
        send(root, *sent);
        auto changed = network(15, 5);
        c.change(*changed);
        changed->generarNIT();
        EXPECT_FALSE(changed->isSameTable());
    }
}

TEST(NitSameTable, FromTheThirdSectionOnTheBlankingMissesAndTheTableIsReversioned)
{
    for (unsigned version : {4u, 5u}) {
        SCOPED_TRACE(version);
        test::TempRoot root;
        auto sent = network(25, 4);
        send(root, *sent);
        ASSERT_EQ(sent->secciones.size(), 3u);
        auto again = network(25, version);
        again->generarNIT();
        // Even the very same table is judged different once it has three sections.
        EXPECT_FALSE(again->isSameTable());
    }
}

TEST(NitSameTable, BlankingNeverWritesOutsideTheStoredImage)
{
    test::TempRoot root;
    auto nit = network(1, 0);
    nit->generarNIT();
    // Same size and last section number, but a section_length far past the end.
    std::vector<char> stored(nit->data_size, 0);
    stored[1] = static_cast<char>(0xFF);
    stored[2] = static_cast<char>(0xFF);
    ASSERT_NE(write_char_vector_to_file(stored, root(kLastSent), false), 0);
    EXPECT_FALSE(nit->isSameTable());
}

TEST(NitOutput, ComparisonImageBlanksVersionAndCrc)
{
    test::TempRoot root;
    auto nit = network(1, 5);
    nit->generarNIT();
    std::vector<char> sent, image;
    LogCapture log;
    nit->generarNITBufferChar(sent, false);
    nit->generarNITBufferChar(image, true);
    ASSERT_EQ(sent.size(), image.size());
    EXPECT_EQ(static_cast<uint8_t>(sent[5]), 0xCB);
    EXPECT_EQ(static_cast<uint8_t>(image[5]), 0xC1);
    EXPECT_EQ(to_hex(std::vector<char>(image.end() - 4, image.end())), "00 00 00 00");
    EXPECT_EQ(std::vector<char>(sent.begin() + 6, sent.end() - 4), std::vector<char>(image.begin() + 6, image.end() - 4));
    const std::string size = std::to_string(nit->data_size);
    EXPECT_TRUE(log.has(LOG_DEBUG, "data_size: " + size));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Bytes copiados a buffer ANTES: " + size));
}

TEST(NitOutput, GeneratedTableReadsBackSectionForSection)
{
    test::TempRoot root;
    auto nit = network(25, 7);
    nit->generarNIT();
    std::vector<char> file;
    ASSERT_NE(read_char_vector_from_file(root(kNew), file), 0);
    EXPECT_EQ(file.size(), nit->data_size);

    tNIT back;
    back.procesarNIT(file);
    ASSERT_EQ(back.secciones.size(), nit->secciones.size());
    for (size_t n = 0; n < back.secciones.size(); ++n) {
        SCOPED_TRACE(n);
        const SISectionNIT& a = *nit->secciones[n];
        const SISectionNIT& b = *back.secciones[n];
        EXPECT_EQ(b.section_length, a.section_length);
        EXPECT_EQ(b.section_number, a.section_number);
        EXPECT_EQ(b.last_section_number, 2);
        EXPECT_EQ(b.version_number, 7);
        EXPECT_EQ(b.network_descriptors_length, a.network_descriptors_length);
        EXPECT_EQ(b.transport_stream_loop_length, a.transport_stream_loop_length);
        ASSERT_EQ(b.network_descriptors.items.size(), a.network_descriptors.items.size());
        ASSERT_EQ(b.transport_streams.items.size(), a.transport_streams.items.size());
        for (size_t t = 0; t < a.transport_streams.items.size(); ++t) {
            const NITTS& x = *a.transport_streams.items[t];
            const NITTS& y = *b.transport_streams.items[t];
            EXPECT_EQ(y.transport_stream_id, x.transport_stream_id);
            EXPECT_EQ(y.transport_descriptors_length, x.transport_descriptors_length);
            ASSERT_EQ(y.descriptores.items.size(), x.descriptores.items.size());
            for (size_t d = 0; d < x.descriptores.items.size(); ++d) {
                EXPECT_EQ(y.descriptores.items[d]->descriptor_tag, x.descriptores.items[d]->descriptor_tag);
                EXPECT_EQ(y.descriptores.items[d]->data, x.descriptores.items[d]->data);
            }
        }
    }
    auto copy = std::make_unique<tNIT>();
    copy->procesarNIT(file);
    EXPECT_TRUE(back.compareNIT(copy));
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
    LogCapture log;
    EXPECT_NE(nit.leer_archivo_NIT_a_buffer(1234, buffer, 1), 0);
    EXPECT_EQ(buffer, network_copy);
    EXPECT_TRUE(log.has(LOG_DEBUG, "leer_archivo_NIT_a_buffer: NID 1234"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "leer_archivo_NIT_a_buffer: tamano_archivo 16"));
    EXPECT_NE(nit.leer_archivo_NIT_a_buffer(1234, buffer, 0), 0);
    EXPECT_EQ(buffer, last_sent);

    log.clear();
    std::vector<char> missing;
    EXPECT_EQ(nit.leer_archivo_NIT_a_buffer(99, missing, 1), 0);
    // NID, then the size read (none), then the warning with the unmapped path.
    ASSERT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.lines()[0].text, "leer_archivo_NIT_a_buffer: NID 99");
    EXPECT_EQ(log.lines()[1].priority, LOG_DEBUG);
    EXPECT_EQ(log.lines()[1].text, "leer_archivo_NIT_a_buffer: tamano_archivo 0");
    EXPECT_EQ(log.lines()[2].priority, LOG_WARNING);
    EXPECT_EQ(log.lines()[2].text,
              "Imposible leer el archivo NIT o archivo NIT no existente. /tavel/datosWeb/NIT_files/NIT_table99");
}

// One-section pattern NIT: network id, version byte, and n bytes of an unknown descriptor.
std::vector<char> pattern(uint16_t network_id, uint8_t version, uint8_t filler, size_t n = 2)
{
    std::vector<char> s = {0x40, 0, 0, static_cast<char>(network_id >> 8), static_cast<char>(network_id),
                           static_cast<char>(0xC1 | (version << 1)), 0, 0, static_cast<char>(0xF0),
                           static_cast<char>(n + 2), static_cast<char>(0x99), static_cast<char>(n)};
    s.insert(s.end(), n, static_cast<char>(filler));
    s.push_back(static_cast<char>(0xF0));
    s.push_back(0);
    s.insert(s.end(), 4, 0);
    s[1] = static_cast<char>(0xF0 | ((s.size() - 3) >> 8));
    s[2] = static_cast<char>(s.size() - 3);
    return s;
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
}

TEST(NitPatron, GarbageYieldsAtMostOneEmptyPattern)
{
    NITPatron patrones;
    patrones.addNITPatron(hex("00 01 02"));
    patrones.addNITPatron(hex("04 05 06"));
    ASSERT_EQ(patrones.patrones.size(), 1u);
    EXPECT_TRUE(patrones.patrones[0]->secciones.empty());
    patrones.addNITPatron(pattern(0x55, 3, 0xAA));
    EXPECT_EQ(patrones.patrones.size(), 2u);
}

} // namespace
} // namespace tavel
