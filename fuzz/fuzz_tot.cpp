// A TOT file is read back as written by another program: the library's
// reader and the tool's decoder must take any bytes in it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <syslog.h>
#include <vector>

#include <tavel/tot.h>

#include "dump.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Traces would cost more than the parsing; warnings still go out.
    static const int mask = setlogmask(LOG_UPTO(LOG_WARNING));
    (void)mask;
    static const std::string path = fuzz_root("TOT_table");
    std::vector<char> bytes(reinterpret_cast<const char*>(data), reinterpret_cast<const char*>(data) + size);
    // Keep the first section a TOT or TDT so the walk starts where it matters.
    if (!bytes.empty())
        bytes[0] = static_cast<char>((data[0] & 1) ? 0x73 : 0x70);
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));

    tavel::tTOT tot;
    std::vector<char> back;
    if (tot.leer_archivo_TOT_a_buffer(back) && back != bytes)
        std::abort();
    tavel_si::decode_table_file(path, back);
    return 0;
}
