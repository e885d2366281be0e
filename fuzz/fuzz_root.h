// Scratch files for the targets that go through the file system: one root
// per process under /dev/shm (or TMPDIR), mapped with TAVEL_ROOT.
#ifndef TAVEL_FUZZ_ROOT_H
#define TAVEL_FUZZ_ROOT_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "commands.h"

// Removed when the process ends normally (libFuzzer exits through exit()).
inline std::string fuzz_scratch_dir()
{
    struct Scratch {
        std::string dir;
        ~Scratch()
        {
            std::error_code ignored;
            std::filesystem::remove_all(dir, ignored);
        }
    };
    static const Scratch scratch{[] {
        const char* tmp = std::getenv("TMPDIR");
        std::string dir = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : (tmp ? tmp : "/tmp");
        dir += "/tavel-fuzz." + std::to_string(::getpid());
        ::mkdir(dir.c_str(), 0755);
        return dir;
    }()};
    return scratch.dir;
}

// Path of a table file in the library's table directory under a fresh root.
inline std::string fuzz_root(const char* table)
{
    const std::string root = fuzz_scratch_dir();
    ::setenv("TAVEL_ROOT", root.c_str(), 1);
    for (const char* d : {"/tavel", "/tavel/datosWeb", "/tavel/datosWeb/tablasSI"})
        ::mkdir((root + d).c_str(), 0755);
    return root + "/tavel/datosWeb/tablasSI/" + table;
}

// A directory holding the demo's pattern tables as "nit" and "sdt".
inline std::string fuzz_pattern_dir()
{
    const std::string dir = fuzz_scratch_dir();
    const auto nit = tavel_si::demo_pattern_nit();
    const auto sdt = tavel_si::demo_pattern_sdt();
    std::ofstream(dir + "/nit", std::ios::binary).write(nit.data(), static_cast<std::streamsize>(nit.size()));
    std::ofstream(dir + "/sdt", std::ios::binary).write(sdt.data(), static_cast<std::streamsize>(sdt.size()));
    return dir;
}

#endif
