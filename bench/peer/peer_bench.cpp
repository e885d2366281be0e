// This library against its peers, side by side in one run: the same NIT
// (64 transport streams), SDT (500 services) and TOT generated and parsed
// with libcommonTavel and with libdvbpsi, and CRC-32/MPEG-2 throughput of
// mpeg_crc against the byte-table CRC the peer libraries use. Each pair is
// reported as a ratio: tavel time / peer time (below 1: this library is
// faster).
// Times are medians of 7 rounds, the two sides' rounds alternating; beside
// each time, the heap allocations of one call.
//   PEER_BENCH_MS   milliseconds per measuring round (default 200)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>
#include <syslog.h>
#include <unistd.h>

#include <tavel/coding.h>

#include "content.h"
#include "crc_side.h"
#include "dvbpsi_side.h"
#include "heap_count.h"
#include "tavel_side.h"

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

struct Timing {
    double ns = 0;       // median time per call
    uint64_t allocs = 0; // heap allocations of one call
};

uint64_t allocations_of(const std::function<void()>& fn)
{
    const uint64_t before = peer::heap_allocations();
    peer::count_allocations(true);
    fn();
    peer::count_allocations(false);
    return peer::heap_allocations() - before;
}

// Calls of fn that fill about a quarter of a round.
long calibrate(const std::function<void()>& fn, double budget_ns)
{
    fn(); // warm-up
    long iterations = 1;
    for (;;) {
        auto t0 = Clock::now();
        for (long i = 0; i < iterations; ++i)
            fn();
        double ns = std::chrono::duration<double, std::nano>(Clock::now() - t0).count();
        if (ns > budget_ns / 4 || iterations > (1L << 28))
            return std::max(1L, static_cast<long>(iterations * budget_ns / std::max(ns, 1.0)));
        iterations *= 4;
    }
}

double round_ns(const std::function<void()>& fn, long iterations)
{
    auto t0 = Clock::now();
    for (long i = 0; i < iterations; ++i)
        fn();
    return std::chrono::duration<double, std::nano>(Clock::now() - t0).count() / iterations;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

constexpr int kRounds = 7;

// Median over 7 rounds of the time per call of each side. The rounds of the
// two sides alternate, so that a change in the machine's load during the
// row falls on both.
std::pair<Timing, Timing> measure_pair(const std::function<void()>& ours, const std::function<void()>& theirs)
{
    const double budget_ns = round_ms() * 1e6;
    const long n_ours = calibrate(ours, budget_ns);
    const long n_theirs = calibrate(theirs, budget_ns);
    std::vector<double> a;
    std::vector<double> b;
    for (int r = 0; r < kRounds; ++r) {
        a.push_back(round_ns(ours, n_ours));
        b.push_back(round_ns(theirs, n_theirs));
    }
    return {{median(a), allocations_of(ours)}, {median(b), allocations_of(theirs)}};
}

Timing measure(const std::function<void()>& fn)
{
    const long n = calibrate(fn, round_ms() * 1e6);
    std::vector<double> t;
    for (int r = 0; r < kRounds; ++r)
        t.push_back(round_ns(fn, n));
    return {median(t), allocations_of(fn)};
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

void print_row(const std::string& what, const std::string& ours, const std::string& ours_allocs,
               const std::string& peer, const std::string& peer_allocs, const std::string& peer_name,
               const std::string& ratio)
{
    std::printf("| %-34s | %14s | %6s | %12s | %6s | %-16s | %6s |\n", what.c_str(), ours.c_str(), ours_allocs.c_str(),
                peer.c_str(), peer_allocs.c_str(), peer_name.c_str(), ratio.c_str());
    std::fflush(stdout);
}

void row(const std::string& what, const std::pair<Timing, Timing>& t, const std::string& peer_name)
{
    char ratio[16];
    std::snprintf(ratio, sizeof ratio, "%.2f", t.first.ns / t.second.ns);
    print_row(what, human(t.first.ns), std::to_string(t.first.allocs), human(t.second.ns),
              std::to_string(t.second.allocs), peer_name, ratio);
}

void header()
{
    print_row("operation", "libcommonTavel", "allocs", "peer", "allocs", "peer is", "ratio");
    std::printf("|%s|%s|%s|%s|%s|%s|%s|\n", std::string(36, '-').c_str(), std::string(16, '-').c_str(),
                std::string(8, '-').c_str(), std::string(14, '-').c_str(), std::string(8, '-').c_str(),
                std::string(18, '-').c_str(), std::string(8, '-').c_str());
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
        auto t = measure_pair([&] { g_sink = tavel::mpeg_crc(0xFFFFFFFFUL, data, size); },
                              [&] { g_sink = peer::byte_table_crc(0xFFFFFFFFu, bytes, size); });
        char what[64];
        std::snprintf(what, sizeof what, "CRC-32 of %zu bytes (%.0f MB/s)", size, size * 1e3 / t.first.ns);
        row(what, t, "byte-table CRC");
    }
}

template <typename Bytes>
std::vector<uint8_t> as_bytes(const Bytes& in)
{
    std::vector<uint8_t> out;
    for (auto c : in)
        out.push_back(static_cast<uint8_t>(c));
    return out;
}

std::vector<char> as_chars(const std::vector<uint8_t>& in)
{
    return std::vector<char>(in.begin(), in.end());
}

bool same_counts(const peer::dvbpsi_side::Parsed& a, const peer::dvbpsi_side::Parsed& b)
{
    return a.tables == b.tables && a.entries == b.entries && a.descriptors == b.descriptors && a.entries > 0;
}

using TavelParse = peer::dvbpsi_side::Parsed (*)(const std::vector<char>&);
using PeerParse = peer::dvbpsi_side::Parsed (*)(const std::vector<uint8_t>&);

// Reads both libraries' output with both parsers and says what each holds.
// Returns whether both parsers read the same content from the table that
// the parsing rows use.
bool check_content(const char* table, const std::vector<char>& ours, const std::vector<uint8_t>& theirs, uint16_t pid,
                   bool parse_ours, TavelParse tavel_parse, PeerParse dvbpsi_parse)
{
    namespace dv = peer::dvbpsi_side;
    auto t_ours = tavel_parse(ours);
    auto d_ours = dvbpsi_parse(dv::packetise(as_bytes(ours), pid));
    auto t_theirs = tavel_parse(as_chars(theirs));
    auto d_theirs = dvbpsi_parse(dv::packetise(theirs, pid));
    std::printf("%s  libcommonTavel: %5zu bytes, %3d entries, %3d descriptors; libdvbpsi reads %d entries, %d "
                "descriptors\n",
                table, ours.size(), t_ours.entries, t_ours.descriptors, d_ours.entries, d_ours.descriptors);
    std::printf("%s  libdvbpsi:      %5zu bytes, %3d entries, %3d descriptors; libcommonTavel reads %d entries, %d "
                "descriptors\n",
                table, theirs.size(), d_theirs.entries, d_theirs.descriptors, t_theirs.entries, t_theirs.descriptors);
    bool ok = parse_ours ? same_counts(t_ours, d_ours) : same_counts(t_theirs, d_theirs);
    std::printf("%s  parsing rows read the %s table: %s\n", table, parse_ours ? "libcommonTavel" : "libdvbpsi",
                ok ? "both parsers agree" : "PARSERS DISAGREE");
    return ok;
}

} // namespace

int main()
{
    namespace dv = peer::dvbpsi_side;
    namespace tv = peer::tavel_side;
    const auto streams = peer::nit_streams();
    const auto services = peer::sdt_services();
    const auto offsets = peer::tot_offsets();

    auto nit = tv::generate_nit(streams);
    auto sdt = tv::generate_sdt(services);
    auto tot = tv::generate_tot(offsets, peer::kTotUnixTime);
    auto peer_nit = dv::generate_nit(streams);
    auto peer_sdt = dv::generate_sdt(services);
    // libdvbpsi's own TOT is read back only once its length is set right.
    auto peer_tot = dv::repaired_tot(dv::generate_tot(offsets, peer::kTotUnixTime));

    std::printf("Content: NIT of %d transport streams (cable delivery, %d services listed each), SDT of %d services, "
                "TOT with %zu local time offsets\n",
                peer::kNitStreams, peer::kServicesPerStream, peer::kSdtServices, offsets.size());
    // libdvbpsi does not take this library's TOT (its section_syntax_indicator
    // is set), so the TOT rows parse libdvbpsi's own.
    bool ok = check_content("NIT", nit, peer_nit, 0x10, true, tv::parse_nit, dv::parse_nit);
    ok = check_content("SDT", sdt, peer_sdt, 0x11, true, tv::parse_sdt, dv::parse_sdt) && ok;
    ok = check_content("TOT", tot, peer_tot, 0x14, false, tv::parse_tot, dv::parse_tot) && ok;
    if (!ok)
        return 1;

    std::printf("\nratio = libcommonTavel time / peer time (below 1: libcommonTavel is faster). Generation: from "
                "the caller's description to sealed sections in memory. Parsing: libcommonTavel from the table "
                "bytes, libdvbpsi from the same bytes in TS packets (its only input), both decoding every "
                "descriptor.\n\n");
    // The library logs traces (LOG_DEBUG) and milestones (LOG_INFO, one per
    // descriptor in the NIT) through syslog, and a syslog call costs more than
    // building a descriptor. The main table keeps warnings and errors only,
    // so it shows the library's own work; the second one logs everything.
    setlogmask(LOG_UPTO(LOG_WARNING));
    header();
    row("NIT generation (64 TS)", measure_pair([&] { g_sink = tv::generate_nit(streams).size(); },
                                               [&] { g_sink = dv::generate_nit(streams).size(); }),
        "libdvbpsi");
    row("SDT generation (500 services)", measure_pair([&] { g_sink = tv::generate_sdt(services).size(); },
                                                      [&] { g_sink = dv::generate_sdt(services).size(); }),
        "libdvbpsi");
    row("TOT generation",
        measure_pair([&] { g_sink = tv::generate_tot(offsets, peer::kTotUnixTime).size(); },
                     [&] { g_sink = dv::generate_tot(offsets, peer::kTotUnixTime).size(); }),
        "libdvbpsi");
    auto nit_ts = dv::packetise(as_bytes(nit), 0x10);
    auto sdt_ts = dv::packetise(as_bytes(sdt), 0x11);
    auto tot_ts = dv::packetise(peer_tot, 0x14);
    auto peer_tot_chars = as_chars(peer_tot);
    row("NIT parsing (64 TS)", measure_pair([&] { g_sink = tv::parse_nit(nit).checksum; },
                                            [&] { g_sink = dv::parse_nit(nit_ts).checksum; }),
        "libdvbpsi");
    row("SDT parsing (500 services)", measure_pair([&] { g_sink = tv::parse_sdt(sdt).checksum; },
                                                   [&] { g_sink = dv::parse_sdt(sdt_ts).checksum; }),
        "libdvbpsi");
    row("TOT parsing", measure_pair([&] { g_sink = tv::parse_tot(peer_tot_chars).checksum; },
                                    [&] { g_sink = dv::parse_tot(tot_ts).checksum; }),
        "libdvbpsi");
    crc_rows();
    const auto patterns = tv::pattern_nits(8);
    Timing with_patterns = measure([&] { g_sink = tv::generate_nit_with_patterns(streams, patterns).size(); });
    print_row("NIT generation with 8 pattern NITs", human(with_patterns.ns), std::to_string(with_patterns.allocs),
              "-", "-", "(no peer)", "-");
    Timing fill = measure([&] { g_sink = tv::describe_nit_only(streams); });
    std::printf("\nallocs: heap allocations of one call (operator new and malloc alike). Of the NIT generation "
                "row, the caller's filling of tNIT's output maps alone takes %s and %llu allocations.\n",
                human(fill.ns).c_str(), static_cast<unsigned long long>(fill.allocs));

    setlogmask(LOG_UPTO(LOG_DEBUG));
    std::printf("\nWith every log line of the library going to syslog%s:\n\n",
                access("/dev/log", F_OK) == 0 ? "" : " (no syslog daemon here: each line is a failed connect)");
    header();
    row("NIT generation (64 TS)", measure_pair([&] { g_sink = tv::generate_nit(streams).size(); },
                                               [&] { g_sink = dv::generate_nit(streams).size(); }),
        "libdvbpsi");
    row("SDT generation (500 services)", measure_pair([&] { g_sink = tv::generate_sdt(services).size(); },
                                                      [&] { g_sink = dv::generate_sdt(services).size(); }),
        "libdvbpsi");
    row("NIT parsing (64 TS)", measure_pair([&] { g_sink = tv::parse_nit(nit).checksum; },
                                            [&] { g_sink = dv::parse_nit(nit_ts).checksum; }),
        "libdvbpsi");
    row("SDT parsing (500 services)", measure_pair([&] { g_sink = tv::parse_sdt(sdt).checksum; },
                                                   [&] { g_sink = dv::parse_sdt(sdt_ts).checksum; }),
        "libdvbpsi");
    return 0;
}
