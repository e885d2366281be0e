#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <syslog.h>

#include <tavel/eit.h>
#include <tavel/file_io.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>

#include "platform/log.h"
#include "platform/platform_path.h"
#include "table_rounds.h"
#include "test_support.h"

namespace fs = std::filesystem;
using tavel::test::hex;

TEST(PlatformPath, PrefixesOnlyWithNonEmptyRoot)
{
    tavel::test::TempRoot root; // restores the caller's TAVEL_ROOT afterwards
    EXPECT_EQ(tavel::platform_path("/tmp/tavel/detected-slot"), root.path() + "/tmp/tavel/detected-slot");
    ::setenv("TAVEL_ROOT", "", 1);
    EXPECT_EQ(tavel::platform_path("/tmp/tavel/detected-slot"), "/tmp/tavel/detected-slot");
    ::unsetenv("TAVEL_ROOT");
    EXPECT_EQ(tavel::platform_path("/tavel/datosWeb/tablasSI/NIT_table"), "/tavel/datosWeb/tablasSI/NIT_table");
}

TEST(FileIo, FailedRenameAndReadKeepWhatWasThere)
{
    // A directory standing where the file should be: rename must fail.
    tavel::test::TempRoot root;
    const std::string path = root("/tables/NIT_table");
    fs::create_directories(path + "/inner");
    EXPECT_EQ(tavel::write_char_vector_to_file(hex("40"), path, false), 0);
    EXPECT_TRUE(fs::is_directory(path + "/inner"));
    EXPECT_EQ(tavel::test::names_in(root("/tables")).size(), 1u);
    EXPECT_EQ(tavel::write_char_vector_to_file(hex("40"), root("/dir/"), false), 0);

    std::vector<char> buffer = hex("01 02");
    EXPECT_EQ(tavel::read_char_vector_from_file(root("/missing"), buffer), 0);
    EXPECT_EQ(buffer, hex("01 02"));
}

TEST(Log, FormatsPrintfStyleWithErrno)
{
    tavel::LogCapture log;
    tavel::log(LOG_WARNING, "Imposible leer %s %d%%", "x", 5);
    errno = ENOENT;
    tavel::log(LOG_ERR, "iconv: (%m) %i", 22);
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer x 5%"));
    EXPECT_TRUE(log.has(LOG_ERR, std::string("iconv: (") + std::strerror(ENOENT) + ") 22"));
}

// The EIT, SDT and TOT files: none gives false, the buffer untouched and the
// warning naming the system's path, not the scratch one (the EIT's says NIT); the SDT
// counts 14 bytes or fewer as no table, without a word; any other is read as is.
TEST(TableFiles, ReadFromTheirPlaces)
{
    const struct {
        const char* file;
        bool (*read)(std::vector<char>&);
        const char* warning;
        bool sdt;
    } rows[] = {
        {"EIT_table", tavel::tEIT::leer_archivo_EIT_a_buffer, "Imposible leer el archivo NIT o archivo NIT", false},
        {"SDT_table", tavel::tSDT::leer_archivo_SDT_a_buffer, "Imposible leer el archivo SDT o archivo SDT", true},
        {"TOT_table", [](std::vector<char>& b) { return tavel::tTOT().leer_archivo_TOT_a_buffer(b); },
         "Imposible leer el archivo TOT o archivo TOT", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        tavel::test::TempRoot root;
        const std::string path = std::string("/tavel/datosWeb/tablasSI/") + row.file;
        std::vector<char> buffer = hex("01 02");
        tavel::LogCapture log;
        EXPECT_FALSE(row.read(buffer));
        EXPECT_EQ(buffer, hex("01 02"));
        EXPECT_TRUE(log.has(LOG_WARNING, std::string(row.warning) + " no existente. " + path));
        for (const size_t size : {14u, 15u}) {
            root.put(path, std::string(size, 'x'));
            EXPECT_EQ(row.read(buffer), size == 15 || !row.sdt) << size;
            EXPECT_EQ(buffer, std::vector<char>(size, 'x'));
        }
        EXPECT_EQ(log.count(LOG_WARNING), 1u);
    }
}
