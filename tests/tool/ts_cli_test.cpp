// Transport streams through tavel-si, judged by tools this project did not
// write: captures made by ffmpeg's MPEG-TS muxer are dumped with their
// names right, and what `tavel-si ts` plays out is read back by libdvbpsi's
// demultiplexer and by ffprobe.
#include <cmath>
#include <cstdint>
#include <utility>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/dr_48.h>
#include <dvbpsi/pat.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/sdt.h>

#include <nlohmann/json.hpp>

#include "tool_test_support.h"

namespace fs = std::filesystem;
using nlohmann::json;
using Names = std::map<unsigned, std::string>;

namespace {

using namespace tool_test;

class TsCli : public ToolTest {
protected:
    bool have(const char* program) { return shell(std::string(program) + " -version").status == 0; }
};

// Every value under key, anywhere in the document.
void find_all(const json& j, const std::string& key, std::vector<json>& found)
{
    if (j.is_object() && j.contains(key))
        found.push_back(j[key]);
    if (j.is_structured())
        for (const json& child : j)
            find_all(child, key, found);
}

struct Demuxed {
    Names pat; // program_number -> PID
    Names sdt; // service_id -> service name
    int warnings = 0;
};

// PAT and SDT actual of a 188-byte stream through libdvbpsi.
Demuxed demux(std::string bytes)
{
    Demuxed d;
    const auto warn = [](dvbpsi_t* h, const dvbpsi_msg_level_t, const char*) {
        ++static_cast<Demuxed*>(h->p_sys)->warnings;
    };
    dvbpsi_t* pat = dvbpsi_new(warn, DVBPSI_MSG_WARN);
    dvbpsi_t* sdt = dvbpsi_new(warn, DVBPSI_MSG_WARN);
    pat->p_sys = sdt->p_sys = &d;
    dvbpsi_pat_attach(pat, [](void* data, dvbpsi_pat_t* table) {
        for (dvbpsi_pat_program_t* p = table->p_first_program; p; p = p->p_next)
            static_cast<Demuxed*>(data)->pat[p->i_number] = std::to_string(p->i_pid);
        dvbpsi_pat_delete(table);
    }, &d);
    dvbpsi_AttachDemux(sdt, [](dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data) {
        if (table_id == 0x42)
            dvbpsi_sdt_attach(handle, table_id, extension, [](void* data, dvbpsi_sdt_t* table) {
                for (dvbpsi_sdt_service_t* s = table->p_first_service; s; s = s->p_next)
                    for (dvbpsi_descriptor_t* dr = s->p_first_descriptor; dr; dr = dr->p_next)
                        if (const dvbpsi_service_dr_t* sd = dr->i_tag == 0x48 ? dvbpsi_DecodeServiceDr(dr) : nullptr)
                            static_cast<Demuxed*>(data)->sdt[s->i_service_id] = std::string(
                                reinterpret_cast<const char*>(sd->i_service_name), sd->i_service_name_length);
                dvbpsi_sdt_delete(table);
            }, data);
    }, &d);
    for (size_t i = 0; i + 188 <= bytes.size(); i += 188) {
        auto* packet = reinterpret_cast<uint8_t*>(&bytes[i]);
        const unsigned pid = ((packet[1] & 0x1F) << 8) | packet[2];
        if (pid == 0x00 || pid == 0x11)
            dvbpsi_packet_push(pid ? sdt : pat, packet);
    }
    dvbpsi_pat_detach(pat);
    dvbpsi_DetachDemux(sdt);
    dvbpsi_delete(pat);
    dvbpsi_delete(sdt);
    return d;
}

} // namespace

TEST_F(TsCli, FfmpegCapturesDumpWithTheirNames)
{
    if (!have("ffmpeg"))
        GTEST_SKIP() << "ffmpeg not installed";
    for (const auto& [muxer_options, packet_size] :
         {std::pair<std::string, size_t>{"", 188}, {"-mpegts_m2ts_mode 1", 192}}) {
        SCOPED_TRACE(packet_size);
        const std::string capture = (dir_ / "capture.ts").string();
        ASSERT_EQ(shell("ffmpeg -y -v error -f lavfi -i testsrc=size=64x48:rate=5 -t 2 -c:v mpeg2video "
                      "-metadata service_name='Ñandú TV' -metadata service_provider='Señal Ibérica' "
                      "-mpegts_service_id 0x0ABC " +
                      muxer_options + " -f mpegts " + capture)
                      .status,
                  0);
        const Outcome r = run("dump --json " + capture);
        ASSERT_EQ(r.status, 0) << r.err;
        const json file = json::parse(r.out)["files"][0];
        EXPECT_EQ(file["packet_size"], packet_size);
        for (const auto& count : file["errors"].items())
            EXPECT_EQ(count.value(), 0) << count.key();
        std::vector<json> names, providers;
        find_all(file, "service_name", names);
        find_all(file, "provider_name", providers);
        EXPECT_EQ(names, std::vector<json>{"Ñandú TV"});
        EXPECT_EQ(providers, std::vector<json>{"Señal Ibérica"});
        EXPECT_EQ(file["sections"][0]["pid"], 0x11); // the SDT; PAT and PMT are not SI
    }
}

TEST_F(TsCli, PlayedOutTablesReadBackByLibdvbpsiAndFfprobe)
{
    ASSERT_EQ(run("demo --root " + (dir_ / "demo").string()).status, 0);
    const fs::path tables = dir_ / "demo/tavel/datosWeb/tablasSI", out = dir_ / "out.ts";
    const Outcome r = run("ts " + (tables / "NIT_table").string() + " " + (tables / "SDT_table_1").string() + " " +
                               (tables / "TOT_table").string() + " --with-pat --duration 21 -o " + out.string());
    ASSERT_EQ(r.status, 0) << r.err;

    const Names names = {{101, "Canal 1"}, {102, "Canal 2"}, {103, "Tres HD"}, {104, "Canal 4"}};
    const Demuxed d = demux(slurp(out));
    EXPECT_EQ(d.warnings, 0); // no continuity or CRC complaint
    EXPECT_EQ(d.pat, (Names{{0, "16"}, {101, "4096"}, {102, "4097"}, {103, "4098"}, {104, "4099"}}));
    for (const auto& [id, name] : names) // raw bytes there: the UTF-8 selector first
        EXPECT_EQ(d.sdt.at(id), "\x15" + name);

    // Our own reader times the repetitions by the stream's PCR.
    const json dumped = json::parse(run("dump --json " + out.string()).out)["files"][0];
    std::map<unsigned, std::pair<int, double>> seen; // table_id -> count, mean interval in ms
    for (const json& s : dumped["sections"])
        seen[s["table_id"]] = {s["repetitions"]["count"],
                               std::round(s["repetitions"].value("mean_interval", 0.0) * 100) * 10};
    EXPECT_EQ(seen, (decltype(seen){{0x40, {3, 10000}}, {0x42, {11, 2000}}, {0x73, {1, 0}}}));
    // One stream, one SDT actual: two cannot share a PAT.
    const Outcome two = run("ts " + (tables / "SDT_table_1").string() + " " + (tables / "SDT_table_2").string() +
                            " --with-pat -o " + out.string());
    EXPECT_EQ(std::make_pair(two.status, two.err),
              std::make_pair(2, std::string("tavel-si: error: --with-pat: 2 SDT actual tables given (transport "
                                            "streams 1, 2); a transport stream carries one, whose services its PAT "
                                            "lists\n")));

    if (!have("ffprobe"))
        GTEST_SKIP() << "ffprobe not installed";
    const json probed = json::parse(shell("ffprobe -v error -show_programs -of json " + out.string()).out);
    Names listed;
    for (const json& p : probed["programs"])
        listed[p["program_num"]] = p["tags"]["service_name"];
    EXPECT_EQ(listed, names);
}

TEST_F(TsCli, BadInputIsOneLineAndExit2)
{
    std::ofstream(dir_ / "cut.bin", std::ios::binary) << std::string("\x42\xF0\x20\x00\x01", 5);
    const std::string cut = (dir_ / "cut.bin").string(), out = " -o " + (dir_ / "x.ts").string();
    const std::pair<std::string, std::string> cases[] = {
        {"ts /nonexistent" + out, "tavel-si: error: FILE: cannot read /nonexistent\n"},
        {"ts " + cut + out, "tavel-si: error: FILE: " + cut + ": the last section is cut short (5 bytes left)\n"},
        {"ts " + cut + out + " --interval sdt=soon",
         "tavel-si: error: --interval: expected KIND=SECONDS with KIND one of nit, nit-other, sdt, sdt-other, bat, "
         "eit-pf, eit-pf-other, eit-schedule, tdt, tot; got sdt=soon\n"},
        {"ts " + cut + out + " --bitrate fast", "tavel-si: error: Could not convert: --bitrate = fast (see --help)\n"},
    };
    for (const auto& [args, message] : cases) {
        const Outcome r = run(args);
        EXPECT_EQ(std::make_pair(r.status, r.err), std::make_pair(2, message)) << args;
    }
}
