// CRC throughput of mpeg_crc against the plain bitwise definition, side by
// side in one run (bytes/s), on the buffer sizes the headend meets.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include <tavel/coding.h>

namespace {

uint32_t bitwise_crc(uint32_t crc, const std::vector<char>& data, size_t len)
{
    for (size_t i = 0; i < len; ++i) {
        uint8_t byte = static_cast<uint8_t>(data[i & 0xFFFF]);
        for (int bit = 7; bit >= 0; --bit) {
            bool in = (byte >> bit) & 1;
            bool top = (crc >> 31) & 1;
            crc <<= 1;
            if (in != top)
                crc ^= 0x04C11DB7u;
        }
    }
    return crc;
}

std::vector<char> random_bytes(size_t n)
{
    std::mt19937 rng(42);
    std::vector<char> v(n);
    for (auto& c : v)
        c = static_cast<char>(rng());
    return v;
}

void BM_CrcTable(benchmark::State& state)
{
    auto data = random_bytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(tavel::mpeg_crc(0xFFFFFFFFUL, data, data.size()));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_CrcBitwise(benchmark::State& state)
{
    auto data = random_bytes(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(bitwise_crc(0xFFFFFFFFu, data, data.size()));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(BM_CrcTable)->Arg(188)->Arg(1024)->Arg(4096)->Arg(65536);
BENCHMARK(BM_CrcBitwise)->Arg(188)->Arg(1024)->Arg(4096)->Arg(65536);
