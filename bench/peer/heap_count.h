// Heap allocations made by this process, counted in the benchmark program:
// operator new of this library's C++ code and libdvbpsi's malloc alike.
#ifndef TAVEL_PEER_HEAP_COUNT_H
#define TAVEL_PEER_HEAP_COUNT_H

#include <cstdint>

namespace peer {

// Allocations (operator new, malloc, calloc, realloc) counted so far.
uint64_t heap_allocations();
// Counting is off by default, so that timed code runs without it.
void count_allocations(bool on);

} // namespace peer

#endif
