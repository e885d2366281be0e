// Building one country's spectrum from the plan (Italy, the largest plan:
// 108 channels in 8 bands), against copying the same number of channels
// into a plain vector as a baseline, side by side in one run.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/rf_plans.h>

#include "platform/rf_channels_constants.h"

namespace {

constexpr int kItaly = 5;

void BM_RfBandsForCountry(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(tavel::getRfBandsForCountry(kItaly));
    state.SetItemsProcessed(state.iterations() * tavel::getRfBandsForCountry(kItaly)->num_channels);
}

// Baseline: the same channels copied into shared objects without the band map.
void BM_CopyChannelsBaseline(benchmark::State& state)
{
    const auto& bands = tavel::thrift::coax::rfchannels_constants().rfchannels.at(kItaly);
    size_t count = 0;
    for (auto _ : state) {
        std::vector<std::shared_ptr<tavel::rfChannelInfo>> flat;
        for (const auto& entry : bands)
            for (const auto& ch : entry.second.channels)
                flat.push_back(std::make_shared<tavel::rfChannelInfo>(tavel::rfChannelInfo{ch.name, ch.frequency, ch.bandwidth}));
        count = flat.size();
        benchmark::DoNotOptimize(flat);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(count));
}

void BM_RfChannelByName(benchmark::State& state)
{
    auto spectrum = tavel::getRfBandsForCountry(kItaly);
    for (auto _ : state)
        benchmark::DoNotOptimize(spectrum->getRfChannelByName("69")); // the last channel
}

} // namespace

BENCHMARK(BM_RfBandsForCountry)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CopyChannelsBaseline)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RfChannelByName)->Unit(benchmark::kMicrosecond);
