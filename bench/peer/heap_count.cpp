// Counting allocators for the benchmark program only. malloc, calloc and
// realloc are replaced by counting ones over glibc's own (a replacement
// glibc supports, see "Replacing malloc" in its manual), so libdvbpsi's
// allocations count too; operator new counts itself and takes its memory
// from glibc directly, so that no allocation is counted twice.
#include "heap_count.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* p, size_t size);
void __libc_free(void* p);
}

namespace {

std::atomic<uint64_t> g_allocations{0};
// Counting costs an atomic add per allocation, which would weigh on the
// timed rounds of both sides: it is on only while one call is counted.
std::atomic<bool> g_counting{false};

void note_allocation()
{
    if (g_counting.load(std::memory_order_relaxed))
        g_allocations.fetch_add(1, std::memory_order_relaxed);
}

void* counted(size_t size)
{
    note_allocation();
    return __libc_malloc(size == 0 ? 1 : size);
}

void* new_or_throw(size_t size)
{
    void* p = counted(size);
    if (!p)
        throw std::bad_alloc();
    return p;
}

} // namespace

namespace peer {

uint64_t heap_allocations()
{
    return g_allocations.load(std::memory_order_relaxed);
}

void count_allocations(bool on)
{
    g_counting.store(on, std::memory_order_relaxed);
}

} // namespace peer

extern "C" {

void* malloc(size_t size) noexcept
{
    note_allocation();
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    note_allocation();
    return __libc_calloc(count, size);
}

void* realloc(void* p, size_t size) noexcept
{
    note_allocation();
    return __libc_realloc(p, size);
}

void free(void* p) noexcept
{
    __libc_free(p);
}

} // extern "C"

void* operator new(size_t size)
{
    return new_or_throw(size);
}

void* operator new[](size_t size)
{
    return new_or_throw(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return counted(size);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return counted(size);
}

void operator delete(void* p) noexcept
{
    __libc_free(p);
}

void operator delete[](void* p) noexcept
{
    __libc_free(p);
}

void operator delete(void* p, size_t) noexcept
{
    __libc_free(p);
}

void operator delete[](void* p, size_t) noexcept
{
    __libc_free(p);
}
