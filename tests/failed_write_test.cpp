// A table write that fails (full disk, write, fsync or rename refused, a
// read-only directory) keeps the old file, says why, and leaves no temporary
// file; dead writers' temporary files go at the next write, others stay.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "platform/log.h"
#include "table_rounds.h"
#include "test_support.h"

namespace {

// Test-only shim (linked with --wrap): the call that fails on demand. The
// other failures come from the system: a file-size limit, a read-only directory.
enum class Fail { none, write, fsync, rename, file_size, read_only };
Fail failing = Fail::none;
bool fails(Fail call, int error) { return failing == call && (errno = error, true); }

} // namespace

extern "C" {
ssize_t __real_write(int fd, const void* data, size_t size);
int __real_fsync(int fd);
int __real_rename(const char* from, const char* to);
ssize_t __wrap_write(int f, const void* p, size_t n) { return fails(Fail::write, EIO) ? -1 : __real_write(f, p, n); }
int __wrap_fsync(int f) { return fails(Fail::fsync, ENOSPC) ? -1 : __real_fsync(f); }
int __wrap_rename(const char* a, const char* b) { return fails(Fail::rename, EROFS) ? -1 : __real_rename(a, b); }
}

using tavel::test::names_in;
using tavel::test::read_file;

// Round 2 over round 1 with each failure armed, with the system's text for it.
TEST(FailedWrite, OldFileKeptFailureLoggedNoTempLeft)
{
    const std::pair<Fail, const char*> cases[] = {
        {Fail::file_size, "File too large"}, // a full disk, as far as the writer can tell
        {Fail::write, "Input/output error"},
        {Fail::fsync, "No space left on device"},
        {Fail::rename, "Read-only file system"},
        {Fail::read_only, "Permission denied"}, // not as root: directory permissions do not refuse it
    };
    for (const auto& [fail, error] : cases) {
        SCOPED_TRACE(error);
        if (fail == Fail::read_only && geteuid() == 0)
            continue;
        tavel::test::TempRoot root;
        ASSERT_TRUE(tavel::test::write_round(1));
        const auto paths = tavel::test::round_files();
        std::vector<std::vector<char>> old;
        for (const auto& path : paths)
            old.push_back(read_file(path));
        const std::string dir = root("/tavel/datosWeb/tablasSI");
        rlimit usual{}, small{};
        getrlimit(RLIMIT_FSIZE, &usual);
        small = {16, usual.rlim_max}; // smaller than either table
        const auto old_handler = signal(SIGXFSZ, SIG_IGN);
        tavel::LogCapture log;
        failing = fail;
        if (fail == Fail::file_size)
            setrlimit(RLIMIT_FSIZE, &small);
        if (fail == Fail::read_only)
            chmod(dir.c_str(), 0555);
        const bool written = tavel::test::write_round(2);
        failing = Fail::none;
        setrlimit(RLIMIT_FSIZE, &usual);
        chmod(dir.c_str(), 0755);
        signal(SIGXFSZ, old_handler);
        EXPECT_FALSE(written);
        EXPECT_TRUE(log.has(LOG_WARNING, "Imposible escribir el archivo TOT. /tavel/datosWeb/tablasSI/TOT_table"));
        for (size_t i = 0; i < paths.size(); ++i) {
            EXPECT_TRUE(log.has(LOG_WARNING, "write_char_vector_to_file: cannot write " + paths[i] + ": " + error));
            EXPECT_EQ(read_file(paths[i]), old[i]) << paths[i];
        }
        EXPECT_EQ(names_in(dir), (std::vector<std::string>{"NIT_table_aux", "SDT_table", "TOT_table"}));
    }
}

TEST(TempFiles, DeadWritersTempsGoOthersStay)
{
    tavel::test::TempRoot root;
    const std::string dir = root("/tavel/datosWeb/tablasSI/");
    ASSERT_TRUE(tavel::test::write_round(1));
    const std::vector<std::string> stay = {"EIT_table.tmp.Dead01", "TOT_table.tmp.Live01", "TOT_table.tmp.keep",
                                           "TOT_table.tmp.Dead0123"};
    int live = -1;
    for (const auto& name : {stay[0], stay[1], stay[2], stay[3], std::string("TOT_table.tmp.Dead01")}) {
        const int fd = open((dir + name).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_GE(fd, 0);
        if (name == stay[1])
            ASSERT_EQ(flock(live = fd, LOCK_EX), 0); // a writer still at work
        else
            close(fd);
    }
    ASSERT_TRUE(tavel::test::write_round(2));
    close(live);
    std::vector<std::string> expected = {"NIT_table_aux", "SDT_table", "TOT_table"};
    expected.insert(expected.end(), stay.begin(), stay.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names_in(dir), expected);
}
