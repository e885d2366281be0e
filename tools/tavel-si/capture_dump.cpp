#include "capture_dump.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <tuple>

#include "decode/descriptor_decoder.h"
#include "dump.h"

namespace tavel_si {

namespace {

using json = nlohmann::ordered_json;

std::string pid_text(unsigned pid)
{
    char buf[12];
    std::snprintf(buf, sizeof buf, "0x%04X", pid);
    return buf;
}

std::string number(double value)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.3f", value);
    std::string s = buf;
    s.erase(s.find_last_not_of('0') + 1);
    if (s.back() == '.')
        s.pop_back();
    return s;
}

json repetitions(const InputSection& s)
{
    json r;
    r["count"] = s.count;
    r["first_packet"] = s.first_packet;
    if (s.unit != IntervalUnit::none) {
        r["unit"] = s.unit == IntervalUnit::seconds ? "s" : "packets";
        r["mean_interval"] = std::stod(number(s.mean_interval));
        r["max_interval"] = std::stod(number(s.max_interval));
    }
    return r;
}

} // namespace

bool is_capture_file(const std::string& path)
{
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    std::vector<char> head(8 * 204);
    head.resize(std::fread(head.data(), 1, head.size(), f));
    std::fclose(f);
    return tavel::ts_packet_size(head.data(), head.size()) != 0;
}

json decode_capture(const Input& capture, const DumpOptions& options)
{
    json doc;
    doc["file"] = capture.name;
    doc["packet_size"] = capture.packet_size;
    const tavel::TsCounts& n = capture.counts;
    doc["packets"] = n.packets;
    doc["errors"] = json{{"cc", n.cc_errors},           {"duplicates", n.duplicates},
                         {"crc", n.crc_errors},         {"tei", n.tei_packets},
                         {"cut_sections", n.cut_sections}, {"oversize_sections", n.oversize_sections},
                         {"garbage_bytes", n.garbage_bytes}, {"resyncs", n.resyncs},
                         {"scrambled", n.scrambled_packets}};
    // Not an error when flagged; times are bridged across each one.
    doc["pcr_discontinuities"] = n.pcr_discontinuities;
    // A capture begun inside a packet: where it starts, not damage.
    doc["leading_bytes"] = n.leading_bytes;
    std::vector<const InputSection*> order;
    for (const InputSection& s : capture.sections)
        order.push_back(&s);
    std::stable_sort(order.begin(), order.end(), [](const InputSection* a, const InputSection* b) {
        return std::tie(a->pid, a->table_id, a->extension, a->version, a->section_number) <
               std::tie(b->pid, b->table_id, b->extension, b->version, b->section_number);
    });
    json sections = json::array();
    for (const InputSection* s : order) {
        json item;
        item["pid"] = s->pid;
        item["repetitions"] = repetitions(*s);
        const json decoded = decode_section(s->bytes, options);
        for (auto& field : decoded.items()) {
            item[field.key()] = field.value();
            // The clock of a TDT or TOT as it was last seen.
            if (field.key() == "utc_time" && !s->last_bytes.empty())
                item["last_utc_time"] = decode_section(s->last_bytes, options)["utc_time"];
        }
        sections.push_back(item);
    }
    doc["sections"] = sections;
    return doc;
}

namespace {

bool is_eit(const json& s)
{
    const unsigned id = s["table_id"].get<unsigned>();
    return id >= 0x4E && id <= 0x6F;
}

std::string repetition_text(const json& r)
{
    std::string text = "seen " + std::to_string(r["count"].get<uint64_t>()) +
                       (r["count"].get<uint64_t>() == 1 ? " time" : " times");
    if (r.contains("unit")) {
        const std::string unit = r["unit"].get<std::string>() == "s" ? " s" : " packets";
        text += ", every " + number(r["mean_interval"].get<double>()) + unit + " on average, at most " +
                number(r["max_interval"].get<double>()) + unit;
    }
    return text;
}

std::string quoted(const json& event, const char* key)
{
    for (const json& d : event["descriptors"])
        if (d.contains(key))
            return " \"" + d[key].get<std::string>() + "\"" +
                   (d.contains(std::string(key) + "_table_00")
                        ? " (table 00: \"" + d[std::string(key) + "_table_00"].get<std::string>() + "\")"
                        : std::string());
    return "";
}

const char* running_name(unsigned status)
{
    static const char* const kNames[] = {"undefined", "not running", "starts in a few seconds", "pausing",
                                         "running",   "off-air",     "reserved",                "reserved"};
    return kNames[status & 7];
}

// One EIT sub-table: its sections' repetitions folded together.
struct EitGroup {
    std::string kind; // table name
    const json* first = nullptr;
    std::vector<const json*> sections;
    std::vector<unsigned> table_ids;
    size_t events = 0;
    std::string from, to;
    uint64_t count = ~uint64_t{0}, most = 0;
    size_t timed = 0; // sections seen more than once
    double mean = 0, max = 0;
    std::string unit;
};

// Hundreds of EIT sub-tables would bury the rest: one line per service and
// table kind (present/following with their event names), every event in --json.
void print_eit_summary(const std::vector<const json*>& eit, std::ostream& out)
{
    std::map<std::tuple<int, unsigned, unsigned, unsigned, unsigned>, EitGroup> groups;
    for (const json* s : eit) {
        const unsigned id = (*s)["table_id"].get<unsigned>();
        const int kind = id <= 0x4F ? static_cast<int>(id - 0x4E) : id <= 0x5F ? 2 : 3;
        EitGroup& g = groups[{kind, (*s)["service_id"].get<unsigned>(), (*s)["transport_stream_id"].get<unsigned>(),
                               (*s)["original_network_id"].get<unsigned>(), (*s)["version"].get<unsigned>()}];
        if (!g.first) {
            g.first = s;
            g.kind = (*s)["table"].get<std::string>();
        }
        g.sections.push_back(s);
        if (std::find(g.table_ids.begin(), g.table_ids.end(), id) == g.table_ids.end())
            g.table_ids.push_back(id);
        for (const json& e : (*s)["events"]) {
            ++g.events;
            const std::string start = e["start_time"].get<std::string>();
            if (g.from.empty() || start < g.from)
                g.from = start;
            if (start > g.to)
                g.to = start;
        }
        const json& r = (*s)["repetitions"];
        g.count = std::min(g.count, r["count"].get<uint64_t>());
        g.most = std::max(g.most, r["count"].get<uint64_t>());
        if (r.contains("unit")) {
            g.unit = r["unit"].get<std::string>() == "s" ? " s" : " packets";
            g.mean += r["mean_interval"].get<double>(); // summed here, averaged when printed
            ++g.timed;
            g.max = std::max(g.max, r["max_interval"].get<double>());
        }
    }
    std::string kind;
    for (const auto& entry : groups) {
        const EitGroup& g = entry.second;
        const json& f = *g.first;
        if (g.kind != kind) {
            kind = g.kind;
            size_t services = 0;
            for (const auto& other : groups)
                services += other.second.kind == kind ? 1 : 0;
            out << "\n" << kind << ": " << services << (services == 1 ? " sub-table" : " sub-tables") << "\n";
        }
        std::string line = "  service_id=" + std::to_string(f["service_id"].get<unsigned>()) +
                           " transport_stream_id=" + std::to_string(f["transport_stream_id"].get<unsigned>()) +
                           " original_network_id=" + std::to_string(f["original_network_id"].get<unsigned>()) +
                           " version=" + std::to_string(f["version"].get<unsigned>());
        if (g.table_ids.size() > 1 || std::get<0>(entry.first) >= 2) {
            line += " table_id=" + decode::hex_number(g.table_ids.front(), 2);
            if (g.table_ids.size() > 1)
                line += "-" + decode::hex_number(g.table_ids.back(), 2);
        }
        line += " sections=" + std::to_string(g.sections.size()) + " events=" + std::to_string(g.events);
        if (std::get<0>(entry.first) >= 2 && g.events)
            line += " from \"" + g.from + "\" to \"" + g.to + "\"";
        // Its sections' repetitions together: the range of counts, the mean of their means, the longest gap.
        line += ", seen " + std::to_string(g.count) +
                (g.most != g.count ? "-" + std::to_string(g.most) : std::string()) + (g.most == 1 ? " time" : " times");
        if (!g.unit.empty())
            line += ", every " + number(g.mean / static_cast<double>(g.timed)) +
                    g.unit + " on average, at most " + number(g.max) + g.unit;
        for (const json* s : g.sections)
            if (!s->value("crc_ok", true))
                line += " (CRC BAD in section " + std::to_string((*s)["section_number"].get<unsigned>()) + ")";
        out << line << "\n";
        if (std::get<0>(entry.first) >= 2)
            continue;
        for (const json* s : g.sections)
            for (const json& e : (*s)["events"])
                out << "    " << ((*s)["section_number"].get<unsigned>() == 0 ? "present: " : "following: ")
                    << e["start_time"].get<std::string>() << " " << e["duration"].get<std::string>() << " "
                    << running_name(e["running_status"].get<unsigned>()) << quoted(e, "event_name") << "\n";
    }
}

} // namespace

void print_capture(const json& capture, std::ostream& out)
{
    out << "== " << capture["file"].get<std::string>() << " (transport stream, "
        << capture["packet_size"].get<size_t>() << "-byte packets, " << capture["packets"].get<uint64_t>()
        << " packets";
    if (capture.value("leading_bytes", uint64_t{0}) > 0)
        out << ", the first from byte " << capture["leading_bytes"].get<uint64_t>() << " on";
    out << ")\n";
    std::string errors = "errors:";
    for (auto& e : capture["errors"].items())
        errors += " " + e.key() + "=" + std::to_string(e.value().get<uint64_t>());
    out << errors << "\n";
    if (capture.value("pcr_discontinuities", uint64_t{0}) > 0)
        out << "PCR discontinuities: " << capture["pcr_discontinuities"].get<uint64_t>()
            << " (intervals bridged across them at the stream's packet rate)\n";
    std::vector<const json*> eit;
    for (const json& s : capture["sections"]) {
        if (is_eit(s) && s.contains("events")) {
            eit.push_back(&s);
            continue;
        }
        out << "\n-- PID " << pid_text(s["pid"].get<unsigned>()) << ": " << repetition_text(s["repetitions"]) << "\n";
        json section = s;
        section.erase("pid");
        section.erase("repetitions");
        print_section(section, out);
    }
    if (eit.empty())
        return;
    size_t events = 0;
    for (const json* s : eit)
        events += (*s)["events"].size();
    out << "\n-- EIT: " << eit.size() << (eit.size() == 1 ? " section, " : " sections, ") << events
        << (events == 1 ? " event" : " events") << ", summarised (every event with --json)\n";
    print_eit_summary(eit, out);
}

} // namespace tavel_si
