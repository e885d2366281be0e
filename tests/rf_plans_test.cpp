#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <tavel/rf_plans.h>

#include "platform/rf_channels_constants.h"
#include "rf/plan_builder.h"

namespace {

using tavel::getRfBandsForCountry;
using tavel::getThriftCountryHandle;
using tavel::thrift::coax::Band;
using tavel::thrift::coax::RfChannelPlan;

// Country numbers 1..15 in this order.
const char* const kAlpha2[] = {"ES", "FR", "GB", "AU", "IT", "PT", "GR", "NZ", "SE", "FI", "MV", "MX", "KR", "TW",
                               "RU"};
const char* const kAlpha3[] = {"ESP", "FRA", "GBR", "AUS", "ITA", "PRT", "GRC", "NZL",
                               "SWE", "FIN", "MDV", "MEX", "KOR", "TWN", "RUS"};

// rf/rf-plans.csv read independently of the build step: each country's
// rows, without the note that ends each line (notes hold no commas).
std::map<std::string, std::vector<std::string>> read_plan_csv()
{
    const std::string here = __FILE__;
    std::ifstream in(here.substr(0, here.rfind('/')) + "/../rf/rf-plans.csv");
    std::map<std::string, std::vector<std::string>> plan;
    std::string line;
    for (std::getline(in, line); std::getline(in, line);) // past the header
        plan[line.substr(0, line.find(','))].push_back(line.substr(0, line.rfind(',')));
    return plan;
}

TEST(CountryHandle, TwoAndThreeLetterCodesInAnyCase)
{
    for (int n = 1; n <= 15; ++n) {
        EXPECT_EQ(getThriftCountryHandle(kAlpha2[n - 1]), n) << kAlpha2[n - 1];
        EXPECT_EQ(getThriftCountryHandle(kAlpha3[n - 1]), n) << kAlpha3[n - 1];
    }
    for (const char* code : {"es", "eS", "esp", "EsP"})
        EXPECT_EQ(getThriftCountryHandle(code), 1) << code;
    EXPECT_EQ(getThriftCountryHandle("Rus"), 15);
    // A full name, one letter, nothing, a neighbour's code, padding.
    for (const char* code : {"Spain", "E", "", "DE", "USA", "ES ", "ESPA", "UK"})
        EXPECT_EQ(getThriftCountryHandle(code), 0) << '"' << code << '"';
    EXPECT_EQ(getThriftCountryHandle(nullptr), 0);
}

TEST(PlanData, EveryCountryMatchesTheCsvAndEveryChannelLiesInsideItsEnabledBand)
{
    const auto csv = read_plan_csv();
    ASSERT_EQ(csv.size(), 15u);
    for (int n = 1; n <= 15; ++n) {
        SCOPED_TRACE(kAlpha2[n - 1]);
        for (const auto& [number, band] : tavel::thrift::coax::g_rfchannels_constants.rfchannels.at(n))
            EXPECT_TRUE(band.enabled) << number;
        auto s = getRfBandsForCountry(n);
        EXPECT_EQ(s->country, n);
        auto flat = s->getFlatChannels();
        std::vector<std::string> rows;
        for (const auto& [number, band] : s->bands) {
            for (const auto& ch : band.channels) {
                std::ostringstream row;
                row << kAlpha2[n - 1] << ',' << number << ',' << band.name << ',' << band.start_frequency << ','
                    << band.stop_frequency << ',' << band.channel_bandwidth << ',' << ch->name << ',' << ch->frequency;
                EXPECT_EQ(ch->bandwidth, band.channel_bandwidth) << row.str();
                EXPECT_GE(ch->frequency - ch->bandwidth / 2, band.start_frequency) << row.str();
                EXPECT_LE(ch->frequency + ch->bandwidth / 2, band.stop_frequency) << row.str();
                // Counted across bands in band order, flat and by index.
                EXPECT_TRUE(rows.size() < flat.size() && flat[rows.size()] == ch) << row.str();
                EXPECT_EQ(s->getRfChannelByIndex(static_cast<unsigned>(rows.size())), ch) << row.str();
                rows.push_back(row.str());
            }
        }
        EXPECT_EQ(rows, csv.at(kAlpha2[n - 1]));
        EXPECT_EQ(s->num_channels, rows.size());
        EXPECT_EQ(flat.size(), rows.size());
        EXPECT_FALSE(s->getRfChannelByIndex(s->num_channels));
    }
}

TEST(Spectrum, NameLookUpIsExactAndPatternMustMatchTheWholeName)
{
    auto es = getRfBandsForCountry(1);
    for (const char* near_miss : {"e5", "E", " 21", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(es->getRfChannelByName(near_miss)) << (near_miss ? near_miss : "null");
    EXPECT_EQ(es->getRfChannelByName("E5")->frequency, 177500);

    EXPECT_FALSE(es->getRfChannelByName(std::regex("E1"))); // only inside "E10".."E12"
    EXPECT_FALSE(es->getRfChannelByName(std::regex("S")));
    EXPECT_EQ(es->getRfChannelByName(std::regex("S4[0-9]"))->name, "S40");  // first in order
    EXPECT_EQ(es->getRfChannelByName(std::regex("[0-9]+"))->name, "21");    // lowest band first
    EXPECT_EQ(es->getRfChannelByName("S41"), es->getRfChannelByName(std::regex("S41"))); // shared objects
    EXPECT_EQ(es->getRfChannelByName("S41")->frequency, 466000);

    // Each call builds its own objects: changing one spectrum leaves the next alone.
    es->getRfChannelByIndex(0)->frequency = 1;
    EXPECT_EQ(getRfBandsForCountry(1)->getRfChannelByIndex(0)->frequency, 50500);
}

// A small plan of our own: band 3 disabled, band 7 before 9 whatever the
// insertion order, an empty band 8, a name ("X") in three bands.
TEST(SmallPlan, DisabledBandCountsNowhereAndDuplicateNamesResolveToTheLowestBand)
{
    RfChannelPlan plan;
    plan[42][9] = Band{true, "High", 900, 1000, 50, {{925, "X", 50}, {975, "Z", 50}}};
    plan[42][3] = Band{false, "Off", 100, 200, 10, {{105, "X", 10}, {115, "Q", 10}}};
    plan[42][7] = Band{true, "Low", 700, 800, 20, {{710, "A", 20}, {730, "X", 20}, {750, "B", 20}}};
    plan[42][8] = Band{true, "Empty", 800, 900, 20, {}};
    plan[43][1] = Band{false, "Only", 0, 10, 1, {{5, "O", 1}}};

    auto s = tavel::buildSpectrum(42, plan);
    EXPECT_EQ(s->country, 42);
    EXPECT_EQ(s->num_channels, 5u);
    EXPECT_TRUE(s->bands.size() == 3 && !s->bands.count(3));
    EXPECT_FALSE(s->getRfChannelByName("Q") || s->getRfChannelByName(std::regex("Q")));
    std::string names;
    for (const auto& ch : s->getFlatChannels())
        names += ch->name;
    EXPECT_EQ(names, "AXBXZ"); // indices run across bands in band order
    EXPECT_FALSE(s->getRfChannelByIndex(5) || s->getRfChannelByIndex(0xFFFFFFFFu));

    auto x = s->getRfChannelByName("X");
    ASSERT_TRUE(x);
    EXPECT_EQ(x->frequency, 730); // band 7, not the disabled 3 nor 9
    EXPECT_EQ(s->getRfChannelByName(std::regex("X")), x);
    EXPECT_EQ(s->getRfChannelByIndex(1), x);

    // A country whose only band is disabled is known but empty; one not in the plan is unknown.
    auto only_off = tavel::buildSpectrum(43, plan);
    EXPECT_EQ(only_off->country, 43);
    EXPECT_FALSE(only_off->num_channels || only_off->getRfChannelByIndex(0));
    EXPECT_EQ(tavel::buildSpectrum(41, plan)->country, -1);
}

} // namespace
