#include <gtest/gtest.h>

#include <tavel/code_conversions.h>

namespace {

TEST(ServiceType, ClassesEveryServiceTypeValue)
{
    const int tv[] = {1, 4, 5, 22, 23, 24, 25, 26, 27, 28, 30, 31};
    const int radio[] = {2, 7, 10};
    int expected[256];
    for (int& e : expected)
        e = 2;
    for (int t : tv)
        expected[t] = 1;
    for (int r : radio)
        expected[r] = 0;
    for (int t = 0; t < 256; ++t)
        EXPECT_EQ(tavel::getTipoServicio(static_cast<unsigned short>(t)), expected[t]) << t;
    // Only the value counts, not its low byte.
    EXPECT_EQ(tavel::getTipoServicio(0x0101), 2);
    EXPECT_EQ(tavel::getTipoServicio(0xFFFF), 2);
}

TEST(OrbitalPosition, EastKeptWestNegatedAndFoldedFrom180)
{
    struct Case {
        unsigned short position;
        unsigned char flag;
        short expected;
    } cases[] = {
        {192, 1, 192},   // 19.2 E
        {192, 0, -192},  // 19.2 W
        {0, 0, 0},
        {1799, 0, -1799},
        {1800, 0, 1800}, // 180.0 W folds to 180.0 E
        {3000, 0, 600},  // 300.0 W folds to 60.0 E
        {3599, 0, 1},
        {1800, 1, 1800},
        {300, 2, 300},   // any non-zero flag is east
    };
    for (const auto& c : cases)
        EXPECT_EQ(tavel::getOrbitafromNITdata(c.position, c.flag), c.expected) << c.position << "/" << int(c.flag);
}

TEST(Bandwidth, CodesBothWaysAndUnknownValues)
{
    struct Case {
        unsigned short mhz, out_code, in_code;
    } cases[] = {{8, 0, 2}, {7, 1, 1}, {6, 2, 0}, {5, 3, 2}, {0, 0, 2}, {4, 0, 2}, {9, 0, 2}, {1700, 0, 2}};
    for (const auto& c : cases) {
        EXPECT_EQ(tavel::getBWOutputValueFromMHZ(c.mhz), c.out_code) << c.mhz;
        EXPECT_EQ(tavel::getBWInputValueFromMHZ(c.mhz), c.in_code) << c.mhz;
    }
    const unsigned short mhz_of_code[] = {8, 7, 6, 5, 0, 0};
    for (unsigned short code = 0; code < 6; ++code)
        EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(code), mhz_of_code[code]) << code;
    EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(0xFFFF), 0);
    // Output code and MHz round-trip for the four real bandwidths.
    for (unsigned short mhz : {5, 6, 7, 8})
        EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(tavel::getBWOutputValueFromMHZ(mhz)), mhz);
}

// Universal LNB: 9750 MHz low band, 10600 MHz high band.
TEST(SatelliteIf, ChoosesTheOscillatorThatLandsInTheIfRange)
{
    struct Case {
        unsigned short freq, lo_a, lo_b;
        unsigned short if_mhz, band;
        const char* what;
    } cases[] = {
        {11000, 10600, 9750, 1250, 0, "lo_a gives 400, out: lo_b"},
        {12000, 10600, 9750, 1400, 1, "lo_b gives 2250, out: lo_a"},
        {11500, 10600, 9750, 1750, 0, "lo_a gives 900, out: lo_b"},
        {11700, 9750, 10600, 1100, 0, "both inside, IF_a 1950 > IF_b 1100: lo_b"},
        {11700, 10600, 9750, 1100, 1, "both inside, IF_a 1100 < IF_b 1950: lo_a"},
        {11000, 9750, 9750, 1250, 1, "a tie goes to lo_a"},
        {10700, 9750, 9750, 950, 1, "tie on the lower edge"},
        {11900, 9750, 9750, 2150, 1, "tie on the upper edge"},
        {10699, 9750, 9750, 950, 0, "both 949, out: 950 and band 0"},
        {11901, 9750, 9750, 950, 0, "both 2151, out"},
        {5000, 9750, 10600, 950, 0, "below both oscillators: both differences wrap, out"},
        {3000, 9750, 1500, 1500, 0, "below lo_a only: IF_a wraps to 58786, lo_b used"},
        {3000, 1500, 9750, 1500, 1, "below lo_b only: IF_b wraps, lo_a used"},
    };
    for (const auto& c : cases) {
        unsigned short band = 7;
        EXPECT_EQ(tavel::convertir_TS_freq(c.freq, band, c.lo_a, c.lo_b), c.if_mhz) << c.what;
        EXPECT_EQ(band, c.band) << c.what;
        EXPECT_EQ(tavel::getBandaFromFrecuencia(c.freq, c.lo_a, c.lo_b), c.band) << c.what;
    }
}

TEST(SatelliteIf, BandFunctionsAgreeOverASweep)
{
    const unsigned short oscillators[][2] = {
        {9750, 10600}, {10600, 9750}, {9750, 9750}, {5150, 5750}, {10750, 11300}, {0, 0}, {65000, 100}};
    for (const auto& lo : oscillators) {
        for (unsigned int f = 0; f <= 0xFFFF; f += 7) {
            auto freq = static_cast<unsigned short>(f);
            unsigned short band = 9;
            unsigned short if_mhz = tavel::convertir_TS_freq(freq, band, lo[0], lo[1]);
            ASSERT_EQ(tavel::getBandaFromFrecuencia(freq, lo[0], lo[1]), band) << freq << " " << lo[0] << "/" << lo[1];
            ASSERT_GE(if_mhz, 950);
            ASSERT_LE(if_mhz, 2150);
            ASSERT_LE(band, 1);
        }
    }
}

} // namespace
