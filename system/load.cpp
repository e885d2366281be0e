#include <tavel/load.h>

#include "platform/platform_path.h"
#include "system/load.h"

#include <tavel/constants.h>

#include <fstream>
#include <limits>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>

namespace tavel {

namespace load {

unsigned int freeMemoryPercent(uint64_t freeram, uint64_t totalram)
{
    if (totalram == 0 || freeram > totalram)
        return 0;
    return static_cast<unsigned int>(100 * freeram / totalram);
}

unsigned int fileSystemUsePercent(uint64_t blocks, uint64_t bfree, uint64_t bavail)
{
    if (bfree > blocks)
        return 0;
    uint64_t used = blocks - bfree;
    uint64_t base = used + bavail;
    if (base == 0 || base < used || used > std::numeric_limits<uint64_t>::max() / 100)
        return 0;
    return static_cast<unsigned int>(100 * used / base);
}

} // namespace load

unsigned int getCpuUsage(unsigned int& total_anterior, unsigned int& idle_anterior)
{
    std::ifstream in(platform_path(constants::kProcStatPath));
    if (!in)
        return 0;
    // The aggregate line starts with "cpu" and blanks.
    in.ignore(5, ' ');
    uint32_t times[7];
    for (uint32_t& t : times) {
        if (!(in >> t))
            return 0;
    }
    uint32_t total = 0;
    for (uint32_t t : times)
        total += t;
    uint32_t idle = times[3];

    uint32_t old_total = total_anterior;
    uint32_t old_idle = idle_anterior;
    total_anterior = total;
    idle_anterior = idle;
    if (total == old_total)
        return 0;
    uint32_t delta_total = total - old_total;
    uint32_t delta_busy = delta_total - (idle - old_idle);
    // Unsigned 32-bit throughout, as every module has always computed it:
    // the product may wrap after long uptimes and is left so.
    return static_cast<uint32_t>(100u * delta_busy) / delta_total;
}

unsigned int getRamUse()
{
    struct sysinfo info;
    if (::sysinfo(&info) != 0)
        return 0;
    // The share of FREE memory, whatever the name says: callers read it so.
    return load::freeMemoryPercent(info.freeram, info.totalram);
}

unsigned int getFSUse(const char* path)
{
    if (path == nullptr)
        return 0;
    struct statvfs fs;
    if (::statvfs(path, &fs) != 0)
        return 0;
    return load::fileSystemUsePercent(fs.f_blocks, fs.f_bfree, fs.f_bavail);
}

} // namespace tavel
