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

void on_tot(void* data, dvbpsi_tot_t* tot) { static_cast<std::vector<dvbpsi_tot_t*>*>(data)->push_back(tot); }

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x73)
        dvbpsi_tot_attach(handle, table_id, extension, on_tot, data);
}

void quiet(dvbpsi_t*, const dvbpsi_msg_level_t, const char*) {}

// One section in one TS packet on the TDT/TOT PID 0x0014; libdvbpsi drops it if its CRC fails.
std::vector<dvbpsi_tot_t*> decode(const std::vector<char>& section)
{
    std::vector<dvbpsi_tot_t*> tables;
    dvbpsi_t* handle = dvbpsi_new(quiet, DVBPSI_MSG_NONE);
    EXPECT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &tables));
    std::vector<uint8_t> packet(188, 0xFF);
    const uint8_t header[] = {0x47, 0x40, 0x14, 0x10, 0x00}; // sync, PUSI + PID, payload only cc 0, pointer_field
    std::memcpy(packet.data(), header, sizeof header);
    std::memcpy(&packet[5], section.data(), std::min(section.size(), packet.size() - 5));
    dvbpsi_packet_push(handle, packet.data());
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
    return tables;
}

} // namespace

TEST(TotInterop, LibdvbpsiReadsOurTimeOffsetsAndCrc)
{
    tavel::test::TempRoot root;
    tavel::tTOT tot;
    tot.offsets = {"PRT", "0 3600 1711846800", "-18000 0 0"};
    unsigned long long utc = 0;
    ASSERT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, utc), 1); // 2023-11-14 22:13:20
    ASSERT_EQ(tot.generarTOT(utc, true), 1);
    std::vector<char> section;
    ASSERT_NE(tavel::read_char_vector_from_file(root("/tavel/datosWeb/tablasSI/TOT_table"), section), 0);

    // libdvbpsi's own CRC check accepts our section as written, and no other.
    dvbpsi_psi_section_t* s = dvbpsi_NewPSISection(1024);
    std::memcpy(s->p_data, section.data(), section.size());
    s->i_table_id = 0x73;
    s->b_syntax_indicator = false;
    s->p_payload_start = s->p_data + 3;
    s->p_payload_end = s->p_data + section.size() - 4;
    EXPECT_TRUE(dvbpsi_ValidPSISection(s));
    s->p_data[10] ^= 0x01;
    EXPECT_FALSE(dvbpsi_ValidPSISection(s));
    dvbpsi_DeletePSISections(s);

    // Our TOT carries section_syntax_indicator 1 on purpose; libdvbpsi only
    // takes a TOT with it clear, so its copy gets the bit cleared and a fresh
    // CRC. Every other byte is ours.
    section[1] = static_cast<char>(static_cast<uint8_t>(section[1]) & 0x7F);
    tavel::generar_new_crc(section);
    const std::vector<dvbpsi_tot_t*> tables = decode(section);
    ASSERT_EQ(tables.size(), 1u);
    EXPECT_EQ(tables[0]->i_table_id, 0x73);
    EXPECT_EQ(tables[0]->i_utc_time, 0xEB66221320ULL); // MJD 60262, 22:13:20
    dvbpsi_descriptor_t* d = tables[0]->p_first_descriptor;
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->i_tag, 0x58);
    EXPECT_EQ(d->p_next, nullptr);
    const dvbpsi_local_time_offset_dr_t* lto = dvbpsi_DecodeLocalTimeOffsetDr(d);
    ASSERT_NE(lto, nullptr);
    ASSERT_EQ(lto->i_local_time_offsets_number, 2);
    // region, polarity, offset, time_of_change, next offset
    const uint64_t expected[2][5] = {{1, 0, 0x0000, 0xEBF0010000ULL, 0x0100},   // east, change 2024-03-31 01:00
                                     {2, 1, 0x0500, 0xFFFFFFFFFFULL, 0x0500}}; // west, no change
    for (int i = 0; i < 2; ++i) {
        const dvbpsi_local_time_offset_t& o = lto->p_local_time_offset[i];
        SCOPED_TRACE(i);
        EXPECT_EQ(std::memcmp(o.i_country_code, "PRT", 3), 0);
        EXPECT_EQ((std::vector<uint64_t>{o.i_country_region_id, o.i_local_time_offset_polarity, o.i_local_time_offset,
                                         o.i_time_of_change, o.i_next_time_offset}),
                  std::vector<uint64_t>(expected[i], expected[i] + 5));
    }
    dvbpsi_tot_delete(tables[0]);
}
