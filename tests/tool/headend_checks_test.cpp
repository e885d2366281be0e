// The headend description's safety checks, called in-process: TOT offsets
// from the zone database, the channel plan, channel numbers, name lengths
// and the dry run.
#include <unistd.h>

#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

#include <tavel/file_io.h>

#include "config.h"
#include "publish.h"
#include "time_zone.h"
#include "tool_test_support.h"

namespace fs = std::filesystem;
using nlohmann::json;
using tavel_si::TimeZone;

namespace {

// Unix seconds of 2026-11-23 10:00:00 UTC, a winter's day before the 2027 changes.
constexpr long long kNov2026 = 1795428000;
constexpr long long kMadridSpring2027 = 1806195600; // 2027-03-28 01:00:00 UTC

// Each row: a zone and a time, and the offsets the TOT takes ("current next
// change") or, for a zone refused, why.
TEST(TimeZone, OffsetsFromTheZoneDatabaseAndRefusalsAndTzdir)
{
    const struct {
        const char* zone;
        long long at;
        const char* expected;
    } rows[] = {
        {"Europe/Madrid", kNov2026, "3600 7200 1806195600"},              // change ahead
        {"Asia/Tokyo", kNov2026, "32400 32400 0"},                        // no change at all
        {"Australia/Sydney", kNov2026, "39600 36000 1806768000"},         // southern summer ends 2027-04-03
        {"America/New_York", kNov2026, "-18000 -14400 1805007600"},       // west of Greenwich
        {"Europe/Madrid", kMadridSpring2027 - 1, "3600 7200 1806195600"}, // the last second before
        {"Europe/Madrid", kMadridSpring2027, "7200 3600 1824944400"},     // the change itself: next is October
        {"Europe/Dublin", kMadridSpring2027, "3600 0 1824944400"},        // winter is its negative DST
        {"Europe/Madird", 0, "unknown time zone \"Europe/Madird\" (not in /usr/share/zoneinfo)"},
        {"Europe", 0, "unknown time zone \"Europe\""},
        {"../../etc/passwd", 0, "\"../../etc/passwd\" is not a time zone name"},
        {"zone.tab", 0, "is not a time zone name"},
        {"right/Europe/Madrid", 0, "is not a usable zone file"}, // leap seconds
    };
    unsetenv("TZDIR");
    for (const auto& row : rows) {
        TimeZone zone;
        std::string why;
        if (TimeZone::load(row.zone, zone, why))
            EXPECT_EQ(tavel_si::tot_offset_string(zone.offsets_at(row.at)), row.expected) << row.zone << " @" << row.at;
        else
            EXPECT_NE(why.find(row.expected), std::string::npos) << row.zone << ": " << why;
    }

    // Every cut of a real file is refused or read, never read past.
    std::vector<char> madrid;
    ASSERT_TRUE(tavel::read_char_vector_from_file("/usr/share/zoneinfo/Europe/Madrid", madrid));
    TimeZone zone;
    for (size_t n = 0; n < madrid.size(); ++n)
        EXPECT_FALSE(TimeZone::parse(std::vector<char>(madrid.begin(), madrid.begin() + n), zone)) << n;
    EXPECT_TRUE(TimeZone::parse(madrid, zone));

    // TZDIR replaces the system's directory.
    const fs::path dir = fs::temp_directory_path() / ("tavel-tzdir-" + std::to_string(getpid()));
    fs::create_directories(dir / "Test");
    tavel::write_char_vector_to_file(madrid, (dir / "Test/Zone").string(), false);
    setenv("TZDIR", dir.c_str(), 1);
    std::string why;
    EXPECT_TRUE(TimeZone::load("Test/Zone", zone, why) && !TimeZone::load("Europe/Madrid", zone, why)) << why;
    unsetenv("TZDIR");
    fs::remove_all(dir);
}

// Two outputs on Spanish UHF channels 21 and 49, three numbered services.
json headend()
{
    return json::parse(R"({
      "country": "ESP",
      "network": { "id": 1, "name": "Red", "lcn_flavour": 1 },
      "time_offsets": { "entries": [ { "zone": "Europe/Madrid" }, { "zone": "Atlantic/Canary" } ] },
      "outputs": [
        { "type": "cable", "tsid": 1, "onid": 1, "frequency_khz": 474000, "symbol_rate_ksym": 6900,
          "modulation": "64QAM", "services": [ { "sid": 11, "lcn": 1, "type": "tv", "name": "Uno" },
                                               { "sid": 12, "lcn": 2, "type": "tv", "name": "Dos" } ] },
        { "type": "terrestrial", "tsid": 2, "onid": 1, "frequency_khz": 698000, "bandwidth_mhz": 8,
          "modulation": "64QAM", "code_rate": "2/3", "guard_interval": "1/4", "transmission_mode": "8k",
          "services": [ { "sid": 21, "lcn": 3, "type": "tv", "name": "Tres Norte" } ] } ]
    })");
}

TEST(HeadendChecks, EachFaultIsRefusedWithOneLineAndTheRightCasesPass)
{
    const std::string long_name(246, 'x');
    const struct {
        std::vector<std::pair<const char*, json>> set; // JSON pointer, value
        const char* error;                             // "" when the description is accepted
    } rows[] = {
        // Channel plan.
        {{{"/outputs/1/frequency_khz", 474100}},
         "outputs[1].frequency_khz: 474100 kHz is not a channel centre of ESP; nearest is channel 21 at 474000 kHz"},
        {{{"/outputs/1/frequency_khz", 474100}, {"/outputs/1/off_plan", true}},
         "474100 kHz (470100-478100 kHz) overlaps outputs[0] at 474000 kHz (470000-478000 kHz)"},
        {{{"/outputs/1/frequency_khz", 482100}, {"/outputs/1/off_plan", true}}, ""},
        {{{"/outputs/1/frequency_khz", 474000}}, "outputs[1].frequency_khz: 474000 kHz (470000-478000 kHz) overlaps"},
        {{{"/country", "GBR"}, {"/outputs/1/frequency_khz", 697834}}, ""}, // 166 kHz below channel 49
        {{{"/country", "GBR"}, {"/outputs/1/frequency_khz", 698200}},
         "not a channel centre of GBR nor a usual offset from one (±166, ±167 kHz); nearest is channel 49"},
        {{{"/country", "AUS"}, {"/outputs/0/frequency_khz", 529625}, {"/outputs/1/frequency_khz", 599500}},
         ""}, // +125 kHz on Australian channel 28, channel 38 itself
        {{{"/country", "DEU"}},
         "outputs[0].frequency_khz: no channel plan for DEU; say \"off_plan\": true to use 474000 kHz"},
        // Channel numbers.
        {{{"/outputs/1/services/0/lcn", 2}},
         "outputs[1].services[0].lcn: LCN 2 of \"Tres Norte\" is already that of \"Dos\" (outputs[0].services[1])"},
        {{{"/outputs/1/services/0/lcn", 2}, {"/network/allow_shared_lcn", {2}}}, ""},
        {{{"/outputs/0/services/0/lcn", 0}, {"/outputs/0/services/1/lcn", 0}}, ""}, // 0 is no number
        {{{"/outputs/0/services/0/lcn", 1023}},
         "outputs[0].services[0].lcn: 1023 is out of range 0..1022 of LCN flavour 1 (10 bits"},
        {{{"/network/lcn_flavour", 3}, {"/outputs/0/services/0/lcn", 1023}}, ""},
        {{{"/network/lcn_flavour", 3}, {"/outputs/0/services/0/lcn", 1024}},
         "1024 is out of range 0..1023 of LCN flavour 3 (10 bits sent)"},
        {{{"/network/lcn_flavour", 2}, {"/outputs/0/services/0/lcn", 1023}},
         "of LCN flavour 2 (14-bit field, numbers above 1022 dropped)"},
        {{{"/network/lcn_flavour", 0}}, "outputs[0].services[0].lcn: 1 is never sent: network.lcn_flavour is 0"},
        // Names.
        {{{"/outputs/0/services/0/name", long_name.substr(1)}}, ""},
        {{{"/outputs/0/services/0/name", long_name}},
         "outputs[0].services[0].name: 246 bytes in UTF-8, at most 245 fit a service descriptor beside the provider"},
        {{{"/outputs/0/services/0/provider", std::string(248, 'p')}},
         "outputs[0].services[0].provider: 248 bytes in UTF-8, with the 3-byte name a service descriptor of 256 bytes"},
        // Time offsets.
        {{{"/time_offsets/entries/1/zone", "Atlantic/Canarias"}},
         "time_offsets.entries[1].zone: unknown time zone \"Atlantic/Canarias\""},
    };
    for (const auto& row : rows) {
        json cfg = headend();
        for (const auto& [pointer, value] : row.set)
            cfg[json::json_pointer(pointer)] = value;
        try {
            tavel_si::parse_config(cfg.dump(), ".");
            EXPECT_STREQ(row.error, "") << "accepted: " << cfg.dump();
        } catch (const tavel_si::ConfigError& e) {
            EXPECT_NE(*row.error, '\0') << "refused: " << e.what();
            EXPECT_NE(std::string(e.what()).find(row.error), std::string::npos) << e.what();
        }
    }
}

// A dry run writes nothing and says what a publication would do; an unchanged
// headend publishes nothing, a new name raises its SDT's version, a new LCN the NIT's.
TEST(HeadendChecks, DryRunWritesNothingAndVersionsRiseOnlyOnAChange)
{
    const fs::path root = fs::temp_directory_path() / ("tavel-dry-" + std::to_string(getpid()));
    fs::remove_all(root);
    setenv("TAVEL_ROOT", root.c_str(), 1);
    json description = headend();
    // Publishes (or not, on a dry run) and finds each line in what it says.
    const auto publish = [&](bool dry_run, std::initializer_list<const char*> lines) {
        std::ostringstream out, err;
        EXPECT_TRUE(tavel_si::publish(tavel_si::parse_config(description.dump(), "."), kNov2026, out, err, dry_run).ok);
        EXPECT_EQ(err.str(), "");
        for (const char* line : lines)
            EXPECT_NE(out.str().find(line), std::string::npos) << line << "\n" << out.str();
    };
    const auto version = [&](const char* file) {
        return (tool_test::slurp(root / "tavel/datosWeb/tablasSI" / file).append(6, '\0')[5] >> 1) & 0x1F;
    };
    // Zone entries resolved at the TOT's time.
    publish(true, {"NIT  network 1: would publish version 0 (new), 1 section",
                   "offset \"3600 7200 1806195600\"\n     offset \"0 3600 1806195600\""});
    EXPECT_FALSE(fs::exists(root)) << "nothing is created";

    publish(false, {});
    const auto published = tool_test::files_under(root);
    publish(false, {"NIT  network 1: unchanged (version 0), nothing published",
                    "SDT  tsid 1: unchanged (version 0), nothing published", "Nothing published"});
    EXPECT_EQ(tool_test::files_under(root), published);

    description["outputs"][0]["services"][0]["name"] = "Uno HD";
    publish(true, {"NIT  network 1: unchanged (version 0), nothing to publish",
                   "SDT  tsid 1: would publish version 1 (raised)"});
    EXPECT_EQ(tool_test::files_under(root), published);
    publish(false, {"SDT  tsid 1: published version 1"});
    EXPECT_EQ(version("SDT_table_1"), 1);

    description["outputs"][1]["services"][0]["lcn"] = 30;
    publish(false, {"NIT  network 1: published version 1"});
    EXPECT_EQ(std::make_pair(version("NIT_table"), version("SDT_table_2")), std::make_pair(1, 0));
    unsetenv("TAVEL_ROOT");
    fs::remove_all(root);
}

} // namespace
