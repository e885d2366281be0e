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

// One generation under a scratch root: the result, the file written and the log.
struct Generation {
    explicit Generation(std::vector<std::string> offsets, bool whole = true)
    {
        tot.offsets = std::move(offsets);
        result = tot.generarTOT(utc_of_1700000000(), whole);
        tavel::read_char_vector_from_file(root(kTotPath), file);
    }
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    RecordingTOT tot;
    int result = 0;
    std::vector<char> file;
};

bool crc_is_valid(const std::vector<char>& section) { return tavel::mpeg_crc(0xFFFFFFFFUL, section, section.size()) == 0; }

} // namespace

TEST(TotGeneration, SpainWithOneScheduledChangeIsExactly29Bytes)
{
    Generation run({"ESP", "3600 7200 1711846800"});
    ASSERT_EQ(run.result, 1);
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
    EXPECT_EQ(to_hex(run.file), to_hex(expected));
    EXPECT_EQ(run.tot.total_size, 29u);
    EXPECT_TRUE(run.tot.commands.empty());
    EXPECT_TRUE(run.log.has(LOG_INFO, "Generate TOT file"));
    EXPECT_TRUE(run.log.has(LOG_INFO, "Generado archivo TOT"));
    EXPECT_EQ(run.log.count(LOG_WARNING) + run.log.count(LOG_ERR), 0u);

    std::vector<char> back;
    EXPECT_TRUE(run.tot.leer_archivo_TOT_a_buffer(back));
    EXPECT_EQ(back, expected);
}

// One offset string each; the file's single 13-byte entry is checked whole.
// A string that is not three integers counts its missing numbers as 0 and is
// reported at LOG_ERR; the table is still generated.
TEST(TotGeneration, PolarityNextOffsetTimeOfChangeAndMalformedStrings)
{
    const struct {
        const char* offset;
        const char* entry; // country, region/polarity, offset, time_of_change, next
        bool malformed;
    } cases[] = {
        // Colombia-like, no change: polarity 1, next = current, no time of change.
        {"-18000 0 0", "45 53 50 03 05 00 FF FF FF FF FF 05 00", false},
        // West, positive next with a change: counted back from a day (86400 - 14400 = 20:00).
        {"-18000 14400 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 20 00", false},
        // West, negative next with a change: its magnitude.
        {"-18000 -14400 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 04 00", false},
        // West, next 0 with a change stays 0.
        {"-18000 0 1711846800", "45 53 50 03 05 00 EB F0 01 00 00 00 00", false},
        // East, negative next with a change: one day added (23:00).
        {"3600 -3600 1711846800", "45 53 50 02 01 00 EB F0 01 00 00 23 00", false},
        // East without a change: next = current whatever was given; blanks are separators.
        {"  3600\t7200   0 ", "45 53 50 02 01 00 FF FF FF FF FF 01 00", false},
        {"19800 0 0", "45 53 50 02 05 30 FF FF FF FF FF 05 30", false}, // minutes kept: +05:30
        {"0 0 0", "45 53 50 02 00 00 FF FF FF FF FF 00 00", false},
        {"-2147483648 0 0", "45 53 50 03 43 14 FF FF FF FF FF 43 14", false},
        {"3600", "45 53 50 02 01 00 FF FF FF FF FF 01 00", true},
        {"", "45 53 50 02 00 00 FF FF FF FF FF 00 00", true},
        {"una hora", "45 53 50 02 00 00 FF FF FF FF FF 00 00", true},
        {"3600 x 1711846800", "45 53 50 02 01 00 EB F0 01 00 00 00 00", true},
        {"3600abc 7200 0", "45 53 50 02 00 00 FF FF FF FF FF 00 00", true},
        {"99999999999 0 0", "45 53 50 02 00 00 FF FF FF FF FF 00 00", true},
        {"3600 7200 1711846800 9", "45 53 50 02 01 00 EB F0 01 00 00 02 00", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.offset);
        Generation run({"ESP", c.offset});
        ASSERT_EQ(run.result, 1);
        ASSERT_EQ(run.file.size(), 29u);
        EXPECT_EQ(to_hex(std::vector<char>(run.file.begin() + 12, run.file.begin() + 25)), to_hex(hex(c.entry)));
        EXPECT_TRUE(crc_is_valid(run.file));
        const std::string error = std::string("Malformed local time offset \"") + c.offset +
                                  "\": three integers expected, missing ones count 0";
        EXPECT_EQ(run.log.has(LOG_ERR, error), c.malformed);
        EXPECT_EQ(run.log.count(LOG_ERR), c.malformed ? 1u : 0u);
    }
}

TEST(TotGeneration, SeveralOffsetsAreNumberedRegionsFromOne)
{
    Generation run({"PRT", "0 3600 1711846800", "-3600 0 1711846800"});
    ASSERT_EQ(run.result, 1);
    const std::vector<char> expected_body = hex("73 F0 27"       // section_length 11 + 2 + 2 * 13 = 39
                                                "EB 66 22 13 20" // UTC_time
                                                "F0 1C"          // loop length 28
                                                "58 1A"          // one descriptor, two entries
                                                "50 52 54 06"    // PRT, region 1, polarity 0
                                                "00 00 EB F0 01 00 00 01 00"
                                                "50 52 54 0B"    // PRT, region 2, polarity 1
                                                "01 00 EB F0 01 00 00 00 00");
    ASSERT_EQ(run.file.size(), expected_body.size() + 4);
    EXPECT_EQ(to_hex(std::vector<char>(run.file.begin(), run.file.end() - 4)), to_hex(expected_body));
    EXPECT_TRUE(crc_is_valid(run.file));
}

TEST(TotGeneration, CountryAloneGivesEmptyDescriptorAndWholeFalseOnlyTheLoop)
{
    Generation alone({"ESP"});
    ASSERT_EQ(alone.file.size(), 16u);
    EXPECT_EQ(to_hex(std::vector<char>(alone.file.begin(), alone.file.begin() + 12)),
              "73 F0 0D EB 66 22 13 20 F0 02 58 00"); // section_length 13, loop 2, empty 0x58
    EXPECT_TRUE(crc_is_valid(alone.file));

    Generation loop({"ESP", "3600 7200 1711846800"}, false);
    ASSERT_EQ(loop.result, 1);
    EXPECT_EQ(to_hex(loop.file), "F0 0F 58 0D 45 53 50 02 01 00 EB F0 01 00 00 02 00");
    EXPECT_EQ(loop.log.count(LOG_WARNING), 0u); // the loop alone is shorter than the section
}

// Failures: no file is written, the old one stays, and the recovery command
// is started once.
TEST(TotGeneration, FailureStartsRecoveryAndKeepsTheOldFile)
{
    const struct {
        std::vector<std::string> offsets;
        const char* error; // expected LOG_ERR line, or empty
    } cases[] = {
        {{"ES", "3600 7200 1711846800"}, "El tamaño del codigo pais debe ser 3, y es 2"},
        {{"ESPA", "3600 7200 1711846800"}, "El tamaño del codigo pais debe ser 3, y es 4"},
        {{}, "El tamaño del codigo pais debe ser 3, y es 0"},
        // 2009-12-31 23:59:59: a change time before 2010 is a wrong time.
        {{"ESP", "3600 7200 1262303999"}, ""},
    };
    for (const auto& c : cases) {
        tavel::test::TempRoot root;
        const std::vector<char> old_file = hex("73 F0 0D 01 02 03 04 05 F0 02 58 00 AA BB CC DD");
        ASSERT_NE(tavel::write_char_vector_to_file(old_file, root(kTotPath), false), 0);
        tavel::LogCapture log;
        RecordingTOT tot;
        tot.offsets = c.offsets;
        EXPECT_EQ(tot.generarTOT(utc_of_1700000000(), true), 0);
        std::vector<char> file;
        tavel::read_char_vector_from_file(root(kTotPath), file);
        EXPECT_EQ(file, old_file);
        EXPECT_EQ(tot.commands, std::vector<std::string>{kRecovery});
        EXPECT_TRUE(log.has(LOG_WARNING, "Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_TRUE(log.has(LOG_WARNING, "HEADEND::: Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_FALSE(log.has(LOG_INFO, "Generate TOT file"));
        EXPECT_EQ(log.has(LOG_ERR, c.error), *c.error != 0) << c.error;
        EXPECT_EQ(log.count(LOG_ERR), *c.error != 0 ? 1u : 0u);
    }
}

TEST(TotFile, MissingFileGivesFalseAndTheWarning)
{
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    std::vector<char> buffer = hex("01 02");
    EXPECT_FALSE(tavel::tTOT().leer_archivo_TOT_a_buffer(buffer));
    EXPECT_EQ(buffer, hex("01 02"));
    EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer el archivo TOT o archivo TOT no existente. " + root(kTotPath)));
}
