#include <tavel/host_identity.h>

#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>

namespace {

using tavel::test::TempRoot;

// Writes content to the platform path when content is given.
void put(const TempRoot& root, const char* path, const char* content, size_t size)
{
    if (content) {
        ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(content, content + size), root(path), false), 0);
    }
}
void put(const TempRoot& root, const char* path, const char* content)
{
    put(root, path, content, content ? strlen(content) : 0);
}

TEST(HostIdentity, HostNameFromModelAndMacElseKernelNameOnlyWhenAsked)
{
    char kernel[256] = {};
    ASSERT_EQ(::gethostname(kernel, sizeof kernel - 1), 0);
    struct Case {
        std::string model, mac;  // "-": file missing
        const char* name;        // nullptr: unusable, falls back
    } cases[] = {
        {std::string("KMX-630\0", 8), std::string("00:1A:2B:3C:4D:5E\0", 18), "kmx-630-3c4d5e"},
        {"KSR-430\n", "00:1a:2b:3c:4d:5e\n", "ksr-430-3c4d5e"},
        {"KMX 410", std::string("\x00\x1A\x2B\xF0\x0D\xFF", 6), "kmx-410-f00dff"},  // raw MAC bytes
        {"-", "00:1A:2B:3C:4D:5E", nullptr}, {"KMX-630", "-", nullptr}, {"", "00:1A:2B:3C:4D:5E", nullptr},
        {"KMX-630", "XX:XX:XX:XX:XX", nullptr}, {"KMX-630", "00-1A-2B-3C-4D-5E", nullptr},
        {"KMX-630", "00:1A:2B:3C:4D:5G", nullptr},
    };
    for (const Case& c : cases) {
        TempRoot root;
        const std::string dt = "/sys/firmware/devicetree/base/tavel/";
        put(root, (dt + "modelo").c_str(), c.model == "-" ? nullptr : c.model.data(), c.model.size());
        put(root, (dt + "mac").c_str(), c.mac == "-" ? nullptr : c.mac.data(), c.mac.size());
        EXPECT_EQ(tavel::getModuleHostName(false), c.name ? c.name : "") << c.model << " / " << c.mac;
        EXPECT_EQ(tavel::getModuleHostName(true), c.name ? c.name : kernel) << c.model << " / " << c.mac;
    }
}

TEST(HostIdentity, PhoneHomeIdFromConfiguredElseBoardSerial)
{
    const std::string too_long(65, 'A');
    struct Case {
        const char* configured;  // nullptr: file missing
        const char* board;       // stored with a trailing '\0'
        const char* id;
    } cases[] = {
        {nullptr, "K63012345\n", "TAVEL-K63012345"}, {nullptr, "AB-12_c", "TAVEL-AB-12_c"},
        {"C0001\n", "K63012345", "TAVEL-C0001"},     {"bad serial", "K63012345", "TAVEL-K63012345"},
        {nullptr, "K630/../x", ""},                  {nullptr, too_long.c_str(), ""},
        {nullptr, nullptr, ""},
    };
    for (const Case& c : cases) {
        TempRoot root;
        put(root, "/tavel/conf/tavel_numserie", c.configured);
        put(root, "/sys/firmware/devicetree/base/tavel/serial", c.board, c.board ? strlen(c.board) + 1 : 0);
        EXPECT_EQ(tavel::getPhoneHomeId(), c.id) << (c.configured ? c.configured : "-") << " / "
                                                 << (c.board ? c.board : "-");
    }
}

} // namespace
