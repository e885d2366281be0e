#include <gtest/gtest.h>

#include <cstdint>
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/tot.h>
#include <dvbpsi/dr_58.h>
}

#include <tavel/coding.h>
#include <tavel/file_io.h>
#include <tavel/tot.h>

#include "test_support.h"

namespace {

struct Decoded {
    int tables = 0;
    uint8_t table_id = 0;
    uint64_t utc_time = 0;
    int lto_descriptors = 0;
    std::vector<dvbpsi_local_time_offset_t> offsets;
};

void on_tot(void* data, dvbpsi_tot_t* tot)
{
    auto* out = static_cast<Decoded*>(data);
    ++out->tables;
    out->table_id = tot->i_table_id;
    out->utc_time = tot->i_utc_time;
    for (dvbpsi_descriptor_t* d = tot->p_first_descriptor; d; d = d->p_next) {
        if (d->i_tag != 0x58)
            continue;
        ++out->lto_descriptors;
        dvbpsi_local_time_offset_dr_t* lto = dvbpsi_DecodeLocalTimeOffsetDr(d);
        if (!lto)
            continue;
        for (int i = 0; i < lto->i_local_time_offsets_number; ++i)
            out->offsets.push_back(lto->p_local_time_offset[i]);
    }
    dvbpsi_tot_delete(tot);
}

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x73)
        dvbpsi_tot_attach(handle, table_id, extension, on_tot, data);
}

void quiet(dvbpsi_t*, const dvbpsi_msg_level_t, const char*) {}

// One section in one TS packet on the TDT/TOT PID 0x0014.
std::vector<uint8_t> packetize(const std::vector<char>& section)
{
    std::vector<uint8_t> packet(188, 0xFF);
    packet[0] = 0x47;
    packet[1] = 0x40; // payload_unit_start_indicator, PID bits 12..8
    packet[2] = 0x14; // PID bits 7..0
    packet[3] = 0x10; // payload only, continuity_counter 0
    packet[4] = 0x00; // pointer_field
    EXPECT_LE(section.size(), packet.size() - 5);
    std::memcpy(&packet[5], section.data(), std::min(section.size(), packet.size() - 5));
    return packet;
}

Decoded decode(const std::vector<char>& section)
{
    Decoded out;
    dvbpsi_t* handle = dvbpsi_new(quiet, DVBPSI_MSG_NONE);
    EXPECT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &out));
    std::vector<uint8_t> packet = packetize(section);
    dvbpsi_packet_push(handle, packet.data());
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
    return out;
}

// libdvbpsi's own CRC check of a complete TOT section.
bool dvbpsi_crc_ok(const std::vector<char>& section)
{
    dvbpsi_psi_section_t* s = dvbpsi_NewPSISection(1024);
    std::memcpy(s->p_data, section.data(), section.size());
    s->i_table_id = 0x73;
    s->b_syntax_indicator = false;
    s->p_payload_start = s->p_data + 3;
    s->p_payload_end = s->p_data + section.size() - 4;
    const bool ok = dvbpsi_ValidPSISection(s);
    dvbpsi_DeletePSISections(s);
    return ok;
}

std::vector<char> generate(const std::vector<std::string>& offsets)
{
    tavel::test::TempRoot root;
    tavel::tTOT tot;
    tot.offsets = offsets;
    unsigned long long utc = 0;
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, utc), 1); // 2023-11-14 22:13:20
    EXPECT_EQ(tot.generarTOT(utc, true), 1);
    std::vector<char> section;
    EXPECT_NE(tavel::read_char_vector_from_file(root("/tavel/datosWeb/tablasSI/TOT_table"), section), 0);
    return section;
}

} // namespace

TEST(TotInterop, LibdvbpsiAcceptsOurCrc)
{
    std::vector<char> section = generate({"ESP", "3600 7200 1711846800"});
    ASSERT_EQ(section.size(), 29u);
    EXPECT_TRUE(dvbpsi_crc_ok(section));
    section[10] = static_cast<char>(section[10] ^ 0x01);
    EXPECT_FALSE(dvbpsi_crc_ok(section));
}

TEST(TotInterop, LibdvbpsiReadsOurTimeAndOffsets)
{
    const std::vector<char> section = generate({"PRT", "0 3600 1711846800", "-18000 0 0"});

    // Our TOT carries section_syntax_indicator 1 on purpose; libdvbpsi only
    // takes a TOT with it clear, so its copy gets the bit cleared and a fresh
    // CRC. Every other byte is ours.
    std::vector<char> standard = section;
    standard[1] = static_cast<char>(static_cast<uint8_t>(standard[1]) & 0x7F);
    tavel::generar_new_crc(standard);

    const Decoded got = decode(standard);
    ASSERT_EQ(got.tables, 1);
    EXPECT_EQ(got.table_id, 0x73);
    EXPECT_EQ(got.utc_time, 0xEB66221320ULL); // MJD 60262, 22:13:20
    EXPECT_EQ(got.lto_descriptors, 1);
    ASSERT_EQ(got.offsets.size(), 2u);

    const dvbpsi_local_time_offset_t& east = got.offsets[0];
    EXPECT_EQ(std::memcmp(east.i_country_code, "PRT", 3), 0);
    EXPECT_EQ(east.i_country_region_id, 1);
    EXPECT_EQ(east.i_local_time_offset_polarity, 0);
    EXPECT_EQ(east.i_local_time_offset, 0x0000);
    EXPECT_EQ(east.i_time_of_change, 0xEBF0010000ULL); // 2024-03-31 01:00:00
    EXPECT_EQ(east.i_next_time_offset, 0x0100);

    const dvbpsi_local_time_offset_t& west = got.offsets[1];
    EXPECT_EQ(std::memcmp(west.i_country_code, "PRT", 3), 0);
    EXPECT_EQ(west.i_country_region_id, 2);
    EXPECT_EQ(west.i_local_time_offset_polarity, 1);
    EXPECT_EQ(west.i_local_time_offset, 0x0500);
    EXPECT_EQ(west.i_time_of_change, 0xFFFFFFFFFFULL);
    EXPECT_EQ(west.i_next_time_offset, 0x0500);
}
