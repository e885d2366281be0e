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
    const std::pair<const char*, unsigned int> cases[] = {
        {"192.168.1.1", 0xC0A80101u}, {"0.0.0.0", 0}, {"255.255.255.255", 0xFFFFFFFFu},
        {"232.0.1.1", 0xE8000101u},   {"256.1.1.1", 0}, {" 1.2.3.4", 0}, {"1.2.3.4 ", 0},
        {"", 0},                      {"1.2.3", 0},     {"01.2.3.4", 0},  {"::1", 0},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(tavel::ip4StringToInt(text), value) << '"' << text << '"';
}

TEST(Ip4, IntegerToTextIsAlways15CharactersNulPadded)
{
    const std::pair<unsigned int, std::string> cases[] = {
        {0xC0A80101u, "192.168.1.1"}, {0, "0.0.0.0"}, {0xFFFFFFFFu, "255.255.255.255"}, {0xE8000101u, "232.0.1.1"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(tavel::intToIp4String(value), text + std::string(15 - text.size(), '\0')) << text;
}

TEST(Ip4, MulticastRangeEdges)
{
    const std::pair<const char*, bool> cases[] = {
        {"224.0.0.0", true}, {"239.255.255.255", true}, {"223.255.255.255", false},
        {"240.0.0.0", false}, {"0.0.0.0", false},       {"255.255.255.255", false},
    };
    for (const auto& [text, multicast] : cases) {
        EXPECT_EQ(tavel::pIsMulticast(text), multicast) << text;
        EXPECT_EQ(tavel::ipIsMulticast(tavel::ip4StringToInt(text)), multicast) << text;
    }
    EXPECT_FALSE(tavel::pIsMulticast("not an address"));
    EXPECT_STREQ(tavel::getPsisiMulticastAddress(), "232.0.1.1");
}

void writeScript(const std::string& path, const std::string& body)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "#!/bin/sh\n" << body;
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
}

TEST(Backplane, AddressesFromTheSubnetToolOnThePath)
{
    struct Case {
        const char* output;  // printf format of the fake tool; nullptr: no tool
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
        {nullptr, "192.168.184.201", "192.168.184.200"},
    };
    const std::string saved_path = std::getenv("PATH") ? std::getenv("PATH") : "";
    for (const Case& c : cases) {
        TempRoot root;
        if (c.output)
            writeScript(root("/bin/tavnet-backplane-subnet"),
                        std::string("[ \"$1\" = vlan500_ips ] || exit 1\nprintf '") + c.output + "'\n");
        ::setenv("PATH", root("/bin").c_str(), 1);
        std::string cpu = "x", fpga = "y";
        EXPECT_EQ(tavel::getCpuAndFpgaIpAddress(cpu, fpga), 0);
        ::setenv("PATH", saved_path.c_str(), 1);
        EXPECT_EQ(cpu, c.cpu) << (c.output ? c.output : "no tool");
        EXPECT_EQ(fpga, c.fpga) << (c.output ? c.output : "no tool");
    }
}

TEST(InterfaceStatus, ToolOutputWholeOrEmpty)
{
    EXPECT_EQ(tavel::command::interfaceStatusArgv("eth0"),
              (std::vector<std::string>{"/usr/bin/tavnet-external-net-config", "-j", "-I", "eth0"}));
    struct Case {
        const char* script;  // nullptr: no tool
        std::string salida;
    } cases[] = {
        {"printf '{\"interface\":\"%s\",\"up\":true}\\n%0500d' \"$3\" 0\n",
         "{\"interface\":\"eth1\",\"up\":true}\n" + std::string(500, '0')},  // beyond any one read
        {"exit 3\n", ""},
        {nullptr, ""},
    };
    for (const Case& c : cases) {
        TempRoot root;
        if (c.script)
            writeScript(root("/usr/bin/tavnet-external-net-config"), c.script);
        std::string salida = "stale";
        EXPECT_EQ(tavel::getNetworInterfaceStatus("eth1", salida), 0);
        EXPECT_EQ(salida, c.salida) << (c.script ? c.script : "no tool");
    }
}

TEST(InterfaceStatus, HostileNamesReachTheToolAsOneArgumentAndRunNothing)
{
    TempRoot root;
    // The fake tool prints each argument on a line of its own.
    writeScript(root("/usr/bin/tavnet-external-net-config"), "for a in \"$@\"; do printf '[%s]\\n' \"$a\"; done\n");
    const std::string marker = root("/marker");
    const std::string names[] = {
        "eth0;touch " + marker,       "$(touch " + marker + ")",          "`touch " + marker + "`",
        "eth0 && touch " + marker,    "eth0' ; touch " + marker + " ; '", "eth0\"; touch " + marker + "; \"",
        "eth0|touch " + marker,       "eth0\ntouch " + marker,            "$(reboot)",
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
