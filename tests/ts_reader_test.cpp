#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include <tavel/ts.h>

#include "test_support.h"

using tavel::test::hex;
using tavel::test::to_hex;
using Packets = std::vector<std::vector<char>>;

namespace {

// A private long section (table_id 0x80) of the given total size, CRC sealed.
std::vector<char> section(size_t size, uint8_t fill)
{
    std::vector<char> s(size - 4, static_cast<char>(fill));
    s[0] = static_cast<char>(0x80);
    s[1] = static_cast<char>(0xB0);
    return tavel::test::seal(s);
}

std::vector<char> join(const Packets& packets)
{
    std::vector<char> ts;
    for (const auto& p : packets)
        ts.insert(ts.end(), p.begin(), p.end());
    return ts;
}

std::vector<char> operator+(std::vector<char> a, const std::vector<char>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<char> stuffing(size_t n) { return std::vector<char>(n, static_cast<char>(0xFF)); }

Packets split(const std::vector<char>& ts)
{
    Packets p;
    for (size_t i = 0; i + 188 <= ts.size(); i += 188)
        p.emplace_back(ts.begin() + static_cast<long>(i), ts.begin() + static_cast<long>(i + 188));
    return p;
}

struct Result {
    Packets sections;
    std::vector<std::tuple<int, uint64_t, int64_t, int64_t>> places; // pid, packet, PCR, time
    tavel::TsCounts counts;
    size_t packet_size;
};

// Reads ts in pieces of piece bytes (0: all at once), PIDs 0x11 and 0x12 selected.
Result read(const std::vector<char>& ts, size_t piece)
{
    Result r;
    tavel::TsSectionReader reader([&r](const tavel::TsSectionPlace& at, const std::vector<char>& s) {
        r.sections.push_back(s);
        r.places.emplace_back(at.pid, at.packet_index, at.pcr, at.time);
    });
    reader.select(0x11);
    reader.select(0x12);
    for (size_t i = 0; i < ts.size(); i += piece ? piece : ts.size())
        reader.feed(ts.data() + i, std::min(piece ? piece : ts.size(), ts.size() - i));
    reader.finish();
    r.counts = reader.counts();
    r.packet_size = reader.packet_size();
    return r;
}

} // namespace

TEST(TsSectionReader, CountsEachFaultExactly)
{
    // Two 400-byte sections on PID 0x11 in five packets (B starts in packet 2),
    // after a PCR packet on PID 0x100 and a null packet.
    const std::vector<char> a = section(400, 0xA1), b = section(400, 0xB2);
    std::vector<char> head;
    tavel::ts_append_pcr_packet(head, 0x100, 27000000);
    tavel::ts_append_null_packet(head);
    std::vector<char> body;
    tavel::TsPacketiser(0x11).packetise(Packets{a, b}, body);
    const Packets clean = split(body);
    ASSERT_EQ(clean.size(), 5u);

    struct Case {
        const char* name;
        std::function<std::vector<char>(Packets)> damage; // the whole stream's packets to its bytes
        Packets sections;
        // cc, duplicates, crc, tei, cut, oversize, garbage bytes, resyncs
        std::vector<uint64_t> counts;
        size_t packet_size;
    };
    const Case cases[] = {
        {"clean", [](Packets p) { return join(p); }, {a, b}, {0, 0, 0, 0, 0, 0, 0, 0}, 188},
        {"dropped packet cuts A", [](Packets p) { p.erase(p.begin() + 3); return join(p); }, {b}, {1, 0, 0, 0, 1, 0, 0, 0}, 188},
        {"duplicate allowed once", [](Packets p) { p.insert(p.begin() + 3, p[3]); return join(p); }, {a, b}, {0, 1, 0, 0, 0, 0, 0, 0}, 188},
        {"third copy breaks", [](Packets p) { p.insert(p.begin() + 3, 2, p[3]); return join(p); }, {b}, {1, 1, 0, 0, 1, 0, 0, 0}, 188},
        {"stream ends inside B", [](Packets p) { p.resize(5); return join(p); }, {a}, {0, 0, 0, 0, 1, 0, 0, 0}, 188},
        {"bad CRC in A", [](Packets p) { p[3][50] ^= 1; return join(p); }, {b}, {0, 0, 1, 0, 0, 0, 0, 0}, 188},
        {"TEI packet dropped, its counter kept", [](Packets p) { p[5][1] |= '\x80'; return join(p); }, {a}, {0, 0, 0, 1, 1, 0, 0, 0}, 188},
        {"discontinuity flag", [](Packets p) { p.push_back(hex("47 00 11 2B 01 80") + stuffing(182)); return join(p); }, {a, b}, {0, 0, 0, 0, 0, 0, 0, 0}, 188},
        {"oversize section", [](Packets p) { p.push_back(hex("47 40 12 10 00 42 F7 FF") + stuffing(180)); return join(p); }, {a, b}, {0, 0, 0, 0, 0, 1, 0, 0}, 188},
        {"garbage between packets", [](Packets p) { auto ts = join(p); ts.insert(ts.begin() + 4 * 188, 10, 0); return ts; }, {a, b}, {0, 0, 0, 0, 0, 0, 10, 1}, 188},
        {"starts inside a packet", [](Packets p) { auto ts = join(p); ts.erase(ts.begin(), ts.begin() + 100); return ts; }, {a, b}, {0, 0, 0, 0, 0, 0, 0, 0}, 188},
        {"cut last packet", [](Packets p) { auto ts = join(p); ts.resize(ts.size() - 100); return ts; }, {a}, {0, 0, 0, 0, 1, 0, 88, 0}, 188},
        {"192-byte M2TS", [](Packets p) { for (auto& k : p) k.insert(k.begin(), 4, 0); return join(p); }, {a, b}, {0, 0, 0, 0, 0, 0, 0, 0}, 192},
        {"204-byte, RS bytes 0x47", [](Packets p) { for (auto& k : p) k.insert(k.end(), 16, 0x47); return join(p); }, {a, b}, {0, 0, 0, 0, 0, 0, 0, 0}, 204},
    };
    Packets packets = split(head);
    packets.insert(packets.end(), clean.begin(), clean.end());
    for (const Case& c : cases) {
        const std::vector<char> ts = c.damage(packets);
        // 1 and 7 bytes: every packet cut; 200: a cut packet finished from the next piece, the rest read in place.
        for (size_t piece : {size_t{0}, size_t{1}, size_t{7}, size_t{200}}) {
            SCOPED_TRACE(std::string(c.name) + ", fed in pieces of " + std::to_string(piece));
            const Result r = read(ts, piece);
            EXPECT_EQ(r.sections, c.sections);
            const tavel::TsCounts& n = r.counts;
            EXPECT_EQ((std::vector<uint64_t>{n.cc_errors, n.duplicates, n.crc_errors, n.tei_packets, n.cut_sections,
                                             n.oversize_sections, n.garbage_bytes, n.resyncs}),
                      c.counts);
            EXPECT_EQ(r.packet_size, c.packet_size);
            EXPECT_EQ(n.leading_bytes, std::string(c.name) == "starts inside a packet" ? 88u : 0u);
        }
    }
    // Where the clean sections came from: A ends in packet 4, B in 6, after the PCR of 1 s.
    const Result r = read(head + body, 0);
    EXPECT_EQ(r.places, (decltype(r.places){{0x11, 4, 27000000, 0}, {0x11, 6, 27000000, 0}}));
}

TEST(TsSectionReader, TimesRunOnAcrossPcrWrapAndDiscontinuity)
{
    // A TDT after each PCR: 0.5 s before the 33-bit wrap, 0.5 s after it (two
    // packets on: 6.75 M ticks a packet), then a flagged jump of an hour bridged
    // at that rate over its two packets; a scrambled copy in between is dropped.
    const int64_t wrap = (int64_t{1} << 33) * 300;
    const std::vector<char> tdt = hex("70 70 05 EA 5E 12 00 00");
    tavel::TsPacketiser p(0x11);
    std::vector<char> ts, jump, scrambled;
    tavel::ts_append_pcr_packet(ts, 0x100, static_cast<uint64_t>(wrap - 6750000));
    p.packetise(tdt, ts);
    tavel::ts_append_pcr_packet(ts, 0x100, 6750000);
    p.packetise(tdt, ts);
    tavel::ts_append_pcr_packet(jump, 0x100, 97200000000);
    jump[5] = static_cast<char>(jump[5] | 0x80);
    p.packetise(tdt, scrambled);
    scrambled[3] = static_cast<char>(scrambled[3] | 0x80);
    p.packetise(tdt, scrambled);
    const Result r = read(ts + jump + scrambled, 0);
    EXPECT_EQ(r.places, (decltype(r.places){
                            {0x11, 1, wrap - 6750000, 0}, {0x11, 3, 6750000, 13500000}, {0x11, 6, 97200000000, 27000000}}));
    EXPECT_EQ((std::vector<uint64_t>{r.counts.pcr_discontinuities, r.counts.scrambled_packets, r.counts.cc_errors}),
              (std::vector<uint64_t>{1, 1, 0}));
}

TEST(TsSectionReader, TimesGoOnFromTheNextPcrPidWhenTheirsGoesOffAir)
{
    // PID 0x100 sets the rate (6.75 M ticks over two packets), then stops; a
    // PCR on 0x101 is ignored until 0x100 has been silent for over a second
    // of the stream (8 packets), then takes over, bridged at that rate.
    const std::vector<char> tdt = hex("70 70 05 EA 5E 12 00 00");
    tavel::TsPacketiser p(0x11);
    std::vector<char> ts;
    tavel::ts_append_pcr_packet(ts, 0x100, 0);
    p.packetise(tdt, ts);
    tavel::ts_append_pcr_packet(ts, 0x100, 6750000);
    for (uint64_t pcr : {uint64_t{1000000000}, uint64_t{5000000000}}) {
        tavel::ts_append_pcr_packet(ts, 0x101, pcr);
        for (int i = 0; i < 4; ++i)
            tavel::ts_append_null_packet(ts);
    }
    tavel::ts_append_pcr_packet(ts, 0x101, 5006750000);
    p.packetise(tdt, ts);
    const Result r = read(ts, 0);
    EXPECT_EQ(r.places, (decltype(r.places){{0x11, 1, 0, 0}, {0x11, 14, 5006750000, 37125000 + 6750000}}));
    EXPECT_EQ(r.counts.pcr_discontinuities, 0u);
}

TEST(TsPacketiser, PacksSectionsWithPointerAndStuffing)
{
    // Two short sections in one packet; the counter runs on into the next call.
    tavel::TsPacketiser p(0x11);
    std::vector<char> out;
    p.packetise(Packets{hex("73 70 05 01 02 03 04 05"), hex("70 70 02 AA BB")}, out);
    p.packetise(hex("70 70 02 CC DD"), out);
    EXPECT_EQ(to_hex(out), to_hex(hex("47 40 11 10 00 73 70 05 01 02 03 04 05 70 70 02 AA BB") + stuffing(170) +
                                  hex("47 40 11 11 00 70 70 02 CC DD") + stuffing(178)));
}

TEST(TsPacketiser, WhatItPacksReadsBackWhole)
{
    // 366 bytes end one byte before the second packet's end: that packet gets a
    // one-byte adaptation field so the next section starts a packet of its own.
    const Packets sections = {section(366, 1), section(20, 2), section(4096, 3), section(183, 4), section(12, 5)};
    std::vector<char> ts;
    tavel::TsPacketiser p(0x12);
    p.packetise(Packets(sections.begin(), sections.begin() + 3), ts);
    p.packetise(Packets(sections.begin() + 3, sections.end()), ts);
    EXPECT_EQ(to_hex(std::vector<char>(ts.begin() + 188, ts.begin() + 193)), "47 00 12 31 00");
    const Result r = read(ts, 0);
    EXPECT_EQ(r.sections, sections);
    EXPECT_EQ(r.counts.cc_errors + r.counts.cut_sections + r.counts.garbage_bytes, 0u);
}
