// Eight threads, each with its own tables, get exactly what one thread gets:
// the free functions are re-entrant and objects used by one thread at a time
// do not disturb each other.
#include <gtest/gtest.h>

#include <syslog.h>
#include <thread>

#include <tavel/dvb_text.h>

#include "table_rounds.h"

namespace {

constexpr unsigned kRounds = 1000;

// Every selector: none (default table), the first-byte tables, 0x10 with
// each of its tables, and 0x1F.
std::vector<std::string> texts_in_every_charset()
{
    const std::string body = "Caf\xE9 \xA4\xB5\xC6\xD7\xE8\xF9";
    std::vector<std::string> texts = {body, std::string("\x1F\x01") + body};
    for (char b = 0x01; b <= 0x15; ++b)
        texts.push_back(std::string(1, b) + (b == 0x11 ? std::string("\x00" "C\x00" "a\x04\x10", 6) : body));
    for (char t = 0; t <= 15; ++t)
        texts.push_back(std::string("\x10\x00", 2) + t + body);
    return texts;
}

// All results of one round as one string: table bytes, parse and compare
// results, decoded texts.
std::string round_results(unsigned r)
{
    std::string out;
    auto add = [&](const std::vector<char>& bytes) { out.append(bytes.begin(), bytes.end()).push_back('|'); };
    const auto tables = tavel::test::round_bytes(r, 2);
    for (const auto& table : tables)
        add(table);
    auto nit = std::make_unique<tavel::tNIT>(), again = std::make_unique<tavel::tNIT>();
    nit->procesarNIT(tables[0]);
    again->procesarNIT(tables[0]);
    std::vector<char> nit_image, sdt_image;
    nit->generarNITBufferChar(nit_image, true);
    add(nit_image);
    out += std::to_string(nit->compareNIT(again)) + std::to_string(nit->getMaxSectionNumber());

    tavel::tSDT sdt;
    sdt.procesarSDT(tables[1], true);
    sdt.generarSDTBufferChar(sdt_image, true, false);
    add(sdt_image);
    out += std::to_string(sdt.compareSDT(tables[1])) + std::to_string(sdt.getSDTVersion());
    out += std::to_string(tavel::mpeg_crc(0xFFFFFFFFUL, tables[2], tables[2].size()));
    // One charset a round (opening a converter is what costs): every thread
    // still goes through all of them many times.
    const auto texts = texts_in_every_charset();
    out += tavel::DVB_text_decode(texts[r % texts.size()]);
    return out;
}

} // namespace

TEST(Threads, EightThreadsMatchOneThread)
{
    setlogmask(LOG_UPTO(LOG_WARNING)); // the debug traces would cost more than the work
    std::vector<std::string> expected(kRounds);
    for (unsigned r = 0; r < kRounds; ++r)
        expected[r] = round_results(r);
    std::vector<unsigned> mismatches(8, 0);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            // Each thread walks the rounds from its own starting point.
            for (unsigned i = 0; i < kRounds; ++i) {
                const unsigned r = (i + t * 125) % kRounds;
                mismatches[t] += round_results(r) != expected[r];
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches, std::vector<unsigned>(8, 0));
}
