#include "dvb_text_decode.h"

#include <cerrno>
#include <cstdio>

#include <iconv.h>

#include "dvb/byte_io.h"

namespace tavel_si {
namespace decode {
namespace {

// How control codes (0x80-0x9F of the single-byte tables, U+E080-U+E09F of
// the two-byte ones) are found in the bytes of a table.
enum class Controls { kSingleByte, kUcs2, kUtf8, kNone };

struct Selection {
    std::string charset; // empty: nothing to convert with
    size_t skip = 0;     // selector bytes
    Controls controls = Controls::kSingleByte;
};

std::string escaped(uint8_t byte)
{
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\x%02X", byte);
    return buf;
}

std::string hex2(unsigned value)
{
    char buf[8];
    std::snprintf(buf, sizeof buf, "0x%02X", value);
    return buf;
}

Controls controls_of(const std::string& charset)
{
    if (charset == "UCS-2BE")
        return Controls::kUcs2;
    if (charset == "UTF-8")
        return Controls::kUtf8;
    if (charset == "BIG5") // its lead bytes take 0x81-0xFE
        return Controls::kNone;
    return Controls::kSingleByte;
}

// Annex A: the first byte selects the table; 0x20 and above is text in the
// default table.
Selection select(const tavel::bytes::Reader& r, const std::string& default_charset)
{
    static const char* const kFirstByte[] = {
        nullptr,      "ISO-8859-5", "ISO-8859-6", "ISO-8859-7",  "ISO-8859-8",  "ISO-8859-9",
        "ISO-8859-10", "ISO-8859-11", nullptr,    "ISO-8859-13", "ISO-8859-14", "ISO-8859-15"};
    static const char* const kTwoByte[] = {"UCS-2BE", "EUC-KR", "GB2312", "BIG5", "UTF-8"};
    Selection s;
    const unsigned first = r.u8(0);
    if (first >= 0x20) {
        s.charset = default_charset;
    } else if (first >= 0x01 && first <= 0x0B && kFirstByte[first]) {
        s.charset = kFirstByte[first];
        s.skip = 1;
    } else if (first == 0x10 && r.has(0, 3)) {
        const unsigned table = r.u16(1);
        s.skip = 3;
        if (table >= 1 && table <= 15 && table != 12)
            s.charset = "ISO-8859-" + std::to_string(table);
        else
            s.charset = "reserved 0x10 " + hex2(r.u8(1)) + " " + hex2(r.u8(2));
    } else if (first >= 0x11 && first <= 0x15) {
        s.charset = kTwoByte[first - 0x11];
        s.skip = 1;
    } else if (first == 0x1F && r.has(0, 2)) {
        // encoding_type_id: compressed or otherwise registered codings.
        s.charset = "encoding_type_id " + hex2(r.u8(1));
        s.skip = 2;
    } else {
        s.charset = "reserved selector " + hex2(first);
        s.skip = r.size() ? 1 : 0;
    }
    s.controls = controls_of(s.charset);
    return s;
}

// Text for a control code, or "" when the unit at i is not one. length is
// set to the bytes it takes.
std::string control_at(const tavel::bytes::Reader& r, size_t i, Controls controls, size_t& length)
{
    unsigned code = 0;
    if (controls == Controls::kSingleByte && r.u8(i) >= 0x80 && r.u8(i) <= 0x9F) {
        code = r.u8(i);
        length = 1;
    } else if (controls == Controls::kUcs2 && r.has(i, 2) && r.u16(i) >= 0xE080 && r.u16(i) <= 0xE09F) {
        code = r.u16(i) & 0xFF;
        length = 2;
    } else if (controls == Controls::kUtf8 && r.has(i, 3) && r.u8(i) == 0xEE && r.u8(i + 1) == 0x82 &&
               r.u8(i + 2) >= 0x80 && r.u8(i + 2) <= 0x9F) {
        code = r.u8(i + 2);
        length = 3;
    } else {
        return "";
    }
    if (code == 0x86)
        return "<em>";
    if (code == 0x87)
        return "</em>";
    if (code == 0x8A)
        return "<br>";
    return "<" + hex2(code) + ">";
}

// C0 codes have no meaning in the tables: shown as bytes.
bool c0_at(const tavel::bytes::Reader& r, size_t i, Controls controls, size_t& length)
{
    if (controls == Controls::kUcs2) {
        length = 2;
        return r.has(i, 2) && r.u16(i) < 0x20;
    }
    length = 1;
    return r.u8(i) < 0x20;
}

class Converter {
public:
    explicit Converter(const std::string& from) : cd_(iconv_open("UTF-8", from.c_str())) {}
    ~Converter()
    {
        if (ok())
            iconv_close(cd_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }

    // Converts bytes [begin, end); what iconv refuses goes out as \xNN
    // (unit bytes at a time) and sets bad.
    void run(const std::vector<char>& bytes, size_t begin, size_t end, size_t unit, std::string& out, bool& bad)
    {
        iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        std::vector<char> in_copy(bytes.begin() + static_cast<long>(begin), bytes.begin() + static_cast<long>(end));
        char* in = in_copy.data();
        size_t in_left = in_copy.size();
        while (in_left > 0) {
            std::vector<char> buffer(in_left * 4 + 16);
            char* o = buffer.data();
            size_t o_left = buffer.size();
            const size_t result = iconv(cd_, &in, &in_left, &o, &o_left);
            const int error = errno;
            out.append(buffer.data(), buffer.size() - o_left);
            if (result != static_cast<size_t>(-1)) {
                o = buffer.data();
                o_left = buffer.size();
                iconv(cd_, nullptr, nullptr, &o, &o_left);
                out.append(buffer.data(), buffer.size() - o_left);
                break;
            }
            if (error == E2BIG)
                continue;
            const size_t n = unit < in_left ? unit : in_left;
            for (size_t k = 0; k < n; ++k)
                out += escaped(static_cast<uint8_t>(in[k]));
            in += n;
            in_left -= n;
            bad = true;
            iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        }
    }

private:
    iconv_t cd_;
};

} // namespace

bool charset_supported(const std::string& name)
{
    return Converter(name).ok();
}

DvbText decode_dvb_text(const std::vector<char>& field, const std::string& default_charset)
{
    const tavel::bytes::Reader r(field);
    DvbText result;
    if (!r.size())
        return result;
    const Selection s = select(r, default_charset);
    result.charset = s.charset;
    Converter converter(s.charset);
    const size_t unit = s.controls == Controls::kUcs2 ? 2 : 1;
    if (!converter.ok()) {
        for (size_t i = s.skip; i < r.size(); ++i)
            result.text += escaped(r.u8(i));
        result.undecodable = r.size() > s.skip;
        return result;
    }
    size_t run_start = s.skip;
    size_t i = s.skip;
    while (i < r.size()) {
        size_t length = 0;
        std::string control = control_at(r, i, s.controls, length);
        const bool c0 = control.empty() && c0_at(r, i, s.controls, length) && r.has(i, length);
        if (control.empty() && !c0) {
            i += unit;
            continue;
        }
        converter.run(field, run_start, i, unit, result.text, result.undecodable);
        if (c0) {
            for (size_t k = 0; k < length; ++k)
                result.text += escaped(r.u8(i + k));
            result.undecodable = true;
        }
        result.text += control;
        i += length;
        run_start = i;
    }
    converter.run(field, run_start, r.size(), unit, result.text, result.undecodable);
    return result;
}

} // namespace decode
} // namespace tavel_si
