#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <syslog.h>

#include <tavel/file_io.h>

#include "platform/log.h"
#include "platform/platform_path.h"
#include "test_support.h"

namespace fs = std::filesystem;
using tavel::test::hex;

namespace {
std::string slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}
} // namespace

TEST(PlatformPath, PrefixesOnlyWithNonEmptyRoot)
{
    const char* saved = std::getenv("TAVEL_ROOT");
    std::string keep = saved ? saved : "";
    ::unsetenv("TAVEL_ROOT");
    EXPECT_EQ(tavel::platform_path("/tavel/datosWeb/tablasSI/NIT_table"), "/tavel/datosWeb/tablasSI/NIT_table");
    ::setenv("TAVEL_ROOT", "", 1);
    EXPECT_EQ(tavel::platform_path("/tmp/tavel/detected-slot"), "/tmp/tavel/detected-slot");
    ::setenv("TAVEL_ROOT", "/scratch/root", 1);
    EXPECT_EQ(tavel::platform_path("/tmp/tavel/detected-slot"), "/scratch/root/tmp/tavel/detected-slot");
    if (saved)
        ::setenv("TAVEL_ROOT", keep.c_str(), 1);
    else
        ::unsetenv("TAVEL_ROOT");
}

TEST(FileIo, WriteCreatesDirectoriesAndReadsBack)
{
    tavel::test::TempRoot root;
    const std::string path = root("/tavel/datosWeb/tablasSI/NIT_table");
    std::vector<char> data = hex("40 F0 0D 00 80 FF");
    ASSERT_NE(tavel::write_char_vector_to_file(data, path, false), 0);
    std::vector<char> back = hex("AA BB");
    ASSERT_NE(tavel::read_char_vector_from_file(path, back), 0);
    EXPECT_EQ(back, data);
    // Replacing leaves exactly the new content and no temporary behind.
    std::vector<char> shorter = hex("01");
    ASSERT_NE(tavel::write_char_vector_to_file(shorter, path, false), 0);
    EXPECT_EQ(slurp(path), std::string("\x01", 1));
    size_t files = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(path).parent_path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 1u);
    // An empty buffer gives an empty file.
    ASSERT_NE(tavel::write_char_vector_to_file({}, path, false), 0);
    EXPECT_EQ(fs::file_size(path), 0u);
}

TEST(FileIo, FailedWriteKeepsOldFile)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root ignores directory permissions";
    tavel::test::TempRoot root;
    const std::string dir = root("/tables");
    const std::string path = dir + "/TOT_table";
    ASSERT_NE(tavel::write_char_vector_to_file(hex("73 F0"), path, false), 0);
    ASSERT_EQ(::chmod(dir.c_str(), 0555), 0);
    EXPECT_EQ(tavel::write_char_vector_to_file(hex("00 00 00"), path, false), 0);
    ::chmod(dir.c_str(), 0755);
    EXPECT_EQ(slurp(path), std::string("\x73\xF0", 2));
}

TEST(FileIo, FailedRenameKeepsOldFileAndRemovesTemporary)
{
    // A directory standing where the file should be: rename must fail.
    tavel::test::TempRoot root;
    const std::string path = root("/tables/NIT_table");
    fs::create_directories(path + "/inner");
    EXPECT_EQ(tavel::write_char_vector_to_file(hex("40"), path, false), 0);
    EXPECT_TRUE(fs::is_directory(path + "/inner"));
    size_t entries = 0;
    for (const auto& entry : fs::directory_iterator(root("/tables"))) {
        (void)entry;
        ++entries;
    }
    EXPECT_EQ(entries, 1u);
}

TEST(FileIo, ReadFailureLeavesBuffer)
{
    tavel::test::TempRoot root;
    std::vector<char> buffer = hex("01 02");
    EXPECT_EQ(tavel::read_char_vector_from_file(root("/missing"), buffer), 0);
    EXPECT_EQ(buffer, hex("01 02"));
    EXPECT_EQ(tavel::write_char_vector_to_file(buffer, root("/dir/"), false), 0);
}

TEST(Log, CaptureRecordsPriorityTextAndErrno)
{
    tavel::LogCapture outer;
    {
        tavel::LogCapture inner;
        tavel::log(LOG_WARNING, "Imposible leer %s %d%%", "x", 5);
        errno = ENOENT;
        tavel::log(LOG_ERR, "iconv: (%m) %i", 22);
        ASSERT_EQ(inner.lines().size(), 2u);
        EXPECT_TRUE(inner.has(LOG_WARNING, "Imposible leer x 5%"));
        EXPECT_TRUE(inner.has(LOG_ERR, std::string("iconv: (") + std::strerror(ENOENT) + ") 22"));
        EXPECT_EQ(inner.count(LOG_ERR), 1u);
    }
    // Lines go to the innermost capture only; the outer one sees later lines.
    EXPECT_TRUE(outer.lines().empty());
    tavel::log(LOG_INFO, "Generate NIT file");
    EXPECT_TRUE(outer.has(LOG_INFO, "Generate NIT file"));
}
