// The EIT file comes from elsewhere in the headend: the library's reader and
// the tool's decoder must take any bytes in it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <syslog.h>
#include <vector>

#include <tavel/eit.h>

#include "dump.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Traces would cost more than the parsing; warnings still go out.
    static const int mask = setlogmask(LOG_UPTO(LOG_WARNING));
    (void)mask;
    static const std::string path = fuzz_root("EIT_table");
    std::vector<char> bytes(reinterpret_cast<const char*>(data), reinterpret_cast<const char*>(data) + size);
    // First section: one of the EIT table ids (0x4E to 0x6F).
    if (!bytes.empty())
        bytes[0] = static_cast<char>(0x4E + data[0] % 0x22);
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));

    std::vector<char> back;
    if (tavel::tEIT::leer_archivo_EIT_a_buffer(back) && back != bytes)
        std::abort();
    tavel_si::decode_table_file(path, back);
    return 0;
}
