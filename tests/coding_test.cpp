#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <tuple>
#include <syslog.h>

#include <tavel/coding.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;

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

// Many lengths and start values, and lengths past 65536 that read position i mod 65536 again.
TEST(Crc, MatchesBitwiseDefinitionOnRandomData)
{
    std::mt19937 rng(7);
    for (size_t len : {1u, 2u, 3u, 7u, 8u, 9u, 15u, 16u, 17u, 188u, 1021u, 1024u, 4093u, 4096u, 65535u}) {
        std::vector<char> data = random_bytes(len, rng);
        for (uint32_t start : {0xFFFFFFFFu, 0u, 0xDEADBEEFu}) {
            EXPECT_EQ(tavel::mpeg_crc(start, data, len), reference_crc(start, data, len)) << len;
            EXPECT_EQ(tavel::mpeg_crc(start, data, len / 2), reference_crc(start, data, len / 2)) << len;
        }
    }
    auto big = random_bytes(70000, rng);
    EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, big, 70000), reference_crc(0xFFFFFFFFu, big, 70000));
    auto exact = random_bytes(65536, rng);
    EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, exact, 65536 + 300), reference_crc(0xFFFFFFFFu, exact, 65536 + 300));
}

TEST(Crc, SealedBufferVerifiesToZeroAndLogs)
{
    tavel::LogCapture capture;
    std::vector<char> section = hex("40 F0 0D 00 01 C1 00 00 F0 00 F0 00 00 00 00 00");
    tavel::generar_new_crc(section);
    ASSERT_EQ(section.size(), 16u);
    EXPECT_EQ(tavel::mpeg_crc(0xFFFFFFFFUL, section, section.size()), 0UL);
    EXPECT_TRUE(capture.has(LOG_DEBUG, "generar_crc: 16"));
    EXPECT_TRUE(capture.contains(LOG_DEBUG, "section_CRC: "));
}

TEST(Bcd, ConversionsAndLimits)
{
    EXPECT_EQ(tavel::bin2bcd(0), 0UL);
    EXPECT_EQ(tavel::bin2bcd(1234), 0x1234UL);
    EXPECT_EQ(tavel::bin2bcd(99999999), 0x99999999UL);
    EXPECT_EQ(tavel::bin2bcd(123456789), 0x23456789UL); // ninth digit dropped
    EXPECT_EQ(tavel::bcd2bin(0x1234), 1234UL);
    EXPECT_EQ(tavel::bcd2bin(0x99999999UL), 99999999UL);
    EXPECT_EQ(tavel::bcd2bin(0x1A), 20UL); // nibble 10 counts as 10
    EXPECT_EQ(tavel::bin_2_bcd4(59), 0x59);
    EXPECT_EQ(tavel::bin_2_bcd4(123), 0xC3); // not rejected
    EXPECT_EQ(tavel::bcd4_2_bin(0x59), 59);
}

TEST(MjdTime, UnixToMjd)
{
    unsigned long long v = 99;
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1262304000UL, v), 1); // 2010-01-01 00:00:00
    EXPECT_EQ(v, 55197ULL << 24);
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1262304000UL - 86400, v), 0);
    EXPECT_EQ(v, 0ULL);
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, v), 1); // 2023-11-14 22:13:20
    EXPECT_EQ(v, 0xEB66221320ULL);
}

TEST(MjdTime, MjdToBrokenDownTime)
{
    struct Case {
        unsigned long long value;
        int year, mon, mday, wday, yday, hour, min, sec;
    };
    const Case cases[] = {
        {(60370ULL << 24) | 0x123456, 124, 2, 1, 5, 61, 12, 34, 56}, // 1 March 2024
        {60310ULL << 24, 124, 0, 1, 1, 1, 0, 0, 0},                  // 1 January 2024: yday 1
        {55197ULL << 24, 110, 0, 1, 5, 1, 0, 0, 0},                  // 1 January 2010
        {0xEB66221320ULL, 123, 10, 14, 2, 318, 22, 13, 20},          // 14 November 2023
    };
    for (const auto& c : cases) {
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
}
