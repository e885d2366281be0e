// verify and diff through the tool: the demo's tables, a changed copy of
// the headend, and captures of both made by `tavel-si ts`.

#include <nlohmann/json.hpp>

#include "tool_test_support.h"

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

using namespace tool_test;

class VerifyDiffCli : public ::testing::Test {
protected:
    // The demo published under old/, the same headend changed under new/,
    // and a capture of each.
    static void SetUpTestSuite()
    {
        dir_ = make_scratch_dir();
        ASSERT_EQ(tavel_si("demo --root " + at("old")).status, 0);
        json cfg = json::parse(slurp(dir_ / "old/demo-headend.json"));
        json& out = cfg["outputs"];
        out[0]["services"][2]["name"] = "Tres HD+"; // renamed (its rename flag is set)
        out[0]["services"][1]["lcn"] = 12;          // LCN moved
        out[0]["services"].erase(3);                // service removed
        out[1]["frequency_khz"] = 490000;           // delivery parameter changed
        out[1]["services"][0]["type"] = "hd-tv";    // retyped
        out.erase(2);                               // transport stream and its SDT gone
        std::ofstream(dir_ / "old/changed.json") << cfg.dump();
        ASSERT_EQ(tavel_si("generate " + at("old/changed.json") + " --root " + at("new")).status, 0);
        // A capture of each side, and its NIT and SDTs as one file for diff on table files.
        for (const std::string side : {"old", "new"}) {
            const std::string t = tables(side.c_str()), nit_sdts = t + "/NIT_table " + t + "/SDT_table_* ";
            ASSERT_EQ(tavel_si("ts " + nit_sdts + t + "/TOT_table --duration 12 -o " + at(side + ".ts")).status, 0);
            ASSERT_EQ(std::system(("cat " + nit_sdts + " > " + at(side + ".tables")).c_str()), 0);
        }
    }
    static void TearDownTestSuite() { fs::remove_all(dir_); }

    static std::string tables(const char* side) { return (dir_ / side / "tavel/datosWeb/tablasSI").string(); }
    static std::string at(const std::string& name) { return (dir_ / name).string(); }

    static Outcome tavel_si(const std::string& args) { return run_tool(dir_, args); }

    static fs::path dir_;
};

fs::path VerifyDiffCli::dir_;

TEST_F(VerifyDiffCli, VerifySaysEqualThenNamesTheRenameAndTheMissingTable)
{
    Outcome same = tavel_si("verify " + at("old.ts") + " --root " + at("old"));
    EXPECT_EQ(same.status, 0) << same.out << same.err;
    EXPECT_NE(same.out.find("NIT actual 12421: same"), std::string::npos) << same.out;
    EXPECT_NE(same.out.find("Everything published is on air and on time."), std::string::npos);

    // The changed headend on air, the demo's tables published.
    Outcome changed = tavel_si("verify " + at("new.ts") + " --root " + at("old"));
    EXPECT_EQ(changed.status, 1);
    EXPECT_NE(changed.out.find("SDT actual ts 1: different"), std::string::npos) << changed.out;
    EXPECT_NE(changed.out.find("service 103: service renamed: \"Tres HD\" -> \"Tres HD+\""), std::string::npos);
    EXPECT_NE(changed.out.find("SDT actual ts 3: missing on air"), std::string::npos);
    const json doc = json::parse(tavel_si("verify --json " + at("new.ts") + " --root " + at("old")).out);
    EXPECT_FALSE(doc["ok"].get<bool>());

    EXPECT_EQ(tavel_si("verify " + at("old.tables") + " --root " + at("old")).status, 2); // not a capture
    EXPECT_EQ(tavel_si("verify " + at("old.ts") + " --root " + at("nowhere")).status, 2);
}

TEST_F(VerifyDiffCli, DiffNamesEachKindOfChangeOnFilesAndOnCaptures)
{
    const char* expected[] = {
        "NIT actual 12421 ts 1/8916 service 102: logical channel moved: 2 -> 12",
        "NIT actual 12421 ts 1/8916 service 104: logical channel removed (was 4)",
        "NIT actual 12421 ts 2/8916: cable_delivery_system frequency_khz changed: 482000 -> 490000",
        "NIT actual 12421 ts 3/8916: transport stream removed",
        "SDT actual ts 1/8916 service 103: service renamed: \"Tres HD\" -> \"Tres HD+\"",
        "SDT actual ts 1/8916 service 104: service removed",
        ("SDT actual ts 2/8916 service 201: service type changed: \"0x01 digital television\" -> "
         "\"0x19 H.264/AVC HD digital television\""),
        "SDT actual ts 3/8916: table removed",
    };
    for (const std::string kind : {".tables", ".ts"}) {
        const std::string old_side = at("old" + kind), new_side = at("new" + kind);
        Outcome d = tavel_si("diff " + old_side + " " + new_side);
        EXPECT_EQ(d.status, 1) << kind;
        for (const char* line : expected)
            EXPECT_NE(d.out.find(std::string(line) + "\n"), std::string::npos) << kind << ": " << line << "\n" << d.out;
        // Backwards, what was removed is added.
        const json doc = json::parse(tavel_si("diff --json " + new_side + " " + old_side).out);
        std::string kinds;
        for (const json& c : doc["changes"])
            kinds += c["kind"].get<std::string>() + " ";
        for (const char* k : {"lcn_added", "ts_added", "service_added", "table_added"})
            EXPECT_NE(kinds.find(k), std::string::npos) << kind << ": " << k;
        EXPECT_EQ(tavel_si("diff " + old_side + " " + old_side).status, 0);
    }
    EXPECT_EQ(tavel_si("diff " + at("old.ts") + " " + at("nothing")).status, 2);
}

} // namespace
