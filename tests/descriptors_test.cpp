#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <typeinfo>
#include <syslog.h>

#include <tavel/delivery_descriptors.h>
#include <tavel/descriptor.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

#include "platform/log.h"
#include "test_support.h"

using namespace tavel;
using tavel::test::hex;
using tavel::test::to_hex;

namespace {

using Ptr = std::shared_ptr<Descriptor>;

// The table parsers' calling order: factory, tag and length as read, payload, procesarDatos.
template <typename T = Descriptor>
std::shared_ptr<T> parse(unsigned char tag, const std::string& payload_hex, int length = -1)
{
    auto d = Descriptor::getPtrDescriptorType(tag);
    d->data = hex(payload_hex);
    d->descriptor_tag = tag;
    d->descriptor_length = static_cast<unsigned char>(length < 0 ? d->data.size() : length);
    d->procesarDatos();
    auto typed = std::dynamic_pointer_cast<T>(d);
    EXPECT_TRUE(typed) << "tag " << int(tag);
    return typed;
}

std::string emit(Descriptor& d)
{
    d.generateDataVector();
    return to_hex(d.data);
}

std::string bytes(const std::string& h) { return to_hex(hex(h)); }

Ptr lcn(unsigned short mode, unsigned char visible, unsigned short number)
{
    auto d = std::make_shared<DescriptorLCN>(mode);
    d->addNewService(0x1001, visible, number);
    return d;
}

offset_info offset(const char* country, unsigned char region, unsigned char polarity)
{
    offset_info o;
    o.country_code = country;
    o.country_region_id = region;
    o.local_time_offset_polarity = polarity;
    o.local_time_offset = 0x0100;       // +01:00
    o.time_of_change = 0xEA5D010000ULL; // MJD 0xEA5D, 01:00:00
    o.next_time_offset = 0x0200;        // +02:00
    return o;
}

Ptr time_offsets(std::vector<offset_info> list)
{
    auto d = std::make_shared<DescriptorLocalTimeOffset>();
    for (const auto& o : list)
        d->addNewTimeOffset(o);
    return d;
}

const std::string kSpainEntry = "45 53 50 02"     // "ESP", region 0, reserved 1, polarity 0
                                "01 00"           // +01:00
                                "EA 5D 01 00 00"  // time of change
                                "02 00";          // next +02:00
const std::string kPortugalEntry = "50 52 54 0B 01 00 EA 5D 01 00 00 02 00"; // region 2, polarity 1

} // namespace

// Every class from its constructor and adders: exact payload, tag and length.
TEST(Descriptors, EmitExactBytes)
{
    auto list = std::make_shared<DescriptorServiceList>();
    list->addNewService(0x1001, 0x01);
    list->addNewService(0x1002, 0x02);
    struct Case {
        const char* what;
        Ptr d;
        unsigned char tag, length;
        std::string payload;
    } cases[] = {
        {"cable", std::make_shared<DescriptorCableDeliverySystem>(474000, 6900, 3, 2, 15), 0x44, 11,
         "04 74 00 00 FF F2 03"  // 474.0000 MHz in 100 Hz BCD; reserved ones, FEC_outer 2; 64-QAM
         "00 69 00 0F"},         // 6.9000 Msym/s, FEC_inner 15
        {"cable default", std::make_shared<DescriptorCableDeliverySystem>(), 0x44, 11,
         "00 00 00 00 FF F0 00 00 00 00 0F"}, // FEC_inner 15: no convolutional coding
        {"satellite", std::make_shared<DescriptorSatelliteDeliverySystem>(11757, 192, 1, 2, 3, 1, 2, 27500, 3), 0x43, 11,
         "01 17 57 00 01 92" // 11 757 MHz in 10 kHz BCD, orbital position 019.2
         "96"                // east, bit5 = pol&1 = 0, bits 4-3 = pol 2 again, S2, 8PSK; roll-off not written
         "02 75 00 03"},     // 27.500 Msym/s, FEC_inner 3
        {"satellite 7 digits", std::make_shared<DescriptorSatelliteDeliverySystem>(1234567, 0, 0, 0, 0, 0, 0, 0, 0), 0x43,
         11, "23 45 67 00 00 00 00 00 00 00 00"}, // leading digit lost
        {"terrestrial", std::make_shared<DescriptorTerrestrialDeliverySystem>(474000, 0, 1, 0, 0, 2, 0, 2, 1, 2, 1, 0),
         0x5A, 11,
         "02 D3 44 40"   // 47 400 000 x 10 Hz
         "13 82 32"      // 8 MHz, HP, reserved 11; 64-QAM, non-hierarchical, HP 3/4; LP 2/3, 1/8, 8k
         "FF FF FF FF"}, // reserved
        {"service", std::make_shared<DescriptorService>(1, "AB", "CDE"), 0x48, 10,
         "01 03 15 41 42 04 15 43 44 45"}, // TV; length, UTF-8 selector, "AB"; length, selector, "CDE"
        {"service default", std::make_shared<DescriptorService>(), 0x48, 5,
         "00 01 00 01 00"}, // the written size, not the constructor's 3
        {"service list", list, 0x41, 6, "10 01 01 10 02 02"}, // 0x1001 television, 0x1002 radio
        {"lcn 1", lcn(1, 1, 5), 0x83, 4, "10 01 FC 05"},       // visible, five reserved ones, 10 bits
        {"lcn 1 hidden", lcn(1, 0, 300), 0x83, 4, "10 01 7D 2C"}, // 300 = 0x12C
        {"lcn 2", lcn(2, 1, 5), 0x83, 4, "10 01 C0 05"},       // one reserved one, 14 bits
        {"lcn 2 hidden", lcn(2, 0, 1022), 0x83, 4, "10 01 43 FE"},
        {"lcn 4", lcn(4, 1, 300), 0x83, 4, "10 01 FD 2C"}, // other modes code as mode 1
        {"lcn 3", lcn(3, 1, 5), 0x87, 10,
         "00 00 39 30 30 04" // list id, no name, country "900", loop length
         "10 01 FC 05"},     // the entry, mode 1 coding
        {"lcn 3 bit 10", lcn(3, 1, 1030), 0x87, 10, "00 00 39 30 30 04 10 01 FC 06"}, // 0x406
        {"network name", std::make_shared<DescriptorNetworkName>("\x15Tavel"), 0x40, 6, "15 54 61 76 65 6C"},
        {"linkage", std::make_shared<DescriptorLinkage>(0x0001, 0x22D4, 0x0003, 0x09, hex("01 02 03 04 05")), 0x4A, 12,
         "00 01 22 D4 00 03 09" // transport_stream_id, original_network_id, service_id, software update
         "01 02 03 04 05"},     // private bytes, opaque
        {"private data specifier", std::make_shared<DescriptorPrivateDataSpecifier>(0x28), 0x5F, 4, "00 00 00 28"},
        {"time offsets", time_offsets({offset("ESP", 0, 0), offset("PRT", 2, 1)}), 0x58, 26, kSpainEntry + kPortugalEntry},
        {"two-letter country", time_offsets({offset("ES", 0, 0)}), 0x58, 13,
         "45 53 02 01 00 EA 5D 01 00 00 02 00"}, // 12 bytes written, 13 counted
    };
    for (const auto& c : cases) {
        EXPECT_EQ(emit(*c.d), bytes(c.payload)) << c.what;
        EXPECT_EQ(c.d->descriptor_tag, c.tag) << c.what;
        EXPECT_EQ(c.d->descriptor_length, c.length) << c.what;
    }
}

// Parse, then re-emit: symmetric layouts give their bytes back, the rest shows what is lost.
TEST(Descriptors, ParseThenEmit)
{
    struct Case {
        unsigned char tag;
        const char* in;
        int length;
        const char* out;
    } cases[] = {
        {0x44, "03 12 00 05 FF F2 05 00 68 75 03", -1, "03 12 00 00 FF F2 05 00 68 75 03"}, // 100 Hz digit dropped
        {0x41, "10 01 01 10 02 02", -1, "10 01 01 10 02 02"},
        {0x48, "01 03 15 41 42 04 15 43 44 45", -1, "01 03 15 41 42 04 15 43 44 45"},
        // No selectors: the default table, "Caf\xE9" in Latin-1, comes back as UTF-8 with its new length.
        {0x48, "19 00 04 43 61 66 E9", -1, "19 01 15 06 15 43 61 66 C3 A9"},
        {0x40, "15 54 61 76 65 6C", -1, "15 54 61 76 65 6C"},                        // selector kept in the name
        {0x4A, "00 01 22 D4 00 03 09 AA BB CC", 8, "00 01 22 D4 00 03 09 AA BB CC"}, // private bytes run to the end
        {0x5F, "12 34 56 78", -1, "12 34 56 78"},
        {0x84, "01 02 03", -1, "01 02 03"}, // unknown tag passes through
        // LCN parsers keep the visible bit and the low byte only, skip the mode-3 header and name,
        // and never read past the payload; the mode-3 loop length is re-emitted as length - 6.
        {0x83, "10 01 FD 2C 10 02 7C 07 99", -1, "10 01 FC 2C 10 02 7C 07"},
        {0x87, "00 02 41 42 39 30 30 08 10 01 FC 05 10 02 FC 06", -1, "00 00 39 30 30 0A 10 01 FC 05 10 02 FC 06"},
        {0x87, "00 00 39 30 30 04 10 01 FC 05 AA", -1, "00 00 39 30 30 05 10 01 FC 05"},
        {0x87, "00 FF 39", -1, ""},
        {0x87, "", -1, ""},
    };
    LogCapture log;
    for (const auto& c : cases) {
        auto d = parse(c.tag, c.in, c.length);
        EXPECT_EQ(emit(*d), bytes(c.out)) << c.in;
        EXPECT_EQ(d->descriptor_tag, c.tag);
        if (c.tag == 0x48) {
            EXPECT_EQ(d->descriptor_length, d->data.size()) << c.in;
        }
    }
    EXPECT_TRUE(log.has(LOG_DEBUG, "frecuencia 312000, symbolRate_bcd 6875"));
}

TEST(SatelliteDelivery, ParseOfOwnBytesIsNotIdentity)
{
    LogCapture log;
    auto d = parse<DescriptorSatelliteDeliverySystem>(0x43, "01 17 57 00 01 92 96 02 75 00 03");
    EXPECT_EQ(std::make_tuple(d->frequency, d->orbital_position, d->west_east_flag, d->modulation_system,
                              d->modulation_type, d->symbol_rate, d->FEC_inner),
              std::make_tuple(11757u, 192, 1, 1, 2, 27500u, 3));
    EXPECT_EQ(d->polarization, 1); // bit 5 clear; was 2
    EXPECT_EQ(d->roll_off, 2);     // the repeated polarization; was 3
    EXPECT_TRUE(log.has(LOG_DEBUG, "Frecuencia bcd 71511 , frecuencia 11757"));
    // Polarization comes from bit 5 alone.
    for (auto [byte6, polarization] : {std::make_pair("20", 0), std::make_pair("00", 1), std::make_pair("18", 1)})
        EXPECT_EQ(parse<DescriptorSatelliteDeliverySystem>(0x43, std::string("00 00 00 00 00 00 ") + byte6 + " 00 00 00 00")
                      ->polarization,
                  polarization)
            << byte6;
}

TEST(TerrestrialDelivery, ParserIsNotTheInverse)
{
    DescriptorTerrestrialDeliverySystem d;
    d.guard_interval = 3;
    d.transmission_mode = 2;
    d.data = hex("02 D3 44 40 13 82 33 FF FF FF FF");
    d.procesarDatos();
    EXPECT_EQ(std::make_tuple(d.frequency, d.bandwidth, d.priority, d.time_slicing_indicator, d.MPE_FEC_indicator,
                              d.constellation, d.code_rate_HP_stream, d.other_frequency_flag),
              std::make_tuple(474000u, 0, 1, 0, 0, 2, 2, 1));
    EXPECT_EQ(d.code_rate_LP_stream, 0);   // two bits of byte 6 only
    EXPECT_EQ(d.hierarchy_information, 1); // (0x33 >> 1) & 7
    EXPECT_EQ(d.guard_interval, 3);        // untouched
    EXPECT_EQ(d.transmission_mode, 2);     // untouched
}

TEST(ServiceDescriptor, SettersKeepTheLength)
{
    DescriptorService d(1, "AB", "CDE");
    d.setProvider("Tavel");
    EXPECT_EQ(d.descriptor_length, 13);
    d.setName("X");
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(emit(d), bytes("01 06 15 54 61 76 65 6C 02 15 58"));
    // Lengths are not checked: they wrap.
    EXPECT_EQ(DescriptorNetworkName(std::string(300, 'x')).descriptor_length, 300 % 256);
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
        auto d = parse<DescriptorServiceList>(0x41, c.payload, c.length);
        ASSERT_EQ(d->services.size(), c.entries) << c.payload;
        if (c.entries) {
            EXPECT_EQ(std::make_tuple(d->services[0].service_id, d->services[0].service_type), std::make_tuple(0x1001, 1));
        }
    }
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
        DescriptorLCN d(c.mode);
        const unsigned char before = d.descriptor_length;
        d.addNewService(0x1001, 1, c.number);
        EXPECT_EQ(d.services.size(), c.accepted ? 1u : 0u) << c.mode << " " << c.number;
        EXPECT_EQ(d.descriptor_length, before + (c.accepted ? 4 : 0));
        if (!c.accepted) {
            EXPECT_EQ(emit(d), "") << "an empty list emits nothing, mode " << c.mode;
        }
    }
}

TEST(LocalTimeOffset, ParsesWholeEntriesOnlyAndAppends)
{
    EXPECT_TRUE(parse<DescriptorLocalTimeOffset>(0x58, "45 53 50 02 01 00 EA 5D 01 00 00 02")->offsets.empty());

    auto d = parse<DescriptorLocalTimeOffset>(0x58, kSpainEntry + kPortugalEntry + "FF"); // 27 bytes
    ASSERT_EQ(d->offsets.size(), 2u);
    const auto& es = d->offsets[0];
    EXPECT_EQ(std::make_tuple(es.country_code, es.local_time_offset, es.time_of_change, es.next_time_offset),
              std::make_tuple(std::string("ESP"), 0x0100, 0xEA5D010000ULL, 0x0200));
    const auto& pt = d->offsets[1];
    EXPECT_EQ(std::make_tuple(pt.country_code, pt.country_region_id, pt.local_time_offset_polarity),
              std::make_tuple(std::string("PRT"), 2, 1));
    d->procesarDatos();
    EXPECT_EQ(d->offsets.size(), 4u);
}

TEST(Factory, MakesTheRegisteredClassForEachTag)
{
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
        {0x140, typeid(Descriptor), 0, 0},      // not taken modulo 256
        {0, typeid(Descriptor), 0, 0},
    };
    for (const auto& c : cases) {
        auto d = Descriptor::getPtrDescriptorType(c.tag);
        ASSERT_TRUE(d) << c.tag;
        EXPECT_EQ(typeid(*d), c.type) << c.tag;
        EXPECT_EQ(d->descriptor_tag, c.made_tag) << c.tag;
        EXPECT_EQ(d->descriptor_length, c.length) << c.tag;
        EXPECT_NE(d, Descriptor::getPtrDescriptorType(c.tag));
        if (auto lcn = std::dynamic_pointer_cast<DescriptorLCN>(d)) {
            EXPECT_EQ(lcn->lcn_mode, c.tag == 0x87 ? 3 : 1);
        }
    }
}

// Every class survives payloads shorter than its layout and lengths that
// overstate the data: missing bytes read as 0, nothing is read beyond data.
TEST(Factory, ShortPayloadsReadMissingBytesAsZero)
{
    for (unsigned short tag : {0x40, 0x41, 0x43, 0x44, 0x48, 0x4A, 0x58, 0x5A, 0x5F, 0x83, 0x87}) {
        for (const char* payload : {"", "99", "10 01 FD", "04 74 00 00 FF"})
            parse(static_cast<unsigned char>(tag), payload, 255)->generateDataVector();
    }
    auto cable = parse<DescriptorCableDeliverySystem>(0x44, "04 74 00 00 FF F2");
    EXPECT_EQ(std::make_tuple(cable->frequency, cable->FEC_outer, cable->modulation, cable->symbol_rate),
              std::make_tuple(474000u, 2, 0, 0u));
    auto service = parse<DescriptorService>(0x48, "01 09 15 41", 255);
    EXPECT_EQ(service->provider_name, "A");
    EXPECT_EQ(service->service_name, "");
    auto linkage = parse<DescriptorLinkage>(0x4A, "00 01 22");
    EXPECT_EQ(linkage->original_network_id, 0x2200);
    EXPECT_TRUE(linkage->private_data_bytes.empty());
}

TEST(DescriptorBase, PrintDescriptorLogsTagLengthAndEachByte)
{
    LogCapture log;
    Descriptor empty(0x40, 0);
    empty.printDescriptor();
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_TRUE(log.has(LOG_DEBUG, "DESCRIPTOR ID: 64"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "DESCRIPTOR length: 0"));

    log.clear();
    Descriptor d(0x5F, 2);
    d.data = hex("0A F0");
    d.printDescriptor();
    ASSERT_EQ(log.lines().size(), 4u);
    EXPECT_EQ(log.lines()[2].text, "DESCRIPTOR DATA: a");
    EXPECT_EQ(log.lines()[3].text, "DESCRIPTOR DATA: f0");
}

TEST(DescriptorBase, FindDescriptorReturnsFirstMatchAndLogsEachStep)
{
    SIVectorDescriptores v;
    v.items.push_back(std::make_shared<DescriptorNetworkName>("a"));
    v.items.push_back(std::make_shared<DescriptorPrivateDataSpecifier>(40));
    v.items.push_back(std::make_shared<DescriptorPrivateDataSpecifier>(41));

    LogCapture log;
    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.end(), 0x5F), v.items.begin() + 1);
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
