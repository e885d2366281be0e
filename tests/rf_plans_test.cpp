#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <tavel/rf_plans.h>

#include "platform/rf_channels_constants.h"
#include "rf/spectrum_builder.h"

namespace {

using tavel::getRfBandsForCountry;
using tavel::getThriftCountryHandle;
using tavel::thrift::coax::Band;
using tavel::thrift::coax::RfChannelPlan;

const char* const kCountries[] = {"ES", "FR", "GB", "AU", "IT", "PT", "GR", "NZ",
                                  "SE", "FI", "MV", "MX", "KR", "TW", "RU"};

// One row of rf/rf-plans.csv, read independently of the build step.
struct CsvChannel {
    int band;
    std::string band_name;
    int start, stop, band_bw;
    std::string name;
    int centre;
};

std::map<std::string, std::vector<CsvChannel>> read_plan_csv()
{
    std::string here = __FILE__;
    std::string path = here.substr(0, here.rfind('/')) + "/../rf/rf-plans.csv";
    std::ifstream in(path);
    EXPECT_TRUE(in.good()) << path;
    std::map<std::string, std::vector<CsvChannel>> plan;
    std::string line;
    std::getline(in, line); // header
    while (std::getline(in, line)) {
        if (line.empty())
            continue;
        std::vector<std::string> f;
        std::stringstream fields(line);
        for (std::string field; std::getline(fields, field, ',');)
            f.push_back(field);
        if (f.size() < 8) {
            ADD_FAILURE() << line;
            continue;
        }
        plan[f[0]].push_back({std::stoi(f[1]), f[2], std::stoi(f[3]), std::stoi(f[4]), std::stoi(f[5]), f[6],
                              std::stoi(f[7])});
    }
    return plan;
}

TEST(CountryHandle, TwoAndThreeLetterCodesInAnyCase)
{
    struct Case {
        const char* code;
        int number;
    } cases[] = {
        {"ES", 1},  {"ESP", 1}, {"es", 1},  {"eS", 1},  {"esp", 1}, {"EsP", 1}, {"FR", 2},  {"FRA", 2},
        {"GB", 3},  {"GBR", 3}, {"AU", 4},  {"AUS", 4}, {"IT", 5},  {"ITA", 5}, {"PT", 6},  {"PRT", 6},
        {"GR", 7},  {"GRC", 7}, {"NZ", 8},  {"NZL", 8}, {"SE", 9},  {"SWE", 9}, {"FI", 10}, {"FIN", 10},
        {"MV", 11}, {"MDV", 11}, {"MX", 12}, {"MEX", 12}, {"KR", 13}, {"KOR", 13}, {"TW", 14}, {"TWN", 14},
        {"ru", 15}, {"Rus", 15},
        // Unknown: a full name, one letter, nothing, a neighbour's code, padding.
        {"Spain", 0}, {"E", 0}, {"", 0}, {"DE", 0}, {"USA", 0}, {"ES ", 0}, {"ESPA", 0}, {"UK", 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(getThriftCountryHandle(c.code), c.number) << '"' << c.code << '"';
    EXPECT_EQ(getThriftCountryHandle(nullptr), 0);
}

TEST(Spectrum, UnknownCountryIsEmptyAndEveryLookUpFindsNothing)
{
    for (int country : {0, -1, 16, 99, 1000}) {
        auto s = getRfBandsForCountry(country);
        ASSERT_TRUE(s);
        EXPECT_EQ(s->country, -1);
        EXPECT_EQ(s->num_channels, 0u);
        EXPECT_TRUE(s->bands.empty());
        EXPECT_FALSE(s->getRfChannelByIndex(0));
        EXPECT_FALSE(s->getRfChannelByName("21"));
        EXPECT_FALSE(s->getRfChannelByName(std::regex(".*")));
        EXPECT_TRUE(s->getFlatChannels().empty());
    }
}

TEST(PlanData, EveryCountryMatchesTheCsvChannelForChannel)
{
    auto csv = read_plan_csv();
    ASSERT_EQ(csv.size(), 15u);
    for (const char* code : kCountries) {
        SCOPED_TRACE(code);
        const auto& rows = csv.at(code);
        int number = getThriftCountryHandle(code);
        auto s = getRfBandsForCountry(number);
        EXPECT_EQ(s->country, number);
        ASSERT_EQ(s->num_channels, rows.size());
        auto flat = s->getFlatChannels();
        ASSERT_EQ(flat.size(), rows.size());
        // The file lists each country's bands in ascending number, so its
        // order is the flattened order.
        for (size_t i = 0; i < rows.size(); ++i) {
            const auto& row = rows[i];
            ASSERT_TRUE(flat[i]);
            EXPECT_EQ(flat[i]->name, row.name) << i;
            EXPECT_EQ(flat[i]->frequency, row.centre) << row.name;
            EXPECT_EQ(flat[i]->bandwidth, row.band_bw) << row.name;
            EXPECT_EQ(s->getRfChannelByIndex(static_cast<unsigned>(i)), flat[i]);
            const auto& band = s->bands.at(row.band);
            EXPECT_EQ(band.name, row.band_name);
            EXPECT_EQ(band.start_frequency, row.start);
            EXPECT_EQ(band.stop_frequency, row.stop);
            EXPECT_EQ(band.channel_bandwidth, row.band_bw);
        }
        EXPECT_FALSE(s->getRfChannelByIndex(s->num_channels));
    }
}

TEST(PlanData, EveryBandIsEnabledAndEveryChannelLiesInsideItsBand)
{
    const auto& plan = tavel::thrift::coax::g_rfchannels_constants.rfchannels;
    EXPECT_EQ(&tavel::thrift::coax::g_rfchannels_constants, &tavel::thrift::coax::rfchannels_constants());
    ASSERT_EQ(plan.size(), 15u);
    for (const auto& [country, bands] : plan) {
        for (const auto& [number, band] : bands) {
            SCOPED_TRACE(std::to_string(country) + "/" + std::to_string(number) + " " + band.name);
            EXPECT_TRUE(band.enabled);
            EXPECT_LT(band.start_frequency, band.stop_frequency);
            ASSERT_FALSE(band.channels.empty());
            int32_t previous = 0;
            for (const auto& ch : band.channels) {
                EXPECT_GE(ch.frequency - ch.bandwidth / 2, band.start_frequency) << ch.name;
                EXPECT_LE(ch.frequency + ch.bandwidth / 2, band.stop_frequency) << ch.name;
                EXPECT_EQ(ch.bandwidth, band.channel_bandwidth) << ch.name;
                EXPECT_GT(ch.frequency, previous) << ch.name;
                previous = ch.frequency;
            }
        }
    }
}

TEST(PlanData, RealWorldChannels)
{
    struct Case {
        const char* country;
        const char* channel;
        int32_t centre_khz, bandwidth_khz;
    } cases[] = {
        {"ES", "21", 474000, 8000},  // first UHF channel in Europe
        {"ES", "69", 858000, 8000},
        {"AU", "28", 529500, 7000},  // Australian UHF raster
        {"IT", "D", 177500, 7000},   // Italian VHF lettering
        {"KR", "14", 473000, 6000},  // 6 MHz raster
        {"RU", "R6", 178000, 8000},  // OIRT
        {"GB", "21", 474000, 8000},
        {"FR", "S21", 306000, 8000}, // cable hyperband
    };
    for (const auto& c : cases) {
        auto ch = getRfBandsForCountry(getThriftCountryHandle(c.country))->getRfChannelByName(c.channel);
        ASSERT_TRUE(ch) << c.country << " " << c.channel;
        EXPECT_EQ(ch->name, c.channel);
        EXPECT_EQ(ch->frequency, c.centre_khz) << c.country << " " << c.channel;
        EXPECT_EQ(ch->bandwidth, c.bandwidth_khz) << c.country << " " << c.channel;
    }
}

TEST(Spectrum, NameLookUpIsExactAndPatternMustMatchTheWholeName)
{
    auto es = getRfBandsForCountry(1);
    EXPECT_FALSE(es->getRfChannelByName("e5"));      // case-sensitive
    EXPECT_FALSE(es->getRfChannelByName("E"));       // no prefix match
    EXPECT_FALSE(es->getRfChannelByName(" 21"));
    EXPECT_FALSE(es->getRfChannelByName(static_cast<const char*>(nullptr)));
    EXPECT_EQ(es->getRfChannelByName("E5")->frequency, 177500);

    EXPECT_FALSE(es->getRfChannelByName(std::regex("E1"))); // only inside "E10".."E12"
    EXPECT_FALSE(es->getRfChannelByName(std::regex("S")));
    auto s41 = es->getRfChannelByName(std::regex("S4[0-9]"));
    ASSERT_TRUE(s41);
    EXPECT_EQ(s41->name, "S40");                              // first in order
    EXPECT_EQ(es->getRfChannelByName(std::regex("S41"))->frequency, 466000);
    EXPECT_EQ(es->getRfChannelByName(std::regex("[0-9]+"))->name, "21"); // lowest band first
    EXPECT_EQ(es->getRfChannelByName("S41"), es->getRfChannelByName(std::regex("S41"))); // shared objects
}

TEST(Spectrum, EachCallBuildsAFreshObject)
{
    auto a = getRfBandsForCountry(5);
    auto b = getRfBandsForCountry(5);
    ASSERT_NE(a, b);
    EXPECT_NE(a->getRfChannelByIndex(0), b->getRfChannelByIndex(0));
    a->getRfChannelByIndex(0)->frequency = 1;
    EXPECT_EQ(b->getRfChannelByIndex(0)->name, "A");
    EXPECT_EQ(b->getRfChannelByIndex(0)->frequency, getRfBandsForCountry(5)->getRfChannelByIndex(0)->frequency);
    EXPECT_NE(b->getRfChannelByIndex(0)->frequency, 1);
}

// A small plan of our own: band 3 disabled, band 7 before 9 whatever the
// insertion order, a name ("X") in two bands.
RfChannelPlan small_plan()
{
    RfChannelPlan plan;
    auto& country = plan[42];
    country[9] = Band{true, "High", 900, 1000, 50, {{925, "X", 50}, {975, "Z", 50}}};
    country[3] = Band{false, "Off", 100, 200, 10, {{105, "X", 10}, {115, "Q", 10}}};
    country[7] = Band{true, "Low", 700, 800, 20, {{710, "A", 20}, {730, "X", 20}, {750, "B", 20}}};
    country[8] = Band{true, "Empty", 800, 900, 20, {}};
    plan[43][1] = Band{false, "Only", 0, 10, 1, {{5, "O", 1}}};
    return plan;
}

TEST(SmallPlan, DisabledBandCountsNowhere)
{
    auto s = tavel::buildSpectrum(42, small_plan());
    EXPECT_EQ(s->country, 42);
    EXPECT_EQ(s->num_channels, 5u);
    ASSERT_EQ(s->bands.size(), 3u);
    EXPECT_EQ(s->bands.count(3), 0u);
    EXPECT_FALSE(s->getRfChannelByName("Q"));
    EXPECT_FALSE(s->getRfChannelByName(std::regex("Q")));
    std::vector<std::string> names;
    for (const auto& ch : s->getFlatChannels())
        names.push_back(ch->name);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "X", "B", "X", "Z"}));
    EXPECT_EQ(s->getFlatChannels().capacity(), 5u);
    const auto& low = s->bands.at(7);
    EXPECT_EQ(low.name, "Low");
    EXPECT_EQ(low.start_frequency, 700);
    EXPECT_EQ(low.stop_frequency, 800);
    EXPECT_EQ(low.channel_bandwidth, 20);
    EXPECT_TRUE(s->bands.at(8).channels.empty());

    // Indices run across bands in band order; the empty band takes none.
    EXPECT_EQ(s->getRfChannelByIndex(2)->name, "B");
    EXPECT_EQ(s->getRfChannelByIndex(3)->frequency, 925);
    EXPECT_EQ(s->getRfChannelByIndex(4)->name, "Z");
    EXPECT_FALSE(s->getRfChannelByIndex(5));
    EXPECT_FALSE(s->getRfChannelByIndex(0xFFFFFFFFu));

    // A country whose only band is disabled is known but empty.
    auto only_off = tavel::buildSpectrum(43, small_plan());
    EXPECT_EQ(only_off->country, 43);
    EXPECT_EQ(only_off->num_channels, 0u);
    EXPECT_TRUE(only_off->bands.empty());
    EXPECT_FALSE(only_off->getRfChannelByIndex(0));
}

TEST(SmallPlan, DuplicateNameResolvesToTheLowestBand)
{
    auto s = tavel::buildSpectrum(42, small_plan());
    auto x = s->getRfChannelByName("X");
    ASSERT_TRUE(x);
    EXPECT_EQ(x->frequency, 730); // band 7, not the disabled 3 nor 9
    EXPECT_EQ(x->bandwidth, 20);
    EXPECT_EQ(s->getRfChannelByName(std::regex("X")), x);
    EXPECT_EQ(s->getRfChannelByIndex(1), x);
    EXPECT_EQ(tavel::buildSpectrum(41, small_plan())->country, -1);
}

} // namespace
