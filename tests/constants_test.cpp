#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include <tavel/constants.h>

namespace c = tavel::constants;

namespace {

TEST(Constants, ValuesTheOtherUnitsRelyOn)
{
    struct Case {
        const char* value;
        const char* expected;
    } cases[] = {
        {c::kSiTablesDir, "/tavel/datosWeb/tablasSI/"},
        {c::kTotRecoveryCommand, "/usr/bin/set_genera_tot.sh &"},
        {c::kBoardIdVersionLabel, "Board Version:"},
        {c::kMacPlaceholder, "XX:XX:XX:XX:XX"},
        {c::kModelPwuT160, "PWU-T160"},
        {c::kFieldSeparator, "_::_"},
        {c::kDbTablesDir, "/tmp/tavel/BBDDTablas/"},
        {c::kTableDiseqc, "DISEqC"},
        {c::kTableRfOutGlobal, "rfout_global"},
        {c::kModuleJson, "tmp/tavel/web/modulejson.json"},
        {c::kSapConfigWeb, "tavel/datosWeb/SAP/sap.cfg"},
        {c::kPushNotificationPath, "/api/push"},
    };
    for (const auto& k : cases)
        EXPECT_STREQ(k.value, k.expected);
    EXPECT_EQ(c::kPushNotificationPort, 15002);
}

TEST(Constants, AddressPatternsMatchWholeAddressesOnly)
{
    std::regex ipv4(c::kIpv4Regex);
    std::regex mac(c::kMacRegex);
    for (const char* good : {"192.168.1.254", "0.0.0.0", "255.255.255.255", "10.0.0.1"})
        EXPECT_TRUE(std::regex_match(good, ipv4)) << good;
    for (const char* bad : {"192x168.1.254", "256.1.1.1", "1.2.3", "01.2.3.4", "1.2.3.4.5", ""})
        EXPECT_FALSE(std::regex_match(bad, ipv4)) << bad;
    EXPECT_TRUE(std::regex_match("00:1A:2b:3C:4d:5E", mac));
    EXPECT_FALSE(std::regex_match("00:1A:2b:3C:4d", mac));
    EXPECT_FALSE(std::regex_match("00-1A-2b-3C-4d-5E", mac));
}

TEST(Constants, CountryTableIsTheIsoListByShortName)
{
    const auto& codes = c::kIso3166Alpha3Codes;
    ASSERT_EQ(sizeof(codes) / sizeof(codes[0]), 249u);
    std::set<std::string> seen;
    for (const char* code : codes) {
        ASSERT_NE(code, nullptr);
        EXPECT_TRUE(std::regex_match(code, std::regex("[A-Z]{3}"))) << code;
        EXPECT_TRUE(seen.insert(code).second) << "duplicate " << code;
    }
    EXPECT_STREQ(codes[0], "AFG");
    EXPECT_STREQ(codes[1], "ALA"); // Aland Islands, the accent ignored
    EXPECT_STREQ(codes[2], "ALB");
    EXPECT_STREQ(codes[246], "YEM");
    EXPECT_STREQ(codes[247], "ZMB");
    EXPECT_STREQ(codes[248], "ZWE");

    auto index = [&](const char* code) {
        for (int i = 0; i < c::kIso3166Alpha3Count; ++i)
            if (std::string(codes[i]) == code)
                return i;
        return -1;
    };
    // Pairs whose order depends on ISO's form of the name.
    const char* before_after[][2] = {
        {"COD", "COG"}, // "Congo (the Democratic Republic of the)", "Congo (the)"
        {"UMI", "USA"}, // "United States Minor Outlying Islands", "United States of America"
        {"CRI", "CIV"}, // "Costa Rica", "Cote d'Ivoire"
        {"TUR", "TKM"}, // "Turkiye", "Turkmenistan"
        {"GBR", "UMI"},
        {"VGB", "VIR"},
        {"PRK", "KOR"},
    };
    for (const auto& p : before_after)
        EXPECT_EQ(index(p[0]) + 1, index(p[1])) << p[0] << " " << p[1];
}

} // namespace
