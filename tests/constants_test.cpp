#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <string>

#include <tavel/constants.h>

namespace c = tavel::constants;

namespace {

TEST(Constants, ValuesTheOtherUnitsRelyOn)
{
    const char* const cases[][2] = {
        {c::kSiTablesDir, "/tavel/datosWeb/tablasSI/"},  {c::kTotRecoveryCommand, "/usr/bin/set_genera_tot.sh &"},
        {c::kBoardIdVersionLabel, "Board Version:"},     {c::kMacPlaceholder, "XX:XX:XX:XX:XX"},
        {c::kModelPwuT160, "PWU-T160"},                  {c::kFieldSeparator, "_::_"},
        {c::kDbTablesDir, "/tmp/tavel/BBDDTablas/"},     {c::kTableDiseqc, "DISEqC"},
        {c::kTableRfOutGlobal, "rfout_global"},          {c::kModuleJson, "tmp/tavel/web/modulejson.json"},
        {c::kSapConfigWeb, "tavel/datosWeb/SAP/sap.cfg"}, {c::kPushNotificationPath, "/api/push"},
    };
    for (const auto& k : cases)
        EXPECT_STREQ(k[0], k[1]);
    EXPECT_EQ(c::kPushNotificationPort, 15002);
}

TEST(Constants, AddressPatternsMatchWholeAddressesOnly)
{
    const std::regex ipv4(c::kIpv4Regex), mac(c::kMacRegex);
    for (const char* good : {"192.168.1.254", "0.0.0.0", "255.255.255.255", "10.0.0.1"})
        EXPECT_TRUE(std::regex_match(good, ipv4)) << good;
    for (const char* bad : {"192x168.1.254", "256.1.1.1", "1.2.3", "01.2.3.4", "1.2.3.4.5", ""})
        EXPECT_FALSE(std::regex_match(bad, ipv4)) << bad;
    EXPECT_TRUE(std::regex_match("00:1A:2b:3C:4d:5E", mac));
    for (const char* bad : {"00:1A:2b:3C:4d", "00-1A-2b-3C-4d-5E"})
        EXPECT_FALSE(std::regex_match(bad, mac)) << bad;
}

TEST(Constants, CountryTableIsTheIsoListByShortName)
{
    const auto& codes = c::kIso3166Alpha3Codes;
    ASSERT_EQ(sizeof(codes) / sizeof(codes[0]), 249u);
    std::set<std::string> seen;
    for (const char* code : codes) {
        ASSERT_NE(code, nullptr);
        EXPECT_TRUE(std::regex_match(code, std::regex("[A-Z]{3}")) && seen.insert(code).second) << code;
    }
    auto index = [&](const char* code) {
        return std::find_if(std::begin(codes), std::end(codes), [&](const char* k) { return std::string(k) == code; }) -
               std::begin(codes);
    };
    // Ends, and pairs whose order depends on ISO's form of the name ("Aland" without its accent,
    // "Congo (the Democratic Republic of the)" before "Congo (the)", "Turkiye" before "Turkmenistan").
    EXPECT_EQ(index("AFG"), 0);
    EXPECT_EQ(index("ZWE"), 248);
    const char* const in_order[][2] = {{"AFG", "ALA"}, {"ALA", "ALB"}, {"YEM", "ZMB"}, {"ZMB", "ZWE"}, {"COD", "COG"},
                                       {"UMI", "USA"}, {"CRI", "CIV"}, {"TUR", "TKM"}, {"GBR", "UMI"}, {"VGB", "VIR"},
                                       {"PRK", "KOR"}};
    for (const auto& p : in_order)
        EXPECT_EQ(index(p[0]) + 1, index(p[1])) << p[0] << " " << p[1];
}

} // namespace
