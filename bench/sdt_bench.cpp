// One output SDT of 500 services found among 40 pattern SDTs of 25 services
// each: generation, sealing, getSDT (actual and other) and parsing it back,
// in microseconds per table. The baseline is one CRC pass over the table's
// bytes, the floor for anything that seals it. Arg 0: debug lines masked
// (the headend's usual log level); arg 1: debug lines sent to syslog.
#include <benchmark/benchmark.h>

#include <syslog.h>

#include <cstdio>
#include <map>
#include <memory>
#include <vector>

#include <tavel/coding.h>
#include <tavel/sdt.h>

namespace {

constexpr int kPatterns = 40;
constexpr int kServicesPerPattern = 25;

struct Fixture {
    Fixture()
    {
        for (int k = 0; k < kPatterns; ++k) {
            tavel::tSDT input(0x42, static_cast<unsigned short>(0x100 + k), 0x2000, 1, 0);
            for (int n = 1; n <= kServicesPerPattern; ++n) {
                tavel::datos_servicios r;
                r.sid = static_cast<uint16_t>(n);
                r.tipo_servicio = 1;
                char name[32];
                std::snprintf(name, sizeof name, "Servicio %02d-%02d", k, n);
                r.nombre = name;
                input.servicios[static_cast<uint16_t>(n)] = r;
            }
            input.generarSDT();
            std::vector<char> bytes;
            input.getSDT(bytes, false);
            patterns.addSDTPatron(bytes);
        }
        uint16_t sid = 1;
        for (int k = 0; k < kPatterns; ++k) {
            for (int n = 1; n <= kServicesPerPattern; ++n) {
                if ((k * kServicesPerPattern + n) % 2 != 0)
                    continue;
                tavel::datos_servicios r;
                r.sid = sid;
                r.sid_entrada = static_cast<uint16_t>(n);
                r.tsid_entrada = static_cast<uint16_t>(0x100 + k);
                r.onid_entrada = 0x2000;
                r.tipo_servicio = 0x19;
                r.nombre = "Salida";
                r.cambiar_nombre = sid % 3 == 0 ? 1 : 0;
                servicios[sid++] = r;
            }
        }
    }

    std::unique_ptr<tavel::tSDT> generate()
    {
        auto sdt = std::make_unique<tavel::tSDT>(0x42, 0x0457, 0x22D4, 7, 0);
        sdt->patrones = &patterns;
        sdt->servicios = servicios;
        sdt->generarSDT();
        return sdt;
    }

    tavel::SDTPatron patterns;
    std::map<uint16_t, tavel::datos_servicios> servicios;
};

Fixture& fixture()
{
    static Fixture f;
    return f;
}

void set_log_level(const benchmark::State& state)
{
    setlogmask(state.range(0) == 0 ? LOG_UPTO(LOG_INFO) : LOG_UPTO(LOG_DEBUG));
}

void BM_SdtGenerate500(benchmark::State& state)
{
    set_log_level(state);
    auto& f = fixture();
    for (auto _ : state) {
        auto sdt = f.generate();
        benchmark::DoNotOptimize(sdt->num_service);
    }
    auto sdt = f.generate();
    if (sdt->num_service != 500)
        state.SkipWithError("not 500 services");
    state.counters["sections"] = static_cast<double>(sdt->secciones.size());
    state.counters["bytes"] = sdt->data_size;
}

void BM_SdtSeal(benchmark::State& state)
{
    set_log_level(state);
    auto sdt = fixture().generate();
    for (auto _ : state) {
        for (auto& section : sdt->secciones)
            section->generar_crc();
        benchmark::DoNotOptimize(sdt->secciones.back()->CRC);
    }
}

void BM_SdtGetActual(benchmark::State& state)
{
    set_log_level(state);
    auto sdt = fixture().generate();
    std::vector<char> out;
    for (auto _ : state) {
        out.clear();
        sdt->getSDT(out, false);
        benchmark::DoNotOptimize(out.data());
    }
}

void BM_SdtGetOther(benchmark::State& state)
{
    set_log_level(state);
    auto sdt = fixture().generate();
    std::vector<char> out;
    for (auto _ : state) {
        out.clear();
        sdt->getSDT(out, true);
        benchmark::DoNotOptimize(out.data());
    }
}

void BM_SdtParseBack(benchmark::State& state)
{
    set_log_level(state);
    std::vector<char> bytes;
    fixture().generate()->getSDT(bytes, false);
    for (auto _ : state) {
        tavel::tSDT back;
        back.procesarSDT(bytes, true);
        benchmark::DoNotOptimize(back.secciones.size());
    }
}

void BM_SdtCrcBaseline(benchmark::State& state)
{
    std::vector<char> bytes;
    fixture().generate()->getSDT(bytes, false);
    for (auto _ : state)
        benchmark::DoNotOptimize(tavel::mpeg_crc(0xFFFFFFFFUL, bytes, bytes.size()));
}

} // namespace

BENCHMARK(BM_SdtGenerate500)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SdtSeal)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SdtGetActual)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SdtGetOther)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SdtParseBack)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SdtCrcBaseline)->Unit(benchmark::kMicrosecond);
