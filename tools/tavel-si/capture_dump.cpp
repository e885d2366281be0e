#include "capture_dump.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

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
                         {"garbage_bytes", n.garbage_bytes}, {"resyncs", n.resyncs}};
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
        for (auto& field : decoded.items())
            item[field.key()] = field.value();
        sections.push_back(item);
    }
    doc["sections"] = sections;
    return doc;
}

void print_capture(const json& capture, std::ostream& out)
{
    out << "== " << capture["file"].get<std::string>() << " (transport stream, "
        << capture["packet_size"].get<size_t>() << "-byte packets, " << capture["packets"].get<uint64_t>()
        << " packets)\n";
    std::string errors = "errors:";
    for (auto& e : capture["errors"].items())
        errors += " " + e.key() + "=" + std::to_string(e.value().get<uint64_t>());
    out << errors << "\n";
    for (const json& s : capture["sections"]) {
        const json& r = s["repetitions"];
        out << "\n-- PID " << pid_text(s["pid"].get<unsigned>()) << ": seen " << r["count"].get<uint64_t>()
            << (r["count"].get<uint64_t>() == 1 ? " time" : " times");
        if (r.contains("unit")) {
            const std::string unit = r["unit"].get<std::string>() == "s" ? " s" : " packets";
            out << ", every " << number(r["mean_interval"].get<double>()) << unit << " on average, at most "
                << number(r["max_interval"].get<double>()) << unit;
        }
        out << "\n";
        json section = s;
        section.erase("pid");
        section.erase("repetitions");
        print_section(section, out);
    }
}

} // namespace tavel_si
