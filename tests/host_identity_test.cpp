#include <tavel/host_identity.h>

#include "test_support.h"

#include <tavel/file_io.h>

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using tavel::test::TempRoot;

const char kModel[] = "/sys/firmware/devicetree/base/tavel/modelo";
const char kMac[] = "/sys/firmware/devicetree/base/tavel/mac";
const char kSerial[] = "/sys/firmware/devicetree/base/tavel/serial";
const char kConfiguredSerial[] = "/tavel/conf/tavel_numserie";

void put(const TempRoot& root, const char* path, const std::string& content)
{
    ASSERT_NE(tavel::write_char_vector_to_file(std::vector<char>(content.begin(), content.end()), root(path), false), 0);
}

std::string kernelName()
{
    char name[256] = {};
    EXPECT_EQ(::gethostname(name, sizeof name - 1), 0);
    return name;
}

TEST(HostIdentity, HostNameFromModelAndMac)
{
    struct Case {
        std::string model;
        std::string mac;
        const char* name;
    } cases[] = {
        {std::string("KMX-630\0", 8), std::string("00:1A:2B:3C:4D:5E\0", 18), "kmx-630-3c4d5e"},
        {"KSR-430\n", "00:1a:2b:3c:4d:5e\n", "ksr-430-3c4d5e"},
        {"KMX 410", std::string("\x00\x1A\x2B\xF0\x0D\xFF", 6), "kmx-410-f00dff"},
    };
    for (const Case& c : cases) {
        TempRoot root;
        put(root, kModel, c.model);
        put(root, kMac, c.mac);
        EXPECT_EQ(tavel::getModuleHostName(true), c.name);
        EXPECT_EQ(tavel::getModuleHostName(false), c.name);
    }
}

TEST(HostIdentity, MissingOrBadFilesFallBackOnlyWhenAsked)
{
    struct Case {
        const char* model;  // nullptr: file missing
        const char* mac;
    } cases[] = {
        {nullptr, "00:1A:2B:3C:4D:5E"},
        {"KMX-630", nullptr},
        {"", "00:1A:2B:3C:4D:5E"},
        {"KMX-630", "XX:XX:XX:XX:XX"},
        {"KMX-630", "00-1A-2B-3C-4D-5E"},
        {"KMX-630", "00:1A:2B:3C:4D:5G"},
    };
    for (const Case& c : cases) {
        TempRoot root;
        if (c.model)
            put(root, kModel, c.model);
        if (c.mac)
            put(root, kMac, c.mac);
        EXPECT_EQ(tavel::getModuleHostName(false), "");
        EXPECT_EQ(tavel::getModuleHostName(true), kernelName());
    }
}

TEST(HostIdentity, PhoneHomeIdFromSerial)
{
    struct Case {
        const char* configured;  // nullptr: file missing
        const char* board;
        const char* id;
    } cases[] = {
        {nullptr, "K63012345", "TAVEL-K63012345"},
        {nullptr, "K63012345\n", "TAVEL-K63012345"},
        {nullptr, "AB-12_c", "TAVEL-AB-12_c"},
        {"C0001\n", "K63012345", "TAVEL-C0001"},
        {"", "K63012345", "TAVEL-K63012345"},
        {"bad serial", "K63012345", "TAVEL-K63012345"},
        {nullptr, "", ""},
        {nullptr, "K630 12345", ""},
        {nullptr, "K630/../x", ""},
        {nullptr, nullptr, ""},
    };
    for (const Case& c : cases) {
        TempRoot root;
        if (c.configured)
            put(root, kConfiguredSerial, c.configured);
        if (c.board)
            put(root, kSerial, std::string(c.board) + '\0');
        EXPECT_EQ(tavel::getPhoneHomeId(), c.id) << (c.configured ? c.configured : "-") << " / "
                                                 << (c.board ? c.board : "-");
    }
    TempRoot root;
    put(root, kSerial, std::string(65, 'A'));
    EXPECT_EQ(tavel::getPhoneHomeId(), "");
}

} // namespace
