// The dvb/ building blocks: CRC, BCD, MJD time, DVB text and the code conversions.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <syslog.h>

#include <tavel/code_conversions.h>
#include <tavel/coding.h>
#include <tavel/dvb_text.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;
using namespace std::string_literals;

namespace {

// The definition, bit by bit, with the 16-bit byte index.
uint32_t reference_crc(uint32_t crc, const std::vector<char>& data, unsigned long len)
{
    for (unsigned long i = 0; i < len; ++i) {
        uint8_t byte = static_cast<uint8_t>(data[i % 65536]);
        for (int bit = 7; bit >= 0; --bit) {
            bool in = (byte >> bit) & 1;
            bool top = (crc >> 31) & 1;
            crc <<= 1;
            if (in != top)
                crc ^= 0x04C11DB7u;
        }
    }
    return crc;
}

std::vector<char> random_bytes(size_t n, std::mt19937& rng)
{
    std::vector<char> v(n);
    for (auto& c : v)
        c = static_cast<char>(rng());
    return v;
}

} // namespace

TEST(Crc, CheckValueEmptyLengthAndBufferEnd)
{
    std::vector<char> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, digits, digits.size()), 0x0376E6E7UL);
    EXPECT_EQ(tavel::mpeg_crc(0x12345678UL, digits, 0), 0x12345678UL);
    // A length beyond the buffer stops at its end.
    EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, digits, 1000), reference_crc(0xFFFFFFFFu, digits, 9));
}

// Every tail length of the 8-byte steps, three start values, and lengths past
// 65536 that read position i mod 65536 again.
TEST(Crc, MatchesBitwiseDefinitionOnRandomData)
{
    std::mt19937 rng(7);
    for (size_t len : {1u, 7u, 8u, 9u, 15u, 16u, 17u, 188u, 1021u, 4096u}) {
        std::vector<char> data = random_bytes(len, rng);
        for (uint32_t start : {0xFFFFFFFFu, 0u, 0xDEADBEEFu})
            EXPECT_EQ(tavel::mpeg_crc(start, data, len), reference_crc(start, data, len)) << len;
    }
    for (const auto& [size, len] : {std::pair{70000ul, 70000ul}, {65536ul, 65536ul + 300}}) {
        auto data = random_bytes(size, rng); // the index wraps, even where the buffer goes on
        EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, data, len), reference_crc(0xFFFFFFFFu, data, len)) << size;
    }
}

TEST(Bcd, ConversionsAndLimits)
{
    for (auto [bin, bcd] : {std::pair{0UL, 0UL}, {1234UL, 0x1234UL}, {99999999UL, 0x99999999UL}}) {
        EXPECT_EQ(tavel::bin2bcd(bin), bcd);
        EXPECT_EQ(tavel::bcd2bin(bcd), bin);
    }
    EXPECT_EQ(tavel::bin2bcd(123456789), 0x23456789UL); // ninth digit dropped
    EXPECT_EQ(tavel::bcd2bin(0x1A), 20UL); // nibble 10 counts as 10
    EXPECT_EQ(tavel::bcd2bin(static_cast<unsigned long>(0x123456789ULL)), 23456789UL); // eight digits, any long
    EXPECT_EQ(tavel::bin_2_bcd4(59), 0x59);
    EXPECT_EQ(tavel::bin_2_bcd4(123), 0xC3); // not rejected
    EXPECT_EQ(tavel::bcd4_2_bin(0x59), 59);
}

// Unix time to MJD + BCD time (0: not converted) and that to broken-down time.
TEST(MjdTime, UnixToMjdToBrokenDownTime)
{
    unsigned long long v = 99;
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1262304000UL - 86400, v), 0); // before 2010: rejected, 0 stored
    EXPECT_EQ(v, 0ULL);
    struct Case {
        unsigned long unix_time; // 0: not converted from Unix time
        unsigned long long value;
        int year, mon, mday, wday, yday, hour, min, sec;
    };
    const Case cases[] = {
        {0, (60370ULL << 24) | 0x123456, 124, 2, 1, 5, 61, 12, 34, 56}, // 1 March 2024
        {0, 60310ULL << 24, 124, 0, 1, 1, 1, 0, 0, 0},                  // 1 January 2024: yday 1
        {1262304000UL, 55197ULL << 24, 110, 0, 1, 5, 1, 0, 0, 0},       // 1 January 2010
        {1700000000UL, 0xEB66221320ULL, 123, 10, 14, 2, 318, 22, 13, 20}, // 14 November 2023
    };
    for (const auto& c : cases) {
        if (c.unix_time) {
            EXPECT_EQ(tavel::std_time_to_mjd_utc(c.unix_time, v), 1);
            EXPECT_EQ(v, c.value);
        }
        tm t{};
        t.tm_isdst = -1;
        tavel::mjd_utc_to_gmt_time(c.value, t);
        EXPECT_EQ(std::make_tuple(t.tm_year, t.tm_mon, t.tm_mday, t.tm_wday, t.tm_yday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_isdst),
                  std::make_tuple(c.year, c.mon, c.mday, c.wday, c.yday, c.hour, c.min, c.sec, 0))
            << std::hex << c.value;
    }
}

TEST(MjdTime, CheckValidezHora)
{
    tavel::LogCapture capture;
    EXPECT_EQ(tavel::checkValidezHora(1483228800ULL, 0), 0);
    EXPECT_TRUE(capture.has(LOG_DEBUG, "Hora 1483228800, old 0"));
    EXPECT_EQ(tavel::checkValidezHora(1700000005ULL, 1700000000ULL), 2);
    EXPECT_TRUE(capture.has(LOG_DEBUG, "Hora 5, old 5"));
    EXPECT_EQ(tavel::checkValidezHora(1700000006ULL, 1700000000ULL), 1);
    EXPECT_EQ(tavel::checkValidezHora(1700000000ULL, 1700000005ULL), 2); // absolute difference
    EXPECT_EQ(tavel::checkValidezHora(1700000000ULL, 1700000006ULL), 1);
    // A difference of 2^63 is far apart, not "the same time".
    EXPECT_EQ(tavel::checkValidezHora(1700000000ULL, 1700000000ULL + (1ULL << 63)), 1);
    EXPECT_EQ(tavel::checkValidezHora(~0ULL, 0), 2); // the difference wraps: 1 s apart
}

TEST(DvbTextEncoding, SelectorTable)
{
    struct Case {
        std::string text;
        const char* name;
        unsigned short pos;
    } cases[] = {
        {"", "", 0},          {"\x00"s + "abc", "", 0},       {"abc", "ISO-8859-1", 0},
        {"\xFF", "ISO-8859-1", 0}, {"\x01x", "ISO-8859-5", 1},  {"\x0Bx", "ISO-8859-15", 1},
        {"\x08x", "", 1},       {"\x11x", "UTF-16", 1},         {"\x15x", "UTF-8", 1},
        {"\x14x", "BIG-5", 1},  {"\x10\x00\x02x"s, "ISO-8859-2", 3}, {"\x10\x00\x0F"s, "ISO-8859-15", 3},
        {"\x10\x00\x0C"s, "", 3}, {"\x10\x00\x10"s, "", 3},       {"\x10\x01\x02"s, "", 3},
        {"\x10\x00"s, "", 1}, // too short for the three-byte selector
        {"\x1F\x01x", "", 2},   {"\x1F", "", 1},
    };
    tavel::LogCapture log;
    for (const auto& c : cases) {
        unsigned short pos = 0;
        EXPECT_EQ(tavel::dvb_string_get_encoding(c.text, pos), c.name) << testing::PrintToString(c.text);
        EXPECT_EQ(pos, c.pos) << testing::PrintToString(c.text);
    }
    EXPECT_TRUE(log.has(LOG_DEBUG, "PRIMER CARACTER 15"));
}

TEST(DvbTextDecode, ConvertsToUtf8)
{
    struct Case {
        std::string text;
        std::string utf8;
    } cases[] = {
        {"", ""},
        {"Caf\xE9", "Caf\xC3\xA9"},                           // default table, no selector dropped
        {"\x10\x00\x02\xB1"s, "\xC4\x85"},                    // ISO-8859-2 a-ogonek
        {"\x10\x00\x0C\xB1"s, "\xB1"},                        // empty 0x10 entry: body as it is
        {"\x01\xD0"s, "\xD0\xB0"},                            // ISO-8859-5 Cyrillic a
        {"\x11\xFE\xFF\x00\x41\x04\x30"s, "A\xD0\xB0"},       // UTF-16 with a big-endian mark
        {"\x11\x41\x00\x30\x04"s, "A\xD0\xB0"},               // UTF-16 without mark: iconv's host order
        {"\x15\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},       // UTF-8 passes
        {"\x15", ""},                                         // lone selector
        {"\x1F\x01\x41"s, "\x41"},                            // encoding_type_id: unsupported
        {"\x0D\x41"s, "\x41"},                                // reserved selector
        {"\x00\x41"s, "\x00\x41"s},                           // empty name: body returned
        {"\x11\xFE\xFF\x00\x41\x00\x00\x00\x42"s, "A"},       // stops at a decoded zero
    };
    tavel::LogCapture log;
    for (const auto& c : cases)
        EXPECT_EQ(tavel::DVB_text_decode(c.text), c.utf8) << testing::PrintToString(c.text);
    EXPECT_TRUE(log.has(LOG_DEBUG, "String ORGINAL Caf\xE9"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "ENCODING ISO-8859-1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "STRING FINAL Caf\xC3\xA9"));
    EXPECT_EQ(log.count(LOG_ERR), 0u);
}

TEST(DvbTextDecode, FailuresReturnBodyAndLog)
{
    tavel::LogCapture log;
    // 0xFF never starts a UTF-8 sequence, even before continuation bytes: EILSEQ.
    EXPECT_EQ(tavel::DVB_text_decode("\x15\x41\xFF\x80\x80\x42"), "\x41\xFF\x80\x80\x42");
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv: couldn't convert from UTF-8 to UTF-8//TRANSLIT ("));
    EXPECT_TRUE(log.contains(LOG_ERR, ") 84\n"));
    // An odd byte at the end of UTF-16 text.
    EXPECT_EQ(tavel::DVB_text_decode("\x11\x00\x41\x00"s), "\x00\x41\x00"s);
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv: couldn't convert from UTF-16 to UTF-8//TRANSLIT ("));
    // glibc knows no "KSC5601-1987" (selector 0x12): EINVAL, then the two constants.
    EXPECT_EQ(tavel::DVB_text_decode("\x12\xB0\xA1"), "\xB0\xA1");
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv_open: couldn't convert from KSC5601-1987 to UTF-8//TRANSLIT ("));
    EXPECT_TRUE(log.contains(LOG_ERR, ") 22 22 12\n"));
}

TEST(ServiceType, ClassesEveryServiceTypeValue)
{
    const std::set<int> tv{1, 4, 5, 22, 23, 24, 25, 26, 27, 28, 30, 31}, radio{2, 7, 10};
    for (int t = 0; t < 256; ++t) {
        const unsigned short expected = tv.count(t) ? 1 : radio.count(t) ? 0 : 2;
        EXPECT_EQ(tavel::getTipoServicio(static_cast<unsigned short>(t)), expected) << t;
    }
    EXPECT_EQ(tavel::getTipoServicio(0x0101), 2); // the whole value counts, not its low byte
}

TEST(OrbitalPosition, EastKeptWestNegatedAndFoldedFrom180)
{
    // Position in tenths of a degree, east flag, expected. West from 180.0 folds
    // east (300.0 W is 60.0 E); any flag but 0 is east.
    const int cases[][3] = {{192, 1, 192},   {192, 0, -192}, {0, 0, 0},    {1799, 0, -1799}, {1800, 1, 1800},
                            {1800, 0, 1800}, {3000, 0, 600}, {3599, 0, 1}, {300, 2, 300}};
    for (const auto& c : cases) {
        const auto position = static_cast<unsigned short>(c[0]);
        EXPECT_EQ(tavel::getOrbitafromNITdata(position, static_cast<unsigned char>(c[1])), c[2]) << c[0] << "/" << c[1];
    }
}

TEST(Bandwidth, CodesBothWaysAndUnknownValues)
{
    // MHz, output code, input code
    const unsigned short cases[][3] = {{8, 0, 2}, {7, 1, 1}, {6, 2, 0}, {5, 3, 2},
                                       {0, 0, 2}, {4, 0, 2}, {9, 0, 2}, {1700, 0, 2}};
    for (const auto& c : cases) {
        EXPECT_EQ(tavel::getBWOutputValueFromMHZ(c[0]), c[1]) << c[0];
        EXPECT_EQ(tavel::getBWInputValueFromMHZ(c[0]), c[2]) << c[0];
    }
    const unsigned short mhz_of_code[] = {8, 7, 6, 5, 0, 0};
    for (unsigned short code = 0; code < 6; ++code)
        EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(code), mhz_of_code[code]) << code;
    EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(0xFFFF), 0);
}

// Universal LNB: 9750 MHz low band, 10600 MHz high band. IF range 950..2150.
TEST(SatelliteIf, ChoosesTheOscillatorThatLandsInTheIfRange)
{
    // RF, lo_a, lo_b (MHz), then the IF (MHz) and band (1: lo_a used) expected.
    const unsigned short cases[][5] = {
        {11000, 10600, 9750, 1250, 0}, {12000, 10600, 9750, 1400, 1}, // IF_a 400 out: lo_b; IF_b 2250 out: lo_a
        {11700, 9750, 10600, 1100, 0}, {11700, 10600, 9750, 1100, 1}, // both inside: the lower IF wins
        {11000, 9750, 9750, 1250, 1},  {10700, 9750, 9750, 950, 1},   // a tie goes to lo_a, edges included
        {11900, 9750, 9750, 2150, 1},  {10699, 9750, 9750, 950, 0},   // both 949: out, 950 and band 0
        {11901, 9750, 9750, 950, 0},   {5000, 9750, 10600, 950, 0},   // both 2151; below both: both wrap
        {3000, 9750, 1500, 1500, 0},   {3000, 1500, 9750, 1500, 1},   // IF_a wraps to 58786; IF_b wraps
    };
    for (const auto& c : cases) {
        unsigned short band = 7;
        EXPECT_EQ(tavel::convertir_TS_freq(c[0], band, c[1], c[2]), c[3]) << c[0] << " " << c[1] << "/" << c[2];
        EXPECT_EQ(band, c[4]) << c[0] << " " << c[1] << "/" << c[2];
        EXPECT_EQ(tavel::getBandaFromFrecuencia(c[0], c[1], c[2]), c[4]) << c[0] << " " << c[1] << "/" << c[2];
    }
}
