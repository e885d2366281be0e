#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>
#include <syslog.h>

#include <tavel/delivery_descriptors.h>
#include <tavel/descriptor.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;
using tavel::test::to_hex;

namespace {

// The table parsers' calling order: factory, tag and length as read, payload, procesarDatos.
template <typename T = tavel::Descriptor>
std::shared_ptr<T> parse(unsigned char tag, const std::string& payload_hex, int length = -1)
{
    auto d = tavel::Descriptor::getPtrDescriptorType(tag);
    d->data = hex(payload_hex);
    d->descriptor_tag = tag;
    d->descriptor_length = static_cast<unsigned char>(length < 0 ? d->data.size() : length);
    d->procesarDatos();
    auto typed = std::dynamic_pointer_cast<T>(d);
    EXPECT_TRUE(typed) << "tag " << int(tag);
    return typed;
}

std::string emit(tavel::Descriptor& d)
{
    d.generateDataVector();
    return to_hex(d.data);
}

} // namespace

// ---------------------------------------------------------------- cable

TEST(CableDelivery, EmitsBcdFrequencyAndSymbolRate)
{
    tavel::DescriptorCableDeliverySystem d(474000, 6900, 3, 2, 15);
    EXPECT_EQ(d.descriptor_tag, 0x44);
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(emit(d), to_hex(hex("04 74 00 00"   // frequency 474.0000 MHz, 100 Hz BCD
                                  "FF F2"         // reserved ones, FEC_outer 2
                                  "03"            // modulation 64-QAM
                                  "00 69 00 0F"))); // 6.9000 Msym/s, FEC_inner 15
}

TEST(CableDelivery, DefaultEmitsFecInnerNoConvolutionalCoding)
{
    tavel::DescriptorCableDeliverySystem d;
    EXPECT_EQ(emit(d), to_hex(hex("00 00 00 00 FF F0 00 00 00 00 0F")));
}

TEST(CableDelivery, ParsesBackAndLogsFrequencyAndSymbolRate)
{
    tavel::LogCapture log;
    auto d = parse<tavel::DescriptorCableDeliverySystem>(0x44, "03 12 00 05 FF F2 05 00 68 75 03");
    EXPECT_EQ(d->frequency, 312000u);
    EXPECT_EQ(d->FEC_outer, 2);
    EXPECT_EQ(d->modulation, 5);
    EXPECT_EQ(d->symbol_rate, 6875u); // seventh digit dropped
    EXPECT_EQ(d->FEC_inner, 3);
    EXPECT_TRUE(log.has(LOG_DEBUG, "frecuencia 312000, symbolRate_bcd 6875"));
    // The dropped 100 Hz digit is the only loss.
    EXPECT_EQ(emit(*d), to_hex(hex("03 12 00 00 FF F2 05 00 68 75 03")));
}

// ---------------------------------------------------------------- satellite

TEST(SatelliteDelivery, EmitsPolarizationTwiceAndNoRollOff)
{
    // 11 757 MHz, 19.2 E, polarization 2, roll-off 3, DVB-S2 8PSK, 27 500 ksym/s, FEC 3
    tavel::DescriptorSatelliteDeliverySystem d(11757, 192, 1, 2, 3, 1, 2, 27500, 3);
    EXPECT_EQ(d.descriptor_tag, 0x43);
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(emit(d), to_hex(hex("01 17 57 00" // frequency in 10 kHz BCD, last byte 0
                                  "01 92"       // orbital position 019.2
                                  "96"          // east, bit5 = pol&1 = 0, bits 4-3 = pol = 10, S2, 8PSK
                                  "02 75 00"    // symbol rate 27.500
                                  "03")));      // FEC_inner
}

TEST(SatelliteDelivery, ParsesPolarizationFromBit5Only)
{
    EXPECT_EQ(parse<tavel::DescriptorSatelliteDeliverySystem>(0x43, "00 00 00 00 00 00 20 00 00 00 00")->polarization, 0);
    EXPECT_EQ(parse<tavel::DescriptorSatelliteDeliverySystem>(0x43, "00 00 00 00 00 00 00 00 00 00 00")->polarization, 1);
    EXPECT_EQ(parse<tavel::DescriptorSatelliteDeliverySystem>(0x43, "00 00 00 00 00 00 18 00 00 00 00")->polarization, 1);
}

TEST(SatelliteDelivery, ParseOfOwnBytesIsNotIdentity)
{
    tavel::LogCapture log;
    auto d = parse<tavel::DescriptorSatelliteDeliverySystem>(0x43, "01 17 57 00 01 92 96 02 75 00 03");
    EXPECT_EQ(d->frequency, 11757u);
    EXPECT_EQ(d->orbital_position, 192);
    EXPECT_EQ(d->west_east_flag, 1);
    EXPECT_EQ(d->polarization, 1); // was 2
    EXPECT_EQ(d->roll_off, 2);     // the repeated polarization, was 3
    EXPECT_EQ(d->modulation_system, 1);
    EXPECT_EQ(d->modulation_type, 2);
    EXPECT_EQ(d->symbol_rate, 27500u);
    EXPECT_EQ(d->FEC_inner, 3);
    EXPECT_TRUE(log.has(LOG_DEBUG, "Frecuencia bcd 71511 , frecuencia 11757"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "orbita bcd 402 , orbita 192"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "west_east_flag 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "polaridad 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "SymbolRate bcd 161024 , Symbolrate 27500"));
}

TEST(SatelliteDelivery, FrequencyKeepsSixDigits)
{
    tavel::DescriptorSatelliteDeliverySystem d(1234567, 0, 0, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(emit(d), to_hex(hex("23 45 67 00 00 00 00 00 00 00 00"))); // leading digit lost
}

// ---------------------------------------------------------------- terrestrial

TEST(TerrestrialDelivery, EmitsFrequencyIn10HzUnits)
{
    // 474 MHz, 8 MHz, HP, 64-QAM, non-hierarchical, HP 3/4, LP 2/3, 1/8, 8k
    tavel::DescriptorTerrestrialDeliverySystem d(474000, 0, 1, 0, 0, 2, 0, 2, 1, 2, 1, 0);
    EXPECT_EQ(d.descriptor_tag, 0x5A);
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(emit(d), to_hex(hex("02 D3 44 40"    // 47 400 000 x 10 Hz
                                  "13"             // bandwidth 0, priority 1, no TS/MPE-FEC, reserved 11
                                  "82"             // constellation 2, hierarchy 0, HP rate 2
                                  "32"             // LP rate 1, guard 2, mode 1, other frequency 0
                                  "FF FF FF FF"))); // reserved
}

TEST(TerrestrialDelivery, ParserIsNotTheInverse)
{
    tavel::LogCapture log;
    auto d = std::dynamic_pointer_cast<tavel::DescriptorTerrestrialDeliverySystem>(
        tavel::Descriptor::getPtrDescriptorType(0x5A));
    d->guard_interval = 3;
    d->transmission_mode = 2;
    d->data = hex("02 D3 44 40 13 82 33 FF FF FF FF");
    d->procesarDatos();
    EXPECT_EQ(d->frequency, 474000u);
    EXPECT_EQ(d->bandwidth, 0);
    EXPECT_EQ(d->priority, 1);
    EXPECT_EQ(d->time_slicing_indicator, 0);
    EXPECT_EQ(d->MPE_FEC_indicator, 0);
    EXPECT_EQ(d->constellation, 2);
    EXPECT_EQ(d->code_rate_HP_stream, 2);
    EXPECT_EQ(d->code_rate_LP_stream, 0);   // two bits of byte 6 only
    EXPECT_EQ(d->hierarchy_information, 1); // (0x33 >> 1) & 7
    EXPECT_EQ(d->guard_interval, 3);        // untouched
    EXPECT_EQ(d->transmission_mode, 2);     // untouched
    EXPECT_EQ(d->other_frequency_flag, 1);
    EXPECT_TRUE(log.has(LOG_DEBUG, "frecuencia 474000"));
}

// ---------------------------------------------------------------- service

TEST(ServiceDescriptor, EmitsUtf8SelectorsAndLength)
{
    tavel::DescriptorService d(1, "AB", "CDE");
    EXPECT_EQ(d.descriptor_tag, 0x48);
    EXPECT_EQ(d.descriptor_length, 10);
    EXPECT_EQ(emit(d), to_hex(hex("01"           // digital television
                                  "03 15 41 42"  // provider: length, UTF-8 selector, "AB"
                                  "04 15 43 44 45"))); // name: length, selector, "CDE"
    EXPECT_EQ(d.descriptor_length, 10);
}

TEST(ServiceDescriptor, SettersAdjustLengthAndSelectUtf8)
{
    tavel::DescriptorService d(1, "AB", "CDE");
    d.setProvider("Tavel");
    EXPECT_EQ(d.descriptor_length, 13);
    d.setName("X");
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(emit(d), to_hex(hex("01 06 15 54 61 76 65 6C 02 15 58")));

    tavel::DescriptorService fresh;
    EXPECT_EQ(fresh.descriptor_length, 3);
    fresh.setName("CDE");
    EXPECT_EQ(fresh.descriptor_length, 6);
    EXPECT_EQ(fresh.service_name_charset, 0x15);
    EXPECT_EQ(fresh.provider_charset, 0x00);
}

TEST(ServiceDescriptor, DefaultWritesZeroSelectorsAndCountsThem)
{
    tavel::DescriptorService d;
    EXPECT_EQ(emit(d), to_hex(hex("00 01 00 01 00")));
    EXPECT_EQ(d.descriptor_length, 5); // the written size, not the constructor's 3
}

TEST(ServiceDescriptor, RoundTripsItsOwnBytes)
{
    auto d = parse<tavel::DescriptorService>(0x48, "01 03 15 41 42 04 15 43 44 45");
    EXPECT_EQ(d->service_type, 1);
    EXPECT_EQ(d->provider_name, "AB");
    EXPECT_EQ(d->service_name, "CDE");
    EXPECT_EQ(emit(*d), to_hex(hex("01 03 15 41 42 04 15 43 44 45")));
}

TEST(ServiceDescriptor, LatinNamesAreReEmittedAsUtf8WithTheirNewLength)
{
    // No selectors: the default table, "Caf\xE9" in Latin-1.
    auto d = parse<tavel::DescriptorService>(0x48, "19 00 04 43 61 66 E9");
    EXPECT_EQ(d->service_type, 0x19);
    EXPECT_EQ(d->provider_name, "");
    EXPECT_EQ(d->provider_charset, 0x15);
    EXPECT_EQ(d->service_name, "Caf\xC3\xA9");
    EXPECT_EQ(d->service_name_charset, 0x15);
    EXPECT_EQ(emit(*d), to_hex(hex("19 01 15 06 15 43 61 66 C3 A9")));
    EXPECT_EQ(d->descriptor_length, 10);
}

// ---------------------------------------------------------------- service list

TEST(ServiceList, EmitsThreeBytesPerService)
{
    tavel::DescriptorServiceList d;
    EXPECT_EQ(d.descriptor_tag, 0x41);
    d.addNewService(0x1001, 0x01);
    d.addNewService(0x1002, 0x02);
    EXPECT_EQ(d.descriptor_length, 6);
    EXPECT_EQ(emit(d), to_hex(hex("10 01 01" // service 0x1001, television
                                  "10 02 02"))); // service 0x1002, radio
}

TEST(ServiceList, ParsesWholeEntriesWithinTheLength)
{
    struct Case {
        const char* payload;
        int length;
        size_t entries;
    } cases[] = {
        {"10 01 01 10 02 02", 6, 2}, {"10 01 01 10 02", 5, 1}, {"10 01", 2, 0},
        {"", 0, 0},                  {"10 01 01 10 02 02", 3, 1},
    };
    for (const auto& c : cases) {
        auto d = parse<tavel::DescriptorServiceList>(0x41, c.payload, c.length);
        ASSERT_EQ(d->services.size(), c.entries) << c.payload;
        if (c.entries) {
            EXPECT_EQ(d->services[0].service_id, 0x1001);
            EXPECT_EQ(d->services[0].service_type, 1);
        }
    }
    auto d = parse<tavel::DescriptorServiceList>(0x41, "10 01 01 10 02 02");
    EXPECT_EQ(emit(*d), to_hex(hex("10 01 01 10 02 02")));
}

// ---------------------------------------------------------------- logical channel numbers

TEST(Lcn, EntryCodingPerMode)
{
    struct Case {
        unsigned short mode;
        unsigned char visible;
        unsigned short number;
        const char* entry;
    } cases[] = {
        {1, 1, 5, "10 01 FC 05"},    // visible, five reserved ones, 10-bit number
        {1, 0, 300, "10 01 7D 2C"},  // invisible, 300 = 0x12C
        {2, 1, 5, "10 01 C0 05"},    // visible, one reserved one, 14-bit number
        {2, 0, 1022, "10 01 43 FE"}, // invisible, 1022 = 0x3FE
        {4, 1, 300, "10 01 FD 2C"},  // other modes code as mode 1
    };
    for (const auto& c : cases) {
        tavel::DescriptorLCN d(c.mode);
        EXPECT_EQ(d.descriptor_tag, 0x83);
        d.addNewService(0x1001, c.visible, c.number);
        EXPECT_EQ(d.descriptor_length, 4);
        EXPECT_EQ(emit(d), to_hex(hex(c.entry))) << "mode " << c.mode << " number " << c.number;
    }
}

TEST(Lcn, Mode3WritesHeaderAndKeeps14Bits)
{
    tavel::DescriptorLCN d(3);
    EXPECT_EQ(d.descriptor_tag, 0x87);
    EXPECT_EQ(d.descriptor_length, 6);
    d.addNewService(0x1001, 1, 5);
    EXPECT_EQ(d.descriptor_length, 10);
    EXPECT_EQ(emit(d), to_hex(hex("00"       // channel list id
                                  "00"       // no channel list name
                                  "39 30 30" // country code "900"
                                  "04"       // loop length
                                  "10 01 FC 05"))); // the entry, mode 1 coding
}

TEST(Lcn, NumberBit10IsLostInTenBitCoding)
{
    tavel::DescriptorLCN d(3);
    d.addNewService(0x1001, 1, 1030); // 0x406
    EXPECT_EQ(emit(d), to_hex(hex("00 00 39 30 30 04 10 01 FC 06")));
}

TEST(Lcn, AcceptanceBounds)
{
    struct Case {
        unsigned short mode;
        unsigned short number;
        bool accepted;
    } cases[] = {
        {1, 1022, true}, {1, 1023, false}, {2, 1023, false}, {3, 1023, true},
        {3, 16382, true}, {1, 16383, false}, {2, 16383, false}, {3, 16383, false},
    };
    for (const auto& c : cases) {
        tavel::DescriptorLCN d(c.mode);
        const unsigned char before = d.descriptor_length;
        d.addNewService(0x1001, 1, c.number);
        EXPECT_EQ(d.services.size(), c.accepted ? 1u : 0u) << c.mode << " " << c.number;
        EXPECT_EQ(d.descriptor_length, before + (c.accepted ? 4 : 0));
    }
}

TEST(Lcn, EmptyListEmitsNothingInEveryMode)
{
    for (unsigned short mode : {1, 2, 3}) {
        tavel::DescriptorLCN d(mode);
        EXPECT_EQ(emit(d), "") << mode;
    }
}

TEST(Lcn, ParserKeepsVisibleBitAndLowByte)
{
    auto d = parse<tavel::DescriptorLCN>(0x83, "10 01 FD 2C 10 02 7C 07 99");
    ASSERT_EQ(d->services.size(), 2u);
    EXPECT_EQ(d->services[0].service_id, 0x1001);
    EXPECT_EQ(d->services[0].visible_service_flag, 1);
    EXPECT_EQ(d->services[0].logical_channel_number, 44); // high bits dropped
    EXPECT_EQ(d->services[1].service_id, 0x1002);
    EXPECT_EQ(d->services[1].visible_service_flag, 0);
    EXPECT_EQ(d->services[1].logical_channel_number, 7);
}

TEST(Lcn, Mode3ParserSkipsHeaderAndName)
{
    auto d = parse<tavel::DescriptorLCN>(0x87, "00 02 41 42 39 30 30 08 10 01 FC 05 10 02 FC 06");
    EXPECT_EQ(d->lcn_mode, 3);
    ASSERT_EQ(d->services.size(), 2u);
    EXPECT_EQ(d->services[1].service_id, 0x1002);
    EXPECT_EQ(d->services[1].logical_channel_number, 6);

    // A trailing odd byte or a name running past the payload: no entry, no read beyond.
    EXPECT_EQ(parse<tavel::DescriptorLCN>(0x87, "00 00 39 30 30 04 10 01 FC 05 AA")->services.size(), 1u);
    EXPECT_EQ(parse<tavel::DescriptorLCN>(0x87, "00 FF 39")->services.size(), 0u);
    EXPECT_EQ(parse<tavel::DescriptorLCN>(0x87, "")->services.size(), 0u);
}

// ---------------------------------------------------------------- network name

TEST(NetworkName, CarriesBytesAsTheyStand)
{
    tavel::DescriptorNetworkName d("\x15Tavel");
    EXPECT_EQ(d.descriptor_tag, 0x40);
    EXPECT_EQ(d.descriptor_length, 6);
    EXPECT_EQ(emit(d), to_hex(hex("15 54 61 76 65 6C")));

    auto parsed = parse<tavel::DescriptorNetworkName>(0x40, "15 54 61 76 65 6C");
    EXPECT_EQ(parsed->name, "\x15Tavel");
    EXPECT_EQ(emit(*parsed), to_hex(hex("15 54 61 76 65 6C")));

    EXPECT_EQ(tavel::DescriptorNetworkName(std::string(300, 'x')).descriptor_length, 300 % 256);
}

// ---------------------------------------------------------------- linkage

TEST(Linkage, FivePrivateBytesMakeLengthTwelve)
{
    tavel::DescriptorLinkage d(0x0001, 0x22D4, 0x0003, 0x09, hex("01 02 03 04 05"));
    EXPECT_EQ(d.descriptor_tag, 0x4A);
    EXPECT_EQ(d.descriptor_length, 12);
    EXPECT_EQ(emit(d), to_hex(hex("00 01"           // transport_stream_id
                                  "22 D4"           // original_network_id
                                  "00 03"           // service_id
                                  "09"              // linkage_type: system software update
                                  "01 02 03 04 05"))); // private bytes, opaque
    EXPECT_EQ(d.data.size(), 12u);
    EXPECT_EQ(tavel::DescriptorLinkage().descriptor_length, 7);
}

TEST(Linkage, PrivateBytesRunToTheEndOfData)
{
    auto d = parse<tavel::DescriptorLinkage>(0x4A, "00 01 22 D4 00 03 09 AA BB CC", 8);
    EXPECT_EQ(d->transport_stream_id, 0x0001);
    EXPECT_EQ(d->original_network_id, 0x22D4);
    EXPECT_EQ(d->service_id, 0x0003);
    EXPECT_EQ(d->linkage_type, 0x09);
    EXPECT_EQ(to_hex(d->private_data_bytes), to_hex(hex("AA BB CC")));
    EXPECT_EQ(emit(*d), to_hex(hex("00 01 22 D4 00 03 09 AA BB CC")));
}

// ---------------------------------------------------------------- private data specifier

TEST(PrivateDataSpecifier, FourBytesMostSignificantFirst)
{
    tavel::DescriptorPrivateDataSpecifier d(0x00000028);
    EXPECT_EQ(d.descriptor_tag, 0x5F);
    EXPECT_EQ(d.descriptor_length, 4);
    EXPECT_EQ(emit(d), to_hex(hex("00 00 00 28")));
    EXPECT_EQ(parse<tavel::DescriptorPrivateDataSpecifier>(0x5F, "12 34 56 78")->private_data_specifier, 0x12345678u);
}

// ---------------------------------------------------------------- local time offset

namespace {
tavel::offset_info spain_winter()
{
    tavel::offset_info o;
    o.country_code = "ESP";
    o.country_region_id = 0;
    o.local_time_offset_polarity = 0;
    o.local_time_offset = 0x0100;
    o.time_of_change = 0xEA5D010000ULL; // MJD 0xEA5D, 01:00:00
    o.next_time_offset = 0x0200;
    return o;
}
const char* kSpainEntry = "45 53 50"       // "ESP"
                          "02"             // region 0, reserved 1, polarity 0
                          "01 00"          // +01:00
                          "EA 5D 01 00 00" // time of change
                          "02 00";         // next +02:00
} // namespace

TEST(LocalTimeOffset, EmitsThirteenBytesPerEntry)
{
    tavel::DescriptorLocalTimeOffset d;
    EXPECT_EQ(d.descriptor_tag, 0x58);
    EXPECT_EQ(d.descriptor_length, 0);
    auto o = spain_winter();
    d.addNewTimeOffset(o);
    o.country_code = "PRT";
    o.country_region_id = 2;
    o.local_time_offset_polarity = 1;
    d.addNewTimeOffset(o);
    EXPECT_EQ(d.descriptor_length, 26);
    EXPECT_EQ(emit(d), to_hex(hex(std::string(kSpainEntry) + "50 52 54 0B 01 00 EA 5D 01 00 00 02 00")));
}

TEST(LocalTimeOffset, ParsesWholeEntriesOnlyAndAppends)
{
    EXPECT_TRUE(parse<tavel::DescriptorLocalTimeOffset>(0x58, "45 53 50 02 01 00 EA 5D 01 00 00 02")->offsets.empty());

    auto d = parse<tavel::DescriptorLocalTimeOffset>(
        0x58, std::string(kSpainEntry) + "50 52 54 0B 01 00 EA 5D 01 00 00 02 00 FF");
    ASSERT_EQ(d->offsets.size(), 2u);
    EXPECT_EQ(d->offsets[0].country_code, "ESP");
    EXPECT_EQ(d->offsets[0].local_time_offset, 0x0100);
    EXPECT_EQ(d->offsets[0].time_of_change, 0xEA5D010000ULL);
    EXPECT_EQ(d->offsets[0].next_time_offset, 0x0200);
    EXPECT_EQ(d->offsets[1].country_code, "PRT");
    EXPECT_EQ(d->offsets[1].country_region_id, 2);
    EXPECT_EQ(d->offsets[1].local_time_offset_polarity, 1);

    d->procesarDatos();
    EXPECT_EQ(d->offsets.size(), 4u);
}

TEST(LocalTimeOffset, ShortCountryCodeMakesShortEntry)
{
    tavel::DescriptorLocalTimeOffset d;
    auto o = spain_winter();
    o.country_code = "ES";
    d.addNewTimeOffset(o);
    EXPECT_EQ(d.descriptor_length, 13);
    EXPECT_EQ(emit(d), to_hex(hex("45 53 02 01 00 EA 5D 01 00 00 02 00")));
}

// ---------------------------------------------------------------- factory

TEST(Factory, MakesTheRegisteredClassForEachTag)
{
    using namespace tavel;
    struct Case {
        unsigned short tag;
        const std::type_info& type;
        unsigned char made_tag;
        unsigned char length;
    } cases[] = {
        {0x40, typeid(DescriptorNetworkName), 0x40, 0},
        {0x41, typeid(DescriptorServiceList), 0x41, 0},
        {0x43, typeid(DescriptorSatelliteDeliverySystem), 0x43, 11},
        {0x44, typeid(DescriptorCableDeliverySystem), 0x44, 11},
        {0x48, typeid(DescriptorService), 0x48, 3},
        {0x4A, typeid(DescriptorLinkage), 0x4A, 7},
        {0x58, typeid(DescriptorLocalTimeOffset), 0x58, 0},
        {0x5A, typeid(DescriptorTerrestrialDeliverySystem), 0x5A, 11},
        {0x5F, typeid(DescriptorPrivateDataSpecifier), 0x5F, 4},
        {0x83, typeid(DescriptorLCN), 0x83, 0}, // mode 1
        {0x87, typeid(DescriptorLCN), 0x87, 6}, // mode 3, header counted
        {0x84, typeid(Descriptor), 0, 0},       // unknown: tag 0, the parser sets it
        {300, typeid(Descriptor), 0, 0},
        {0x140, typeid(Descriptor), 0, 0},      // not taken modulo 256
        {0, typeid(Descriptor), 0, 0},
    };
    for (const auto& c : cases) {
        auto d = Descriptor::getPtrDescriptorType(c.tag);
        ASSERT_TRUE(d) << c.tag;
        EXPECT_EQ(typeid(*d), c.type) << c.tag;
        EXPECT_EQ(d->descriptor_tag, c.made_tag) << c.tag;
        EXPECT_EQ(d->descriptor_length, c.length) << c.tag;
        EXPECT_TRUE(d->data.empty());
        EXPECT_NE(d, Descriptor::getPtrDescriptorType(c.tag));
        if (auto lcn = std::dynamic_pointer_cast<DescriptorLCN>(d)) {
            EXPECT_EQ(lcn->lcn_mode, c.tag == 0x87 ? 3 : 1);
        }
    }
}

TEST(Factory, UnknownDescriptorPassesThroughUnchanged)
{
    auto d = parse(0x84, "01 02 03");
    EXPECT_EQ(d->descriptor_tag, 0x84);
    EXPECT_EQ(emit(*d), to_hex(hex("01 02 03")));
    EXPECT_EQ(d->descriptor_length, 3);
}

// Every class survives payloads shorter than its layout and lengths that
// overstate the data: missing bytes read as 0, nothing is read beyond data.
TEST(Factory, ShortPayloadsReadMissingBytesAsZero)
{
    for (unsigned short tag : {0x40, 0x41, 0x43, 0x44, 0x48, 0x4A, 0x58, 0x5A, 0x5F, 0x83, 0x87}) {
        for (const char* payload : {"", "99", "10 01 FD", "04 74 00 00 FF"}) {
            auto d = parse(static_cast<unsigned char>(tag), payload, 255);
            d->generateDataVector();
        }
    }
    auto cable = parse<tavel::DescriptorCableDeliverySystem>(0x44, "04 74 00 00 FF F2");
    EXPECT_EQ(cable->frequency, 474000u);
    EXPECT_EQ(cable->FEC_outer, 2);
    EXPECT_EQ(cable->modulation, 0);
    EXPECT_EQ(cable->symbol_rate, 0u);
    auto service = parse<tavel::DescriptorService>(0x48, "01 09 15 41", 255);
    EXPECT_EQ(service->provider_name, "A");
    EXPECT_EQ(service->service_name, "");
    auto linkage = parse<tavel::DescriptorLinkage>(0x4A, "00 01 22");
    EXPECT_EQ(linkage->original_network_id, 0x2200);
    EXPECT_TRUE(linkage->private_data_bytes.empty());
}

// ---------------------------------------------------------------- base class

TEST(DescriptorBase, PrintDescriptorLogsTagLengthAndEachByte)
{
    tavel::LogCapture log;
    tavel::Descriptor empty(0x40, 0);
    empty.printDescriptor();
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_TRUE(log.has(LOG_DEBUG, "DESCRIPTOR ID: 64"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "DESCRIPTOR length: 0"));

    log.clear();
    tavel::Descriptor d(0x5F, 2);
    d.data = hex("0A F0");
    d.printDescriptor();
    ASSERT_EQ(log.lines().size(), 4u);
    EXPECT_EQ(log.lines()[2].text, "DESCRIPTOR DATA: a");
    EXPECT_EQ(log.lines()[3].text, "DESCRIPTOR DATA: f0");
}

TEST(DescriptorBase, FindDescriptorReturnsFirstMatchAndLogsEachStep)
{
    tavel::SIVectorDescriptores v;
    v.items.push_back(std::make_shared<tavel::DescriptorNetworkName>("a"));
    v.items.push_back(std::make_shared<tavel::DescriptorPrivateDataSpecifier>(40));
    v.items.push_back(std::make_shared<tavel::DescriptorPrivateDataSpecifier>(41));

    tavel::LogCapture log;
    auto it = v.find_descriptor(v.items.begin(), v.items.end(), 0x5F);
    EXPECT_EQ(it, v.items.begin() + 1);
    ASSERT_EQ(log.lines().size(), 4u);
    EXPECT_EQ(log.lines()[0].text, "INICIO id 64");
    EXPECT_EQ(log.lines()[1].text, "FIN id 0"); // end iterator: nothing to report
    EXPECT_EQ(log.lines()[2].text, "Valores de descriptor id 64 = 95");
    EXPECT_EQ(log.lines()[3].text, "Valores de descriptor id 95 = 95");

    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.end(), 0x48), v.items.end());

    log.clear();
    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.begin(), 0x40), v.items.begin());
    EXPECT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(log.lines()[1].text, "FIN id 64");
}
