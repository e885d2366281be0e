// The headend description is typed by people: whatever the text, the checks
// either accept it or refuse it with a ConfigError (exit status 2), and
// nothing else escapes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "config.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Seeds name the pattern files "nit" and "sdt" next to the description.
    static const std::string base = fuzz_pattern_dir();
    try {
        tavel_si::parse_config(std::string(reinterpret_cast<const char*>(data), size), base);
    } catch (const tavel_si::ConfigError&) {
        // Refused: the tool answers kExitBadInput. Any other exception
        // escapes and libFuzzer reports it.
    }
    return 0;
}
