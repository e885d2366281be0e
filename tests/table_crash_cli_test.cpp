// A writer killed at random moments never leaves a torn table file, and the
// next write of a table removes the temporary file the dead writer left.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "table_rounds.h"
#include "test_support.h"

namespace {

using Files = std::vector<std::vector<char>>;

// Returns once the writer has started up and is about to write.
pid_t start_writer(const std::string& root, unsigned first, const char* count)
{
    int ready[2];
    if (pipe(ready) != 0)
        return -1;
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("TAVEL_ROOT", root.c_str(), 1);
        dup2(ready[1], STDOUT_FILENO);
        execl(TAVEL_WRITER_HELPER, TAVEL_WRITER_HELPER, std::to_string(first).c_str(), count, nullptr);
        _exit(127);
    }
    char byte = 0;
    close(ready[1]);
    if (read(ready[0], &byte, 1) != 1)
        byte = 0; // the writer failed to start; the checks below say so
    close(ready[0]);
    return pid;
}

} // namespace

TEST(TableCrash, KilledWriterLeavesWholeOldOrNewTablesAndNoTemps)
{
    tavel::test::TempRoot writer_root;
    const std::string root = writer_root.path(), dir = writer_root("/tavel/datosWeb/tablasSI");
    const auto paths = tavel::test::round_files();
    const std::vector<std::string> tables = {"NIT_table_aux", "SDT_table", "TOT_table"};

    int status = -1;
    waitpid(start_writer(root, 0, "1"), &status, 0);
    ASSERT_EQ(status, 0);
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<unsigned> last(3, 0);
    const auto begin = std::chrono::steady_clock::now();
    for (int kill_no = 0; kill_no < 200; ++kill_no) {
        const pid_t pid = start_writer(root, last[0] + 1, nullptr);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        // Each file is a whole round's bytes, CRCs and all. NIT and SDT carry the
        // round in bytes 3-4; the TOT is no newer than the NIT.
        Files files;
        for (const auto& path : paths)
            files.push_back(tavel::test::read_file(path));
        for (size_t t = 0; t < 3; ++t) {
            ASSERT_GT(files[t].size(), 4u) << tables[t] << " after kill " << kill_no;
            if (t < 2)
                last[t] = static_cast<unsigned char>(files[t][3]) << 8 | static_cast<unsigned char>(files[t][4]);
            while (t == 2 && last[2] < last[0] && files[2] != tavel::test::round_bytes(last[2])[2])
                ++last[2];
            ASSERT_EQ(files[t], tavel::test::round_bytes(last[t])[t]) << tables[t] << " round " << last[t];
        }
        // The tables and at most the temporary files of the writes that were cut.
        EXPECT_LE(tavel::test::names_in(dir).size(), 6u) << "after kill " << kill_no;
    }
    // 200 kills fit in 30 s on a machine that is not overloaded by others.
    double load = 0;
    if (getloadavg(&load, 1) == 1 && load < std::thread::hardware_concurrency()) {
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    }
    waitpid(start_writer(root, last[0] + 1, "1"), &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(tavel::test::names_in(dir), tables);
}
