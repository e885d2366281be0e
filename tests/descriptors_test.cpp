#include <gtest/gtest.h>

#include <memory>
#include <tuple>
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

Ptr lcn(unsigned short mode, unsigned char visible, unsigned short number)
{
    auto d = std::make_shared<DescriptorLCN>(mode);
    d->addNewService(0x1001, visible, number);
    return d;
}

Ptr time_offsets(std::vector<std::tuple<const char*, unsigned char, unsigned char>> list)
{
    auto d = std::make_shared<DescriptorLocalTimeOffset>();
    for (const auto& [country, region, polarity] : list)
        d->addNewTimeOffset({country, region, polarity, 0x0100, 0xEA5D010000ULL, 0x0200}); // +1, MJD 0xEA5D 01:00, +2
    return d;
}

std::vector<std::string> texts(const LogCapture& log)
{
    std::vector<std::string> out;
    for (const auto& line : log.lines())
        out.push_back(line.text);
    return out;
}

const std::string kSpainEntry = "45 53 50 02 01 00 EA 5D 01 00 00 02 00"; // ESP, region 0, polarity 0, +1, change, +2
const std::string kPortugalEntry = "50 52 54 0B 01 00 EA 5D 01 00 00 02 00"; // region 2, polarity 1

} // namespace

// Constructors and adders: exact payload, tag and length (the table images and the
// libdvbpsi decodes show the network name and the linkage).
TEST(Descriptors, EmitExactBytes)
{
    struct Case {
        const char* what;
        Ptr d;
        unsigned char tag, length;
        std::string payload;
    } cases[] = {
        {"satellite", std::make_shared<DescriptorSatelliteDeliverySystem>(11757, 192, 1, 2, 3, 1, 2, 27500, 3), 0x43, 11,
         "01 17 57 00 01 92 96 02 75 00 03"}, // east, bit5 = pol&1, bits 4-3 = pol again, S2, 8PSK; roll-off lost
        {"satellite 7 digits", std::make_shared<DescriptorSatelliteDeliverySystem>(1234567, 0, 0, 0, 0, 0, 0, 0, 0), 0x43,
         11, "23 45 67 00 00 00 00 00 00 00 00"}, // leading digit lost
        {"terrestrial", std::make_shared<DescriptorTerrestrialDeliverySystem>(474000, 0, 1, 0, 0, 2, 0, 2, 1, 2, 1, 0),
         0x5A, 11, "02 D3 44 40 13 82 32 FF FF FF FF"}, // x10 Hz; 8 MHz HP; 64-QAM 3/4; LP 2/3, 1/8, 8k
        {"lcn 1 hidden", lcn(1, 0, 300), 0x83, 4, "10 01 7D 2C"}, // five reserved ones, 10 bits
        {"lcn 2", lcn(2, 0, 1022), 0x83, 4, "10 01 43 FE"},       // one reserved one, 14 bits
        {"lcn 4", lcn(4, 1, 300), 0x83, 4, "10 01 FD 2C"},        // other modes code as mode 1
        {"lcn 3 bit 10", lcn(3, 1, 1030), 0x87, 10, "00 00 39 30 30 04 10 01 FC 06"}, // list id, no name, "900", loop
        {"time offsets", time_offsets({{"ESP", 0, 0}, {"PRT", 2, 1}}), 0x58, 26, kSpainEntry + kPortugalEntry},
        {"two-letter country", time_offsets({{"ES", 0, 0}}), 0x58, 13, "45 53 02 01 00 EA 5D 01 00 00 02 00"}, // 13 counted
        // Factory defaults: FEC_inner 15 on cable, the mode-3 header counted, unknown tags (also 0x183) as tag 0.
        {"cable default", Descriptor::getPtrDescriptorType(0x44), 0x44, 11, "00 00 00 00 FF F0 00 00 00 00 0F"},
        {"lcn 3 default", Descriptor::getPtrDescriptorType(0x87), 0x87, 6, ""},
        {"unknown 0x183", Descriptor::getPtrDescriptorType(0x183), 0, 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(emit(*c.d), to_hex(hex(c.payload))) << c.what;
        EXPECT_EQ(std::make_pair(c.d->descriptor_tag, c.d->descriptor_length), std::make_pair(c.tag, c.length)) << c.what;
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
        // Polarization from bit 5 alone, the roll-off bits taken for it: our own bytes do not come back.
        {0x43, "01 17 57 00 01 92 96 02 75 00 03", -1, "01 17 57 00 01 92 AE 02 75 00 03"},
        {0x43, "00 00 00 00 00 00 20 00 00 00 00", -1, "00 00 00 00 00 00 00 00 00 00 00"},
        // LP code rate two bits of byte 6, hierarchy from byte 6, guard interval and mode not read.
        {0x5A, "02 D3 44 40 13 82 33 FF FF FF FF", -1, "02 D3 44 40 13 8A 01 FF FF FF FF"},
        {0x41, "10 01 01 10 02 02", -1, "10 01 01 10 02 02"},
        {0x41, "10 01 01 10 02", -1, "10 01 01"},                    // whole entries only
        {0x41, "10 01 01 10 02 02", 3, "10 01 01"},                  // within the length
        {0x48, "01 03 15 41 42 04 15 43 44 45", -1, "01 03 15 41 42 04 15 43 44 45"},
        // No selectors: the default table, "Caf\xE9" in Latin-1, comes back as UTF-8 with its new length.
        {0x48, "19 00 04 43 61 66 E9", -1, "19 01 15 06 15 43 61 66 C3 A9"},
        {0x48, "01 09 15 41", 255, "01 02 15 41 01 15"},             // names cut at the end of the data
        {0x40, "15 54 61 76 65 6C", -1, "15 54 61 76 65 6C"},         // selector kept in the name
        {0x4A, "00 01 22 D4 00 03 09 AA BB CC", 8, "00 01 22 D4 00 03 09 AA BB CC"}, // private bytes run to the end
        {0x4A, "00 01 22", -1, "00 01 22 00 00 00 00"},                   // missing bytes read as 0
        {0x58, kPortugalEntry.c_str(), -1, kPortugalEntry.c_str()},
        {0x58, "45 53 50 02 01 00 EA 5D 01 00 00 02", -1, ""},           // whole entries only
        {0x5F, "12 34 56 78", -1, "12 34 56 78"},
        {0x84, "01 02 03", -1, "01 02 03"}, // unknown tag passes through
        // LCN parsers keep the visible bit and the low byte only, skip the mode-3 header and name,
        // and never read past the payload; the mode-3 loop length is re-emitted as length - 6.
        {0x83, "10 01 FD 2C 10 02 7C 07 99", -1, "10 01 FC 2C 10 02 7C 07"},
        {0x87, "00 02 41 42 39 30 30 08 10 01 FC 05 10 02 FC 06", -1, "00 00 39 30 30 0A 10 01 FC 05 10 02 FC 06"},
        {0x87, "00 00 39 30 30 04 10 01 FC 05 AA", -1, "00 00 39 30 30 05 10 01 FC 05"},
        // Two bytes left: a further name field, nothing after it to read.
        {0x87, "00 00 39 30 30 04 10 01 FC 05 00 00", -1, "00 00 39 30 30 06 10 01 FC 05"},
        {0x87, "00 FF 39", -1, ""},
        {0x87, "", -1, ""},
    };
    LogCapture log;
    for (const auto& c : cases) {
        auto d = parse(c.tag, c.in, c.length);
        EXPECT_EQ(emit(*d), to_hex(hex(c.out))) << c.in;
        EXPECT_EQ(d->descriptor_tag, c.tag);
        if (c.tag == 0x48) {
            EXPECT_EQ(d->descriptor_length, d->data.size()) << c.in;
        }
    }
    EXPECT_TRUE(log.has(LOG_DEBUG, "frecuencia 312000, symbolRate_bcd 6875"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Frecuencia bcd 71511 , frecuencia 11757"));
}

TEST(Descriptors, SettersAndAddersKeepTheLength)
{
    DescriptorService d(1, "AB", "CDE");
    d.setProvider("Tavel");
    EXPECT_EQ(d.descriptor_length, 13);
    d.setName("X");
    EXPECT_EQ(emit(d), "01 06 15 54 61 76 65 6C 02 15 58");
    EXPECT_EQ(d.descriptor_length, 11);
    EXPECT_EQ(DescriptorNetworkName(std::string(300, 'x')).descriptor_length, 300 % 256); // wraps, unchecked

    // LCN numbers: 10 bits up to 1022 except in mode 3, 14 bits there.
    const std::tuple<unsigned short, unsigned short, bool> cases[] = {
        {1, 1022, true}, {1, 1023, false}, {2, 1023, false}, {3, 1023, true}, {3, 16382, true}, {3, 16383, false}};
    for (const auto& [mode, number, accepted] : cases) {
        DescriptorLCN l(mode);
        const unsigned char before = l.descriptor_length;
        l.addNewService(0x1001, 1, number);
        EXPECT_EQ(l.descriptor_length, before + (accepted ? 4 : 0)) << mode << " " << number;
        EXPECT_EQ(emit(l).empty(), !accepted) << mode << " " << number;
    }
    // A second parse appends to the offsets already there.
    auto offsets = parse<DescriptorLocalTimeOffset>(0x58, kSpainEntry + kPortugalEntry + "FF");
    offsets->procesarDatos();
    EXPECT_EQ(offsets->offsets.size(), 4u);
}

TEST(Descriptors, PrintAndFindLogEachStep)
{
    LogCapture log;
    Descriptor d(0x5F, 2);
    d.data = hex("0A F0");
    d.printDescriptor();
    EXPECT_EQ(texts(log), (std::vector<std::string>{"DESCRIPTOR ID: 95", "DESCRIPTOR length: 2", "DESCRIPTOR DATA: a",
                                                    "DESCRIPTOR DATA: f0"}));

    SIVectorDescriptores v;
    v.items.push_back(std::make_shared<DescriptorNetworkName>("a"));
    v.items.push_back(std::make_shared<DescriptorPrivateDataSpecifier>(40));
    v.items.push_back(std::make_shared<DescriptorPrivateDataSpecifier>(41));
    log.clear();
    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.end(), 0x5F), v.items.begin() + 1);
    // The end iterator has nothing to report: "FIN id 0".
    EXPECT_EQ(texts(log), (std::vector<std::string>{"INICIO id 64", "FIN id 0", "Valores de descriptor id 64 = 95",
                                                    "Valores de descriptor id 95 = 95"}));
    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.end(), 0x48), v.items.end());
    log.clear();
    EXPECT_EQ(v.find_descriptor(v.items.begin(), v.items.begin(), 0x40), v.items.begin());
    EXPECT_EQ(log.lines().at(1).text, "FIN id 64");
}
