// Our tables and descriptors decoded by libdvbpsi (and biTStream where
// libdvbpsi has no decoder): a second opinion no one on the team wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/nit.h>
#include <dvbpsi/sdt.h>
#include <dvbpsi/tot.h>
#include <dvbpsi/dr_40.h>
#include <dvbpsi/dr_41.h>
#include <dvbpsi/dr_43.h>
#include <dvbpsi/dr_44.h>
#include <dvbpsi/dr_48.h>
#include <dvbpsi/dr_4a.h>
#include <dvbpsi/dr_58.h>
#include <dvbpsi/dr_5a.h>
#include <dvbpsi/dr_83.h>

#if __has_include(<bitstream/dvb/si/desc_5f.h>)
#include <bitstream/common.h>
#include <bitstream/dvb/si/desc_5f.h>
#define TAVEL_HAVE_BITSTREAM 1
#endif

#include <tavel/coding.h>
#include <tavel/constants.h>
#include <tavel/delivery_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/nit.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>

#include "test_support.h"

namespace {

using tavel::test::hex;

// Every table libdvbpsi completes, deleted with the decoder's own functions.
struct Tables {
    std::vector<dvbpsi_nit_t*> nit;
    std::vector<dvbpsi_sdt_t*> sdt;
    std::vector<dvbpsi_tot_t*> tot;
    ~Tables()
    {
        std::for_each(nit.begin(), nit.end(), dvbpsi_nit_delete);
        std::for_each(sdt.begin(), sdt.end(), dvbpsi_sdt_delete);
        std::for_each(tot.begin(), tot.end(), dvbpsi_tot_delete);
    }
};

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x40)
        dvbpsi_nit_attach(handle, table_id, extension,
                          [](void* t, dvbpsi_nit_t* n) { static_cast<Tables*>(t)->nit.push_back(n); }, data);
    if (table_id == 0x42 || table_id == 0x46)
        dvbpsi_sdt_attach(handle, table_id, extension,
                          [](void* t, dvbpsi_sdt_t* s) { static_cast<Tables*>(t)->sdt.push_back(s); }, data);
    if (table_id == 0x73)
        dvbpsi_tot_attach(handle, table_id, extension,
                          [](void* t, dvbpsi_tot_t* s) { static_cast<Tables*>(t)->tot.push_back(s); }, data);
}

// Carries the sections back to back in TS packets, as a multiplexer would;
// libdvbpsi reassembles them and drops any whose CRC fails.
void decode(const std::vector<char>& sections, Tables& tables)
{
    dvbpsi_t* handle = dvbpsi_new([](dvbpsi_t*, const dvbpsi_msg_level_t, const char*) {}, DVBPSI_MSG_NONE);
    ASSERT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &tables));
    std::vector<uint8_t> payload{0}; // pointer_field
    for (char c : sections)
        payload.push_back(static_cast<uint8_t>(c));
    for (size_t offset = 0, cc = 0; offset < payload.size(); offset += 184, ++cc) {
        uint8_t packet[188];
        std::memset(packet, 0xFF, sizeof packet);
        const uint8_t header[] = {0x47, static_cast<uint8_t>(offset == 0 ? 0x40 : 0x00), 0x11, // PUSI on the first
                                  static_cast<uint8_t>(0x10 | (cc & 0x0F))};                  // payload only, cc
        std::memcpy(packet, header, sizeof header);
        std::memcpy(packet + 4, payload.data() + offset, std::min<size_t>(184, payload.size() - offset));
        dvbpsi_packet_push(handle, packet);
    }
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
}

dvbpsi_descriptor_t* find(dvbpsi_descriptor_t* d, uint8_t tag)
{
    while (d && d->i_tag != tag)
        d = d->p_next;
    return d;
}

std::string bytes_of(const uint8_t* p, size_t n) { return std::string(reinterpret_cast<const char*>(p), n); }

// The decimal digits of v read as hex: the BCD libdvbpsi leaves undecoded.
uint32_t bcd(unsigned long v) { return static_cast<uint32_t>(std::stoul(std::to_string(v), nullptr, 16)); }

// Serialise ours, then hand tag, length and payload to libdvbpsi.
struct Dr {
    explicit Dr(tavel::Descriptor& d)
    {
        d.generateDataVector();
        EXPECT_EQ(d.data.size(), d.descriptor_length);
        p = dvbpsi_NewDescriptor(d.descriptor_tag, d.descriptor_length, reinterpret_cast<uint8_t*>(d.data.data()));
    }
    ~Dr() { dvbpsi_DeleteDescriptors(p); }
    dvbpsi_descriptor_t* p;
};

} // namespace

// Three sections of alternating cable and terrestrial outputs, 10 services each.
TEST(TablesInterop, NitDecodesWithEveryDescriptor)
{
    tavel::test::TempRoot root;
    tavel::tNIT nit("ESP", 0x3001, "TVNET", 1, 1, 0x40);
    nit.version = 11;
    for (uint16_t t = 1; t <= 25; ++t) {
        // Type, TSID, ONID, kHz, 8 MHz, 8k, 1/32, 64-QAM (cable: index 2), 3/4, ksym/s.
        auto& out =
            nit.salidas[t] = {static_cast<uint16_t>(t % 2), t, 0x22D4, 306000u + t * 8000u, 0, 1, 0, 2, 2, 6900, {}};
        // SID, input SID/TSID/ONID, LCN, spare, type, descramble, scrambled, name, rename, provider.
        for (uint16_t sid = t * 100; sid < t * 100 + 10; ++sid)
            out.servicios[sid] = {sid, 0, 0, 0, static_cast<uint16_t>(sid - t * 90), 0, 1, 0, 0, "", 0, ""};
    }
    nit.generarNIT();
    ASSERT_EQ(nit.secciones.size(), 3u);
    Tables tables;
    decode(tavel::test::read_file(root(std::string(tavel::constants::kSiTablesDir) + tavel::constants::kNitTableAuxFile)),
           tables);
    ASSERT_EQ(tables.nit.size(), 1u);
    const dvbpsi_nit_t& d = *tables.nit[0];
    EXPECT_EQ(std::make_tuple(d.i_table_id, d.i_network_id, d.i_version, d.b_current_next),
              std::make_tuple(0x40, 0x3001, 11, true));
    auto* name = dvbpsi_DecodeNetworkNameDr(find(d.p_first_descriptor, 0x40));
    ASSERT_TRUE(name);
    EXPECT_EQ(bytes_of(name->i_name_byte, name->i_name_length), "TVNET");
    EXPECT_EQ(d.p_first_descriptor->p_next, nullptr); // the name, once

    uint16_t t = 1;
    for (const dvbpsi_nit_ts_t* ts = d.p_first_ts; ts != nullptr; ts = ts->p_next, ++t) {
        SCOPED_TRACE(t);
        const unsigned long f = 306000u + t * 8000u;
        EXPECT_EQ(std::make_pair(ts->i_ts_id, ts->i_orig_network_id), std::make_pair(t, uint16_t{0x22D4}));
        std::vector<uint8_t> tags;
        for (auto* dr = ts->p_first_descriptor; dr; dr = dr->p_next)
            tags.push_back(dr->i_tag);
        EXPECT_EQ(tags, (std::vector<uint8_t>{static_cast<uint8_t>(t % 2 ? 0x44 : 0x5A), 0x41, 0x5F, 0x83}));
        if (t % 2) {
            auto* cable = dvbpsi_DecodeCableDelivSysDr(find(ts->p_first_descriptor, 0x44));
            ASSERT_TRUE(cable);
            EXPECT_EQ(std::make_tuple(cable->i_frequency, cable->i_symbol_rate, cable->i_modulation, cable->i_fec_outer,
                                      cable->i_fec_inner),
                      std::make_tuple(bcd(f * 10), bcd(6900 * 10), 3, 2, 15)); // 100 Hz, 100 sym/s; 64-QAM
        } else {
            auto* terr = dvbpsi_DecodeTerrDelivSysDr(find(ts->p_first_descriptor, 0x5A));
            ASSERT_TRUE(terr);
            EXPECT_EQ(terr->i_centre_frequency, f * 100); // 10 Hz units
            // 8 MHz, HP, time slicing and MPE-FEC used, 64-QAM, non-hierarchical, 3/4, LP 7, 1/32, 8k, no other
            EXPECT_EQ(std::make_tuple(terr->i_bandwidth, terr->i_priority, terr->i_time_slice_indicator,
                                      terr->i_mpe_fec_indicator, terr->i_constellation, terr->i_hierarchy_information,
                                      terr->i_code_rate_hp_stream, terr->i_code_rate_lp_stream, terr->i_guard_interval,
                                      terr->i_transmission_mode, terr->i_other_frequency_flag),
                      std::make_tuple(0, 1, 0, 0, 2, 0, 2, 7, 0, 1, 0));
        }
        auto* list = dvbpsi_DecodeServiceListDr(find(ts->p_first_descriptor, 0x41));
        auto* lcn = dvbpsi_DecodeLCNDr(find(ts->p_first_descriptor, 0x83));
        ASSERT_TRUE(list && lcn);
        ASSERT_EQ(list->i_service_count, 10);
        ASSERT_EQ(lcn->i_number_of_entries, 10);
        for (int i = 0; i < 10; ++i) {
            const auto sid = static_cast<uint16_t>(t * 100 + i);
            EXPECT_EQ(std::make_tuple(list->i_service[i].i_service_id, list->i_service[i].i_service_type,
                                      lcn->p_entries[i].i_service_id, lcn->p_entries[i].b_visible_service_flag,
                                      lcn->p_entries[i].i_logical_channel_number),
                      std::make_tuple(sid, uint8_t{1}, sid, 1, static_cast<uint16_t>(sid - t * 90)));
        }
#ifdef TAVEL_HAVE_BITSTREAM
        const dvbpsi_descriptor_t* pds = find(ts->p_first_descriptor, 0x5F);
        std::vector<uint8_t> wire{pds->i_tag, pds->i_length};
        wire.insert(wire.end(), pds->p_data, pds->p_data + pds->i_length);
        EXPECT_TRUE(desc5f_validate(wire.data()));
        EXPECT_EQ(desc5f_get_specifier(wire.data()), 0x00000028u);
#endif
    }
    EXPECT_EQ(t, 26);
}

// 60 services over several sections, actual and other: two kept from a
// pattern (one renamed, one pausing and scrambled), the rest new.
TEST(TablesInterop, SdtDecodesActualAndOther)
{
    tavel::SDTPatron patterns;
    patterns.addSDTPatron(hex("42 F0 28 00 10 C7 00 00 00 20 FF"
                              " 01 01 FF 80 12 5F 04 00 00 00 28 48 0A 01 03 15 41 42 04 15 43 44 45"
                              " 01 02 FD 50 00 00 00 00 00"));
    tavel::tSDT sdt{0x42, 0x0457, 0x22D4, 9, 0};
    sdt.patrones = &patterns;
    for (uint16_t i = 1; i <= 60; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, i == 1 ? "Uno HD" : "Radio numero %03u", i);
        // Only new services take the scrambled flag.
        sdt.servicios[i] = {i, static_cast<uint16_t>(i == 1 ? 0x0101 : i == 2 ? 0x0102 : 0x0999), 0x0010, 0x0020, 0, 0,
                            static_cast<uint16_t>(i <= 2 ? 0x19 : 0x02), 0, i > 2 && i % 2 == 1, name, i == 1, ""};
    }
    sdt.generarSDT();
    ASSERT_GE(sdt.secciones.size(), 2u);
    for (const bool other : {false, true}) {
        SCOPED_TRACE(other);
        std::vector<char> bytes;
        sdt.getSDT(bytes, other);
        Tables tables;
        decode(bytes, tables);
        ASSERT_EQ(tables.sdt.size(), 1u);
        const dvbpsi_sdt_t& t = *tables.sdt[0];
        EXPECT_EQ(std::make_tuple(t.i_table_id, t.i_extension, t.i_network_id, t.i_version, t.b_current_next),
                  std::make_tuple(other ? 0x46 : 0x42, 0x0457, 0x22D4, 9, true));
        uint16_t i = 1;
        for (const dvbpsi_sdt_service_t* s = t.p_first_service; s != nullptr; s = s->p_next, ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(std::make_tuple(s->i_service_id, s->b_eit_schedule, s->b_eit_present, s->i_running_status, s->b_free_ca),
                      std::make_tuple(i, false, false, i == 2 ? 2 : 4, i == 2 || (i > 2 && i % 2 == 1)));
            std::vector<uint8_t> tags;
            for (dvbpsi_descriptor_t* d = s->p_first_descriptor; d != nullptr; d = d->p_next)
                tags.push_back(d->i_tag);
            EXPECT_EQ(tags, (i == 1 ? std::vector<uint8_t>{0x5F, 0x48} : std::vector<uint8_t>(i != 2, 0x48)));
            if (i == 2)
                continue;
            const dvbpsi_service_dr_t* dr = dvbpsi_DecodeServiceDr(find(s->p_first_descriptor, 0x48));
            ASSERT_NE(dr, nullptr);
            char name[32];
            std::snprintf(name, sizeof name, i == 1 ? "\x15Uno HD" : "\x15Radio numero %03u", i);
            EXPECT_EQ(dr->i_service_type, i == 1 ? 0x19 : 0x02);
            // The names come back with our UTF-8 selector in front.
            EXPECT_EQ(bytes_of(dr->i_service_provider_name, dr->i_service_provider_name_length), "\x15TAVEL");
            EXPECT_EQ(bytes_of(dr->i_service_name, dr->i_service_name_length), name);
        }
        EXPECT_EQ(i, 61);
    }
}

TEST(TablesInterop, TotDecodesWithItsTimeOffsets)
{
    tavel::test::TempRoot root;
    tavel::tTOT tot;
    tot.offsets = {"PRT", "0 3600 1711846800", "-18000 0 0"};
    unsigned long long utc = 0;
    ASSERT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, utc), 1); // 2023-11-14 22:13:20
    ASSERT_EQ(tot.generarTOT(utc, true), 1);
    std::vector<char> section = tavel::test::read_file(root("/tavel/datosWeb/tablasSI/TOT_table"));
    ASSERT_GT(section.size(), 11u);

    // libdvbpsi's own CRC check accepts our section as written, and no other.
    dvbpsi_psi_section_t* s = dvbpsi_NewPSISection(1024);
    std::memcpy(s->p_data, section.data(), section.size());
    s->i_table_id = 0x73;
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
    Tables tables;
    decode(section, tables);
    ASSERT_EQ(tables.tot.size(), 1u);
    EXPECT_EQ(tables.tot[0]->i_utc_time, 0xEB66221320ULL); // MJD 60262, 22:13:20
    dvbpsi_descriptor_t* d = tables.tot[0]->p_first_descriptor;
    ASSERT_TRUE(d && d->i_tag == 0x58 && d->p_next == nullptr);
    const dvbpsi_local_time_offset_dr_t* lto = dvbpsi_DecodeLocalTimeOffsetDr(d);
    ASSERT_TRUE(lto);
    ASSERT_EQ(lto->i_local_time_offsets_number, 2);
    // region, polarity, offset, time_of_change, next offset
    const uint64_t expected[2][5] = {{1, 0, 0x0000, 0xEBF0010000ULL, 0x0100},  // east, change 2024-03-31 01:00
                                     {2, 1, 0x0500, 0xFFFFFFFFFFULL, 0x0500}}; // west, no change
    for (int i = 0; i < 2; ++i) {
        const dvbpsi_local_time_offset_t& o = lto->p_local_time_offset[i];
        EXPECT_EQ(bytes_of(o.i_country_code, 3), "PRT");
        EXPECT_EQ((std::vector<uint64_t>{o.i_country_region_id, o.i_local_time_offset_polarity, o.i_local_time_offset,
                                         o.i_time_of_change, o.i_next_time_offset}),
                  std::vector<uint64_t>(expected[i], expected[i] + 5))
            << i;
    }
}

// Descriptors no table here generates from its own data.
TEST(TablesInterop, SatelliteAndLinkageDescriptors)
{
    // Deliberate departure: byte 6 repeats the polarization in the roll-off
    // bits and never sets bit 6, so a standard decoder sees another
    // polarization, and the polarization where the roll-off should be.
    tavel::DescriptorSatelliteDeliverySystem sat(11757, 192, 1, 2, 3, 1, 2, 27500, 3);
    Dr sat_dr(sat);
    auto* s = dvbpsi_DecodeSatDelivSysDr(sat_dr.p);
    ASSERT_TRUE(s);
    EXPECT_EQ(std::make_tuple(s->i_frequency, s->i_orbital_position, s->i_west_east_flag, s->i_modulation_system,
                              s->i_modulation_type, s->i_symbol_rate, s->i_fec_inner, s->i_polarization, s->i_roll_off),
              std::make_tuple(0x01175700u, 0x0192, 1, 1, 2, 0x0275000u, 3, 0, 2)); // BCD as written

    tavel::DescriptorLinkage linkage(0x0001, 0x22D4, 0x0003, 0x09, {1, 2, 3, 4, 5});
    Dr linkage_dr(linkage);
    auto* l = dvbpsi_DecodeLinkageDr(linkage_dr.p);
    ASSERT_TRUE(l);
    EXPECT_EQ(std::make_tuple(l->i_transport_stream_id, l->i_original_network_id, l->i_service_id, l->i_linkage_type),
              std::make_tuple(0x0001, 0x22D4, 0x0003, 0x09));
    EXPECT_EQ(bytes_of(l->i_private_data, l->i_private_data_length), std::string("\1\2\3\4\5"));
}
