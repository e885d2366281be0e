#include <tavel/module.h>

#include "system/slot.h"
#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <chrono>

namespace {

using tavel::test::TempRoot;

TEST(ModuleModel, NumbersOfKnownAndUnknownNames)
{
    struct Case {
        const char* name;
        unsigned short number;
    } cases[] = {
        {"KMX-410", 1}, {"KMX-430", 3}, {"KMX-630", 4}, {"KSR-430", 7},
        {"KMX-630 ", 99},  // trailing blank: callers trim, not us
        {"kmx-630", 99}, {"KMX-6300", 99}, {"", 99}, {"PWU-160", 99},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tavel::getNumModeloModulo(c.name), c.number) << '"' << c.name << '"';
}

TEST(ModuleModel, HeadendKindAndRfPorts)
{
    for (unsigned short m : {1, 3, 4, 7, 99}) {
        EXPECT_EQ(tavel::getTipoCabecera(m), m == 7) << m;
        EXPECT_EQ(tavel::getNumSalidasRFModulo(m), m == 4 ? 6 : 4) << m;
        EXPECT_EQ(tavel::getNumEntradasRFModulo(m), tavel::getNumSalidasRFModulo(m)) << m;
    }
    EXPECT_TRUE(tavel::getTipoCabecera(std::string("KSR-430")));
    EXPECT_FALSE(tavel::getTipoCabecera(std::string("KSR-430 ")));
    EXPECT_FALSE(tavel::getTipoCabecera(std::string("KMX-630")));
}

TEST(Slot, NumbersFromNames)
{
    struct Case {
        const char* name;
        int slot;
    } cases[] = {
        {"tvl7", 7}, {"tvl0", 0}, {"tvl9", 9}, {"tvl10", -1}, {"tvl12", -1}, {"tvl", 0},
        {"tvlslot3", 0},  // no leading digits
        {"tvl3x", 3}, {"lo", 1}, {"lo0", -1}, {"eth0", -1}, {"TVL7", -1}, {"", -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tavel::getSlotNumber(c.name), c.slot) << '"' << c.name << '"';
}

void writeDetectionFile(const TempRoot& root, const std::string& text)
{
    ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(text.begin(), text.end()),
                                               root("/tmp/tavel/detected-slot"), false),
              0);
}

TEST(Slot, DetectionFileValues)
{
    struct Case {
        const char* content;
        unsigned int slot;
    } cases[] = {
        {"10\n", 10}, {"11\n", 0}, {"3", 3}, {"0\n", 0}, {"garbage\n", 0}, {"", 0}, {"-1\n", 0},
    };
    for (const Case& c : cases) {
        TempRoot root;
        writeDetectionFile(root, c.content);
        int sleeps = 0;
        EXPECT_EQ(tavel::slot::detectSlot(3, [&] { ++sleeps; }), c.slot) << c.content;
        EXPECT_EQ(sleeps, 0);
    }
}

TEST(Slot, MissingFileRetriesSleepOncePerRetryWithoutFinalLook)
{
    TempRoot root;
    int sleeps = 0;
    EXPECT_EQ(tavel::slot::detectSlot(0, [&] { ++sleeps; }), 0u);
    EXPECT_EQ(sleeps, 0);

    EXPECT_EQ(tavel::slot::detectSlot(3, [&] { ++sleeps; }), 0u);
    EXPECT_EQ(sleeps, 3);

    // The file appearing during the last wait is not looked at any more.
    sleeps = 0;
    EXPECT_EQ(tavel::slot::detectSlot(2,
                                      [&] {
                                          if (++sleeps == 2)
                                              writeDetectionFile(root, "5\n");
                                      }),
              0u);
    EXPECT_EQ(sleeps, 2);
    // Now present: read at once.
    EXPECT_EQ(tavel::slot::detectSlot(2, [&] { ++sleeps; }), 5u);
    EXPECT_EQ(sleeps, 2);
}

TEST(Slot, FileAppearingDuringAnEarlierWaitIsRead)
{
    TempRoot root;
    int sleeps = 0;
    EXPECT_EQ(tavel::slot::detectSlot(3,
                                      [&] {
                                          if (++sleeps == 1)
                                              writeDetectionFile(root, "4\n");
                                      }),
              4u);
    EXPECT_EQ(sleeps, 1);
}

TEST(Slot, PublicFunctionZeroRetriesDoesNotSleep)
{
    TempRoot root;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(tavel::getDetectedSlot(0), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    writeDetectionFile(root, "8\n");
    EXPECT_EQ(tavel::getDetectedSlot(0), 8u);
}

} // namespace
