// The DVB text decoder behind DVB_text_decode, over a byte range.
#ifndef TAVEL_DVB_TEXT_DECODE_H
#define TAVEL_DVB_TEXT_DECODE_H

#include <cstddef>
#include <string>

namespace tavel {
namespace text {

enum class Conversion {
    fast_path_first, // ISO-8859-1, ASCII and well-formed UTF-8 without iconv
    iconv_only,      // every table through iconv (the reference)
};

// DVB_text_decode(std::string(data, size)): same result, same log lines.
std::string decode(const char* data, size_t size, Conversion conversion = Conversion::fast_path_first);

} // namespace text
} // namespace tavel

#endif
