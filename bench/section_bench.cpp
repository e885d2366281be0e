// Sealing and copying one full NIT section (1024 bytes on the wire).
#include <benchmark/benchmark.h>

#include <memory>

#include <tavel/sections.h>

namespace {

std::unique_ptr<tavel::SISectionNIT> full_nit_section()
{
    auto s = std::make_unique<tavel::SISectionNIT>();
    s->section_syntax_indicator = 1;
    s->current_next_indicator = 1;
    s->network_id = 0x3001;
    // 1008 bytes of loops: 4 transport streams of 252 bytes each
    // (6-byte entry header + 246 bytes of descriptors: 2 x 123).
    for (int t = 0; t < 4; ++t) {
        auto ts = std::make_unique<tavel::NITTS>(static_cast<unsigned short>(t + 1), 0x22D4);
        for (int d = 0; d < 2; ++d) {
            auto desc = std::make_shared<tavel::Descriptor>(0x84, 121);
            desc->data.assign(121, static_cast<char>(0x5A));
            ts->descriptores.items.push_back(desc);
        }
        ts->transport_descriptors_length = 246;
        s->transport_streams.items.push_back(std::move(ts));
    }
    s->transport_stream_loop_length = 1008;
    s->section_length = 13 + 1008;
    return s;
}

void BM_SealAndCopyFullNitSection(benchmark::State& state)
{
    auto section = full_nit_section();
    std::vector<char> out;
    out.reserve(1024);
    for (auto _ : state) {
        out.clear();
        section->generar_crc();
        section->copy_section_to_buffer(out, false);
        benchmark::DoNotOptimize(out.data());
    }
    if (out.size() != 1024)
        state.SkipWithError("section is not 1024 bytes");
    state.SetBytesProcessed(state.iterations() * 1024);
}

} // namespace

BENCHMARK(BM_SealAndCopyFullNitSection);
