#include <tavel/network.h>

#include "system/command.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using tavel::test::TempRoot;

TEST(Ip4, TextToInteger)
{
    struct Case {
        const char* text;
        unsigned int value;
    } cases[] = {
        {"192.168.1.1", 0xC0A80101u}, {"0.0.0.0", 0}, {"255.255.255.255", 0xFFFFFFFFu},
        {"232.0.1.1", 0xE8000101u},   {"256.1.1.1", 0}, {" 1.2.3.4", 0}, {"1.2.3.4 ", 0},
        {"", 0},                      {"1.2.3", 0},     {"01.2.3.4", 0},  {"::1", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(tavel::ip4StringToInt(c.text), c.value) << '"' << c.text << '"';
}

TEST(Ip4, IntegerToTextKeepsPaddingUpTo15Characters)
{
    std::string s = tavel::intToIp4String(0xC0A80101);
    EXPECT_EQ(s, std::string("192.168.1.1\0\0\0\0", 15));
    EXPECT_STREQ(s.c_str(), "192.168.1.1");

    s = tavel::intToIp4String(0x0A000001);
    EXPECT_EQ(s.size(), 15u);
    EXPECT_EQ(s, std::string("10.0.0.1") + std::string(7, '\0'));

    EXPECT_EQ(tavel::intToIp4String(0xFFFFFFFF), "255.255.255.255");
    EXPECT_EQ(tavel::intToIp4String(0), std::string("0.0.0.0") + std::string(8, '\0'));
    // Only the low 32 bits are an address.
    EXPECT_STREQ(tavel::intToIp4String(0xE8000101).c_str(), "232.0.1.1");
}

TEST(Ip4, MulticastRangeEdges)
{
    EXPECT_TRUE(tavel::ipIsMulticast(0xE0000000u));
    EXPECT_TRUE(tavel::ipIsMulticast(0xEFFFFFFFu));
    EXPECT_FALSE(tavel::ipIsMulticast(0xDFFFFFFFu));
    EXPECT_FALSE(tavel::ipIsMulticast(0xF0000000u));
    EXPECT_FALSE(tavel::ipIsMulticast(0));
    EXPECT_FALSE(tavel::ipIsMulticast(0xFFFFFFFFu));

    EXPECT_TRUE(tavel::pIsMulticast("224.0.0.0"));
    EXPECT_TRUE(tavel::pIsMulticast("239.255.255.255"));
    EXPECT_FALSE(tavel::pIsMulticast("223.255.255.255"));
    EXPECT_FALSE(tavel::pIsMulticast("240.0.0.0"));
    EXPECT_FALSE(tavel::pIsMulticast("not an address"));
    EXPECT_STREQ(tavel::getPsisiMulticastAddress(), "232.0.1.1");
    EXPECT_TRUE(tavel::pIsMulticast(tavel::getPsisiMulticastAddress()));
}

void writeScript(const std::string& path, const std::string& body)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "#!/bin/sh\n" << body;
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
}

// Puts a directory first on PATH for the lifetime of the object.
class PathFront {
public:
    explicit PathFront(const std::string& dir) : previous_(std::getenv("PATH") ? std::getenv("PATH") : "")
    {
        ::setenv("PATH", (dir + ":" + previous_).c_str(), 1);
    }
    ~PathFront() { ::setenv("PATH", previous_.c_str(), 1); }

private:
    std::string previous_;
};

TEST(Backplane, AddressesFromTheSubnetTool)
{
    struct Case {
        const char* output;  // printf format of the fake tool
        const char* cpu;
        const char* fpga;
    } cases[] = {
        {"192.168.184.11 192.168.184.10\\n", "192.168.184.11", "192.168.184.10"},
        {"10.1.2.3\\n", "10.1.2.3", "10.1.2.3"},  // one address: both take it
        {"10.1.2.3\\n\\n", "10.1.2.3", "10.1.2.3"},
        {"not an address\\n", "192.168.184.201", "192.168.184.200"},
        {"10.1.2.3 bogus\\n", "192.168.184.201", "192.168.184.200"},
        {"10.1.2.3  10.1.2.4\\n", "192.168.184.201", "192.168.184.200"},  // second blank kept
        {"", "192.168.184.201", "192.168.184.200"},
    };
    for (const Case& c : cases) {
        TempRoot root;
        writeScript(root("/bin/tavnet-backplane-subnet"),
                    std::string("[ \"$1\" = vlan500_ips ] || exit 1\nprintf '") + c.output + "'\n");
        PathFront front(root("/bin"));
        std::string cpu = "x", fpga = "y";
        EXPECT_EQ(tavel::getCpuAndFpgaIpAddress(cpu, fpga), 0);
        EXPECT_EQ(cpu, c.cpu) << c.output;
        EXPECT_EQ(fpga, c.fpga) << c.output;
    }
}

TEST(Backplane, MissingToolGivesDefaults)
{
    TempRoot root;
    const char* old = std::getenv("PATH");
    std::string saved = old ? old : "";
    ::setenv("PATH", root("/empty").c_str(), 1);
    std::string cpu, fpga;
    EXPECT_EQ(tavel::getCpuAndFpgaIpAddress(cpu, fpga), 0);
    ::setenv("PATH", saved.c_str(), 1);
    EXPECT_EQ(cpu, "192.168.184.201");
    EXPECT_EQ(fpga, "192.168.184.200");
}

TEST(InterfaceStatus, ArgumentVectorOfTheTool)
{
    EXPECT_EQ(tavel::command::interfaceStatusArgv("eth0"),
              (std::vector<std::string>{"/usr/bin/tavnet-external-net-config", "-j", "-I", "eth0"}));
}

// The fake tool prints each argument on a line of its own.
void writeEchoTool(const TempRoot& root)
{
    writeScript(root("/usr/bin/tavnet-external-net-config"),
                "for a in \"$@\"; do printf '[%s]\\n' \"$a\"; done\n");
}

TEST(InterfaceStatus, OutputOfTheToolWhole)
{
    TempRoot root;
    writeScript(root("/usr/bin/tavnet-external-net-config"),
                "printf '{\"interface\":\"%s\",\"up\":true}\\n' \"$3\"\n"
                "i=0; while [ $i -lt 50 ]; do printf '0123456789'; i=$((i+1)); done\n");
    std::string salida = "stale";
    EXPECT_EQ(tavel::getNetworInterfaceStatus("eth1", salida), 0);
    EXPECT_EQ(salida, "{\"interface\":\"eth1\",\"up\":true}\n" + [] {
        std::string s;
        for (int i = 0; i < 50; ++i)
            s += "0123456789";
        return s;
    }());
}

TEST(InterfaceStatus, SilentToolGivesEmptyOutputAndMissingToolMinusOne)
{
    TempRoot root;
    std::string salida = "stale";
    EXPECT_EQ(tavel::getNetworInterfaceStatus("eth0", salida), -1);
    EXPECT_EQ(salida, "stale");
    writeScript(root("/usr/bin/tavnet-external-net-config"), "exit 3\n");
    EXPECT_EQ(tavel::getNetworInterfaceStatus("eth0", salida), 0);
    EXPECT_EQ(salida, "");
}

TEST(InterfaceStatus, HostileNamesReachTheToolAsOneArgumentAndRunNothing)
{
    TempRoot root;
    writeEchoTool(root);
    const std::string marker = root("/marker");
    const std::string names[] = {
        "eth0;touch " + marker,
        "$(touch " + marker + ")",
        "`touch " + marker + "`",
        "eth0 && touch " + marker,
        "eth0' ; touch " + marker + " ; '",
        "eth0\"; touch " + marker + "; \"",
        "eth0|touch " + marker,
        "eth0\ntouch " + marker,
        "$(reboot)",
        "-j -I eth0",
    };
    for (const std::string& name : names) {
        std::string salida;
        EXPECT_EQ(tavel::getNetworInterfaceStatus(name, salida), 0);
        EXPECT_EQ(salida, "[-j]\n[-I]\n[" + name + "]\n") << name;
        EXPECT_NE(::access(marker.c_str(), F_OK), 0) << name;
    }
}

} // namespace
