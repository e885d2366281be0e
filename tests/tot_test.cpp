#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <syslog.h>
#include <vector>

#include <tavel/coding.h>
#include <tavel/file_io.h>
#include <tavel/tot.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;
using tavel::test::to_hex;

namespace {

constexpr char kTotPath[] = "/tavel/datosWeb/tablasSI/TOT_table";
constexpr char kRecovery[] = "/usr/bin/set_genera_tot.sh &";

// Records the recovery command instead of running a script as root.
class RecordingTOT : public tavel::tTOT {
public:
    std::vector<std::string> commands;

protected:
    void run_recovery_command(const char* command) override { commands.emplace_back(command); }
};

// 2023-11-14 22:13:20 UTC.
unsigned long long utc_of_1700000000()
{
    unsigned long long utc = 0;
    EXPECT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, utc), 1);
    return utc;
}

std::vector<char> read_file(const std::string& path)
{
    std::vector<char> bytes;
    tavel::read_char_vector_from_file(path, bytes);
    return bytes;
}

bool crc_is_valid(const std::vector<char>& section)
{
    return tavel::mpeg_crc(0xFFFFFFFFUL, section, section.size()) == 0;
}

} // namespace

TEST(TotGeneration, SpainWithOneScheduledChangeIsExactly29Bytes)
{
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    RecordingTOT tot;
    tot.offsets = {"ESP", "3600 7200 1711846800"};

    ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1);

    const std::vector<char> expected = hex("73"             // table_id
                                           "F0 1A"          // syntax 1, reserved, section_length 26
                                           "EB 66 22 13 20" // UTC_time: MJD 60262, 22:13:20
                                           "F0 0F"          // descriptors_loop_length 15
                                           "58 0D"          // local_time_offset_descriptor, 13 bytes
                                           "45 53 50"       // country_code "ESP"
                                           "02"             // region 0, reserved, polarity 0
                                           "01 00"          // local_time_offset +01:00
                                           "EB F0 01 00 00" // time_of_change 2024-03-31 01:00:00
                                           "02 00"          // next_time_offset +02:00
                                           "E7 BA 11 89");  // CRC_32
    const std::vector<char> file = read_file(root(kTotPath));
    EXPECT_EQ(to_hex(file), to_hex(expected));
    EXPECT_TRUE(crc_is_valid(file));
    EXPECT_EQ(tot.total_size, 29u);
    EXPECT_TRUE(tot.commands.empty());
    EXPECT_TRUE(log.has(LOG_INFO, "Generate TOT file"));
    EXPECT_TRUE(log.has(LOG_INFO, "Generado archivo TOT"));
    EXPECT_EQ(log.count(LOG_WARNING), 0u);
    EXPECT_EQ(log.count(LOG_ERR), 0u);

    std::vector<char> back;
    EXPECT_TRUE(tot.leer_archivo_TOT_a_buffer(back));
    EXPECT_EQ(back, expected);
    EXPECT_TRUE(log.has(LOG_DEBUG, "leer_archivo_TOT_a_buffer: tamano_archivo 29"));
}

// One offset string each; the file's single 13-byte entry is checked whole.
TEST(TotGeneration, PolarityNextOffsetAndTimeOfChangeRules)
{
    struct Case {
        const char* offset;
        const char* entry;
    };
    const Case cases[] = {
        // Colombia-like, no change: polarity 1, next = current, no time of change.
        {"-18000 0 0", "45 53 50 03 05 00 FF FF FF FF FF 05 00"},
        // West, positive next with a change: counted back from a day (86400 - 14400 = 20:00).
        {"-18000 14400 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 20 00"},
        // West, negative next with a change: its magnitude.
        {"-18000 -14400 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 04 00"},
        // West, next 0 with a change stays 0.
        {"-18000 0 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 00 00"},
        // East, negative next with a change: one day added (23:00).
        {"3600 -3600 1711846800", "45 53 50 02 01 00 EB F0 01 00 00 23 00"},
        // East without a change: next = current whatever was given.
        {"3600 7200 0", "45 53 50 02 01 00 FF FF FF FF FF 01 00"},
        // Minutes are kept: +05:30.
        {"19800 0 0", "45 53 50 02 05 30 FF FF FF FF FF 05 30"},
        // Zero offset, polarity 0.
        {"0 0 0", "45 53 50 02 00 00 FF FF FF FF FF 00 00"},
    };
    for (const Case& c : cases) {
        tavel::test::TempRoot root;
        RecordingTOT tot;
        tot.offsets = {"ESP", c.offset};
        ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1) << c.offset;
        const std::vector<char> file = read_file(root(kTotPath));
        ASSERT_EQ(file.size(), 29u) << c.offset;
        EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 12, file.begin() + 25)), to_hex(hex(c.entry))) << c.offset;
        EXPECT_TRUE(crc_is_valid(file)) << c.offset;
    }
}

TEST(TotGeneration, SeveralOffsetsAreNumberedRegionsFromOne)
{
    tavel::test::TempRoot root;
    RecordingTOT tot;
    tot.offsets = {"PRT", "0 3600 1711846800", "-3600 0 1711846800"};
    ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1);

    const std::vector<char> file = read_file(root(kTotPath));
    const std::vector<char> expected_body = hex("73 F0 27"       // section_length 11 + 2 + 2 * 13 = 39
                                                "EB 66 22 13 20" // UTC_time
                                                "F0 1C"          // loop length 28
                                                "58 1A"          // one descriptor, two entries
                                                "50 52 54 06"    // PRT, region 1, polarity 0
                                                "00 00 EB F0 01 00 00 01 00"
                                                "50 52 54 0B"    // PRT, region 2, polarity 1
                                                "01 00 EB F0 01 00 00 00 00");
    ASSERT_EQ(file.size(), expected_body.size() + 4);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin(), file.end() - 4)), to_hex(expected_body));
    EXPECT_TRUE(crc_is_valid(file));
    EXPECT_EQ(tot.total_size, 42u);
}

TEST(TotGeneration, CountryCodeAloneGivesAnEmptyDescriptor)
{
    tavel::test::TempRoot root;
    RecordingTOT tot;
    tot.offsets = {"ESP"};
    ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1);
    const std::vector<char> file = read_file(root(kTotPath));
    ASSERT_EQ(file.size(), 16u);
    EXPECT_EQ(to_hex(std::vector<char>(file.begin(), file.begin() + 12)),
              "73 F0 0D EB 66 22 13 20 F0 02 58 00"); // section_length 13, loop 2, empty 0x58
    EXPECT_TRUE(crc_is_valid(file));
}

TEST(TotGeneration, WholeFalseWritesOnlyTheDescriptorLoop)
{
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    RecordingTOT tot;
    tot.offsets = {"ESP", "3600 7200 1711846800"};
    ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), false), 1);
    EXPECT_EQ(to_hex(read_file(root(kTotPath))), "F0 0F 58 0D 45 53 50 02 01 00 EB F0 01 00 00 02 00");
    // The loop alone is shorter than the section: no size warning then.
    EXPECT_EQ(log.count(LOG_WARNING), 0u);
}

// Failures: no file is written, the old one stays, and the recovery command
// is started once.
TEST(TotGeneration, FailureStartsRecoveryAndKeepsTheOldFile)
{
    struct Case {
        std::vector<std::string> offsets;
        const char* error; // expected LOG_ERR line, or empty
    };
    const Case cases[] = {
        {{"ES", "3600 7200 1711846800"}, "El tamaño del codigo pais debe ser 3, y es 2"},
        {{"ESPA", "3600 7200 1711846800"}, "El tamaño del codigo pais debe ser 3, y es 4"},
        {{}, "El tamaño del codigo pais debe ser 3, y es 0"},
        // 2009-12-31 23:59:59: a change time before 2010 is a wrong time.
        {{"ESP", "3600 7200 1262303999"}, ""},
    };
    for (const Case& c : cases) {
        tavel::test::TempRoot root;
        const std::vector<char> old_file = hex("73 F0 0D 01 02 03 04 05 F0 02 58 00 AA BB CC DD");
        ASSERT_NE(tavel::write_char_vector_to_file(old_file, root(kTotPath), false), 0);

        tavel::LogCapture log;
        RecordingTOT tot;
        tot.offsets = c.offsets;
        EXPECT_EQ(tot.generarTOT(utc_of_1700000000(), true), 0);

        EXPECT_EQ(read_file(root(kTotPath)), old_file);
        EXPECT_EQ(tot.commands, std::vector<std::string>{kRecovery});
        EXPECT_TRUE(log.has(LOG_WARNING, "Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_TRUE(log.has(LOG_WARNING, "HEADEND::: Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_FALSE(log.has(LOG_INFO, "Generate TOT file"));
        if (*c.error)
            EXPECT_TRUE(log.has(LOG_ERR, c.error)) << c.error;
        else
            EXPECT_EQ(log.count(LOG_ERR), 0u);
        EXPECT_TRUE(tot.sections.empty());
    }
}

// A caller's string that is not three integers counts its missing numbers
// as 0 and is reported; the table is still generated.
TEST(TotGeneration, MalformedOffsetStringsCountMissingNumbersAsZero)
{
    struct Case {
        const char* offset;
        bool malformed;
        const char* entry;
    };
    const Case cases[] = {
        {"3600 7200 1711846800", false, "45 53 50 02 01 00 EB F0 01 00 00 02 00"},
        {"  3600\t7200   0 ", false, "45 53 50 02 01 00 FF FF FF FF FF 01 00"},
        {"3600", true, "45 53 50 02 01 00 FF FF FF FF FF 01 00"},
        {"", true, "45 53 50 02 00 00 FF FF FF FF FF 00 00"},
        {"una hora", true, "45 53 50 02 00 00 FF FF FF FF FF 00 00"},
        {"3600 x 1711846800", true, "45 53 50 02 01 00 EB F0 01 00 00 00 00"},
        {"3600abc 7200 0", true, "45 53 50 02 00 00 FF FF FF FF FF 00 00"},
        {"99999999999 0 0", true, "45 53 50 02 00 00 FF FF FF FF FF 00 00"},
        {"-2147483648 0 0", false, "45 53 50 03 43 14 FF FF FF FF FF 43 14"},
        {"3600 7200 1711846800 9", true, "45 53 50 02 01 00 EB F0 01 00 00 02 00"},
    };
    for (const Case& c : cases) {
        tavel::test::TempRoot root;
        tavel::LogCapture log;
        RecordingTOT tot;
        tot.offsets = {"ESP", c.offset};
        ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1) << c.offset;
        const std::vector<char> file = read_file(root(kTotPath));
        ASSERT_EQ(file.size(), 29u) << c.offset;
        EXPECT_EQ(to_hex(std::vector<char>(file.begin() + 12, file.begin() + 25)), to_hex(hex(c.entry))) << c.offset;
        const std::string error = std::string("Malformed local time offset \"") + c.offset +
                                  "\": three integers expected, missing ones count 0";
        EXPECT_EQ(log.has(LOG_ERR, error), c.malformed) << c.offset;
        EXPECT_EQ(log.count(LOG_ERR), c.malformed ? 1u : 0u) << c.offset;
    }
}

TEST(TotGeneration, ConstructorsAndTableId)
{
    tavel::tTOT plain;
    EXPECT_EQ(plain.table_id, 0x73);
    EXPECT_EQ(plain.time, 0u);
    EXPECT_EQ(plain.total_size, 0u);

    tavel::test::TempRoot root;
    RecordingTOT tot;
    tot.table_id = 0x70;
    tot.offsets = {"ESP"};
    ASSERT_EQ(tot.generarTOT(utc_of_1700000000(), true), 1);
    EXPECT_EQ(static_cast<uint8_t>(read_file(root(kTotPath)).at(0)), 0x70);

    tavel::tTOT timed(0x73, 1700000000ULL);
    EXPECT_EQ(timed.time, 1700000000ULL);
}

TEST(TotFile, MissingFileGivesFalseAndTheWarning)
{
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    tavel::tTOT tot;
    std::vector<char> buffer = hex("01 02");
    EXPECT_FALSE(tot.leer_archivo_TOT_a_buffer(buffer));
    EXPECT_EQ(buffer, hex("01 02"));
    EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer el archivo TOT o archivo TOT no existente. " + root(kTotPath)));
}
