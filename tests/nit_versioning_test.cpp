// NIT versioning and output: next version from the NIT last sent, the
// comparison with it, the files read back, and the pattern collection.
#include <gtest/gtest.h>

#include <syslog.h>

#include <algorithm>
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

// A network of cable outputs 1..n of 10 services each; 10 outputs fill about one section.
std::unique_ptr<tNIT> network(unsigned outputs, unsigned version)
{
    auto nit = std::make_unique<tNIT>("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit->version = static_cast<uint8_t>(version);
    for (uint16_t t = 1; t <= outputs; ++t) {
        datos_salidas& out = nit->salidas[t];
        out.tipo_salida = 1;
        out.tsid = t;
        out.onid = 0x22D4;
        out.frecuencia = 474000;
        out.symbol_rate = 6900;
        out.modulacion = 4;
        for (uint16_t sid = t * 100; sid < t * 100 + 10; ++sid) {
            out.servicios[sid].sid = sid;
            out.servicios[sid].tipo_servicio = 1;
            out.servicios[sid].lcn = static_cast<uint16_t>(sid - t * 90);
        }
    }
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

TEST(NitSameTable, NoShortOrBrokenNitLastSentIsNeverTheSame)
{
    test::TempRoot root;
    auto nit = network(1, 0);
    nit->generarNIT();
    EXPECT_FALSE(nit->isSameTable()); // no file
    // Same size and last section number, but a section_length far past the end:
    // the blanking must not write outside the stored image.
    std::vector<char> past_the_end(nit->data_size, 0);
    past_the_end[1] = past_the_end[2] = static_cast<char>(0xFF);
    for (const auto& stored : {hex("40 F0 0D 30 01 CF 00 00 F0 00 F0 00 00 00 00"), past_the_end}) {
        ASSERT_NE(write_char_vector_to_file(stored, root(kLastSent), false), 0);
        EXPECT_FALSE(nit->isSameTable());
    }
}

TEST(NitSameTable, UnchangedTablesAreTheSameUnderANewVersionUpToTwoSections)
{
    const struct {
        unsigned outputs, sections, version;
        bool same;
    } cases[] = {
        {1, 1, 5, true},
        {15, 2, 5, true},
        // From the third section on the blanking misses: even the very same table differs.
        {25, 3, 5, false},
        {25, 3, 4, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.outputs * 10 + c.version);
        test::TempRoot root;
        auto sent = network(c.outputs, 4);
        send(root, *sent);
        ASSERT_EQ(sent->secciones.size(), c.sections);
        ASSERT_EQ(sent->getNextNITVersion(), 5u);
        auto again = network(c.outputs, c.version);
        again->generarNIT();
        EXPECT_EQ(again->isSameTable(), c.same);
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
        {"one service more", [](tNIT& n) { n.salidas[2].servicios[299].sid = 299; }},
        {"one section less", [](tNIT& n) { n.salidas.erase(n.salidas.find(11), n.salidas.end()); }},
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

TEST(NitOutput, ComparisonImageBlanksVersionAndCrc)
{
    test::TempRoot root;
    auto nit = network(1, 5);
    nit->generarNIT();
    std::vector<char> sent, image;
    nit->generarNITBufferChar(sent, false);
    nit->generarNITBufferChar(image, true);
    ASSERT_EQ(static_cast<uint8_t>(sent.at(5)), 0xCB); // version 5, current
    auto expected = sent;
    expected[5] = static_cast<char>(0xC1);
    std::fill(expected.end() - 4, expected.end(), 0);
    EXPECT_EQ(to_hex(image), to_hex(expected));
}

// A section as its header fields, TS entries and descriptor payloads.
std::string dump(const SISectionNIT& s)
{
    auto n = [](unsigned v) { return std::to_string(v) + " "; };
    std::string out = n(s.section_length) + n(s.section_number) + n(s.last_section_number) + n(s.version_number) +
                      n(s.network_descriptors_length) + n(s.transport_stream_loop_length);
    auto loop = [&](const SIVectorDescriptores& list) {
        for (const auto& d : list.items)
            out += n(d->descriptor_tag) + n(d->descriptor_length) + to_hex(d->data) + " ";
    };
    loop(s.network_descriptors);
    for (const auto& ts : s.transport_streams.items) {
        out += "| " + n(ts->transport_stream_id) + n(ts->original_network_id) + n(ts->transport_descriptors_length);
        loop(ts->descriptores);
    }
    return out;
}

TEST(NitOutput, GeneratedTableReadsBackSectionForSection)
{
    test::TempRoot root;
    auto nit = network(25, 7);
    nit->generarNIT();
    std::vector<char> file;
    ASSERT_NE(read_char_vector_from_file(root(kNew), file), 0);
    tNIT back;
    back.procesarNIT(file);
    ASSERT_EQ(back.secciones.size(), 3u);
    for (size_t n = 0; n < 3; ++n)
        EXPECT_EQ(dump(*back.secciones[n]), dump(*nit->secciones[n])) << n;
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
