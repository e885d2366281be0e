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
    tSDT sdt;
    tavel::LogCapture log;
    sdt.procesarSDT(hex(kTwoSections), false);
    EXPECT_EQ(sdt.data_size, 78u);
    ASSERT_EQ(sdt.secciones.size(), 2u);
    EXPECT_EQ(sdt.getSDTVersion(), 3);
    EXPECT_EQ(sdt.getMaxSectionNumber(), 1);

    const auto& s0 = *sdt.secciones[0];
    EXPECT_EQ(s0.table_id, 0x46);
    EXPECT_EQ(s0.section_syntax_indicator, 1);
    EXPECT_EQ(s0.section_length, 50);
    EXPECT_EQ(s0.transport_stream_id, 0x0010);
    EXPECT_EQ(s0.original_network_id, 0x0020);
    EXPECT_EQ(s0.version_number, 3);
    EXPECT_EQ(s0.current_next_indicator, 1);
    EXPECT_EQ(s0.section_number, 0);
    EXPECT_EQ(s0.last_section_number, 1);
    EXPECT_EQ(s0.CRC, 0x29u); // only the last CRC byte is kept
    ASSERT_EQ(s0.services.items.size(), 1u);
    const auto& tv = *s0.services.items[0];
    EXPECT_EQ(tv.service_id, 0x0101);
    EXPECT_EQ(tv.EIT_schedule_flag, 1);
    EXPECT_EQ(tv.EIT_present_following_flag, 1);
    EXPECT_EQ(tv.running_status, 4);
    EXPECT_EQ(tv.free_CA_mode, 0);
    EXPECT_EQ(tv.descriptors_loop_length, 33);
    ASSERT_EQ(tv.descriptores.items.size(), 4u);
    EXPECT_NE(std::dynamic_pointer_cast<tavel::DescriptorPrivateDataSpecifier>(tv.descriptores.items[0]), nullptr);
    auto service = std::dynamic_pointer_cast<tavel::DescriptorService>(tv.descriptores.items[1]);
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(service->service_type, 1);
    EXPECT_EQ(service->provider_name, "AB");
    EXPECT_EQ(service->service_name, "CDE");
    EXPECT_EQ(service->descriptor_length, 10);
    EXPECT_NE(std::dynamic_pointer_cast<tavel::DescriptorLinkage>(tv.descriptores.items[2]), nullptr);
    const auto& unknown = *tv.descriptores.items[3];
    EXPECT_EQ(unknown.descriptor_tag, 0x80);
    EXPECT_EQ(unknown.descriptor_length, 3);
    EXPECT_EQ(tavel::test::to_hex(unknown.data), "AA BB CC");

    const auto& s1 = *sdt.secciones[1];
    EXPECT_EQ(s1.section_number, 1);
    EXPECT_EQ(s1.CRC, 0xA3u);
    ASSERT_EQ(s1.services.items.size(), 2u);
    const auto& paused = *s1.services.items[0];
    EXPECT_EQ(paused.service_id, 0x0102);
    EXPECT_EQ(paused.EIT_schedule_flag, 0);
    EXPECT_EQ(paused.EIT_present_following_flag, 1);
    EXPECT_EQ(paused.running_status, 2);
    EXPECT_EQ(paused.free_CA_mode, 1);
    EXPECT_TRUE(paused.descriptores.items.empty());
    const auto& soon = *s1.services.items[1];
    EXPECT_EQ(soon.EIT_schedule_flag, 1);
    EXPECT_EQ(soon.EIT_present_following_flag, 0);
    EXPECT_EQ(soon.running_status, 1);

    for (const char* line : {"SDTDataSize : 78", "version_number : 3", "original_network_id : 32 , transport_stream_id 16 ",
                             "aux 0,  service_loop_length 38", "SERVICE ID :257 ",
                             "SDT_service_loop_actual->descriptors_loop_length 33 ", "aux2 0,  descriptors_loop_length 33",
                             "descriptor_id :72 ", "aux2 6,  descriptors_loop_length 33", "aux 5,  service_loop_length 10"})
        EXPECT_TRUE(log.has(LOG_DEBUG, line)) << line;
}

TEST(SdtParser, ActualForcesTableId42)
{
    tSDT sdt;
    sdt.procesarSDT(hex(kTwoSections), true);
    ASSERT_EQ(sdt.secciones.size(), 2u);
    EXPECT_EQ(sdt.secciones[0]->table_id, 0x42);
    EXPECT_EQ(sdt.secciones[1]->table_id, 0x42);
}

TEST(SdtParser, HeaderEdgeCases)
{
    // section_number above last_section_number: nothing parsed, size kept.
    tSDT backwards;
    backwards.procesarSDT(hex("42 F0 0C 00 10 C7 01 00 00 20 FF 00 00 00 00"), true);
    EXPECT_TRUE(backwards.secciones.empty());
    EXPECT_EQ(backwards.data_size, 15u);
    EXPECT_EQ(backwards.getSDTVersion(), 0);

    // section_length 12: a section without services.
    tSDT empty;
    empty.procesarSDT(hex("42 F0 0C 00 10 CB 00 00 00 20 FF 01 02 03 04"), true);
    ASSERT_EQ(empty.secciones.size(), 1u);
    EXPECT_TRUE(empty.secciones[0]->services.items.empty());
    EXPECT_EQ(empty.getSDTVersion(), 5);
    EXPECT_EQ(empty.secciones[0]->CRC, 0x04u);
}

TEST(SdtParser, RawPointerFormCopiesAndLogsSize)
{
    const auto bytes = hex(kTwoSections);
    tSDT sdt;
    tavel::LogCapture log;
    sdt.procesarSDT(bytes.data(), static_cast<unsigned short>(bytes.size()), false);
    EXPECT_TRUE(log.has(LOG_DEBUG, "TAMANO SDT : 78"));
    EXPECT_EQ(sdt.secciones.size(), 2u);

    tSDT none;
    none.procesarSDT(nullptr, 0, true);
    EXPECT_TRUE(none.secciones.empty());
    EXPECT_EQ(none.data_size, 0u);
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
        EXPECT_TRUE(log.has(LOG_DEBUG, "Leemos el archivo " + path));
        EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer el archivo SDT o archivo SDT no existente. " + path));
    }
    ASSERT_TRUE(tavel::write_char_vector_to_file(std::vector<char>(14, 'x'), root(path), false));
    {
        tavel::LogCapture log;
        EXPECT_FALSE(tSDT::leer_archivo_SDT_a_buffer(buffer));
        EXPECT_EQ(buffer.size(), 14u);
        EXPECT_TRUE(log.has(LOG_DEBUG, "leer_archivo_SDT_a_buffer: tamano_archivo 14"));
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
    tavel::LogCapture log;
    auto found = sdt.buscar_servicio(input(0x0102));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, sdt.secciones[1]->services.items[0]);
    found->free_CA_mode = 0; // seen by the table that holds it
    EXPECT_EQ(sdt.secciones[1]->services.items[0]->free_CA_mode, 0);
    EXPECT_TRUE(log.has(LOG_DEBUG, "Buscar_servicio SID 9 TSID 16 ONID 32"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Buscar_servicio SID 258 = 257 TSID 16 = 16 ONID 32 = 32"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Buscar_servicio ENCONTRADO"));

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

    patterns.addSDTPatron(hex("42 F0 11 00 33 C1 00 00 00 20 FF 01 02 FC 80 00 00 00 00 00"));
    patterns.addSDTPatron(hex(kTwoSections));
    auto found = out.existServiceSDTpatrones(input(0x0102));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found, patterns.sdts[1]->secciones[1]->services.items[0]);
    auto first = out.existServiceSDTpatrones(input(0x0102, 0x0033));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, patterns.sdts[0]->secciones[0]->services.items[0]);
}

} // namespace
