#include <tavel/dvb_text.h>

#include <cerrno>
#include <cstdint>
#include <iconv.h>
#include <syslog.h>
#include <vector>

#include <tavel/constants.h>

#include "dvb/dvb_text_decode.h"
#include "dvb/text_fast_path.h"
#include "platform/log.h"

namespace tavel {

namespace {

constexpr uint8_t kSelectorExtendedTable = 0x10; // 0x10 0x00 nn: ISO-8859-nn
constexpr uint8_t kSelectorEncodingTypeId = 0x1F;
constexpr uint8_t kFirstPrintable = 0x20;
constexpr size_t kMaxUtf8BytesPerInputByte = 6;

// Closes the conversion descriptor on every path.
class IconvHandle {
public:
    IconvHandle(const char* to, const char* from) : cd_(iconv_open(to, from)) {}
    ~IconvHandle()
    {
        if (ok())
            iconv_close(cd_);
    }
    IconvHandle(const IconvHandle&) = delete;
    IconvHandle& operator=(const IconvHandle&) = delete;

    bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
    iconv_t get() const { return cd_; }

private:
    iconv_t cd_;
};

// The selector part of dvb_string_get_encoding; debug: whether its trace is wanted.
std::string encoding_of(const char* text, size_t size, unsigned short& pos, bool debug)
{
    if (size == 0)
        return "";
    const uint8_t first = static_cast<uint8_t>(text[0]);
    if (debug)
        tavel::log(LOG_DEBUG, "PRIMER CARACTER %x", first);
    if (first == 0)
        return "";
    if (first >= kFirstPrintable)
        return constants::kDefaultCharset;

    pos += 1;
    if (first == kSelectorExtendedTable && size >= 3) {
        pos += 2;
        const uint8_t second = static_cast<uint8_t>(text[1]);
        const uint8_t table = static_cast<uint8_t>(text[2]);
        if (second == 0 && table >= 1 && table <= 15)
            return constants::kSelector10Charsets[table];
        return "";
    }
    if (first == kSelectorEncodingTypeId && size > 1) {
        // encoding_type_id is not supported: the text comes back as it is.
        pos += 1;
        return "";
    }
    return constants::kFirstByteCharsets[first];
}

// False, with the error logged, when the conversion failed.
bool iconv_to_target(const std::string& name, std::string& body, std::string& result)
{
    const size_t n = body.size();
    IconvHandle cd(constants::kTargetCharset, name.c_str());
    if (!cd.ok()) {
        const int err = errno;
        tavel::log(LOG_ERR, "iconv_open: couldn't convert from %s to %s (%m) %i %i %i\n", name.c_str(),
                   constants::kTargetCharset, err, EINVAL, ENOMEM);
        return false;
    }

    // One byte more than the conversion may fill, for the terminating zero.
    std::vector<char> out(kMaxUtf8BytesPerInputByte * n + 1, '\0');
    char* in_ptr = &body[0];
    size_t in_left = n;
    char* out_ptr = out.data();
    size_t out_left = kMaxUtf8BytesPerInputByte * n;
    iconv(cd.get(), nullptr, nullptr, nullptr, nullptr);
    if (iconv(cd.get(), &in_ptr, &in_left, &out_ptr, &out_left) == static_cast<size_t>(-1)) {
        const int err = errno;
        tavel::log(LOG_ERR, "iconv: couldn't convert from %s to %s (%m) %i\n", name.c_str(), constants::kTargetCharset,
                   err);
        return false;
    }
    if (in_left > 0)
        tavel::log(LOG_ERR, "partial conversion from %s to %s\n", name.c_str(), constants::kTargetCharset);
    *out_ptr = '\0';
    result = out.data();
    return true;
}

} // namespace

namespace text {

std::string decode(const char* data, size_t size, Conversion conversion)
{
    // One mask check instead of four masked calls per name.
    const bool debug = log_wanted(LOG_DEBUG);
    if (debug)
        tavel::log(LOG_DEBUG, "String ORGINAL %s", std::string(data, size).c_str());
    if (size == 0)
        return "";

    unsigned short pos = 0;
    const std::string name = encoding_of(data, size, pos, debug);
    if (debug)
        tavel::log(LOG_DEBUG, "ENCODING %s", name.c_str());
    if (name.empty() || pos >= size || name == constants::kTargetCharset)
        return pos < size ? std::string(data + pos, size - pos) : std::string();

    std::string result;
    if (conversion == Conversion::iconv_only || !fast_to_utf8(name, data + pos, size - pos, result)) {
        std::string body(data + pos, size - pos);
        // A failed conversion gives the text back as it came.
        if (!iconv_to_target(name, body, result))
            return body;
    }
    if (debug)
        tavel::log(LOG_DEBUG, "STRING FINAL %s", result.c_str());
    return result;
}

} // namespace text

std::string dvb_string_get_encoding(const std::string& text, unsigned short& pos)
{
    return encoding_of(text.data(), text.size(), pos, log_wanted(LOG_DEBUG));
}

std::string DVB_text_decode(std::string text)
{
    return text::decode(text.data(), text.size());
}

} // namespace tavel
