// DVB text to UTF-8 without iconv for the character tables that need no
// table: ISO-8859-1 (and so plain ASCII) and UTF-8 itself. The fuzz target
// fuzz_text_fast_path holds it to the iconv conversion byte for byte.
#ifndef TAVEL_DVB_TEXT_FAST_PATH_H
#define TAVEL_DVB_TEXT_FAST_PATH_H

#include <cstddef>
#include <string>

namespace tavel {
namespace text {

// Converts [in, in + size) from charset to UTF-8 into out, stopping at the
// first zero byte as the iconv path does. False, with out untouched, for any
// other charset and for UTF-8 input that is not strictly well formed: those
// go to iconv, which also owns their error lines.
bool fast_to_utf8(const std::string& charset, const char* in, size_t size, std::string& out);

} // namespace text
} // namespace tavel

#endif
