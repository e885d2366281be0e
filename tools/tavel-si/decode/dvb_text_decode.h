// DVB SI text (EN 300 468 Annex A) to UTF-8 for display: every character
// table selector, control codes shown, undecodable bytes kept as \xNN.
#ifndef TAVEL_SI_DECODE_DVB_TEXT_DECODE_H
#define TAVEL_SI_DECODE_DVB_TEXT_DECODE_H

#include <string>
#include <vector>

namespace tavel_si {
namespace decode {

struct DvbText {
    std::string text;         // UTF-8; <em> </em> <br> for the control codes
    std::string charset;      // the table used (an iconv name), or why none
    bool undecodable = false; // some bytes are shown as \xNN
};

// field: selector bytes (if any) then the text. default_charset is used when
// there is no selector (the headend's reading is ISO-8859-1).
DvbText decode_dvb_text(const std::vector<char>& field, const std::string& default_charset);

// True when iconv can convert from name to UTF-8.
bool charset_supported(const std::string& name);

} // namespace decode
} // namespace tavel_si

#endif
