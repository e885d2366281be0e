#include <gtest/gtest.h>

#include <set>

#include <tavel/code_conversions.h>

namespace {

TEST(ServiceType, ClassesEveryServiceTypeValue)
{
    const std::set<int> tv{1, 4, 5, 22, 23, 24, 25, 26, 27, 28, 30, 31}, radio{2, 7, 10};
    for (int t = 0; t < 256; ++t) {
        const unsigned short expected = tv.count(t) ? 1 : radio.count(t) ? 0 : 2;
        EXPECT_EQ(tavel::getTipoServicio(static_cast<unsigned short>(t)), expected) << t;
    }
    EXPECT_EQ(tavel::getTipoServicio(0x0101), 2); // the whole value counts, not its low byte
}

TEST(OrbitalPosition, EastKeptWestNegatedAndFoldedFrom180)
{
    // Position in tenths of a degree, east flag, expected. West from 180.0 folds
    // east (300.0 W is 60.0 E); any flag but 0 is east.
    const int cases[][3] = {{192, 1, 192},   {192, 0, -192}, {0, 0, 0},    {1799, 0, -1799}, {1800, 1, 1800},
                            {1800, 0, 1800}, {3000, 0, 600}, {3599, 0, 1}, {300, 2, 300}};
    for (const auto& c : cases) {
        const auto position = static_cast<unsigned short>(c[0]);
        EXPECT_EQ(tavel::getOrbitafromNITdata(position, static_cast<unsigned char>(c[1])), c[2]) << c[0] << "/" << c[1];
    }
}

TEST(Bandwidth, CodesBothWaysAndUnknownValues)
{
    // MHz, output code, input code
    const unsigned short cases[][3] = {{8, 0, 2}, {7, 1, 1}, {6, 2, 0}, {5, 3, 2},
                                       {0, 0, 2}, {4, 0, 2}, {9, 0, 2}, {1700, 0, 2}};
    for (const auto& c : cases) {
        EXPECT_EQ(tavel::getBWOutputValueFromMHZ(c[0]), c[1]) << c[0];
        EXPECT_EQ(tavel::getBWInputValueFromMHZ(c[0]), c[2]) << c[0];
    }
    const unsigned short mhz_of_code[] = {8, 7, 6, 5, 0, 0};
    for (unsigned short code = 0; code < 6; ++code)
        EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(code), mhz_of_code[code]) << code;
    EXPECT_EQ(tavel::getAncho_BandaOut_MHZ(0xFFFF), 0);
}

// Universal LNB: 9750 MHz low band, 10600 MHz high band. IF range 950..2150.
TEST(SatelliteIf, ChoosesTheOscillatorThatLandsInTheIfRange)
{
    // RF, lo_a, lo_b (MHz), then the IF (MHz) and band (1: lo_a used) expected.
    const unsigned short cases[][5] = {
        {11000, 10600, 9750, 1250, 0}, {12000, 10600, 9750, 1400, 1}, // IF_a 400 out: lo_b; IF_b 2250 out: lo_a
        {11700, 9750, 10600, 1100, 0}, {11700, 10600, 9750, 1100, 1}, // both inside: the lower IF wins
        {11000, 9750, 9750, 1250, 1},  {10700, 9750, 9750, 950, 1},   // a tie goes to lo_a, edges included
        {11900, 9750, 9750, 2150, 1},  {10699, 9750, 9750, 950, 0},   // both 949: out, 950 and band 0
        {11901, 9750, 9750, 950, 0},   {5000, 9750, 10600, 950, 0},   // both 2151; below both: both wrap
        {3000, 9750, 1500, 1500, 0},   {3000, 1500, 9750, 1500, 1},   // IF_a wraps to 58786; IF_b wraps
    };
    for (const auto& c : cases) {
        unsigned short band = 7;
        EXPECT_EQ(tavel::convertir_TS_freq(c[0], band, c[1], c[2]), c[3]) << c[0] << " " << c[1] << "/" << c[2];
        EXPECT_EQ(band, c[4]) << c[0] << " " << c[1] << "/" << c[2];
        EXPECT_EQ(tavel::getBandaFromFrecuencia(c[0], c[1], c[2]), c[4]) << c[0] << " " << c[1] << "/" << c[2];
    }
}

TEST(SatelliteIf, BandFunctionsAgreeOverASweep)
{
    const unsigned short oscillators[][2] = {
        {9750, 10600}, {10600, 9750}, {9750, 9750}, {5150, 5750}, {10750, 11300}, {0, 0}, {65000, 100}};
    for (const auto& lo : oscillators) {
        for (unsigned int f = 0; f <= 0xFFFF; f += 7) {
            const auto freq = static_cast<unsigned short>(f);
            unsigned short band = 9;
            const unsigned short if_mhz = tavel::convertir_TS_freq(freq, band, lo[0], lo[1]);
            ASSERT_EQ(tavel::getBandaFromFrecuencia(freq, lo[0], lo[1]), band) << freq << " " << lo[0] << "/" << lo[1];
            ASSERT_TRUE(if_mhz >= 950 && if_mhz <= 2150 && band <= 1) << freq << " " << if_mhz << " " << band;
        }
    }
}

} // namespace
