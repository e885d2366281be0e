// The system/ functions: module models and slots, load figures, network
// helpers and the tools they start, host identity.
#include <tavel/host_identity.h>
#include <tavel/load.h>
#include <tavel/module.h>
#include <tavel/network.h>

#include "system/command.h"
#include "system/load.h"
#include "system/slot.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <tuple>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

// Non-zero: posix_spawn fails with it (linked with --wrap=posix_spawn).
int spawn_error = 0;
extern "C" {
int __real_posix_spawn(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, char* const*,
                       char* const*);
int __wrap_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attr, char* const* argv, char* const* envp)
{
    return spawn_error ? spawn_error : __real_posix_spawn(pid, path, actions, attr, argv, envp);
}
}

namespace {

using tavel::test::TempRoot;

TEST(ModuleModel, NumbersKindAndRfPorts)
{
    const std::pair<const char*, unsigned short> names[] = {
        {"KMX-410", 1}, {"KMX-430", 3}, {"KMX-630", 4}, {"KSR-430", 7},
        {"KMX-630 ", 99},  // trailing blank: callers trim, not us
        {"kmx-630", 99}, {"KMX-6300", 99}, {"", 99},
    };
    for (const auto& [name, number] : names)
        EXPECT_EQ(tavel::getNumModeloModulo(name), number) << '"' << name << '"';
    for (unsigned short m : {1, 3, 4, 7, 99}) {
        EXPECT_EQ(tavel::getTipoCabecera(m), m == 7) << m;
        EXPECT_EQ(tavel::getNumSalidasRFModulo(m), m == 4 ? 6 : 4) << m;
        EXPECT_EQ(tavel::getNumEntradasRFModulo(m), m == 4 ? 6 : 4) << m;
    }
    EXPECT_TRUE(tavel::getTipoCabecera(std::string("KSR-430")));
    EXPECT_FALSE(tavel::getTipoCabecera(std::string("KSR-430 ")));
}

TEST(Slot, NumbersFromNames)
{
    const std::pair<const char*, int> names[] = {
        {"tvl7", 7}, {"tvl0", 0}, {"tvl9", 9}, {"tvl10", -1}, {"tvl12", -1}, {"tvl", 0}, {"tvlslot3", 0},  // no leading digits
        {"tvl3x", 3}, {"lo", 1}, {"lo0", -1}, {"eth0", -1}, {"TVL7", -1}, {"", -1},
    };
    for (const auto& [name, slot] : names)
        EXPECT_EQ(tavel::getSlotNumber(name), slot) << '"' << name << '"';
}

TEST(Slot, DetectionFileAndRetryRule)
{
    struct Case {
        const char* content;  // nullptr: no file at first
        unsigned int retries;
        int file_at_sleep;  // "4" appears during this wait; 0: never
        unsigned int slot;
        int sleeps;
    } cases[] = {
        {"10\n", 3, 0, 10, 0}, {"11\n", 3, 0, 0, 0}, {"3", 3, 0, 3, 0}, {"garbage\n", 3, 0, 0, 0}, {"", 3, 0, 0, 0},
        {nullptr, 0, 0, 0, 0}, {nullptr, 3, 0, 0, 3},  // one sleep per retry
        {nullptr, 3, 1, 4, 1},  // appears during an earlier wait: read
        {nullptr, 2, 2, 0, 2},  // appears during the last wait: no final look
    };
    for (const Case& c : cases) {
        TempRoot root;
        if (c.content)
            root.put("/tmp/tavel/detected-slot", c.content);
        int sleeps = 0;
        auto sleep = [&] {
            if (++sleeps == c.file_at_sleep)
                root.put("/tmp/tavel/detected-slot", "4\n");
        };
        const unsigned int slot = tavel::slot::detectSlot(c.retries, sleep);
        EXPECT_EQ(std::make_pair(slot, sleeps), std::make_pair(c.slot, c.sleeps))
            << (c.content ? c.content : "-") << c.retries;
    }
}

TEST(Slot, PublicFunctionZeroRetriesDoesNotSleep)
{
    TempRoot root;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(tavel::getDetectedSlot(0), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    root.put("/tmp/tavel/detected-slot", "8\n");
    EXPECT_EQ(tavel::getDetectedSlot(0), 8u);
}

struct CpuStep {
    const char* stat;  // /proc/stat; nullptr: file removed
    unsigned int percent, total, idle;
};

// Feeds the steps to getCpuUsage in turn, counters starting at 0.
void runCpuSteps(const std::vector<CpuStep>& steps)
{
    TempRoot root;
    unsigned int total = 0, idle = 0;
    for (const CpuStep& s : steps) {
        if (s.stat)
            root.put("/proc/stat", s.stat);
        else
            std::remove(root("/proc/stat").c_str());
        const unsigned int percent = tavel::getCpuUsage(total, idle);
        EXPECT_EQ(std::make_tuple(percent, total, idle), std::make_tuple(s.percent, s.total, s.idle))
            << (s.stat ? s.stat : "-");
    }
}

TEST(CpuUsage, PrimedThenZeroThenDeltas)
{
    // user nice system idle iowait irq softirq (steal etc. ignored)
    const char* first = "cpu  300 100 200 1200 100 50 50 7 0 0\ncpu0 1 2 3 4 5 6 7 0 0 0\n";
    runCpuSteps({
        {first, 40, 2000, 1200},                                   // primed: 100 * 800 / 2000
        {first, 0, 2000, 1200},                                    // unchanged counters
        {"cpu  500 100 400 1300 100 50 50 0 0 0\n", 80, 2500, 1300},  // 100 * 400 / 500
        {"cpu  1 2 x\n", 0, 2500, 1300},  // unreadable: counters left alone
        {nullptr, 0, 2500, 1300},
    });
    // idle 2^32 + 1000 on a many-core host: the figures wrap in 32 bits.
    runCpuSteps({{"cpu  1000 0 0 4294968296 0 0 0\n", 50, 2000, 1000},
                 {"cpu  1100 0 0 4294968296 0 0 0\n", 100, 2100, 1000}});
}

TEST(RamUse, IsTheShareOfFreeMemory)
{
    const uint64_t mib = 1024 * 1024;
    EXPECT_EQ(tavel::load::freeMemoryPercent(128 * mib, 512 * mib), 25u);
    // 512 MiB counted in bytes would overflow a 32-bit product.
    EXPECT_EQ(tavel::load::freeMemoryPercent(511 * mib, 512 * mib), 99u);
    EXPECT_EQ(tavel::load::freeMemoryPercent(512 * mib, 512 * mib), 100u);
    EXPECT_EQ(tavel::load::freeMemoryPercent(0, 0), 0u);
    EXPECT_EQ(tavel::load::freeMemoryPercent(2, 1), 0u); // inconsistent figures
    EXPECT_GT(tavel::getRamUse(), 0u);
    EXPECT_LE(tavel::getRamUse(), 100u);
}

TEST(FsUse, ReservedBlocksCountNeitherWayAndMatchStatvfs)
{
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 400, 300), 66u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 1000, 1000), 0u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(1000, 100, 0), 100u);
    EXPECT_EQ(tavel::load::fileSystemUsePercent(10, 20, 5), 0u);  // inconsistent figures

    TempRoot root;
    struct statvfs fs;
    ASSERT_EQ(::statvfs(root.path().c_str(), &fs), 0);
    unsigned long long used = fs.f_blocks - fs.f_bfree;
    unsigned long long expected = used + fs.f_bavail ? 100 * used / (used + fs.f_bavail) : 0;
    unsigned int got = tavel::getFSUse(root.path().c_str());
    // Another process may write between the two looks; allow one point.
    EXPECT_LE(got > expected ? got - expected : expected - got, 1u);
    EXPECT_EQ(tavel::getFSUse("/no/such/path"), 0u);
    EXPECT_EQ(tavel::getFSUse(nullptr), 0u);
}

TEST(Ip4, TextToInteger)
{
    const std::pair<const char*, unsigned int> cases[] = {
        {"192.168.1.1", 0xC0A80101u}, {"0.0.0.0", 0}, {"255.255.255.255", 0xFFFFFFFFu},
        {"232.0.1.1", 0xE8000101u},   {"256.1.1.1", 0}, {" 1.2.3.4", 0}, {"1.2.3.4 ", 0},
        {"", 0},                      {"1.2.3", 0},     {"01.2.3.4", 0},  {"::1", 0},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(tavel::ip4StringToInt(text), value) << '"' << text << '"';
        // Back to text, always 15 characters, NUL-padded.
        const std::string back(text);
        if (value != 0 || back == "0.0.0.0") {
            EXPECT_EQ(tavel::intToIp4String(value), back + std::string(15 - back.size(), '\0')) << text;
        }
    }
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
    const char* const kCpu = "192.168.184.201";
    const char* const kFpga = "192.168.184.200";
    struct Case {
        const char* output;  // printf format of the fake tool; nullptr: no tool
        const char* cpu;
        const char* fpga;
    } cases[] = {
        {"192.168.184.11 192.168.184.10\\n", "192.168.184.11", "192.168.184.10"},
        // One address: both take it.
        {"10.1.2.3\\n", "10.1.2.3", "10.1.2.3"}, {"10.1.2.3\\n\\n", "10.1.2.3", "10.1.2.3"},
        // Anything else: the fixed defaults (a second blank is kept, so two blanks fail).
        {"not an address\\n", kCpu, kFpga}, {"10.1.2.3 bogus\\n", kCpu, kFpga}, {"10.1.2.3  10.1.2.4\\n", kCpu, kFpga},
        {"", kCpu, kFpga}, {nullptr, kCpu, kFpga},
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
        EXPECT_EQ(cpu + " " + fpga, std::string(c.cpu) + " " + c.fpga) << (c.output ? c.output : "no tool");
    }
}

TEST(InterfaceStatus, HostileNamesReachTheToolAsOneArgumentAndRunNothing)
{
    TempRoot root;
    // The fake tool prints each argument on a line of its own.
    writeScript(root("/usr/bin/tavnet-external-net-config"), "for a in \"$@\"; do printf '[%s]\\n' \"$a\"; done\n");
    const std::string marker = root("/marker");
    const std::string names[] = {"eth0;touch " + marker, "$(touch " + marker + ")", "`touch " + marker + "`",
                                 "eth0' ; touch " + marker + " ; '", "eth0\ntouch " + marker, "-j -I eth0"};
    for (const std::string& name : names) {
        std::string salida;
        EXPECT_EQ(tavel::getNetworInterfaceStatus(name, salida), 0);
        EXPECT_EQ(salida, "[-j]\n[-I]\n[" + name + "]\n") << name;
        EXPECT_NE(::access(marker.c_str(), F_OK), 0) << name;
    }
}

// Nothing started: -1 and the output as it was; a missing tool: 0 and empty.
TEST(InterfaceStatus, NoProcessLeavesTheOutputAlone)
{
    TempRoot root;
    for (auto [error, rc, out] : {std::tuple{EAGAIN, -1, "kept"}, {ENOENT, 0, ""}}) {
        std::string salida = "kept";
        spawn_error = error;
        EXPECT_EQ(tavel::getNetworInterfaceStatus("eth0", salida), rc) << error;
        spawn_error = 0;
        EXPECT_EQ(salida, out) << error;
    }
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
        {"KMX 410 AZ", std::string("\x00\x1A\x2B\xF0\x0D\xFF", 6), "kmx-410-az-f00dff"},  // raw MAC bytes
        {"-", "00:1A:2B:3C:4D:5E", nullptr}, {"KMX-630", "-", nullptr}, {"", "00:1A:2B:3C:4D:5E", nullptr},
        {"KMX-630", "XX:XX:XX:XX:XX", nullptr}, {"KMX-630", "00-1A-2B-3C-4D-5E", nullptr},
        {"KMX-630", "00:1A:2B:3C:4D:5G", nullptr},
    };
    for (const Case& c : cases) {
        TempRoot root;
        for (const auto& [file, content] : {std::pair{"modelo", c.model}, {"mac", c.mac}})
            if (content != "-")
                root.put(std::string("/sys/firmware/devicetree/base/tavel/") + file, content);
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
        if (c.configured)
            root.put("/tavel/conf/tavel_numserie", c.configured);
        if (c.board)
            root.put("/sys/firmware/devicetree/base/tavel/serial", c.board + std::string(1, '\0'));
        EXPECT_EQ(tavel::getPhoneHomeId(), c.id) << (c.configured ? c.configured : "-") << " / "
                                                 << (c.board ? c.board : "-");
    }
}

} // namespace
