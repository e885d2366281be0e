#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <syslog.h>

#include <tavel/coding.h>
#include <tavel/sections.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;
using tavel::test::to_hex;

namespace {

// An opaque descriptor, as a pattern table would carry it.
std::shared_ptr<tavel::Descriptor> raw_descriptor(unsigned char tag, const std::string& payload)
{
    auto d = std::make_shared<tavel::Descriptor>(tag);
    d->data = hex(payload);
    d->descriptor_length = static_cast<unsigned char>(d->data.size());
    return d;
}

std::vector<char> without_crc(std::vector<char> v)
{
    v.resize(v.size() - 4);
    return v;
}

unsigned long crc_of(const std::vector<char>& v) { return tavel::mpeg_crc(0xFFFFFFFFUL, v, v.size()); }

std::unique_ptr<tavel::SISectionNIT> empty_nit(unsigned char version)
{
    auto s = std::make_unique<tavel::SISectionNIT>();
    s->section_syntax_indicator = 1;
    s->section_length = 13;
    s->network_id = 0x3001;
    s->version_number = version;
    s->current_next_indicator = 1;
    return s;
}

} // namespace

TEST(Sections, BudgetsAndDefaultTableIds)
{
    tavel::SISectionNIT nit;
    tavel::SISectionSDT sdt;
    tavel::SISectionTOT tot;
    tavel::SISectionEIT eit;
    EXPECT_EQ(std::make_tuple(nit.espacio_libre_seccion, sdt.espacio_libre_seccion, tot.espacio_libre_seccion,
                              eit.espacio_libre_seccion),
              std::make_tuple(1008, 1009, 1010, 4078));
    EXPECT_EQ(eit.table_id, 0x4E);
    EXPECT_EQ(tavel::SISectionNIT(0x41).table_id, 0x41);
}

TEST(Sections, EmptyNitSealsToZeroAndPatternCopiesIgnoreVersionAndCrc)
{
    tavel::LogCapture capture;
    auto a = empty_nit(5);
    auto b = empty_nit(17);
    a->generar_crc();
    b->generar_crc();
    ASSERT_NE(a->CRC, b->CRC);
    std::vector<char> out = hex("AA"); // appending keeps what was in the buffer
    EXPECT_EQ(a->copy_section_to_buffer(out, false), 16);
    EXPECT_EQ(to_hex(without_crc(out)), to_hex(hex("AA"
                                                   "40 F0 0D"       // table_id, flags, section_length 13
                                                   "30 01"          // network_id
                                                   "CB 00 00"       // version 5, current; section 0 of 0
                                                   "F0 00 F0 00"))); // both loops empty
    EXPECT_EQ(crc_of(std::vector<char>(out.begin() + 1, out.end())), 0UL);
    EXPECT_TRUE(capture.has(LOG_DEBUG, "generar_crc: 12"));
    EXPECT_TRUE(capture.has(LOG_DEBUG, "BYTES de seccion copiados: 16"));
    EXPECT_TRUE(capture.contains(LOG_DEBUG, "section_CRC: "));

    std::vector<char> pa, pb;
    a->copy_section_to_buffer(pa, true);
    b->copy_section_to_buffer(pb, true);
    EXPECT_EQ(to_hex(pa), "40 F0 0D 30 01 C1 00 00 F0 00 F0 00 00 00 00 00");
    EXPECT_EQ(pa, pb);
}

TEST(Sections, NitWithLoopsHasExactLayout)
{
    auto s = empty_nit(1);
    s->network_descriptors.items.push_back(raw_descriptor(0x40, "54 56"));
    s->network_descriptors_length = 4;
    auto ts = std::make_unique<tavel::NITTS>(0x0002, 0x22D4);
    ts->descriptores.items.push_back(raw_descriptor(0x84, "FF 00 80")); // unknown: passes through unchanged
    ts->transport_descriptors_length = 5;
    s->transport_streams.items.push_back(std::move(ts));
    s->transport_stream_loop_length = 11;
    s->section_length = 13 + 4 + 11;
    s->section_number = 1;
    s->last_section_number = 2;
    s->generar_crc();
    std::vector<char> out;
    s->copy_section_to_buffer(out, false);
    EXPECT_EQ(to_hex(without_crc(out)), to_hex(hex("40 F0 1C 30 01 C3 01 02"
                                                   "F0 04 40 02 54 56" // network descriptors
                                                   "F0 0B"             // TS loop length
                                                   "00 02 22 D4 F0 05" // TSID, ONID, descriptors length
                                                   "84 03 FF 00 80")));
    EXPECT_EQ(crc_of(out), 0UL);
}

TEST(Sections, SdtLayoutActualAndOther)
{
    tavel::LogCapture capture;
    tavel::SISectionSDT s;
    s.section_syntax_indicator = 1;
    s.transport_stream_id = 0x0002;
    s.original_network_id = 0x22D4;
    s.version_number = 4;
    s.current_next_indicator = 1;
    auto service = std::make_shared<tavel::SDTServices>(0x0007, 1, 1, 4, 1);
    service->descriptores.items.push_back(raw_descriptor(0x48, "01 00 00"));
    service->descriptors_loop_length = 5;
    s.services.items.push_back(service);
    s.section_length = 12 + 5 + 5;
    s.generar_crc();

    std::vector<char> actual;
    EXPECT_EQ(s.copy_section_to_buffer(actual, false), 25);
    EXPECT_EQ(to_hex(without_crc(actual)), to_hex(hex("42 F0 16 00 02 C9 00 00" // header, version 4
                                                      "22 D4 FF"                // ONID, reserved
                                                      "00 07 FD"                // SID; schedule bit 0, p/f 1
                                                      "90 05"                   // running 4, free_CA 1, length 5
                                                      "48 03 01 00 00")));
    EXPECT_EQ(crc_of(actual), 0UL);
    EXPECT_TRUE(capture.has(LOG_DEBUG, "SISectionSDT copy_section_to_buffer"));

    std::vector<char> other;
    s.copy_section_to_buffer_Other(other, false, true);
    EXPECT_EQ(static_cast<uint8_t>(other[0]), 0x46);
    EXPECT_EQ(std::vector<char>(other.begin() + 1, other.end()), std::vector<char>(actual.begin() + 1, actual.end()));

    std::vector<char> pattern;
    s.copy_section_to_buffer_Other(pattern, true, false);
    EXPECT_EQ(static_cast<uint8_t>(pattern[5]), 0xC1);
    EXPECT_EQ(to_hex(std::vector<char>(pattern.end() - 4, pattern.end())), "00 00 00 00");
}

TEST(Sections, TotWholeAndLoopOnly)
{
    tavel::SISectionTOT s;
    s.section_syntax_indicator = 1;
    s.UTC_time = 0xEB66221320ULL;
    s.descriptors.items.push_back(raw_descriptor(0x58, "45 53 50"));
    s.descriptors_loop_length = 5;
    s.section_length = 11 + 5;
    s.generar_crc();

    std::vector<char> whole;
    EXPECT_EQ(s.copy_section_to_buffer(whole, true, false), 19);
    EXPECT_EQ(to_hex(without_crc(whole)), to_hex(hex("73 F0 10"       // table_id, flags, length 16
                                                     "EB 66 22 13 20" // UTC_time
                                                     "F0 05 58 03 45 53 50")));
    EXPECT_EQ(crc_of(whole), 0UL);

    std::vector<char> loop;
    EXPECT_EQ(s.copy_section_to_buffer(loop, false, false), 7);
    EXPECT_EQ(to_hex(loop), "F0 05 58 03 45 53 50");

    // The TOT keeps its CRC in a pattern copy; the two-argument form is whole.
    std::vector<char> pattern;
    s.copy_section_to_buffer(pattern, true);
    EXPECT_EQ(pattern, whole);
}

TEST(Sections, EitCopiesNothing)
{
    tavel::SISectionEIT s;
    s.section_length = 15;
    std::vector<char> out = hex("01");
    EXPECT_EQ(s.copy_section_to_buffer(out, false), 0);
    EXPECT_EQ(to_hex(out), "01");
    s.generar_crc(); // nothing to seal; must stay inside its (empty) image
}
