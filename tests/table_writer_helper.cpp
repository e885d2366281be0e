// The crash test's writer: says "ready", then writes rounds START, START+1,
// ... under TAVEL_ROOT, COUNT rounds or until killed.
#include <cstdio>
#include <cstdlib>
#include <syslog.h>

#include "table_rounds.h"

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    const unsigned start = static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10));
    const unsigned count = argc > 2 ? static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) : ~0u;
    setlogmask(LOG_UPTO(LOG_WARNING));
    std::fputs("ready\n", stdout);
    std::fflush(stdout);
    for (unsigned r = start; r - start < count; ++r) {
        if (!tavel::test::write_round(r))
            return 1;
    }
    return 0;
}
