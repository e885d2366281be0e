// The one idiom for bytes: append big-endian values to a byte buffer, and
// read them back through a bounds-checked view. Bytes are always taken as
// uint8_t, whatever the signedness of char on the target.
#ifndef TAVEL_DVB_BYTE_IO_H
#define TAVEL_DVB_BYTE_IO_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavel {
namespace bytes {

inline void put8(std::vector<char>& b, uint32_t v) { b.push_back(static_cast<char>(static_cast<uint8_t>(v))); }
inline void put16(std::vector<char>& b, uint32_t v)
{
    put8(b, v >> 8);
    put8(b, v);
}
inline void put24(std::vector<char>& b, uint32_t v)
{
    put8(b, v >> 16);
    put16(b, v);
}
inline void put32(std::vector<char>& b, uint32_t v)
{
    put16(b, v >> 16);
    put16(b, v);
}
inline void put40(std::vector<char>& b, uint64_t v)
{
    put8(b, static_cast<uint32_t>(v >> 32));
    put32(b, static_cast<uint32_t>(v));
}

// The same values stored into room already made (a buffer resized to the
// payload's size first); each returns the position after what it wrote.
// For payloads of known size: appending byte by byte re-checks the
// capacity and reloads the vector after every byte.
inline char* store8(char* p, uint32_t v)
{
    *p = static_cast<char>(static_cast<uint8_t>(v));
    return p + 1;
}
inline char* store16(char* p, uint32_t v) { return store8(store8(p, v >> 8), v); }
inline char* store32(char* p, uint32_t v) { return store16(store16(p, v >> 16), v); }
inline char* store40(char* p, uint64_t v)
{
    return store32(store8(p, static_cast<uint32_t>(v >> 32)), static_cast<uint32_t>(v));
}

inline uint8_t at(const std::vector<char>& b, size_t i) { return static_cast<uint8_t>(b[i]); }
// The same over memory the caller vouches for (a packet already known whole).
inline uint8_t at(const char* p, size_t i) { return static_cast<uint8_t>(p[i]); }

// A read-only window [begin, end) over a buffer. Reads outside the window
// give 0 instead of touching memory; has() tells callers whether the bytes
// they want are really there.
class Reader {
public:
    explicit Reader(const std::vector<char>& buffer) : Reader(buffer, 0, buffer.size()) {}
    Reader(const std::vector<char>& buffer, size_t begin, size_t end)
        : data_(buffer.data()), begin_(begin > buffer.size() ? buffer.size() : begin),
          end_(end > buffer.size() ? buffer.size() : end)
    {
        if (end_ < begin_)
            end_ = begin_;
    }

    size_t size() const { return end_ - begin_; }
    // True when n bytes starting at offset i lie inside the window.
    bool has(size_t i, size_t n) const { return i <= size() && n <= size() - i; }

    uint8_t u8(size_t i) const { return has(i, 1) ? static_cast<uint8_t>(data_[begin_ + i]) : 0; }
    uint16_t u16(size_t i) const { return static_cast<uint16_t>((u8(i) << 8) | u8(i + 1)); }
    uint32_t u24(size_t i) const { return (static_cast<uint32_t>(u8(i)) << 16) | u16(i + 1); }
    uint32_t u32(size_t i) const { return (static_cast<uint32_t>(u16(i)) << 16) | u16(i + 2); }
    uint64_t u40(size_t i) const { return (static_cast<uint64_t>(u8(i)) << 32) | u32(i + 1); }
    // 12-bit length field: low nibble of byte i, then byte i+1.
    uint16_t u12(size_t i) const { return static_cast<uint16_t>(((u8(i) & 0x0F) << 8) | u8(i + 1)); }

    // The bytes [i, i+n) clipped to the window.
    std::vector<char> slice(size_t i, size_t n) const
    {
        const View v = view(i, n);
        return std::vector<char>(v.data, v.data + v.size);
    }

    // The same bytes without a copy; valid while the buffer is.
    struct View {
        const char* data;
        size_t size;
    };
    View view(size_t i, size_t n) const
    {
        if (i >= size())
            return {data_ + end_, 0};
        if (n > size() - i)
            n = size() - i;
        return {data_ + begin_ + i, n};
    }

private:
    const char* data_;
    size_t begin_;
    size_t end_;
};

} // namespace bytes
} // namespace tavel

#endif
