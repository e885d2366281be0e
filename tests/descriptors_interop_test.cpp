// Our descriptor bytes decoded by libdvbpsi (and biTStream where libdvbpsi
// has no decoder): a second opinion on the layouts.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/descriptor.h>
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

#include <tavel/delivery_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

namespace {

struct DvbpsiDescriptorDeleter {
    void operator()(dvbpsi_descriptor_t* d) const { dvbpsi_DeleteDescriptors(d); }
};
using DvbpsiDescriptor = std::unique_ptr<dvbpsi_descriptor_t, DvbpsiDescriptorDeleter>;

// Serialise ours, then hand tag, length and payload to libdvbpsi.
DvbpsiDescriptor to_dvbpsi(tavel::Descriptor& d)
{
    d.generateDataVector();
    EXPECT_EQ(d.data.size(), d.descriptor_length) << "tag " << int(d.descriptor_tag);
    return DvbpsiDescriptor(dvbpsi_NewDescriptor(d.descriptor_tag, d.descriptor_length,
                                                 reinterpret_cast<uint8_t*>(d.data.data())));
}

std::string bytes_of(const uint8_t* p, size_t n) { return std::string(reinterpret_cast<const char*>(p), n); }

} // namespace

TEST(DescriptorsInterop, NetworkNameServiceListAndService)
{
    tavel::DescriptorNetworkName name("\x15Tavel Red");
    auto name_dr = to_dvbpsi(name);
    auto* n = dvbpsi_DecodeNetworkNameDr(name_dr.get());
    ASSERT_TRUE(n);
    EXPECT_EQ(bytes_of(n->i_name_byte, n->i_name_length), "\x15Tavel Red");

    tavel::DescriptorServiceList list;
    list.addNewService(0x1001, 0x01);
    list.addNewService(0xFFFE, 0x19);
    auto list_dr = to_dvbpsi(list);
    auto* l = dvbpsi_DecodeServiceListDr(list_dr.get());
    ASSERT_TRUE(l);
    ASSERT_EQ(l->i_service_count, 2);
    EXPECT_EQ(std::make_tuple(l->i_service[0].i_service_id, l->i_service[0].i_service_type,
                              l->i_service[1].i_service_id, l->i_service[1].i_service_type),
              std::make_tuple(0x1001, 0x01, 0xFFFE, 0x19));

    tavel::DescriptorService service(0x19, "Tavel", "Canal 1 HD");
    auto service_dr = to_dvbpsi(service);
    auto* s = dvbpsi_DecodeServiceDr(service_dr.get());
    ASSERT_TRUE(s);
    EXPECT_EQ(s->i_service_type, 0x19);
    // The names come back with our UTF-8 selector in front.
    EXPECT_EQ(bytes_of(s->i_service_provider_name, s->i_service_provider_name_length), "\x15Tavel");
    EXPECT_EQ(bytes_of(s->i_service_name, s->i_service_name_length), "\x15" "Canal 1 HD");
}

TEST(DescriptorsInterop, CableDelivery)
{
    tavel::DescriptorCableDeliverySystem ours(474000, 6900, 3, 2, 15);
    auto ours_dr = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeCableDelivSysDr(ours_dr.get());
    ASSERT_TRUE(dec);
    // libdvbpsi leaves the BCD digits undecoded: 0474.0000 MHz, 006.9000 Msym/s.
    EXPECT_EQ(std::make_tuple(dec->i_frequency, dec->i_symbol_rate, dec->i_modulation, dec->i_fec_outer, dec->i_fec_inner),
              std::make_tuple(0x04740000u, 0x0069000u, 3, 2, 15));
}

// Deliberate departure: our own terrestrial parser is not the standard's
// reading of byte 6 (LP code rate two bits, hierarchy from byte 6, guard
// interval and transmission mode not read). libdvbpsi reads it as written.
TEST(DescriptorsInterop, TerrestrialDelivery)
{
    tavel::DescriptorTerrestrialDeliverySystem ours(474000, 0, 1, 0, 1, 2, 0, 2, 1, 2, 1, 1);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeTerrDelivSysDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(dec->i_centre_frequency, 47400000u); // 10 Hz units
    EXPECT_EQ(std::make_tuple(dec->i_bandwidth, dec->i_priority, dec->i_time_slice_indicator, dec->i_mpe_fec_indicator,
                              dec->i_constellation, dec->i_hierarchy_information, dec->i_code_rate_hp_stream,
                              dec->i_code_rate_lp_stream, dec->i_guard_interval, dec->i_transmission_mode,
                              dec->i_other_frequency_flag),
              std::make_tuple(0, 1, 0, 1, 2, 0, 2, 1, 2, 1, 1));

    tavel::DescriptorTerrestrialDeliverySystem parsed;
    parsed.data = ours.data;
    parsed.procesarDatos();
    EXPECT_EQ(parsed.frequency * 100, dec->i_centre_frequency);
    EXPECT_EQ(std::make_tuple(parsed.constellation, parsed.code_rate_HP_stream, parsed.other_frequency_flag),
              std::make_tuple(dec->i_constellation, dec->i_code_rate_hp_stream, dec->i_other_frequency_flag));
    EXPECT_NE(parsed.code_rate_LP_stream, dec->i_code_rate_lp_stream);
    EXPECT_NE(parsed.hierarchy_information, dec->i_hierarchy_information);
    EXPECT_EQ(std::make_tuple(parsed.guard_interval, parsed.transmission_mode), std::make_tuple(0, 0));
}

// Deliberate departure: the satellite byte 6 repeats the polarization in
// the roll-off bits and never sets bit 6, so a standard decoder sees a
// different polarization and the polarization where the roll-off should be.
TEST(DescriptorsInterop, SatelliteDeliveryPolarizationDeparts)
{
    tavel::DescriptorSatelliteDeliverySystem ours(11757, 192, 1, 2, 3, 1, 2, 27500, 3);
    auto ours_dr = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeSatDelivSysDr(ours_dr.get());
    ASSERT_TRUE(dec);
    // BCD as written: 011.75700 GHz, 019.2 degrees, 027.5000 Msym/s.
    EXPECT_EQ(std::make_tuple(dec->i_frequency, dec->i_orbital_position, dec->i_west_east_flag, dec->i_modulation_system,
                              dec->i_modulation_type, dec->i_symbol_rate, dec->i_fec_inner),
              std::make_tuple(0x01175700u, 0x0192, 1, 1, 2, 0x0275000u, 3));
    EXPECT_EQ(dec->i_polarization, 0); // not 2
    EXPECT_EQ(dec->i_roll_off, 2);     // the polarization, not 3
}

TEST(DescriptorsInterop, Linkage)
{
    tavel::DescriptorLinkage ours(0x0001, 0x22D4, 0x0003, 0x09, {1, 2, 3, 4, 5});
    auto ours_dr = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLinkageDr(ours_dr.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(std::make_tuple(dec->i_transport_stream_id, dec->i_original_network_id, dec->i_service_id, dec->i_linkage_type),
              std::make_tuple(0x0001, 0x22D4, 0x0003, 0x09));
    EXPECT_EQ(bytes_of(dec->i_private_data, dec->i_private_data_length), std::string("\1\2\3\4\5"));
}

TEST(DescriptorsInterop, LocalTimeOffset)
{
    tavel::DescriptorLocalTimeOffset ours;
    tavel::offset_info o;
    o.country_code = "ESP";
    o.country_region_id = 5;
    o.local_time_offset_polarity = 1;
    o.local_time_offset = 0x0130;
    o.time_of_change = 0xEA5D010000ULL;
    o.next_time_offset = 0x0230;
    ours.addNewTimeOffset(o);
    o.country_code = "PRT";
    o.local_time_offset_polarity = 0;
    ours.addNewTimeOffset(o);
    auto ours_dr = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLocalTimeOffsetDr(ours_dr.get());
    ASSERT_TRUE(dec);
    ASSERT_EQ(dec->i_local_time_offsets_number, 2);
    const auto& e = dec->p_local_time_offset[0];
    EXPECT_EQ(std::make_tuple(bytes_of(e.i_country_code, 3), e.i_country_region_id, e.i_local_time_offset_polarity,
                              e.i_local_time_offset, e.i_time_of_change, e.i_next_time_offset),
              std::make_tuple(std::string("ESP"), 5, 1, 0x0130, 0xEA5D010000ULL, 0x0230));
    const auto& f = dec->p_local_time_offset[1];
    EXPECT_EQ(std::make_tuple(bytes_of(f.i_country_code, 3), f.i_local_time_offset_polarity),
              std::make_tuple(std::string("PRT"), 0));
}

// The private logical channel descriptor in its tag-0x83 form (mode 1).
TEST(DescriptorsInterop, LogicalChannelNumbersMode1)
{
    tavel::DescriptorLCN ours;
    ours.addNewService(0x1001, 1, 5);
    ours.addNewService(0x1002, 0, 1022);
    auto ours_dr = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLCNDr(ours_dr.get());
    ASSERT_TRUE(dec);
    ASSERT_EQ(dec->i_number_of_entries, 2);
    EXPECT_EQ(std::make_tuple(dec->p_entries[0].i_service_id, dec->p_entries[0].i_logical_channel_number,
                              dec->p_entries[1].i_service_id, dec->p_entries[1].i_logical_channel_number),
              std::make_tuple(0x1001, 5, 0x1002, 1022));
}

TEST(DescriptorsInterop, PrivateDataSpecifier)
{
#ifdef TAVEL_HAVE_BITSTREAM
    tavel::DescriptorPrivateDataSpecifier ours(0x00000028);
    ours.generateDataVector();
    std::vector<uint8_t> wire{ours.descriptor_tag, ours.descriptor_length};
    wire.insert(wire.end(), ours.data.begin(), ours.data.end());
    EXPECT_TRUE(desc5f_validate(wire.data()));
    EXPECT_EQ(desc5f_get_specifier(wire.data()), 0x00000028u);
#else
    GTEST_SKIP() << "biTStream headers not installed (libbitstream-dev)";
#endif
}
