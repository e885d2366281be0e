#include <tavel/module.h>

#include "system/slot.h"
#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <chrono>

namespace {

using tavel::test::TempRoot;

TEST(ModuleModel, NumbersKindAndRfPorts)
{
    const std::pair<const char*, unsigned short> names[] = {
        {"KMX-410", 1}, {"KMX-430", 3}, {"KMX-630", 4}, {"KSR-430", 7},
        {"KMX-630 ", 99},  // trailing blank: callers trim, not us
        {"kmx-630", 99}, {"KMX-6300", 99}, {"", 99},
    };
    for (const auto& [name, number] : names)
        EXPECT_EQ(tavel::getNumModeloModulo(name), number) << '"' << name << '"';
    for (unsigned short m : {1, 3, 4, 7, 99}) {
        EXPECT_EQ(tavel::getTipoCabecera(m), m == 7) << m;
        EXPECT_EQ(tavel::getNumSalidasRFModulo(m), m == 4 ? 6 : 4) << m;
        EXPECT_EQ(tavel::getNumEntradasRFModulo(m), m == 4 ? 6 : 4) << m;
    }
    EXPECT_TRUE(tavel::getTipoCabecera(std::string("KSR-430")));
    EXPECT_FALSE(tavel::getTipoCabecera(std::string("KSR-430 ")));
}

TEST(Slot, NumbersFromNames)
{
    const std::pair<const char*, int> names[] = {
        {"tvl7", 7}, {"tvl0", 0}, {"tvl9", 9}, {"tvl10", -1}, {"tvl12", -1}, {"tvl", 0}, {"tvlslot3", 0},  // no leading digits
        {"tvl3x", 3}, {"lo", 1}, {"lo0", -1}, {"eth0", -1}, {"TVL7", -1}, {"", -1},
    };
    for (const auto& [name, slot] : names)
        EXPECT_EQ(tavel::getSlotNumber(name), slot) << '"' << name << '"';
}

void writeDetectionFile(const TempRoot& root, const std::string& text)
{
    ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(text.begin(), text.end()),
                                               root("/tmp/tavel/detected-slot"), false),
              0);
}

TEST(Slot, DetectionFileAndRetryRule)
{
    struct Case {
        const char* content;  // nullptr: no file at first
        unsigned int retries;
        int file_at_sleep;  // "4" appears during this wait; 0: never
        unsigned int slot;
        int sleeps;
    } cases[] = {
        {"10\n", 3, 0, 10, 0}, {"11\n", 3, 0, 0, 0}, {"3", 3, 0, 3, 0}, {"garbage\n", 3, 0, 0, 0}, {"", 3, 0, 0, 0},
        {nullptr, 0, 0, 0, 0}, {nullptr, 3, 0, 0, 3},  // one sleep per retry
        {nullptr, 3, 1, 4, 1},  // appears during an earlier wait: read
        {nullptr, 2, 2, 0, 2},  // appears during the last wait: no final look
    };
    for (const Case& c : cases) {
        TempRoot root;
        if (c.content)
            writeDetectionFile(root, c.content);
        int sleeps = 0;
        auto sleep = [&] {
            if (++sleeps == c.file_at_sleep)
                writeDetectionFile(root, "4\n");
        };
        EXPECT_EQ(tavel::slot::detectSlot(c.retries, sleep), c.slot) << (c.content ? c.content : "-") << c.retries;
        EXPECT_EQ(sleeps, c.sleeps) << (c.content ? c.content : "-") << c.retries;
    }
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
