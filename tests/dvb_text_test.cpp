#include <gtest/gtest.h>

#include <string>
#include <syslog.h>

#include <tavel/dvb_text.h>

#include "platform/log.h"

using namespace std::string_literals;

TEST(DvbTextEncoding, SelectorTable)
{
    struct Case {
        std::string text;
        const char* name;
        unsigned short pos;
    } cases[] = {
        {"", "", 0},
        {"\x00"s + "abc", "", 0},
        {"abc", "ISO-8859-1", 0},
        {"\xFF", "ISO-8859-1", 0},
        {"\x01x", "ISO-8859-5", 1},
        {"\x0Bx", "ISO-8859-15", 1},
        {"\x08x", "", 1},
        {"\x11x", "UTF-16", 1},
        {"\x15x", "UTF-8", 1},
        {"\x14x", "BIG-5", 1},
        {"\x10\x00\x02x"s, "ISO-8859-2", 3},
        {"\x10\x00\x0F"s, "ISO-8859-15", 3},
        {"\x10\x00\x0C"s, "", 3},
        {"\x10\x00\x10"s, "", 3},
        {"\x10\x01\x02"s, "", 3},
        {"\x10\x00"s, "", 1}, // too short for the three-byte selector
        {"\x1F\x01x", "", 2},
        {"\x1F", "", 1},
    };
    for (const auto& c : cases) {
        unsigned short pos = 0;
        EXPECT_EQ(tavel::dvb_string_get_encoding(c.text, pos), c.name) << testing::PrintToString(c.text);
        EXPECT_EQ(pos, c.pos) << testing::PrintToString(c.text);
    }
}

TEST(DvbTextEncoding, LogsFirstByte)
{
    tavel::LogCapture log;
    unsigned short pos = 0;
    tavel::dvb_string_get_encoding("\x15x", pos);
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
    for (const auto& c : cases)
        EXPECT_EQ(tavel::DVB_text_decode(c.text), c.utf8) << testing::PrintToString(c.text);
}

TEST(DvbTextDecode, LogsOriginalEncodingAndResult)
{
    tavel::LogCapture log;
    EXPECT_EQ(tavel::DVB_text_decode("Caf\xE9"), "Caf\xC3\xA9");
    EXPECT_TRUE(log.has(LOG_DEBUG, "String ORGINAL Caf\xE9"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "ENCODING ISO-8859-1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "STRING FINAL Caf\xC3\xA9"));
    EXPECT_EQ(log.count(LOG_ERR), 0u);
}

TEST(DvbTextDecode, UndecodableSequenceReturnsBodyAndLogs)
{
    tavel::LogCapture log;
    // 0xFF never starts a UTF-8 sequence.
    EXPECT_EQ(tavel::DVB_text_decode("\x15\x41\xFF\x42"), "\x41\xFF\x42");
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv: couldn't convert from UTF-8 to UTF-8//TRANSLIT ("));
    EXPECT_TRUE(log.contains(LOG_ERR, ") 84\n")); // EILSEQ

    log.clear();
    // An odd byte at the end of UTF-16 text.
    EXPECT_EQ(tavel::DVB_text_decode("\x11\x00\x41\x00"s), "\x00\x41\x00"s);
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv: couldn't convert from UTF-16 to UTF-8//TRANSLIT"));
}

TEST(DvbTextDecode, CharsetIconvLacksReturnsBodyAndLogs)
{
    tavel::LogCapture log;
    // glibc knows no "KSC5601-1987" (selector 0x12).
    EXPECT_EQ(tavel::DVB_text_decode("\x12\xB0\xA1"), "\xB0\xA1");
    EXPECT_TRUE(log.contains(LOG_ERR, "iconv_open: couldn't convert from KSC5601-1987 to UTF-8//TRANSLIT ("));
    EXPECT_TRUE(log.contains(LOG_ERR, ") 22 22 12\n")); // errno EINVAL, then the two constants
}
