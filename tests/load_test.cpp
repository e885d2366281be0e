#include <tavel/load.h>

#include "system/load.h"
#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sys/statvfs.h>

namespace {

using tavel::test::TempRoot;

struct CpuStep {
    const char* stat;  // /proc/stat; nullptr: file removed
    unsigned int percent, total, idle;
};

// Feeds the steps to getCpuUsage in turn, counters starting at 0.
void runCpuSteps(const std::vector<CpuStep>& steps)
{
    TempRoot root;
    unsigned int total = 0, idle = 0;
    for (const CpuStep& s : steps) {
        if (!s.stat) {
            std::remove(root("/proc/stat").c_str());
        } else {
            ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(s.stat, s.stat + strlen(s.stat)),
                                                       root("/proc/stat"), false),
                      0);
        }
        EXPECT_EQ(tavel::getCpuUsage(total, idle), s.percent) << (s.stat ? s.stat : "-");
        EXPECT_EQ(total, s.total) << (s.stat ? s.stat : "-");
        EXPECT_EQ(idle, s.idle) << (s.stat ? s.stat : "-");
    }
}

TEST(CpuUsage, PrimedThenZeroThenDeltas)
{
    // user nice system idle iowait irq softirq (steal etc. ignored)
    const char* first = "cpu  300 100 200 1200 100 50 50 7 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n";
    runCpuSteps({
        {first, 40, 2000, 1200},                                   // primed: 100 * 800 / 2000
        {first, 0, 2000, 1200},                                    // unchanged counters
        {"cpu  500 100 400 1300 100 50 50 0 0 0\n", 80, 2500, 1300},  // 100 * 400 / 500
        {"cpu  1 2 x\n", 0, 2500, 1300},  // unreadable: counters left alone
        {nullptr, 0, 2500, 1300},
    });
    // idle 2^32 + 1000 on a many-core host: the figures wrap in 32 bits.
    runCpuSteps({{"cpu  1000 0 0 4294968296 0 0 0\n", 50, 2000, 1000},
                 {"cpu  1100 0 0 4294968296 0 0 0\n", 100, 2100, 1000}});
}

TEST(RamUse, IsTheShareOfFreeMemory)
{
    const uint64_t mib = 1024 * 1024;
    EXPECT_EQ(tavel::load::freeMemoryPercent(128 * mib, 512 * mib), 25u);
    // 512 MiB counted in bytes would overflow a 32-bit product.
    EXPECT_EQ(tavel::load::freeMemoryPercent(511 * mib, 512 * mib), 99u);
    EXPECT_EQ(tavel::load::freeMemoryPercent(0, 0), 0u);
    EXPECT_GT(tavel::getRamUse(), 0u);
    EXPECT_LE(tavel::getRamUse(), 100u);
}

TEST(FsUse, ReservedBlocksCountNeitherWayAndMatchStatvfs)
{
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 400, 300), 66u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 1000, 1000), 0u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 100, 0), 100u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(10, 20, 5), 0u);  // inconsistent figures

    TempRoot root;
    struct statvfs fs;
    ASSERT_EQ(::statvfs(root.path().c_str(), &fs), 0);
    unsigned long long used = fs.f_blocks - fs.f_bfree;
    unsigned long long expected = used + fs.f_bavail ? 100 * used / (used + fs.f_bavail) : 0;
    unsigned int got = tavel::getFSUse(root.path().c_str());
    // Another process may write between the two looks; allow one point.
    EXPECT_LE(got > expected ? got - expected : expected - got, 1u);
    EXPECT_EQ(tavel::getFSUse("/no/such/path"), 0u);
    EXPECT_EQ(tavel::getFSUse(nullptr), 0u);
}

} // namespace
