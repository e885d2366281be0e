// Processor, memory and file-system load of the module, in whole percent.
#ifndef TAVEL_LOAD_H
#define TAVEL_LOAD_H

#include <tavel/export.h>

namespace tavel {

// Processor use (0..100 %) since the counters passed in, which the caller
// keeps between calls (start with both 0: the first result is the average
// since boot). Updates both counters; 0 when the figures cannot be read.
TAVEL_API unsigned int getCpuUsage(unsigned int& total_anterior, unsigned int& idle_anterior);

// Share of FREE memory (0..100 %), not of used memory; 0 on failure.
TAVEL_API unsigned int getRamUse();

// Use (0..100 %) of the file system holding path, as an unprivileged user
// sees it (blocks reserved for root count neither as used nor as free);
// 0 on failure.
TAVEL_API unsigned int getFSUse(const char* path);

} // namespace tavel

#endif
