// What the tool's test programs share: a scratch directory, running a
// command with its output captured, and reading files back whole.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

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

} // namespace tool_test
