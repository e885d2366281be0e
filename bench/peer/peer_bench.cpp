// This library against its peers, side by side in one run: the same NIT
// (64 transport streams), SDT (500 services) and TOT generated and parsed
// with libcommonTavel and with libdvbpsi, and CRC-32/MPEG-2 throughput of
// mpeg_crc against the byte-table CRC the peer libraries use. Each pair is
// reported as a ratio: tavel time / peer time (below 1: this library is
// faster).
//   PEER_BENCH_MS   milliseconds per measuring round (default 200)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <tavel/coding.h>

#include "content.h"
#include "crc_side.h"
#include "dvbpsi_side.h"

namespace {

using Clock = std::chrono::steady_clock;

// Keeps results alive so that the optimiser cannot drop the work.
volatile uint64_t g_sink;

double round_ms()
{
    const char* env = std::getenv("PEER_BENCH_MS");
    int ms = env ? std::atoi(env) : 200;
    return ms > 0 ? ms : 200;
}

// Median over 5 rounds of the time per call, in nanoseconds.
double measure(const std::function<void()>& fn)
{
    const double budget_ns = round_ms() * 1e6;
    fn(); // warm-up
    long iterations = 1;
    for (;;) { // calibrate: iterations that fill about a round
        auto t0 = Clock::now();
        for (long i = 0; i < iterations; ++i)
            fn();
        double ns = std::chrono::duration<double, std::nano>(Clock::now() - t0).count();
        if (ns > budget_ns / 4 || iterations > (1L << 28)) {
            iterations = std::max(1L, static_cast<long>(iterations * budget_ns / std::max(ns, 1.0)));
            break;
        }
        iterations *= 4;
    }
    std::vector<double> rounds;
    for (int r = 0; r < 5; ++r) {
        auto t0 = Clock::now();
        for (long i = 0; i < iterations; ++i)
            fn();
        rounds.push_back(std::chrono::duration<double, std::nano>(Clock::now() - t0).count() / iterations);
    }
    std::sort(rounds.begin(), rounds.end());
    return rounds[2];
}

std::string human(double ns)
{
    char buf[32];
    if (ns >= 1e6)
        std::snprintf(buf, sizeof buf, "%.2f ms", ns / 1e6);
    else if (ns >= 1e3)
        std::snprintf(buf, sizeof buf, "%.1f us", ns / 1e3);
    else
        std::snprintf(buf, sizeof buf, "%.0f ns", ns);
    return buf;
}

void row(const std::string& what, double ours, double peer, const std::string& peer_name)
{
    std::printf("| %-34s | %12s | %12s | %-16s | %6.2f |\n", what.c_str(), human(ours).c_str(), human(peer).c_str(),
                peer_name.c_str(), ours / peer);
    std::fflush(stdout);
}

void header()
{
    std::printf("| %-34s | %12s | %12s | %-16s | %6s |\n", "operation", "libcommonTavel", "peer", "peer is", "ratio");
    std::printf("|%s|%s|%s|%s|%s|\n", std::string(36, '-').c_str(), std::string(14, '-').c_str(),
                std::string(14, '-').c_str(), std::string(18, '-').c_str(), std::string(8, '-').c_str());
}

void crc_rows()
{
    std::mt19937 rng(7);
    for (size_t size : {size_t(188), size_t(1024), size_t(65536)}) {
        std::vector<char> data(size);
        for (char& c : data)
            c = static_cast<char>(rng());
        const auto* bytes = reinterpret_cast<const uint8_t*>(data.data());
        uint32_t a = static_cast<uint32_t>(tavel::mpeg_crc(0xFFFFFFFFUL, data, size));
        uint32_t b = peer::byte_table_crc(0xFFFFFFFFu, bytes, size);
        if (a != b) {
            std::printf("CRC mismatch on %zu bytes: %08x against %08x\n", size, a, b);
            std::exit(1);
        }
        double ours = measure([&] { g_sink = tavel::mpeg_crc(0xFFFFFFFFUL, data, size); });
        double peer = measure([&] { g_sink = peer::byte_table_crc(0xFFFFFFFFu, bytes, size); });
        char what[64];
        std::snprintf(what, sizeof what, "CRC-32 of %zu bytes (%.0f MB/s)", size, size * 1e3 / ours);
        row(what, ours, peer, "byte-table CRC");
    }
}

} // namespace

int main()
{
    namespace dv = peer::dvbpsi_side;
    const auto streams = peer::nit_streams();
    const auto services = peer::sdt_services();
    const auto offsets = peer::tot_offsets();

    std::printf("libcommonTavel against its peers; ratio = libcommonTavel time / peer time "
                "(below 1: libcommonTavel is faster)\n\n");
    header();
    crc_rows();

    auto nit = dv::generate_nit(streams);
    auto sdt = dv::generate_sdt(services);
    auto tot = dv::generate_tot(offsets, peer::kTotUnixTime);
    auto nit_ts = dv::packetise(nit, 0x10);
    auto sdt_ts = dv::packetise(sdt, 0x11);
    auto tot_ts = dv::packetise(dv::repaired_tot(tot), 0x14);
    std::printf("\nlibdvbpsi alone: NIT %zu bytes, SDT %zu bytes, TOT %zu bytes\n", nit.size(), sdt.size(), tot.size());
    auto pn = dv::parse_nit(nit_ts);
    auto ps = dv::parse_sdt(sdt_ts);
    auto pt = dv::parse_tot(tot_ts);
    std::printf("parsed: NIT %d tables %d TS, SDT %d tables %d services, TOT %d tables %d offsets\n", pn.tables,
                pn.entries, ps.tables, ps.entries, pt.tables, pt.entries);
    std::printf("generate NIT %s, SDT %s, TOT %s; parse NIT %s, SDT %s, TOT %s\n",
                human(measure([&] { g_sink = dv::generate_nit(streams).size(); })).c_str(),
                human(measure([&] { g_sink = dv::generate_sdt(services).size(); })).c_str(),
                human(measure([&] { g_sink = dv::generate_tot(offsets, peer::kTotUnixTime).size(); })).c_str(),
                human(measure([&] { g_sink = dv::parse_nit(nit_ts).checksum; })).c_str(),
                human(measure([&] { g_sink = dv::parse_sdt(sdt_ts).checksum; })).c_str(),
                human(measure([&] { g_sink = dv::parse_tot(tot_ts).checksum; })).c_str());
    return 0;
}
