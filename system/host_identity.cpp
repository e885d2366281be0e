#include <tavel/host_identity.h>

#include "platform/platform_path.h"

#include <tavel/constants.h>
#include <tavel/file_io.h>

#include <climits>
#include <cstdio>
#include <unistd.h>
#include <vector>

namespace tavel {

namespace {

// A host name label holds at most 63 characters.
constexpr size_t kMaxHostNameLength = 63;
constexpr size_t kMaxSerialLength = 64;

bool readPlatformFile(const char* path, std::vector<char>& data)
{
    return read_char_vector_from_file(platform_path(path), data) != 0;
}

// Device-tree strings end in '\0'; files written by hand end in a newline.
std::string trimmedText(const std::vector<char>& data)
{
    std::string text(data.begin(), data.end());
    size_t end = text.find_last_not_of(std::string(" \t\r\n\0", 5));
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

bool isAsciiAlnum(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The six bytes of a MAC address stored as "xx:xx:xx:xx:xx:xx" or raw.
bool parseMac(const std::vector<char>& data, unsigned char mac[6])
{
    if (data.size() == 6) {
        for (size_t i = 0; i < 6; ++i)
            mac[i] = static_cast<uint8_t>(data[i]);
        return true;
    }
    std::string text = trimmedText(data);
    if (text.size() != 17)
        return false;
    for (size_t i = 0; i < 6; ++i) {
        int high = hexValue(text[i * 3]);
        int low = hexValue(text[i * 3 + 1]);
        if (high < 0 || low < 0 || (i < 5 && text[i * 3 + 2] != ':'))
            return false;
        mac[i] = static_cast<unsigned char>(high * 16 + low);
    }
    return true;
}

std::string hostNameFromDeviceTree()
{
    std::vector<char> model_data;
    std::vector<char> mac_data;
    if (!readPlatformFile(constants::kDtModelPath, model_data) || !readPlatformFile(constants::kDtMacPath, mac_data))
        return std::string();
    std::string model = trimmedText(model_data);
    unsigned char mac[6];
    if (model.empty() || !parseMac(mac_data, mac))
        return std::string();

    std::string name;
    for (char c : model)
        name += isAsciiAlnum(c) ? static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c) : '-';
    char suffix[8];
    std::snprintf(suffix, sizeof suffix, "-%02x%02x%02x", mac[3], mac[4], mac[5]);
    if (name.size() > kMaxHostNameLength - 7)
        name.resize(kMaxHostNameLength - 7);
    return name + suffix;
}

// The trimmed serial number in the file, or empty when missing or unusable.
std::string readSerial(const char* path)
{
    std::vector<char> data;
    if (!readPlatformFile(path, data))
        return std::string();
    std::string serial = trimmedText(data);
    if (serial.size() > kMaxSerialLength)
        return std::string();
    for (char c : serial) {
        if (!isAsciiAlnum(c) && c != '-' && c != '_')
            return std::string();
    }
    return serial;
}

std::string kernelHostName()
{
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name - 1) != 0)
        return std::string();
    return name;
}

} // namespace

std::string getModuleHostName(bool usar_nombre_kernel)
{
    std::string name = hostNameFromDeviceTree();
    if (name.empty() && usar_nombre_kernel)
        return kernelHostName();
    return name;
}

std::string getPhoneHomeId()
{
    // The serial the unit was configured with wins over the board's own.
    for (const char* path : {constants::kSerialNumberPath, constants::kDtSerialPath}) {
        std::string serial = readSerial(path);
        if (!serial.empty())
            return std::string(constants::kMakerLabel) + "-" + serial;
    }
    return std::string();
}

} // namespace tavel
