// DVB SI text (character-table selector, then text) to UTF-8.
#ifndef TAVEL_DVB_TEXT_H
#define TAVEL_DVB_TEXT_H

#include <string>

#include <tavel/export.h>

namespace tavel {

// Charset name selected by the leading bytes of text ("" when none applies);
// pos (set to 0 by the caller) is advanced past the selector bytes.
TAVEL_API std::string dvb_string_get_encoding(const std::string& text, unsigned short& pos);

// text decoded to UTF-8. Never fails: on any conversion problem the bytes
// after the selector are returned unconverted (and the problem logged).
// The result stops at the first zero byte of a successful conversion.
TAVEL_API std::string DVB_text_decode(std::string text);

} // namespace tavel

#endif
