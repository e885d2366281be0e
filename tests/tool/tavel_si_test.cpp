// tavel-si as its users run it: the built program, its exit status, its
// one-line errors and the files it leaves behind, checked against the
// library's own generation.
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tavel/coding.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>
#include <tavel/sdt.h>
#include <tavel/service_descriptors.h>
#include <tavel/tot.h>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

struct Result {
    int status = -1;
    std::string out;
    std::string err;
};

std::string slurp(const fs::path& p)
{
    std::ifstream in(p, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<char> bytes_of(const fs::path& p)
{
    const std::string s = slurp(p);
    return std::vector<char>(s.begin(), s.end());
}

void write_text(const fs::path& p, const std::string& text)
{
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << text;
}

// A scratch directory removed with the test.
class Scratch {
public:
    Scratch()
    {
        char name[] = "/tmp/tavel-si-test-XXXXXX";
        dir_ = mkdtemp(name);
    }
    ~Scratch() { fs::remove_all(dir_); }
    const fs::path& dir() const { return dir_; }

private:
    fs::path dir_;
};

class TavelSi : public ::testing::Test {
protected:
    Result run(const std::string& args)
    {
        const fs::path out = scratch_.dir() / "stdout", err = scratch_.dir() / "stderr";
        const std::string cmd = std::string("env -u TAVEL_ROOT ") + TAVEL_SI_PROGRAM + " " + args + " > " +
                                out.string() + " 2> " + err.string() + " < /dev/null";
        const int raw = std::system(cmd.c_str());
        Result r;
        r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        r.out = slurp(out);
        r.err = slurp(err);
        return r;
    }

    fs::path tables(const fs::path& root) const { return root / "tavel/datosWeb/tablasSI"; }

    // The demo's patterns and description, published once under demo/.
    fs::path demo_root()
    {
        const fs::path root = scratch_.dir() / "demo";
        if (!fs::exists(root / "demo-headend.json")) {
            Result r = run("demo --root " + root.string());
            EXPECT_EQ(r.status, 0) << r.err;
        }
        return root;
    }

    // A small headend on the demo's patterns: one cable output with two
    // services taken over from the input stream, one terrestrial output.
    json sample_config()
    {
        const fs::path patterns = demo_root() / "patterns";
        return json::parse(R"({
          "country": "ESP",
          "network": { "id": 12421, "name": "Red Prueba", "lcn_flavour": 1 },
          "patterns": { "transport_streams": [ { "tsid": 1025, "onid": 8916 } ] },
          "time_offsets": { "entries": [ { "current_s": 3600, "next_s": 7200, "change_unix_s": 1806195600 } ] },
          "outputs": [
            { "type": "cable", "tsid": 7, "onid": 8916, "frequency_khz": 474000, "symbol_rate_ksym": 6900,
              "modulation": "64QAM",
              "services": [
                { "sid": 701, "input": { "sid": 257, "tsid": 1025, "onid": 8916 }, "lcn": 1, "type": "tv", "name": "Uno" },
                { "sid": 702, "input": { "sid": 259, "tsid": 1025, "onid": 8916 }, "lcn": 2, "type": "hd-tv",
                  "name": "Tres HD", "rename": true, "descramble": true } ] },
            { "type": "terrestrial", "tsid": 8, "onid": 8916, "frequency_khz": 698000, "bandwidth_mhz": 8,
              "modulation": "64QAM", "code_rate": "2/3", "guard_interval": "1/4", "transmission_mode": "8k",
              "services": [ { "sid": 801, "lcn": 20, "type": "radio", "name": "Radio Clásica" } ] } ]
        })")
            .patch(json::parse(R"([{"op": "add", "path": "/patterns/nit_files", "value": ["" ]},
                                   {"op": "add", "path": "/patterns/sdt_files", "value": ["" ]}])"))
            .patch(json::array({{{"op", "replace"}, {"path", "/patterns/nit_files/0"},
                                 {"value", (patterns / "input-NIT").string()}},
                                {{"op", "replace"}, {"path", "/patterns/sdt_files/0"},
                                 {"value", (patterns / "input-SDT").string()}}}));
    }

    fs::path write_config(const json& cfg, const std::string& name = "headend.json")
    {
        const fs::path p = scratch_.dir() / name;
        write_text(p, cfg.dump(2));
        return p;
    }

    std::map<std::string, std::string> snapshot(const fs::path& root)
    {
        std::map<std::string, std::string> files;
        if (fs::exists(root))
            for (const auto& e : fs::recursive_directory_iterator(root))
                if (e.is_regular_file())
                    files[e.path().string()] = slurp(e.path());
        return files;
    }

    Scratch scratch_;
};

unsigned version_of(const std::vector<char>& table)
{
    return table.size() > 5 ? (static_cast<uint8_t>(table[5]) >> 1) & 0x1F : 99;
}

// --- generate -------------------------------------------------------------

TEST_F(TavelSi, GenerateWritesWhatTheLibraryGenerates)
{
    const json cfg = sample_config();
    const fs::path root = scratch_.dir() / "root";
    Result r = run("generate " + write_config(cfg).string() + " --root " + root.string());
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_NE(r.out.find("NIT  network 12421: published version 0"), std::string::npos) << r.out;
    EXPECT_FALSE(fs::exists(tables(root) / "NIT_table_aux")) << "the new NIT is promoted, not left behind";

    // The same headend through the library, in a root of its own.
    const fs::path lib_root = scratch_.dir() / "library";
    setenv("TAVEL_ROOT", lib_root.c_str(), 1);
    const std::vector<char> pattern_nit = bytes_of(demo_root() / "patterns/input-NIT");
    const std::vector<char> pattern_sdt = bytes_of(demo_root() / "patterns/input-SDT");

    std::map<uint16_t, tavel::datos_salidas> outputs;
    tavel::datos_salidas& cable = outputs[7];
    cable.tipo_salida = 1;
    cable.tsid = 7;
    cable.onid = 8916;
    cable.frecuencia = 474000;
    cable.symbol_rate = 6900;
    cable.modulacion = 2; // 64QAM: code 3 on the wire
    tavel::datos_servicios uno;
    uno.sid = 701; uno.sid_entrada = 257; uno.tsid_entrada = 1025; uno.onid_entrada = 8916;
    uno.lcn = 1; uno.tipo_servicio = 1; uno.nombre = "Uno";
    tavel::datos_servicios tres;
    tres.sid = 702; tres.sid_entrada = 259; tres.tsid_entrada = 1025; tres.onid_entrada = 8916;
    tres.lcn = 2; tres.tipo_servicio = 0x19; tres.nombre = "Tres HD"; tres.cambiar_nombre = 1; tres.Descifrar = 1;
    cable.servicios[701] = uno;
    cable.servicios[702] = tres;
    tavel::datos_salidas& terrestrial = outputs[8];
    terrestrial.tipo_salida = 0;
    terrestrial.tsid = 8;
    terrestrial.onid = 8916;
    terrestrial.frecuencia = 698000;
    terrestrial.ancho_banda = 0;      // 8 MHz
    terrestrial.modulacion = 2;       // 64QAM
    terrestrial.code_rate = 1;        // 2/3
    terrestrial.intervalo_guarda = 3; // 1/4
    terrestrial.modo_transmision = 1; // 8k
    tavel::datos_servicios radio;
    radio.sid = 801; radio.sid_entrada = 801; radio.lcn = 20; radio.tipo_servicio = 2; radio.nombre = "Radio Clásica";
    terrestrial.servicios[801] = radio;

    tavel::tNIT nit("ESP", 12421, "Red Prueba", 1, 1, 0x40);
    nit.salidas = outputs;
    nit.ts_desde_patron = {{1025, 8916}};
    nit.addNITPatron(pattern_nit);
    nit.version = 0;
    nit.generarNIT();
    EXPECT_EQ(bytes_of(tables(root) / "NIT_table"), bytes_of(tables(lib_root) / "NIT_table_aux"));

    for (const auto& [tsid, output] : outputs) {
        tavel::SDTPatron patterns;
        patterns.addSDTPatron(pattern_sdt);
        tavel::tSDT sdt(0x42, tsid, output.onid, 0, 0);
        sdt.servicios = output.servicios;
        sdt.patrones = &patterns;
        sdt.generarSDT();
        std::vector<char> expected;
        sdt.getSDT(expected, false);
        EXPECT_EQ(bytes_of(tables(root) / ("SDT_table_" + std::to_string(tsid))), expected) << "tsid " << tsid;
    }

    // The TOT carries the time of the run: generate it for the same time.
    const std::vector<char> tot_file = bytes_of(tables(root) / "TOT_table");
    ASSERT_GE(tot_file.size(), 8u);
    unsigned long long utc = 0;
    for (int i = 3; i < 8; ++i)
        utc = (utc << 8) | static_cast<uint8_t>(tot_file[i]);
    tavel::tTOT tot;
    tot.offsets = {"ESP", "3600 7200 1806195600"};
    ASSERT_EQ(tot.generarTOT(utc, true), 1);
    EXPECT_EQ(tot_file, bytes_of(tables(lib_root) / "TOT_table"));
    unsetenv("TAVEL_ROOT");
}

TEST_F(TavelSi, VersionStaysOnUnchangedRepublishAndRisesAfterAChange)
{
    json cfg = sample_config();
    const fs::path root = scratch_.dir() / "root";
    const std::string args = " --root " + root.string();
    ASSERT_EQ(run("generate " + write_config(cfg).string() + args).status, 0);
    const auto first = snapshot(root);

    Result again = run("generate " + write_config(cfg).string() + args);
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_NE(again.out.find("NIT  network 12421: unchanged (version 0), nothing published"), std::string::npos)
        << again.out;
    EXPECT_NE(again.out.find("SDT  tsid 7: unchanged (version 0), nothing published"), std::string::npos);
    EXPECT_NE(again.out.find("Nothing published"), std::string::npos);
    for (const char* name : {"NIT_table", "SDT_table_7", "SDT_table_8"})
        EXPECT_EQ(slurp(tables(root) / name), first.at((tables(root) / name).string())) << name;

    // A new service name changes the SDT of output 7 only.
    cfg["outputs"][0]["services"][1]["name"] = "Tres HD+";
    Result renamed = run("generate " + write_config(cfg).string() + args);
    ASSERT_EQ(renamed.status, 0) << renamed.err;
    EXPECT_NE(renamed.out.find("NIT  network 12421: unchanged"), std::string::npos) << renamed.out;
    EXPECT_NE(renamed.out.find("SDT  tsid 7: published version 1"), std::string::npos) << renamed.out;
    EXPECT_EQ(version_of(bytes_of(tables(root) / "SDT_table_7")), 1u);
    EXPECT_EQ(version_of(bytes_of(tables(root) / "SDT_table_8")), 0u);

    // A new channel number changes the NIT.
    cfg["outputs"][1]["services"][0]["lcn"] = 30;
    Result renumbered = run("generate " + write_config(cfg).string() + args);
    ASSERT_EQ(renumbered.status, 0) << renumbered.err;
    EXPECT_NE(renumbered.out.find("NIT  network 12421: published version 1"), std::string::npos) << renumbered.out;
    EXPECT_EQ(version_of(bytes_of(tables(root) / "NIT_table")), 1u);
    EXPECT_FALSE(fs::exists(tables(root) / "NIT_table_aux"));
}

struct BadInput {
    const char* what;
    std::function<void(json&)> spoil; // applied to the sample configuration
    const char* raw;                  // or the file's whole text
    const char* expected;             // part of the one error line
};

TEST_F(TavelSi, BadInputExitsTwoWithOneLineAndTouchesNothing)
{
    const fs::path root = scratch_.dir() / "root";
    const fs::path good = write_config(sample_config(), "good.json");
    ASSERT_EQ(run("generate " + good.string() + " --root " + root.string()).status, 0);
    const auto before = snapshot(root);

    const std::vector<BadInput> cases = {
        {"unreadable file", nullptr, nullptr, "cannot read the file"},
        {"JSON syntax", nullptr, "{\n  \"country\": \"ESP\",\n  \"network\": { \"id\": 1,, }\n}", // the second comma
         "JSON syntax error at line 3, column 24"},
        {"missing field", [](json& c) { c["network"].erase("name"); }, nullptr, "network.name: missing"},
        {"missing output field", [](json& c) { c["outputs"][0].erase("symbol_rate_ksym"); }, nullptr,
         "outputs[0].symbol_rate_ksym: missing"},
        {"out of range", [](json& c) { c["outputs"][0]["services"][0]["lcn"] = 2000; }, nullptr,
         "outputs[0].services[0].lcn: 2000 is out of range 0..1022"},
        {"negative", [](json& c) { c["outputs"][1]["tsid"] = -1; }, nullptr, "outputs[1].tsid: -1 is out of range"},
        {"unknown modulation", [](json& c) { c["outputs"][0]["modulation"] = "512QAM"; }, nullptr,
         "outputs[0].modulation: unknown value \"512QAM\""},
        {"duplicate SID", [](json& c) { c["outputs"][0]["services"][1]["sid"] = 701; }, nullptr,
         "outputs[0].services[1].sid: duplicate service id 701 (already outputs[0].services[0])"},
        {"duplicate TSID", [](json& c) { c["outputs"][1]["tsid"] = 7; }, nullptr,
         "outputs[1].tsid: duplicate transport stream id 7"},
        {"misspelt field", [](json& c) { c["network"]["nmae"] = "x"; }, nullptr, "network.nmae: unknown field"},
        {"unreadable pattern", [](json& c) { c["patterns"]["sdt_files"][0] = "/nonexistent/SDT"; }, nullptr,
         "patterns.sdt_files[0]: cannot read /nonexistent/SDT"},
        {"pattern of the wrong table", [](json& c) { c["patterns"]["nit_files"] = c["patterns"]["sdt_files"]; },
         nullptr, "patterns.nit_files[0]:"},
        {"country code", [](json& c) { c["country"] = "ES"; }, nullptr, "country: \"ES\" is not a three-letter"},
        {"change time", [](json& c) { c["time_offsets"]["entries"][0]["change_unix_s"] = 1000; }, nullptr,
         "time_offsets.entries[0].change_unix_s: 1000 is before 2010-01-01"},
    };
    for (const BadInput& c : cases) {
        fs::path path = scratch_.dir() / "bad.json";
        if (c.spoil) {
            json cfg = sample_config();
            c.spoil(cfg);
            path = write_config(cfg, "bad.json");
        } else if (c.raw) {
            write_text(path, c.raw);
        } else {
            path = scratch_.dir() / "missing.json";
        }
        Result r = run("generate " + path.string() + " --root " + root.string());
        EXPECT_EQ(r.status, 2) << c.what;
        EXPECT_EQ(r.out, "") << c.what;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.what << ": " << r.err;
        EXPECT_EQ(r.err.rfind("tavel-si: error: " + path.string() + ": ", 0), 0u) << c.what << ": " << r.err;
        EXPECT_NE(r.err.find(c.expected), std::string::npos) << c.what << ": " << r.err;
        EXPECT_EQ(snapshot(root), before) << c.what << ": files changed";
    }
    EXPECT_FALSE(fs::exists(scratch_.dir() / "untouched")) << "no root is created for bad input";
    Result fresh = run("generate " + (scratch_.dir() / "missing.json").string() + " --root " +
                    (scratch_.dir() / "untouched").string());
    EXPECT_EQ(fresh.status, 2);
    EXPECT_FALSE(fs::exists(scratch_.dir() / "untouched"));
}

// --- demo and dump ----------------------------------------------------------

TEST_F(TavelSi, DemoPublishesOnceThenSaysNothingChanged)
{
    const fs::path root = scratch_.dir() / "d";
    Result first = run("demo --root " + root.string());
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_NE(first.out.find("NIT  network 12421: published version 0"), std::string::npos);
    for (const char* name : {"NIT_table", "SDT_table_1", "SDT_table_2", "SDT_table_3", "TOT_table"})
        EXPECT_NE(first.out.find("== " + (tables(root) / name).string()), std::string::npos) << name;
    EXPECT_NE(first.out.find("service_name=\"Radio Clásica\""), std::string::npos);
    EXPECT_EQ(first.out.find("CRC BAD"), std::string::npos);

    Result second = run("demo --root " + root.string());
    ASSERT_EQ(second.status, 0) << second.err;
    EXPECT_NE(second.out.find("Nothing published: the NIT and every SDT are unchanged."), std::string::npos)
        << second.out;
}

TEST_F(TavelSi, DumpJsonParsesAndAgreesWithTheLibrary)
{
    const fs::path t = tables(demo_root());
    Result r = run("dump --json " + (t / "NIT_table").string() + " " + (t / "SDT_table_1").string() + " " +
                (t / "TOT_table").string());
    ASSERT_EQ(r.status, 0) << r.err;
    const json doc = json::parse(r.out);
    ASSERT_EQ(doc["files"].size(), 3u);

    // NIT: header and transport streams as the library parses them.
    tavel::tNIT nit;
    nit.procesarNIT(bytes_of(t / "NIT_table"));
    ASSERT_EQ(nit.secciones.size(), 1u);
    const json& ns = doc["files"][0]["sections"][0];
    EXPECT_EQ(ns["table_id"], 0x40);
    EXPECT_EQ(ns["network_id"], nit.secciones[0]->network_id);
    EXPECT_EQ(ns["version"], nit.getNITVersion());
    EXPECT_TRUE(ns["crc_ok"].get<bool>());
    ASSERT_EQ(ns["transport_streams"].size(), nit.secciones[0]->transport_streams.items.size());
    for (size_t i = 0; i < ns["transport_streams"].size(); ++i) {
        const auto& ts = *nit.secciones[0]->transport_streams.items[i];
        EXPECT_EQ(ns["transport_streams"][i]["transport_stream_id"], ts.transport_stream_id);
        ASSERT_EQ(ns["transport_streams"][i]["descriptors"].size(), ts.descriptores.items.size());
        for (size_t k = 0; k < ts.descriptores.items.size(); ++k)
            EXPECT_EQ(ns["transport_streams"][i]["descriptors"][k]["tag"], ts.descriptores.items[k]->descriptor_tag);
    }
    EXPECT_EQ(ns["network_descriptors"][0]["network_name"], "Tavel Demo");
    EXPECT_EQ(ns["transport_streams"][0]["descriptors"][0]["frequency_khz"], 474000);

    // SDT: services and names.
    tavel::tSDT sdt;
    sdt.procesarSDT(bytes_of(t / "SDT_table_1"), true);
    const json& ss = doc["files"][1]["sections"][0];
    EXPECT_EQ(ss["transport_stream_id"], 1);
    EXPECT_EQ(ss["original_network_id"], 0x22D4);
    ASSERT_EQ(ss["services"].size(), sdt.secciones[0]->services.items.size());
    for (size_t i = 0; i < ss["services"].size(); ++i) {
        const auto& sv = *sdt.secciones[0]->services.items[i];
        EXPECT_EQ(ss["services"][i]["service_id"], sv.service_id);
        EXPECT_EQ(ss["services"][i]["running_status"], sv.running_status);
        auto* service = dynamic_cast<tavel::DescriptorService*>(sv.descriptores.items[0].get());
        ASSERT_NE(service, nullptr);
        EXPECT_EQ(ss["services"][i]["descriptors"][0]["service_name"], service->service_name);
    }
    EXPECT_EQ(ss["services"][2]["descriptors"][0]["service_name"], "Tres HD");

    const json& ts = doc["files"][2]["sections"][0];
    EXPECT_EQ(ts["table"], "TOT");
    EXPECT_EQ(ts["descriptors"][0]["offsets"][0]["offset"], "+01:00");
    EXPECT_EQ(ts["descriptors"][0]["offsets"][0]["time_of_change"], "2027-03-28 01:00:00");
}

TEST_F(TavelSi, DumpReportsABadCrcWithoutFailing)
{
    std::vector<char> sdt = bytes_of(tables(demo_root()) / "SDT_table_2");
    sdt[20] = static_cast<char>(sdt[20] ^ 0x01);
    const fs::path spoilt = scratch_.dir() / "spoilt";
    tavel::write_char_vector_to_file(sdt, spoilt.string(), false);

    Result text = run("dump " + spoilt.string());
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("(CRC BAD)"), std::string::npos) << text.out;
    Result j = run("dump --json " + spoilt.string());
    EXPECT_FALSE(json::parse(j.out)["files"][0]["sections"][0]["crc_ok"].get<bool>());

    Result missing = run("dump " + (scratch_.dir() / "nothing").string());
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.out, "");
}

// --- channels and the command line ------------------------------------------

TEST_F(TavelSi, ChannelsOfSpainListChannel21At474MHz)
{
    for (const char* code : {"ESP", "es"}) {
        Result r = run(std::string("channels ") + code);
        ASSERT_EQ(r.status, 0) << r.err;
        bool found = false;
        std::istringstream lines(r.out);
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            std::string name, centre;
            words >> name >> centre;
            found = found || (name == "21" && centre == "474.000");
        }
        EXPECT_TRUE(found) << code << "\n" << r.out;
    }
    Result unknown = run("channels Spain");
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("unknown country code \"Spain\""), std::string::npos);
}

TEST_F(TavelSi, HelpVersionAndUsageErrors)
{
    Result version = run("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("tavel-si 1.", 0), 0u) << version.out;
    for (const char* cmd : {"--help", "generate --help", "demo --help", "dump --help", "channels --help"}) {
        Result r = run(cmd);
        EXPECT_EQ(r.status, 0) << cmd;
        EXPECT_NE(r.out.find("Usage:"), std::string::npos) << cmd;
    }
    EXPECT_EQ(run("").status, 2);
    EXPECT_EQ(run("publish x").status, 2);
    EXPECT_EQ(run("generate").status, 2);
}

} // namespace
