#include "dvb/text_fast_path.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace tavel {
namespace text {

namespace {

// Length of the well-formed UTF-8 sequence at p (RFC 3629: no overlong
// forms, no surrogates, nothing above U+10FFFF), or 0.
size_t utf8_sequence(const char* p, size_t left)
{
    auto at = [p](size_t i) { return static_cast<uint8_t>(p[i]); };
    const uint8_t b = at(0);
    if (b < 0x80)
        return 1;
    size_t n;
    uint8_t lo = 0x80;
    uint8_t hi = 0xBF;
    if (b >= 0xC2 && b <= 0xDF) {
        n = 2;
    } else if (b >= 0xE0 && b <= 0xEF) {
        n = 3;
        if (b == 0xE0)
            lo = 0xA0;
        else if (b == 0xED)
            hi = 0x9F;
    } else if (b >= 0xF0 && b <= 0xF4) {
        n = 4;
        if (b == 0xF0)
            lo = 0x90;
        else if (b == 0xF4)
            hi = 0x8F;
    } else {
        return 0;
    }
    if (left < n || at(1) < lo || at(1) > hi)
        return 0;
    for (size_t i = 2; i < n; ++i)
        if ((at(i) & 0xC0) != 0x80)
            return 0;
    return n;
}

bool well_formed_utf8(const char* p, size_t size)
{
    for (size_t i = 0; i < size;) {
        const size_t n = utf8_sequence(p + i, size - i);
        if (n == 0)
            return false;
        i += n;
    }
    return true;
}

size_t up_to_zero(const char* in, size_t size)
{
    if (size == 0)
        return 0;
    const void* zero = std::memchr(in, 0, size);
    return zero ? static_cast<size_t>(static_cast<const char*>(zero) - in) : size;
}

} // namespace

bool fast_to_utf8(const std::string& charset, const char* in, size_t size, std::string& out)
{
    if (charset == "UTF-8") {
        // The whole input is checked, also past a zero byte: iconv fails on
        // a bad sequence wherever it is.
        if (!well_formed_utf8(in, size))
            return false;
        out.assign(in, up_to_zero(in, size));
        return true;
    }
    if (charset == "ISO-8859-1") {
        const size_t n = up_to_zero(in, size);
        std::string result;
        result.reserve(2 * n);
        for (size_t i = 0; i < n; ++i) {
            const auto b = static_cast<uint8_t>(in[i]);
            if (b < 0x80) {
                result.push_back(static_cast<char>(b));
            } else {
                result.push_back(static_cast<char>(0xC0 | (b >> 6)));
                result.push_back(static_cast<char>(0x80 | (b & 0x3F)));
            }
        }
        out = std::move(result);
        return true;
    }
    return false;
}

} // namespace text
} // namespace tavel
