#include <gtest/gtest.h>

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

// Records the recovery command instead of running a script as root.
class RecordingTOT : public tavel::tTOT {
public:
    std::vector<std::string> commands;

protected:
    void run_recovery_command(const char* command) override { commands.emplace_back(command); }
};

// One generation at 2023-11-14 22:13:20 UTC under a scratch root holding the old
// file, if any: the result, the file then there and the log.
struct Generation {
    explicit Generation(std::vector<std::string> offsets, bool whole = true, const std::vector<char>& old = {})
    {
        if (!old.empty()) {
            EXPECT_NE(tavel::write_char_vector_to_file(old, root(kTotPath), false), 0);
        }
        unsigned long long utc = 0;
        EXPECT_EQ(tavel::std_time_to_mjd_utc(1700000000UL, utc), 1);
        tot.offsets = std::move(offsets);
        result = tot.generarTOT(utc, whole);
        file = tavel::test::read_file(root(kTotPath));
    }
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    RecordingTOT tot;
    int result = 0;
    std::vector<char> file;
};

} // namespace

// Spain with one scheduled change: 29 bytes.
const char* const kSpain = "73 F0 1A"       // table_id; syntax 1, reserved, section_length 26
                           "EB 66 22 13 20" // UTC_time: MJD 60262, 22:13:20
                           "F0 0F 58 0D"    // descriptors_loop_length 15; local time offsets, 13
                           "45 53 50 02"    // "ESP", region 0, reserved, polarity 0
                           "01 00"          // local_time_offset +01:00
                           "EB F0 01 00 00" // time_of_change 2024-03-31 01:00:00
                           "02 00"          // next_time_offset +02:00
                           "E7 BA 11 89";   // CRC_32

// The section per offset list. A string that is not three integers counts its
// missing numbers as 0 and is reported at LOG_ERR; the table is still generated.
TEST(TotGeneration, OffsetStringsToEntries)
{
    const std::string head = "73 F0 1A EB 66 22 13 20 F0 0F 58 0D 45 53 50 ";
    const struct {
        std::vector<std::string> offsets;
        std::string file;
        bool malformed;
    } cases[] = {
        {{"ESP", "3600 7200 1711846800"}, kSpain, false},
        // Colombia-like, no change: polarity 1, next = current, no time of change.
        {{"ESP", "-18000 0 0"}, head + "03 05 00 FF FF FF FF FF 05 00 92 70 BB 9A", false},
        // West, positive next with a change: counted back from a day (86400 - 14400 = 20:00).
        {{"ESP", "-18000 14400 1711846800"}, head + "03 05 00 EB F0 01 00 00 20 00 22 3A 96 86", false},
        {{"ESP", "-18000 -14400 1711846800"}, head + "03 05 00 EB F0 01 00 00 04 00 47 BD 81 09", false}, // magnitude
        {{"ESP", "-18000 0 1711846800"}, head + "03 05 00 EB F0 01 00 00 00 00 02 99 A0 A0", false},
        {{"ESP", "3600 -3600 1711846800"}, head + "02 01 00 EB F0 01 00 00 23 00 15 00 E6 73", false}, // a day added
        // East without a change: next = current whatever was given; blanks are separators.
        {{"ESP", "  3600\t7200   0 "}, head + "02 01 00 FF FF FF FF FF 01 00 92 85 B5 15", false},
        {{"ESP", "19800 0 0"}, head + "02 05 30 FF FF FF FF FF 05 30 34 7A 83 87", false}, // minutes kept: +05:30
        {{"ESP", "-2147483648 0 0"}, head + "03 43 14 FF FF FF FF FF 43 14 EA FE A5 C6", false},
        {{"ESP", "0 0 0"}, head + "02 00 00 FF FF FF FF FF 00 00 B2 9C DE AF", false},
        {{"ESP", ""}, head + "02 00 00 FF FF FF FF FF 00 00 B2 9C DE AF", true},
        {{"ESP", "3600"}, head + "02 01 00 FF FF FF FF FF 01 00 92 85 B5 15", true},
        {{"ESP", "una hora"}, head + "02 00 00 FF FF FF FF FF 00 00 B2 9C DE AF", true},
        {{"ESP", "3600 x 1711846800"}, head + "02 01 00 EB F0 01 00 00 00 00 47 48 8F 86", true},
        {{"ESP", "3600abc 7200 0"}, head + "02 00 00 FF FF FF FF FF 00 00 B2 9C DE AF", true},
        {{"ESP", "99999999999 0 0"}, head + "02 00 00 FF FF FF FF FF 00 00 B2 9C DE AF", true},
        {{"ESP", "3600 7200 1711846800 9"}, kSpain, true},
        // Several offsets: one descriptor, regions numbered from one.
        {{"PRT", "0 3600 1711846800", "-3600 0 1711846800"},
         "73 F0 27 EB 66 22 13 20 F0 1C 58 1A 50 52 54 06 00 00 EB F0 01 00 00 01 00"
         " 50 52 54 0B 01 00 EB F0 01 00 00 00 00 FD 14 08 CD", false},
        {{"ESP"}, "73 F0 0D EB 66 22 13 20 F0 02 58 00 C9 23 1F 66", false}, // the country alone: an empty descriptor
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.offsets.back());
        Generation run(c.offsets);
        ASSERT_EQ(run.result, 1);
        EXPECT_EQ(to_hex(run.file), to_hex(hex(c.file)));
        EXPECT_EQ(run.tot.total_size, run.file.size());
        EXPECT_TRUE(run.tot.commands.empty());
        EXPECT_TRUE(run.log.has(LOG_INFO, "Generate TOT file") && run.log.has(LOG_INFO, "Generado archivo TOT"));
        EXPECT_EQ(run.log.has(LOG_ERR, "Malformed local time offset \"" + c.offsets.back() +
                                           "\": three integers expected, missing ones count 0"),
                  c.malformed);
        EXPECT_EQ(run.log.count(LOG_ERR), c.malformed ? 1u : 0u);
        EXPECT_EQ(run.log.count(LOG_WARNING), 0u);
    }
    Generation loop({"ESP", "3600 7200 1711846800"}, false); // the loop alone
    EXPECT_EQ(to_hex(loop.file), "F0 0F 58 0D 45 53 50 02 01 00 EB F0 01 00 00 02 00");
    EXPECT_EQ(loop.log.count(LOG_WARNING), 0u);
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
        {{"ESP", "3600 7200 1262303999"}, ""}, // a change before 2010 is a wrong time
    };
    const std::vector<char> old_file = hex("73 F0 0D 01 02 03 04 05 F0 02 58 00 AA BB CC DD");
    for (const auto& c : cases) {
        Generation run(c.offsets, true, old_file);
        EXPECT_EQ(run.result, 0);
        EXPECT_EQ(run.file, old_file);
        EXPECT_EQ(run.tot.commands, std::vector<std::string>{"/usr/bin/set_genera_tot.sh &"});
        EXPECT_TRUE(run.log.has(LOG_WARNING, "Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_TRUE(run.log.has(LOG_WARNING, "HEADEND::: Impossible generate the TOT table. Maybe wrong time"));
        EXPECT_FALSE(run.log.has(LOG_INFO, "Generate TOT file"));
        EXPECT_EQ(run.log.has(LOG_ERR, c.error), *c.error != 0) << c.error;
        EXPECT_EQ(run.log.count(LOG_ERR), *c.error != 0 ? 1u : 0u);
    }
}
