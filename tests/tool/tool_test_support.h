// What the tool's test programs share: a scratch directory, running a
// command with its output captured, and reading files back whole.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tool_test {

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;
    std::string out, err;
};

inline std::string slurp(const fs::path& p)
{
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::vector<char> bytes_of(const fs::path& p)
{
    const std::string s = slurp(p);
    return std::vector<char>(s.begin(), s.end());
}

// Every file under dir (none when it does not exist) with its bytes, but those named skip.
inline std::map<std::string, std::string> files_under(const fs::path& dir, const std::string& skip = "")
{
    std::map<std::string, std::string> files;
    if (fs::exists(dir))
        for (const auto& e : fs::recursive_directory_iterator(dir))
            if (e.is_regular_file() && e.path().filename() != skip)
                files[e.path().string()] = slurp(e.path());
    return files;
}

inline fs::path make_scratch_dir()
{
    char name[] = "/tmp/tavel-tool-test-XXXXXX";
    return mkdtemp(name);
}

// Runs a shell command; its stdout and stderr pass through files in dir.
inline Outcome run_in(const fs::path& dir, const std::string& command)
{
    const fs::path out = dir / "stdout", err = dir / "stderr";
    const int raw = std::system((command + " > " + out.string() + " 2> " + err.string() + " < /dev/null").c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), slurp(err)};
}

// The built tool, never steered by the caller's TAVEL_ROOT.
inline Outcome run_tool(const fs::path& dir, const std::string& args)
{
    return run_in(dir, "env -u TAVEL_ROOT " TAVEL_SI_PROGRAM " " + args);
}

// A scratch directory per test, removed with it: run() starts the tool there,
// shell() any command.
class ToolTest : public ::testing::Test {
protected:
    ~ToolTest() override { fs::remove_all(dir_); }
    Outcome run(const std::string& args) { return run_tool(dir_, args); }
    Outcome shell(const std::string& command) { return run_in(dir_, command); }
    fs::path dir_ = make_scratch_dir();
};

} // namespace tool_test
