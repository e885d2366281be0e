// The pieces every descriptor decoder shares.
#include <cmath>
#include <cstdio>

#include "descriptor_decoder.h"
#include "dvb_text_decode.h"

namespace tavel_si {
namespace decode {

namespace {
const char* const kTable00 = "ISO6937";
}

std::vector<char> payload_bytes(const Payload& payload)
{
    return payload.slice(0, payload.size());
}

std::string hex_bytes(const std::vector<char>& bytes)
{
    std::string s;
    char two[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(two, sizeof two, i ? " %02X" : "%02X", tavel::bytes::at(bytes, i));
        s += two;
    }
    return s;
}

std::string hex_number(unsigned long value, int digits)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "0x%0*lX", digits, value);
    return buf;
}

std::string code_name(std::initializer_list<const char*> names, unsigned code)
{
    return code < names.size() ? names.begin()[code] : "reserved";
}

json number(double value)
{
    const double whole = std::floor(value);
    if (whole == value && std::fabs(value) < 9.0e15)
        return static_cast<long long>(whole);
    return value;
}

void put_text(json& out, const std::string& key, const std::vector<char>& field, const DecodeContext& ctx)
{
    const DvbText text = decode_dvb_text(field, ctx.default_charset);
    out[key] = text.text;
    if (text.undecodable) {
        out[key + "_undecodable"] = true;
        out[key + "_charset"] = text.charset;
    }
    // Without a selector the standard means its table 00 (ISO/IEC 6937, with
    // non-spacing diacritics before the letter); where that reads the bytes
    // otherwise than the table in use, both are shown.
    const tavel::bytes::Reader r(field);
    bool high = false;
    for (size_t i = 0; i < r.size() && !high; ++i)
        high = r.u8(i) >= 0xA0;
    if (high && r.u8(0) >= 0x20 && ctx.default_charset != kTable00) {
        const DvbText standard = decode_dvb_text(field, kTable00);
        if (standard.text != text.text)
            out[key + "_table_00"] = standard.text;
    }
}

void note_library(json& out, const std::string& key, const json& reading)
{
    if (!out.contains(key) || out[key] != reading)
        out["library"][key] = reading;
}

std::shared_ptr<tavel::Descriptor> library_reading(unsigned tag, const Payload& payload)
{
    auto d = tavel::Descriptor::getPtrDescriptorType(static_cast<unsigned short>(tag));
    d->descriptor_tag = static_cast<unsigned char>(tag);
    d->descriptor_length = static_cast<unsigned char>(payload.size());
    d->data = payload_bytes(payload);
    d->procesarDatos();
    return d;
}

} // namespace decode
} // namespace tavel_si
