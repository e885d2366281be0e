// Heap allocations made by this process, counted in the benchmark program:
// operator new of this library's C++ code and libdvbpsi's malloc alike.
#ifndef TAVEL_PEER_HEAP_COUNT_H
#define TAVEL_PEER_HEAP_COUNT_H

#include <cstdint>

namespace peer {

// Allocations (operator new, malloc, calloc, realloc) since the start.
uint64_t heap_allocations();

} // namespace peer

#endif
