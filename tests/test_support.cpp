#include "test_support.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <tavel/coding.h>
#include <tavel/file_io.h>

namespace tavel {
namespace test {

std::vector<char> hex(const std::string& text)
{
    std::string digits;
    for (char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c)))
            digits += c;
    if (digits.size() % 2)
        throw std::invalid_argument("odd number of hex digits");
    std::vector<char> out;
    for (size_t i = 0; i < digits.size(); i += 2)
        out.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return out;
}

std::string to_hex(const std::vector<char>& bytes)
{
    std::string out;
    char buf[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(buf, sizeof buf, i ? " %02X" : "%02X", static_cast<unsigned char>(bytes[i]));
        out += buf;
    }
    return out;
}

std::vector<char> seal(std::vector<char> s)
{
    const size_t length = s.size() + 4 - 3;
    s[1] = static_cast<char>((static_cast<unsigned char>(s[1]) & 0xF0) | (length >> 8));
    s[2] = static_cast<char>(length & 0xFF);
    const auto crc = static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFUL, s, s.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        s.push_back(static_cast<char>(crc >> shift));
    return s;
}

std::vector<char> read_file(const std::string& path)
{
    std::vector<char> out;
    read_char_vector_from_file(path, out);
    return out;
}

TempRoot::TempRoot()
{
    std::string templ = (std::filesystem::temp_directory_path() / "tavel-root-XXXXXX").string();
    if (!::mkdtemp(&templ[0]))
        throw std::runtime_error("mkdtemp failed");
    path_ = templ;
    const char* prev = std::getenv("TAVEL_ROOT");
    had_previous_ = prev != nullptr;
    if (prev)
        previous_ = prev;
    ::setenv("TAVEL_ROOT", path_.c_str(), 1);
}

TempRoot::~TempRoot()
{
    if (had_previous_)
        ::setenv("TAVEL_ROOT", previous_.c_str(), 1);
    else
        ::unsetenv("TAVEL_ROOT");
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

void TempRoot::put(const std::string& platform_path, const std::string& bytes) const
{
    if (!write_char_vector_to_file(std::vector<char>(bytes.begin(), bytes.end()), (*this)(platform_path), false))
        throw std::runtime_error("cannot write " + platform_path);
}

} // namespace test
} // namespace tavel
