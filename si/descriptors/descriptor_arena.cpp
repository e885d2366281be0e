#include "si/descriptors/descriptor_arena.h"

#include <cstring>
#include <new>

namespace tavel {

namespace {
// About 8 descriptor objects. Kept below glibc's large-request size, which
// would make malloc consolidate its free lists on every new block.
constexpr size_t kBlockBytes = 960;
constexpr size_t kAlign = alignof(std::max_align_t);

constexpr size_t round_up(size_t n)
{
    return (n + kAlign - 1) / kAlign * kAlign;
}
} // namespace

// Header of a block; slots follow it, each behind the address of its block.
struct alignas(std::max_align_t) DescriptorArena::Block {
    std::atomic<size_t> users{1}; // the arena itself while it fills this block
    size_t used = 0;
    size_t size = 0;
    unsigned char* slots() { return reinterpret_cast<unsigned char*>(this) + round_up(sizeof(Block)); }
};

namespace {
constexpr size_t kSlotHeader = round_up(sizeof(void*));
} // namespace

DescriptorArena::~DescriptorArena()
{
    release(block_);
}

void* DescriptorArena::take(size_t size)
{
    const size_t needed = kSlotHeader + round_up(size);
    if (block_ == nullptr || block_->size - block_->used < needed) {
        release(block_);
        const size_t capacity = needed > kBlockBytes ? needed : kBlockBytes;
        void* raw = ::operator new(round_up(sizeof(Block)) + capacity);
        block_ = new (raw) Block;
        block_->size = capacity;
    }
    unsigned char* slot = block_->slots() + block_->used;
    block_->used += needed;
    block_->users.fetch_add(1, std::memory_order_relaxed);
    Block* owner = block_;
    static_assert(sizeof(owner) <= kSlotHeader, "the slot header holds the block address");
    std::memcpy(slot, &owner, sizeof owner);
    return slot + kSlotHeader;
}

void DescriptorArena::give_back(void* p)
{
    Block* owner = nullptr;
    std::memcpy(&owner, static_cast<unsigned char*>(p) - kSlotHeader, sizeof owner);
    release(owner);
}

void DescriptorArena::release(Block* block)
{
    if (block != nullptr && block->users.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block->~Block();
        ::operator delete(block);
    }
}

} // namespace tavel
