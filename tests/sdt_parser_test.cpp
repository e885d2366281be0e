// SDT parsing, the stored SDT file and the service look-ups; cut and
// corrupt input never reads outside the buffer.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/file_io.h>
#include <tavel/network_descriptors.h>
#include <tavel/sdt.h>
#include <tavel/service_descriptors.h>

#include "platform/log.h"
#include "tests/test_support.h"

namespace {

using tavel::datos_servicios;
using tavel::tSDT;
using tavel::test::hex;

// An SDT other in two sections: tsid 0x0010, onid 0x0020, version 3.
const char* const kTwoSections =
    // section 0 of 1, section_length 50
    "46 F0 32 00 10 C7 00 01 00 20 FF"
    " 01 01 FF 80 21"                         // 0x0101: EIT flags, running, clear, 33 bytes
    "   5F 04 00 00 00 28"                    // private data specifier
    "   48 0A 01 03 15 41 42 04 15 43 44 45"  // service: TV, AB, CDE
    "   4A 08 00 10 00 20 01 01 05 EE"        // linkage, one private byte
    "   80 03 AA BB CC"                       // unknown private descriptor
    " 1B 6A EB 29"                            // CRC_32
    // section 1 of 1, section_length 22
    " 46 F0 16 00 10 C7 01 01 00 20 FF"
    " 01 02 FD 50 00"                         // 0x0102: present/following, pausing, scrambled
    " 01 05 FE 30 00"                         // 0x0105: schedule only, not yet running, scrambled
    " 79 0B B5 A3";                           // CRC_32
constexpr size_t kSection0Size = 53;

datos_servicios input(uint16_t sid_entrada, uint16_t tsid = 0x0010, uint16_t onid = 0x0020)
{
    datos_servicios r;
    r.sid = 9;
    r.sid_entrada = sid_entrada;
    r.tsid_entrada = tsid;
    r.onid_entrada = onid;
    return r;
}

TEST(SdtParser, ReadsEveryFieldOfEverySection)
{
    for (const bool actual : {false, true}) {
        SCOPED_TRACE(actual);
        tSDT sdt;
        sdt.procesarSDT(hex(kTwoSections), actual);
        EXPECT_EQ(sdt.data_size, 78u);
        EXPECT_EQ(sdt.getSDTVersion(), 3);
        EXPECT_EQ(sdt.getMaxSectionNumber(), 1);
        ASSERT_EQ(sdt.secciones.size(), 2u);
        // Section header fields; only the last CRC byte is kept, and actual forces 0x42.
        const int header[2][9] = {{0x46, 1, 50, 0x0010, 0x0020, 3, 1, 0, 0x29}, {0x46, 1, 22, 0x0010, 0x0020, 3, 1, 1, 0xA3}};
        for (int i = 0; i < 2; ++i) {
            const auto& s = *sdt.secciones[static_cast<size_t>(i)];
            EXPECT_EQ((std::vector<int>{s.table_id, s.section_syntax_indicator, s.section_length, s.transport_stream_id,
                                        s.original_network_id, s.version_number, s.current_next_indicator,
                                        s.section_number, static_cast<int>(s.CRC)}),
                      (std::vector<int>{actual ? 0x42 : header[i][0], header[i][1], header[i][2], header[i][3], header[i][4],
                                        header[i][5], header[i][6], header[i][7], header[i][8]}));
            EXPECT_EQ(s.last_section_number, 1);
        }
        // service_id, EIT schedule, EIT p/f, running_status, free_CA_mode, loop length, descriptors
        const std::vector<std::vector<int>> services = {{0x0101, 1, 1, 4, 0, 33, 4}, {0x0102, 0, 1, 2, 1, 0, 0}, {0x0105, 1, 0, 1, 1, 0, 0}};
        std::vector<std::vector<int>> got;
        for (const auto& section : sdt.secciones)
            for (const auto& v : section->services.items)
                got.push_back({v->service_id, v->EIT_schedule_flag, v->EIT_present_following_flag, v->running_status,
                               v->free_CA_mode, v->descriptors_loop_length, static_cast<int>(v->descriptores.items.size())});
        EXPECT_EQ(got, services);

        const auto& d = sdt.secciones[0]->services.items[0]->descriptores.items;
        EXPECT_NE(std::dynamic_pointer_cast<tavel::DescriptorPrivateDataSpecifier>(d[0]), nullptr);
        auto service = std::dynamic_pointer_cast<tavel::DescriptorService>(d[1]);
        ASSERT_NE(service, nullptr);
        EXPECT_EQ(service->service_type, 1);
        EXPECT_EQ(service->provider_name, "AB");
        EXPECT_EQ(service->service_name, "CDE");
        EXPECT_NE(std::dynamic_pointer_cast<tavel::DescriptorLinkage>(d[2]), nullptr);
        EXPECT_EQ(d[3]->descriptor_tag, 0x80);
        EXPECT_EQ(tavel::test::to_hex(d[3]->data), "AA BB CC");
    }
}

TEST(SdtParser, HeaderEdgeCasesAndRawPointerForm)
{
    // section_number above last_section_number: nothing parsed, size kept.
    tSDT backwards;
    backwards.procesarSDT(hex("42 F0 0C 00 10 C7 01 00 00 20 FF 00 00 00 00"), true);
    EXPECT_TRUE(backwards.secciones.empty());
    EXPECT_EQ(backwards.data_size, 15u);

    // section_length 12: a section without services, version 5.
    tSDT empty;
    empty.procesarSDT(hex("42 F0 0C 00 10 CB 00 00 00 20 FF 01 02 03 04"), true);
    ASSERT_EQ(empty.secciones.size(), 1u);
    EXPECT_TRUE(empty.secciones[0]->services.items.empty());
    EXPECT_EQ(empty.getSDTVersion(), 5);

    const auto bytes = hex(kTwoSections);
    tSDT raw;
    raw.procesarSDT(bytes.data(), static_cast<unsigned short>(bytes.size()), false);
    EXPECT_EQ(raw.secciones.size(), 2u);
    tSDT none;
    none.procesarSDT(nullptr, 0, true);
    EXPECT_TRUE(none.secciones.empty());
}

TEST(SdtParser, CutBufferKeepsWhatWasComplete)
{
    const auto whole = hex(kTwoSections);
    struct Case {
        size_t size;
        std::vector<size_t> services_per_section;
    } cases[] = {
        {5, {}},                      // header cut
        {11 + 5 + 20, {0}},           // inside a descriptor of 0x0101
        {kSection0Size - 2, {1}},     // inside the CRC
        {kSection0Size, {1}},         // section 1 missing entirely
        {kSection0Size + 11 + 7, {1, 1}}, // 0x0105 cut
        {whole.size(), {1, 2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        tSDT sdt;
        sdt.procesarSDT(std::vector<char>(whole.begin(), whole.begin() + static_cast<long>(c.size)), false);
        EXPECT_EQ(sdt.data_size, c.size);
        ASSERT_EQ(sdt.secciones.size(), c.services_per_section.size());
        for (size_t i = 0; i < c.services_per_section.size(); ++i)
            EXPECT_EQ(sdt.secciones[i]->services.items.size(), c.services_per_section[i]);
    }
    // Every other cut, and lengths pointing far past the end, are survived.
    for (size_t n = 0; n <= whole.size(); ++n) {
        tSDT sdt;
        sdt.procesarSDT(std::vector<char>(whole.begin(), whole.begin() + static_cast<long>(n)), false);
    }
    auto lying = whole;
    lying[1] = static_cast<char>(0xFF); // section_length 0xF32
    lying[14] = static_cast<char>(0x8F); // descriptors_loop_length 0xF21
    tSDT sdt;
    sdt.procesarSDT(lying, false);
    EXPECT_EQ(sdt.secciones.size(), 1u);
}

TEST(SdtFile, ReadsStoredTableOnlyWhenLongerThan14Bytes)
{
    tavel::test::TempRoot root;
    const std::string path = "/tavel/datosWeb/tablasSI/SDT_table";
    std::vector<char> buffer;
    {
        tavel::LogCapture log;
        EXPECT_FALSE(tSDT::leer_archivo_SDT_a_buffer(buffer));
        EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer el archivo SDT o archivo SDT no existente. " + path));
    }
    ASSERT_TRUE(tavel::write_char_vector_to_file(std::vector<char>(14, 'x'), root(path), false));
    {
        tavel::LogCapture log;
        EXPECT_FALSE(tSDT::leer_archivo_SDT_a_buffer(buffer));
        EXPECT_EQ(log.count(LOG_WARNING), 0u);
    }
    ASSERT_TRUE(tavel::write_char_vector_to_file(hex(kTwoSections), root(path), false));
    EXPECT_TRUE(tSDT::leer_archivo_SDT_a_buffer(buffer));
    EXPECT_EQ(buffer, hex(kTwoSections));
}

TEST(SdtLookup, FindsTheEntryItselfByInputIdentity)
{
    tSDT sdt;
    sdt.procesarSDT(hex(kTwoSections), false);
    auto found = sdt.buscar_servicio(input(0x0102));
    EXPECT_EQ(found, sdt.secciones[1]->services.items[0]); // the table's own object, not a copy
    EXPECT_EQ(sdt.buscar_servicio(input(0x0102, 0x0011)), nullptr);
    EXPECT_EQ(sdt.buscar_servicio(input(0x0102, 0x0010, 0x0021)), nullptr);
    EXPECT_EQ(sdt.buscar_servicio(input(0x0103)), nullptr);
    EXPECT_EQ(tSDT().buscar_servicio(input(0x0102)), nullptr);
}

TEST(SdtLookup, PatternsAreSearchedInInsertionOrder)
{
    tavel::SDTPatron patterns;
    tSDT out;
    EXPECT_EQ(out.existServiceSDTpatrones(input(0x0102)), nullptr); // no collection set
    out.patrones = &patterns;
    EXPECT_EQ(out.existServiceSDTpatrones(input(0x0102)), nullptr);
    patterns.addSDTPatron(hex("42 F0 11 00 33 C1 00 00 00 20 FF 01 02 FC 80 00 00 00 00 00")); // tsid 0x0033
    patterns.addSDTPatron(hex(kTwoSections));
    EXPECT_EQ(out.existServiceSDTpatrones(input(0x0102)), patterns.sdts[1]->secciones[1]->services.items[0]);
    EXPECT_EQ(out.existServiceSDTpatrones(input(0x0102, 0x0033)), patterns.sdts[0]->secciones[0]->services.items[0]);
}

} // namespace
