#include <tavel/load.h>

#include "system/load.h"
#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <sys/statvfs.h>

namespace {

using tavel::test::TempRoot;

void writeProcStat(const TempRoot& root, const std::string& text)
{
    ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(text.begin(), text.end()), root("/proc/stat"), false),
              0);
}

TEST(CpuUsage, FirstCallPrimesThenUnchangedCountersGiveZero)
{
    TempRoot root;
    // user nice system idle iowait irq softirq (steal etc. ignored)
    writeProcStat(root, "cpu  300 100 200 1200 100 50 50 7 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n");
    unsigned int total = 0, idle = 0;
    // total 2000, idle 1200: 100 * 800 / 2000
    EXPECT_EQ(tavel::getCpuUsage(total, idle), 40u);
    EXPECT_EQ(total, 2000u);
    EXPECT_EQ(idle, 1200u);
    EXPECT_EQ(tavel::getCpuUsage(total, idle), 0u);
    EXPECT_EQ(total, 2000u);

    // 500 more ticks, 100 of them idle: 100 * 400 / 500
    writeProcStat(root, "cpu  500 100 400 1300 100 50 50 0 0 0\n");
    EXPECT_EQ(tavel::getCpuUsage(total, idle), 80u);
    EXPECT_EQ(total, 2500u);
    EXPECT_EQ(idle, 1300u);
}

TEST(CpuUsage, UnreadableFiguresLeaveCountersAlone)
{
    TempRoot root;
    unsigned int total = 77, idle = 33;
    EXPECT_EQ(tavel::getCpuUsage(total, idle), 0u);  // no file
    writeProcStat(root, "cpu  1 2 x\n");
    EXPECT_EQ(tavel::getCpuUsage(total, idle), 0u);
    EXPECT_EQ(total, 77u);
    EXPECT_EQ(idle, 33u);
}

TEST(CpuUsage, RealKernelFiguresStayInRange)
{
    unsigned int total = 0, idle = 0;
    EXPECT_LE(tavel::getCpuUsage(total, idle), 100u);
    EXPECT_GT(total, 0u);
    EXPECT_LE(tavel::getCpuUsage(total, idle), 100u);
}

TEST(RamUse, IsTheShareOfFreeMemory)
{
    const uint64_t mib = 1024 * 1024;
    EXPECT_EQ(tavel::load::freeMemoryPercent(128 * mib, 512 * mib), 25u);
    // 512 MiB counted in bytes would overflow a 32-bit product.
    EXPECT_EQ(tavel::load::freeMemoryPercent(511 * mib, 512 * mib), 99u);
    EXPECT_EQ(tavel::load::freeMemoryPercent(0, 0), 0u);
    EXPECT_LE(tavel::getRamUse(), 100u);
    EXPECT_GT(tavel::getRamUse(), 0u);
}

TEST(FsUse, ReservedBlocksCountNeitherWay)
{
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 400, 300), 66u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 1000, 1000), 0u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 100, 0), 100u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(0, 0, 0), 0u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(10, 20, 5), 0u);  // inconsistent figures
}

TEST(FsUse, MatchesStatvfsArithmetic)
{
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
