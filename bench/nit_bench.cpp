// NIT generation and parsing for a large headend: 64 outputs of 32 services
// with service list and LCN descriptors, with and without 8 pattern NITs.
// Times are per table (µs). The baseline in the same run is the plain copy of
// the already sealed sections into a byte buffer.
#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/nit.h>

namespace {

// Generation writes its file: point TAVEL_ROOT at a scratch directory for
// the lifetime of a benchmark and remove it afterwards.
class ScratchRoot {
public:
    ScratchRoot()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "tavel-nit-bench-XXXXXX").string();
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        if (mkdtemp(name.data()) != nullptr)
            path_ = name.data();
        const char* previous = getenv("TAVEL_ROOT");
        had_previous_ = previous != nullptr;
        if (had_previous_)
            previous_ = previous;
        setenv("TAVEL_ROOT", path_.c_str(), 1);
    }
    ~ScratchRoot()
    {
        if (had_previous_)
            setenv("TAVEL_ROOT", previous_.c_str(), 1);
        else
            unsetenv("TAVEL_ROOT");
        std::error_code ignored;
        if (!path_.empty())
            std::filesystem::remove_all(path_, ignored);
    }
    ScratchRoot(const ScratchRoot&) = delete;
    ScratchRoot& operator=(const ScratchRoot&) = delete;

private:
    std::string path_;
    std::string previous_;
    bool had_previous_ = false;
};

constexpr uint16_t kOutputs = 64;
constexpr uint16_t kServices = 32;
constexpr uint16_t kPatternOnid = 0x0046;

std::map<uint16_t, tavel::datos_salidas> outputs()
{
    std::map<uint16_t, tavel::datos_salidas> salidas;
    for (uint16_t t = 1; t <= kOutputs; ++t) {
        tavel::datos_salidas out;
        out.tipo_salida = 1;
        out.tsid = t;
        out.onid = 0x22D4;
        out.frecuencia = 114000u + t * 8000u;
        out.symbol_rate = 6900;
        out.modulacion = 2;
        for (uint16_t s = 0; s < kServices; ++s) {
            tavel::datos_servicios d;
            d.sid = static_cast<uint16_t>(t * 100 + s);
            d.sid_entrada = static_cast<uint16_t>(1000 + s);
            d.tsid_entrada = t;
            d.onid_entrada = kPatternOnid;
            d.tipo_servicio = 1;
            d.lcn = static_cast<uint16_t>(((t - 1) * kServices + s) % 1000 + 1);
            out.servicios[d.sid] = d;
        }
        salidas[t] = out;
    }
    return salidas;
}

void append_crc(std::vector<char>& s)
{
    const size_t length = s.size() + 4 - 3;
    s[1] = static_cast<char>(0xF0 | (length >> 8));
    s[2] = static_cast<char>(length);
    const uint32_t crc = static_cast<uint32_t>(tavel::mpeg_crc(0xFFFFFFFFUL, s, s.size()));
    for (int shift = 24; shift >= 0; shift -= 8)
        s.push_back(static_cast<char>(crc >> shift));
}

// Pattern NIT p of an input network: a name, a linkage to one carried
// service, and 8 TS entries with satellite, specifier and private descriptors.
std::vector<char> pattern_nit(uint16_t p)
{
    std::vector<char> s = {0x40, 0, 0, 0x01, static_cast<char>(p), static_cast<char>(0xC1), 0, 0};
    const std::vector<char> network = {0x40, 0x03, 'S', 'A', 'T',
                                       0x4A, 0x07, 0x00, static_cast<char>(p * 8 + 1), 0x00, kPatternOnid, 0x03, static_cast<char>(0xE8), 0x01};
    s.push_back(static_cast<char>(0xF0));
    s.push_back(static_cast<char>(network.size()));
    s.insert(s.end(), network.begin(), network.end());
    std::vector<char> loop;
    for (uint16_t e = 0; e < 8; ++e) {
        const uint16_t tsid = static_cast<uint16_t>(p * 8 + e + 1);
        const std::vector<char> entry = {
            static_cast<char>(tsid >> 8), static_cast<char>(tsid), 0x00, kPatternOnid, static_cast<char>(0xF0), 27,
            0x43, 0x0B, 0x01, 0x17, 0x57, 0x00, 0x01, static_cast<char>(0x92), static_cast<char>(0x81), 0x02, 0x75, 0x00, 0x03,
            0x5F, 0x04, 0x00, 0x00, 0x00, 0x28,
            static_cast<char>(0x99), 0x03, 0x01, 0x02, 0x03,
            static_cast<char>(0x98), 0x01, 0x04};
        loop.insert(loop.end(), entry.begin(), entry.end());
    }
    s.push_back(static_cast<char>(0xF0 | (loop.size() >> 8)));
    s.push_back(static_cast<char>(loop.size()));
    s.insert(s.end(), loop.begin(), loop.end());
    append_crc(s);
    return s;
}

std::unique_ptr<tavel::tNIT> network(const std::map<uint16_t, tavel::datos_salidas>& salidas, int patterns)
{
    auto nit = std::make_unique<tavel::tNIT>("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit->version = 3;
    nit->salidas = salidas;
    for (int p = 0; p < patterns; ++p) {
        nit->addNITPatron(pattern_nit(static_cast<uint16_t>(p)));
        // Every listed pattern TS is taken into every output: one per pattern.
        nit->ts_desde_patron.emplace_back(static_cast<uint16_t>(p * 8 + 1), kPatternOnid);
    }
    return nit;
}

void BM_NitGenerate(benchmark::State& state)
{
    ScratchRoot root;
    const auto salidas = outputs();
    const int patterns = static_cast<int>(state.range(0));
    size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto nit = network(salidas, patterns);
        state.ResumeTiming();
        nit->generarNIT();
        bytes = nit->data_size;
        state.PauseTiming();
        nit.reset();
        state.ResumeTiming();
    }
    state.counters["table_bytes"] = static_cast<double>(bytes);
}

void BM_NitParse(benchmark::State& state)
{
    ScratchRoot root;
    auto nit = network(outputs(), static_cast<int>(state.range(0)));
    nit->generarNIT();
    std::vector<char> file;
    nit->generarNITBufferChar(file, false);
    for (auto _ : state) {
        tavel::tNIT back;
        back.procesarNIT(file);
        benchmark::DoNotOptimize(back.secciones.data());
    }
    state.counters["table_bytes"] = static_cast<double>(file.size());
}

// Baseline: copying the sealed sections into a buffer, as the file write does.
void BM_NitCopySealed(benchmark::State& state)
{
    ScratchRoot root;
    auto nit = network(outputs(), static_cast<int>(state.range(0)));
    nit->generarNIT();
    for (auto _ : state) {
        std::vector<char> buffer;
        nit->generarNITBufferChar(buffer, false);
        benchmark::DoNotOptimize(buffer.data());
    }
}

} // namespace

BENCHMARK(BM_NitCopySealed)->Arg(0)->Arg(8)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NitGenerate)->Arg(0)->Arg(8)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NitParse)->Arg(0)->Arg(8)->Unit(benchmark::kMicrosecond);
