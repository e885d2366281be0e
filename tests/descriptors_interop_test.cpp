// Our descriptor bytes decoded by libdvbpsi (and biTStream where libdvbpsi
// has no decoder): a second opinion on the layouts.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

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

TEST(DescriptorsInterop, NetworkName)
{
    tavel::DescriptorNetworkName ours("\x15Tavel Red");
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeNetworkNameDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(bytes_of(dec->i_name_byte, dec->i_name_length), "\x15Tavel Red");
}

TEST(DescriptorsInterop, ServiceList)
{
    tavel::DescriptorServiceList ours;
    ours.addNewService(0x1001, 0x01);
    ours.addNewService(0xFFFE, 0x19);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeServiceListDr(d.get());
    ASSERT_TRUE(dec);
    ASSERT_EQ(dec->i_service_count, 2);
    EXPECT_EQ(dec->i_service[0].i_service_id, 0x1001);
    EXPECT_EQ(dec->i_service[0].i_service_type, 0x01);
    EXPECT_EQ(dec->i_service[1].i_service_id, 0xFFFE);
    EXPECT_EQ(dec->i_service[1].i_service_type, 0x19);
}

TEST(DescriptorsInterop, CableDelivery)
{
    tavel::DescriptorCableDeliverySystem ours(474000, 6900, 3, 2, 15);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeCableDelivSysDr(d.get());
    ASSERT_TRUE(dec);
    // libdvbpsi leaves the BCD digits undecoded: 0474.0000 MHz, 006.9000 Msym/s.
    EXPECT_EQ(dec->i_frequency, 0x04740000u);
    EXPECT_EQ(dec->i_symbol_rate, 0x0069000u);
    EXPECT_EQ(dec->i_modulation, 3);
    EXPECT_EQ(dec->i_fec_outer, 2);
    EXPECT_EQ(dec->i_fec_inner, 15);
}

TEST(DescriptorsInterop, TerrestrialDelivery)
{
    tavel::DescriptorTerrestrialDeliverySystem ours(474000, 0, 1, 0, 1, 2, 0, 2, 1, 2, 1, 1);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeTerrDelivSysDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(dec->i_centre_frequency, 47400000u); // 10 Hz units
    EXPECT_EQ(dec->i_bandwidth, 0);
    EXPECT_EQ(dec->i_priority, 1);
    EXPECT_EQ(dec->i_time_slice_indicator, 0);
    EXPECT_EQ(dec->i_mpe_fec_indicator, 1);
    EXPECT_EQ(dec->i_constellation, 2);
    EXPECT_EQ(dec->i_hierarchy_information, 0);
    EXPECT_EQ(dec->i_code_rate_hp_stream, 2);
    EXPECT_EQ(dec->i_code_rate_lp_stream, 1);
    EXPECT_EQ(dec->i_guard_interval, 2);
    EXPECT_EQ(dec->i_transmission_mode, 1);
    EXPECT_EQ(dec->i_other_frequency_flag, 1);
}

// Deliberate departure: our own terrestrial parser is not the standard's
// reading of byte 6 (LP code rate two bits, hierarchy from byte 6, guard
// interval and transmission mode not read). libdvbpsi reads it as written.
TEST(DescriptorsInterop, TerrestrialParserDepartsFromStandardReading)
{
    tavel::DescriptorTerrestrialDeliverySystem ours(474000, 0, 1, 0, 1, 2, 0, 2, 1, 2, 1, 1);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeTerrDelivSysDr(d.get());
    ASSERT_TRUE(dec);
    tavel::DescriptorTerrestrialDeliverySystem parsed;
    parsed.data = ours.data;
    parsed.procesarDatos();
    EXPECT_EQ(parsed.frequency * 100, dec->i_centre_frequency);
    EXPECT_EQ(parsed.constellation, dec->i_constellation);
    EXPECT_EQ(parsed.code_rate_HP_stream, dec->i_code_rate_hp_stream);
    EXPECT_EQ(parsed.other_frequency_flag, dec->i_other_frequency_flag);
    EXPECT_NE(parsed.code_rate_LP_stream, dec->i_code_rate_lp_stream);
    EXPECT_NE(parsed.hierarchy_information, dec->i_hierarchy_information);
    EXPECT_EQ(parsed.guard_interval, 0);
    EXPECT_EQ(parsed.transmission_mode, 0);
}

// Deliberate departure: the satellite byte 6 repeats the polarization in
// the roll-off bits and never sets bit 6, so a standard decoder sees a
// different polarization and the polarization where the roll-off should be.
TEST(DescriptorsInterop, SatelliteDeliveryPolarizationDeparts)
{
    tavel::DescriptorSatelliteDeliverySystem ours(11757, 192, 1, 2, 3, 1, 2, 27500, 3);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeSatDelivSysDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(dec->i_frequency, 0x01175700u); // BCD, 10 kHz: 011.75700 GHz
    EXPECT_EQ(dec->i_orbital_position, 0x0192);
    EXPECT_EQ(dec->i_west_east_flag, 1);
    EXPECT_EQ(dec->i_modulation_system, 1);
    EXPECT_EQ(dec->i_modulation_type, 2);
    EXPECT_EQ(dec->i_symbol_rate, 0x0275000u);
    EXPECT_EQ(dec->i_fec_inner, 3);
    EXPECT_EQ(dec->i_polarization, 0); // not 2
    EXPECT_EQ(dec->i_roll_off, 2);     // the polarization, not 3
}

TEST(DescriptorsInterop, Service)
{
    tavel::DescriptorService ours(0x19, "Tavel", "Canal 1 HD");
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeServiceDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(dec->i_service_type, 0x19);
    // The names come back with our UTF-8 selector in front.
    EXPECT_EQ(bytes_of(dec->i_service_provider_name, dec->i_service_provider_name_length), "\x15Tavel");
    EXPECT_EQ(bytes_of(dec->i_service_name, dec->i_service_name_length), "\x15"
                                                                         "Canal 1 HD");
}

TEST(DescriptorsInterop, Linkage)
{
    tavel::DescriptorLinkage ours(0x0001, 0x22D4, 0x0003, 0x09, {1, 2, 3, 4, 5});
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLinkageDr(d.get());
    ASSERT_TRUE(dec);
    EXPECT_EQ(dec->i_transport_stream_id, 0x0001);
    EXPECT_EQ(dec->i_original_network_id, 0x22D4);
    EXPECT_EQ(dec->i_service_id, 0x0003);
    EXPECT_EQ(dec->i_linkage_type, 0x09);
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
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLocalTimeOffsetDr(d.get());
    ASSERT_TRUE(dec);
    ASSERT_EQ(dec->i_local_time_offsets_number, 2);
    const auto& e = dec->p_local_time_offset[0];
    EXPECT_EQ(bytes_of(e.i_country_code, 3), "ESP");
    EXPECT_EQ(e.i_country_region_id, 5);
    EXPECT_EQ(e.i_local_time_offset_polarity, 1);
    EXPECT_EQ(e.i_local_time_offset, 0x0130);
    EXPECT_EQ(e.i_time_of_change, 0xEA5D010000ULL);
    EXPECT_EQ(e.i_next_time_offset, 0x0230);
    EXPECT_EQ(bytes_of(dec->p_local_time_offset[1].i_country_code, 3), "PRT");
    EXPECT_EQ(dec->p_local_time_offset[1].i_local_time_offset_polarity, 0);
}

// The private logical channel descriptor in its tag-0x83 form (mode 1).
TEST(DescriptorsInterop, LogicalChannelNumbersMode1)
{
    tavel::DescriptorLCN ours;
    ours.addNewService(0x1001, 1, 5);
    ours.addNewService(0x1002, 0, 1022);
    auto d = to_dvbpsi(ours);
    auto* dec = dvbpsi_DecodeLCNDr(d.get());
    ASSERT_TRUE(dec);
    ASSERT_EQ(dec->i_number_of_entries, 2);
    EXPECT_EQ(dec->p_entries[0].i_service_id, 0x1001);
    EXPECT_EQ(dec->p_entries[0].i_logical_channel_number, 5);
    EXPECT_EQ(dec->p_entries[1].i_service_id, 0x1002);
    EXPECT_EQ(dec->p_entries[1].i_logical_channel_number, 1022);
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
