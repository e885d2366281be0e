// Descriptor objects of one table made from a few shared blocks instead of
// a heap allocation each. A block lives while any object in it does, so an
// object handed out keeps working after the arena that made it is gone, and
// may be released by any thread.
#ifndef TAVEL_SI_DESCRIPTORS_DESCRIPTOR_ARENA_H
#define TAVEL_SI_DESCRIPTORS_DESCRIPTOR_ARENA_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace tavel {

class DescriptorArena {
public:
    DescriptorArena() = default;
    ~DescriptorArena();
    DescriptorArena(const DescriptorArena&) = delete;
    DescriptorArena& operator=(const DescriptorArena&) = delete;

    // Like std::make_shared, with the object and its count in a shared block.
    template <typename T, typename... Args>
    std::shared_ptr<T> make(Args&&... args);

    // size bytes aligned for any descriptor; back to their block with give_back.
    void* take(size_t size);
    static void give_back(void* p);

    template <typename T>
    class Allocator;

private:
    struct Block;
    static void release(Block* block);

    Block* block_ = nullptr;
};

template <typename T>
class DescriptorArena::Allocator {
public:
    using value_type = T;
    static_assert(alignof(T) <= alignof(std::max_align_t), "arena slots are aligned for max_align_t");

    template <typename U>
    struct rebind {
        using other = Allocator<U>;
    };

    explicit Allocator(DescriptorArena& arena) : arena_(&arena) {}
    template <typename U>
    Allocator(const Allocator<U>& other) : arena_(other.arena()) {}

    T* allocate(size_t n) { return static_cast<T*>(arena_->take(n * sizeof(T))); }
    void deallocate(T* p, size_t) { give_back(p); }

    template <typename U>
    bool operator==(const Allocator<U>& other) const { return arena_ == other.arena(); }
    template <typename U>
    bool operator!=(const Allocator<U>& other) const { return arena_ != other.arena(); }

    // Used only while making the object: deallocate needs no arena.
    DescriptorArena* arena() const { return arena_; }

private:
    DescriptorArena* arena_;
};

template <typename T, typename... Args>
std::shared_ptr<T> DescriptorArena::make(Args&&... args)
{
    return std::allocate_shared<T>(Allocator<T>(*this), std::forward<Args>(args)...);
}

} // namespace tavel

#endif
