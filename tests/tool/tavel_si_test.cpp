// tavel-si as its users run it: the built program, its exit status, its
// one-line errors and the files it leaves behind, checked against the
// library's own generation.
#include <functional>
#include <regex>
#include <utility>

#include <nlohmann/json.hpp>

#include <tavel/file_io.h>
#include <tavel/nit.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>

#include "tool_test_support.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

using namespace tool_test;

fs::path tables(const fs::path& root) { return root / "tavel/datosWeb/tablasSI"; }

// Every run works in a scratch directory removed with the test.
class TavelSi : public ToolTest {
protected:

    // The demo's patterns and description, published once under demo/.
    fs::path demo_root()
    {
        if (!fs::exists(dir_ / "demo/demo-headend.json")) {
            EXPECT_EQ(run("demo --root " + (dir_ / "demo").string()).status, 0);
        }
        return dir_ / "demo";
    }

    // A small headend on the demo's patterns: one cable output with two
    // services taken over from the input stream, one terrestrial output.
    json sample_config()
    {
        json cfg = json::parse(R"({
          "country": "ESP",
          "network": { "id": 12421, "name": "Red Prueba", "lcn_flavour": 1 },
          "patterns": { "transport_streams": [ { "tsid": 1025, "onid": 8916 } ] },
          "time_offsets": { "entries": [ { "current_s": 3600, "next_s": 7200, "change_unix_s": 1806195600 } ] },
          "outputs": [
            { "type": "cable", "tsid": 7, "onid": 8916, "frequency_khz": 474000, "symbol_rate_ksym": 6900,
              "modulation": "64QAM",
              "services": [
                { "sid": 701, "input": { "sid": 257, "tsid": 1025, "onid": 8916 }, "lcn": 1, "type": "tv",
                  "name": "Uno" },
                { "sid": 702, "input": { "sid": 259, "tsid": 1025, "onid": 8916 }, "lcn": 2, "type": "hd-tv",
                  "name": "Tres HD", "rename": true, "descramble": true } ] },
            { "type": "terrestrial", "tsid": 8, "onid": 8916, "frequency_khz": 698000, "bandwidth_mhz": 8,
              "modulation": "64QAM", "code_rate": "2/3", "guard_interval": "1/4", "transmission_mode": "8k",
              "services": [ { "sid": 801, "lcn": 20, "type": "radio", "name": "Radio Clásica" } ] } ]
        })");
        cfg["patterns"]["nit_files"] = {(demo_root() / "patterns/input-NIT").string()};
        cfg["patterns"]["sdt_files"] = {(demo_root() / "patterns/input-SDT").string()};
        return cfg;
    }

    // Writes the configuration and runs generate on it into root/.
    Outcome generate(const json& cfg)
    {
        std::ofstream(dir_ / "headend.json") << cfg.dump(2);
        return run("generate " + (dir_ / "headend.json").string() + " --root " + root().string());
    }

    fs::path root() const { return dir_ / "root"; }
};

// --- generate -------------------------------------------------------------

TEST_F(TavelSi, GenerateWritesWhatTheLibraryGenerates)
{
    Outcome r = generate(sample_config());
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("NIT  network 12421: published version 0"), std::string::npos) << r.out;
    EXPECT_FALSE(fs::exists(tables(root()) / "NIT_table_aux")) << "the new NIT is promoted, not left behind";

    // The same headend through the library, in a root of its own.
    const fs::path lib_root = dir_ / "library";
    setenv("TAVEL_ROOT", lib_root.c_str(), 1);
    // Outputs: type (1 cable, 0 terrestrial), TSID, ONID, kHz, bandwidth code (0: 8 MHz),
    // transmission mode (1: 8k), guard (3: 1/4), modulation (2: 64QAM), code rate (1: 2/3), ksym/s.
    std::map<uint16_t, tavel::datos_salidas> outputs = {{7, {1, 7, 8916, 474000, 0, 0, 0, 2, 0, 6900, {}}},
                                                        {8, {0, 8, 8916, 698000, 0, 1, 3, 2, 1, 0, {}}}};
    // Services: SID, input SID/TSID/ONID, LCN, spare, type, descramble, scrambled, name, rename, provider.
    outputs[7].servicios[701] = {701, 257, 1025, 8916, 1, 0, 1, 0, 0, "Uno", 0, ""};
    outputs[7].servicios[702] = {702, 259, 1025, 8916, 2, 0, 0x19, 1, 0, "Tres HD", 1, ""};
    outputs[8].servicios[801] = {801, 801, 0, 0, 20, 0, 2, 0, 0, "Radio Clásica", 0, ""};

    tavel::tNIT nit("ESP", 12421, "Red Prueba", 1, 1, 0x40);
    nit.salidas = outputs;
    nit.ts_desde_patron = {{1025, 8916}};
    nit.addNITPatron(bytes_of(demo_root() / "patterns/input-NIT"));
    nit.version = 0;
    nit.generarNIT();
    EXPECT_EQ(bytes_of(tables(root()) / "NIT_table"), bytes_of(tables(lib_root) / "NIT_table_aux"));

    for (const auto& [tsid, output] : outputs) {
        tavel::SDTPatron patterns;
        patterns.addSDTPatron(bytes_of(demo_root() / "patterns/input-SDT"));
        tavel::tSDT sdt(0x42, tsid, output.onid, 0, 0);
        sdt.servicios = output.servicios;
        sdt.patrones = &patterns;
        sdt.generarSDT();
        std::vector<char> expected;
        sdt.getSDT(expected, false);
        EXPECT_EQ(bytes_of(tables(root()) / ("SDT_table_" + std::to_string(tsid))), expected) << "tsid " << tsid;
    }

    // The TOT carries the time of the run (bytes 3..7): generate it for the same time.
    const std::vector<char> tot_file = bytes_of(tables(root()) / "TOT_table");
    unsigned long long utc = 0;
    for (int i = 3; i < 8 && tot_file.size() >= 8; ++i)
        utc = (utc << 8) | static_cast<uint8_t>(tot_file[i]);
    tavel::tTOT tot;
    tot.offsets = {"ESP", "3600 7200 1806195600"};
    ASSERT_EQ(tot.generarTOT(utc, true), 1);
    EXPECT_EQ(tot_file, bytes_of(tables(lib_root) / "TOT_table"));
    unsetenv("TAVEL_ROOT");
}

TEST_F(TavelSi, BadInputExitsTwoWithOneLineAndTouchesNothing)
{
    const json good = sample_config();
    ASSERT_EQ(generate(good).status, 0);
    const auto before = files_under(root());
    const std::string config = (dir_ / "headend.json").string();

    const auto with = [&](const std::function<void(json&)>& spoil) {
        json cfg = good;
        spoil(cfg);
        return cfg.dump(2);
    };
    const std::pair<std::string, const char*> cases[] = {
        {with([](json& c) { c["outputs"][0]["modulation"] = "512QAM"; }),
         "outputs[0].modulation: unknown value \"512QAM\""},
        {with([](json& c) { c["outputs"][0]["services"][1]["sid"] = 701; }),
         "outputs[0].services[1].sid: duplicate service id 701 (already outputs[0].services[0])"},
        {with([](json& c) { c["network"]["nmae"] = "x"; }), "network.nmae: unknown field"},
        {with([](json& c) { c["patterns"]["sdt_files"][0] = "/nonexistent/SDT"; }),
         "patterns.sdt_files[0]: cannot read /nonexistent/SDT"},
        {with([](json& c) { c["time_offsets"]["entries"][0]["change_unix_s"] = 1000; }),
         "time_offsets.entries[0].change_unix_s: 1000 is before 2010-01-01"},
        {"{\n  \"country\": \"ESP\",\n  \"network\": { \"id\": 1,, }\n}", // the second comma
         "JSON syntax error at line 3, column 24"},
        {"", "cannot read the file"}, // no file at all
    };
    for (const auto& [text, expected] : cases) {
        fs::remove(config);
        if (!text.empty())
            std::ofstream(config) << text;
        Outcome r = run("generate " + config + " --root " + root().string());
        EXPECT_EQ(std::make_pair(r.status, r.out), std::make_pair(2, std::string())) << expected;
        EXPECT_TRUE(std::regex_match(r.err, std::regex("tavel-si: error: " + config + ": [^\n]*\n"))) << r.err;
        EXPECT_NE(r.err.find(expected), std::string::npos) << r.err;
        EXPECT_EQ(files_under(root()), before) << expected << ": files changed";
    }
    EXPECT_EQ(run("generate " + config + " --root " + (dir_ / "untouched").string()).status, 2);
    EXPECT_FALSE(fs::exists(dir_ / "untouched")) << "no root is created for bad input";
}

// --- demo, dump, channels and the command line -----------------------------

TEST_F(TavelSi, DumpJsonShowsTheDemoTablesAndFlagsABadCrc)
{
    const fs::path t = tables(demo_root());
    const json doc =
        json::parse(run("dump --json " + (t / "NIT_table").string() + " " + (t / "SDT_table_1").string()).out);
    const json& ns = doc["files"][0]["sections"][0];
    EXPECT_EQ(std::make_pair(ns["version"], ns["transport_streams"].size()), std::make_pair(json(0), size_t{3}));
    EXPECT_EQ(ns["network_descriptors"][0]["network_name"], "Tavel Demo");
    EXPECT_EQ(doc["files"][1]["sections"][0]["services"][2]["descriptors"][0]["service_name"], "Tres HD");

    std::vector<char> sdt = bytes_of(t / "SDT_table_2");
    sdt[20] = static_cast<char>(sdt[20] ^ 0x01);
    tavel::write_char_vector_to_file(sdt, (dir_ / "spoilt").string(), false);
    Outcome text = run("dump " + (dir_ / "spoilt").string());
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("(CRC BAD)"), std::string::npos) << text.out;
    EXPECT_EQ(run("dump " + (dir_ / "nothing").string()).status, 2);
}

TEST_F(TavelSi, ChannelsOfSpainListChannel21At474MHzAndTheCommandLineAnswers)
{
    for (const char* code : {"ESP", "es"}) {
        Outcome r = run(std::string("channels ") + code);
        ASSERT_EQ(r.status, 0) << r.err;
        // A row: channel name, centre MHz, bandwidth MHz.
        EXPECT_TRUE(std::regex_search(r.out, std::regex("\n +21 +474\\.000 +8\\.000\n"))) << code << "\n" << r.out;
    }
    EXPECT_NE(run("channels Spain").err.find("unknown country code \"Spain\""), std::string::npos);
    EXPECT_NE(run("channels GBR --frequency 474166").out.find("channel 21   centre 474000 kHz, 8000 kHz wide, "
                                                             "offset +166 kHz: a usual offset"),
              std::string::npos);
    EXPECT_EQ(run("tot --zone Europe/Madrid --at 2027-03-28T00:59:59Z").out,
              "TOT offsets at 2027-03-28 00:59:59 UTC (current next change, as passed to the library):\n"
              "Europe/Madrid: \"3600 7200 1806195600\" (UTC+01:00, then UTC+02:00 from 2027-03-28 01:00:00 UTC)\n");

    EXPECT_EQ(run("--version").out.rfind("tavel-si 1.", 0), 0u);
    for (const char* cmd :
         {"--help", "generate --help", "demo --help", "dump --help", "channels --help", "tot --help"}) {
        const Outcome r = run(cmd);
        EXPECT_TRUE(r.status == 0 && r.out.find("Usage:") != std::string::npos) << cmd;
    }
    for (const char* usage_error :
         {"", "publish x", "generate", "tot --zone Europe/Madird", "tot --zone UTC --at 2027", "channels Spain"})
        EXPECT_EQ(run(usage_error).status, 2) << usage_error;
}

} // namespace
