// The arithmetic of the load figures, apart from the kernel calls.
#ifndef TAVEL_SYSTEM_LOAD_H
#define TAVEL_SYSTEM_LOAD_H

#include <cstdint>

namespace tavel {
namespace load {

// 100 * free / total, truncated; 0 when total is 0.
unsigned int freeMemoryPercent(uint64_t freeram, uint64_t totalram);

// 100 * used / (used + available) with used = blocks - bfree, truncated;
// 0 when nothing is used or available.
unsigned int fileSystemUsePercent(uint64_t blocks, uint64_t bfree, uint64_t bavail);

} // namespace load
} // namespace tavel

#endif
