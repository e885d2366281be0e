// tavel-si verify: what is on air (a capture) against what the headend
// published under a root: per table the same content (version and CRC
// aside), different, missing on air, or repeated less often than receivers
// expect.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <tavel/constants.h>

#include "commands.h"
#include "diff.h"
#include "dump.h"
#include "input.h"

namespace tavel_si {
namespace {

using json = nlohmann::ordered_json;
namespace fs = std::filesystem;

// (table_id, table_id_extension); the TOT has no extension.
using TableKey = std::pair<unsigned, unsigned>;

// Longest gap a receiver tolerates between two repetitions, in seconds
// (actual NIT 10, actual SDT 2, other SDT 10, TOT 30).
double interval_limit(unsigned table_id)
{
    if (table_id == 0x42)
        return 2;
    if (table_id == 0x73)
        return 30;
    return 10;
}

// A gap is measured from the PCR before each repetition, so it can come out
// longer by one PCR interval (at most 100 ms).
constexpr double kPcrSlack_s = 0.1;

std::string seconds(const json& value)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", value.get<double>());
    return buf;
}

std::string table_label(const TableKey& key)
{
    switch (key.first) {
    case 0x40: return "NIT actual " + std::to_string(key.second);
    case 0x41: return "NIT other " + std::to_string(key.second);
    case 0x42: return "SDT actual ts " + std::to_string(key.second);
    case 0x46: return "SDT other ts " + std::to_string(key.second);
    case 0x73: return "TOT";
    default: return "table " + std::to_string(key.first) + "/" + std::to_string(key.second);
    }
}

// A section's bytes with its version and CRC left out.
std::vector<char> content_of(const std::vector<char>& section)
{
    std::vector<char> c(section.begin(), section.end() - static_cast<long>(std::min<size_t>(4, section.size())));
    if (c.size() > 5)
        c[5] = static_cast<char>(static_cast<uint8_t>(c[5]) & 0xC1);
    return c;
}

// Sections by table, by section_number; where a section came in several
// versions, the last one met.
std::map<TableKey, std::map<unsigned, const InputSection*>> by_table(const Input& input)
{
    std::map<TableKey, std::map<unsigned, const InputSection*>> tables;
    for (const InputSection& s : input.sections) {
        if (s.table_id == 0x70)
            continue;
        const unsigned ext = s.table_id == 0x73 ? 0 : s.extension;
        tables[{s.table_id, ext}][s.section_number] = &s;
    }
    return tables;
}

json decoded(const std::map<unsigned, const InputSection*>& sections)
{
    json list = json::array();
    for (const auto& [number, s] : sections)
        list.push_back(decode_section(s->bytes));
    return list;
}

// The files the headend publishes: NIT, one SDT per output, TOT.
std::vector<fs::path> published_files(const fs::path& dir)
{
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec)) {
        const std::string name = entry.path().filename().string();
        if (name == tavel::constants::kNitTableFile || name == tavel::constants::kTotTableFile ||
            name.rfind(tavel::constants::kSdtTableFile, 0) == 0)
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

json check_table(const TableKey& key, const std::map<unsigned, const InputSection*>& published,
                 const std::map<unsigned, const InputSection*>* on_air)
{
    json t;
    t["table"] = table_label(key);
    if (!on_air) {
        t["status"] = "missing on air";
        return t;
    }
    if (key.first != 0x73) { // the TOT changes with the time: present is enough
        bool same = published.size() == on_air->size();
        for (const auto& [number, s] : published) {
            const auto it = on_air->find(number);
            same = same && it != on_air->end() && content_of(s->bytes) == content_of(it->second->bytes);
        }
        t["version_published"] = published.begin()->second->version;
        t["version_on_air"] = on_air->begin()->second->version;
        if (!same) {
            t["status"] = "different";
            json changes = diff_sections(decoded(published), decoded(*on_air));
            if (changes.empty())
                changes.push_back({{"kind", "layout_changed"},
                                   {"where", table_label(key)},
                                   {"what", "same content cut into sections differently"}});
            t["changes"] = changes;
        }
    }
    // Repetition: the worst section of the table.
    double worst = 0;
    bool timed = true;
    uint64_t fewest = UINT64_MAX;
    for (const auto& [number, s] : *on_air) {
        fewest = std::min(fewest, s->count);
        if (s->unit == IntervalUnit::seconds)
            worst = std::max(worst, s->max_interval);
        else
            timed = false;
    }
    t["repetitions"] = fewest;
    t["limit_s"] = interval_limit(key.first);
    if (timed)
        t["max_interval_s"] = std::round(worst * 1000) / 1000;
    else
        t["interval"] = fewest < 2 ? "seen once: not measured" : "no PCR: not measured";
    if (!t.contains("status"))
        t["status"] = timed && worst > interval_limit(key.first) + kPcrSlack_s ? "late"
                      : key.first == 0x73                                   ? "present"
                                                                            : "same";
    return t;
}

void print_table(const json& t, std::ostream& out)
{
    out << t["table"].get<std::string>() << ": " << t["status"].get<std::string>();
    if (t.contains("version_on_air"))
        out << " (version " << t["version_published"] << " published, " << t["version_on_air"] << " on air)";
    if (t.contains("max_interval_s"))
        out << ", repeated every " << seconds(t["max_interval_s"]) << " s at most (limit " << seconds(t["limit_s"])
            << " s)";
    else if (t.contains("interval"))
        out << ", interval " << t["interval"].get<std::string>();
    out << "\n";
    if (t.contains("changes"))
        for (const json& c : t["changes"]) {
            out << "  ";
            print_change(c, out);
        }
}

} // namespace

int run_verify(const std::string& capture_path, const std::string& root, bool as_json, std::ostream& out,
               std::ostream& err)
{
    Input capture;
    std::string error;
    if (!load_input(capture_path, {}, capture, error)) {
        err << "tavel-si: error: " << error << "\n";
        return kExitBadInput;
    }
    if (!capture.is_ts) {
        err << "tavel-si: error: " << capture_path << " is not a transport stream capture\n";
        return kExitBadInput;
    }
    const fs::path dir = fs::path(root) / fs::path(tavel::constants::kSiTablesDir).relative_path();
    const std::vector<fs::path> files = published_files(dir);
    if (files.empty()) {
        err << "tavel-si: error: no published tables in " << dir.string() << "\n";
        return kExitBadInput;
    }
    std::vector<Input> published(files.size());
    for (size_t i = 0; i < files.size(); ++i)
        if (!load_input(files[i].string(), {}, published[i], error) || published[i].is_ts) {
            err << "tavel-si: error: " << files[i].string() << ": not a table file\n";
            return kExitBadInput;
        }

    const auto on_air = by_table(capture);
    json doc;
    doc["capture"] = capture_path;
    doc["root"] = root;
    doc["tables"] = json::array();
    bool ok = true;
    for (const Input& file : published)
        for (const auto& [key, sections] : by_table(file)) {
            const auto it = on_air.find(key);
            json t = check_table(key, sections, it == on_air.end() ? nullptr : &it->second);
            t["file"] = file.name;
            ok = ok && (t["status"] == "same" || t["status"] == "present");
            doc["tables"].push_back(t);
        }
    doc["ok"] = ok;
    if (as_json) {
        out << doc.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    } else {
        for (const json& t : doc["tables"])
            print_table(t, out);
        out << (ok ? "Everything published is on air and on time.\n"
                   : "Not everything published is on air as published.\n");
    }
    return ok ? kExitOk : kExitFailed;
}

} // namespace tavel_si
