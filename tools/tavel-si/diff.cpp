// tavel-si diff: the decoded tables of both sides gathered by what they
// describe (network, transport stream, service), then compared item by item.
#include "diff.h"

#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "decoded_input.h"

namespace tavel_si {
namespace {

using json = nlohmann::ordered_json;

struct Inventory {
    // "NIT actual 12421" -> network descriptors
    std::map<std::string, json> networks;
    // ("NIT actual 12421", "ts 1/8916") -> transport stream descriptors
    std::map<std::pair<std::string, std::string>, json> streams;
    // "SDT actual ts 1/8916" -> service_id -> service (flags and descriptors)
    std::map<std::string, std::map<unsigned, json>> services;
};

std::string ts_key(const json& tsid, const json& onid)
{
    return "ts " + tsid.dump() + "/" + onid.dump();
}

void append(json& to, const json& items)
{
    if (to.is_null())
        to = json::array();
    if (items.is_array())
        for (const json& i : items)
            to.push_back(i);
}

Inventory gather(const json& sections)
{
    Inventory inv;
    for (const json& s : sections) {
        if (!s.contains("table_id") || s.contains("error"))
            continue;
        const unsigned table_id = s["table_id"].get<unsigned>();
        if ((table_id == 0x40 || table_id == 0x41) && s.contains("network_id")) {
            const std::string nit = "NIT " + std::string(table_id == 0x40 ? "actual " : "other ") +
                                    s["network_id"].dump();
            append(inv.networks[nit], s["network_descriptors"]);
            for (const json& ts : s["transport_streams"])
                append(inv.streams[{nit, ts_key(ts["transport_stream_id"], ts["original_network_id"])}],
                       ts["descriptors"]);
        } else if ((table_id == 0x42 || table_id == 0x46) && s.contains("services")) {
            const std::string sdt = "SDT " + std::string(table_id == 0x42 ? "actual " : "other ") +
                                    ts_key(s["transport_stream_id"], s["original_network_id"]);
            auto& table = inv.services[sdt];
            for (const json& sv : s["services"])
                table[sv["service_id"].get<unsigned>()] = sv;
        }
    }
    return inv;
}

class Differ {
public:
    json changes = json::array();

    void add(const char* kind, const std::string& where, const std::string& what, const json* old_value = nullptr,
             const json* new_value = nullptr)
    {
        json c;
        c["kind"] = kind;
        c["where"] = where;
        c["what"] = what;
        if (old_value)
            c["old"] = *old_value;
        if (new_value)
            c["new"] = *new_value;
        changes.push_back(c);
    }

    void loops(const std::string& where, const json& old_loop, const json& new_loop)
    {
        std::map<std::string, std::vector<json>> olds, news;
        for (const json& d : old_loop)
            olds[d["descriptor"].get<std::string>() + tag_suffix(d)].push_back(clean(d));
        for (const json& d : new_loop)
            news[d["descriptor"].get<std::string>() + tag_suffix(d)].push_back(clean(d));
        for (const auto& [name, list] : olds) {
            const auto other = news.find(name);
            const size_t shared = other == news.end() ? 0 : std::min(list.size(), other->second.size());
            for (size_t i = 0; i < shared; ++i)
                descriptor(where, name, list[i], other->second[i]);
            for (size_t i = shared; i < list.size(); ++i)
                add("descriptor_dropped", where, name + " descriptor dropped");
        }
        for (const auto& [name, list] : news) {
            const auto other = olds.find(name);
            const size_t shared = other == olds.end() ? 0 : other->second.size();
            for (size_t i = shared; i < list.size(); ++i)
                add("descriptor_added", where, name + " descriptor added");
        }
    }

private:
    // Unknown descriptors are told apart by tag.
    static std::string tag_suffix(const json& d)
    {
        return d["descriptor"] == "unknown" ? " " + d["tag"].dump() : "";
    }

    static json clean(json d)
    {
        d.erase("library");
        return d;
    }

    void field(const char* kind, const std::string& where, const std::string& what, const json& a, const json& b,
               const char* key)
    {
        const json old_value = a.value(key, json()), new_value = b.value(key, json());
        if (old_value != new_value)
            add(kind, where, what, &old_value, &new_value);
    }

    void descriptor(const std::string& where, const std::string& name, const json& a, const json& b)
    {
        if (a == b)
            return;
        if (name == "service") {
            field("service_renamed", where, "service renamed", a, b, "service_name");
            field("service_retyped", where, "service type changed", a, b, "service_type");
            field("provider_changed", where, "provider changed", a, b, "provider_name");
        } else if (name == "logical_channel" || name == "logical_channel_v2") {
            channels(where, a, b);
        } else if (name.find("delivery_system") != std::string::npos) {
            for (auto it = a.begin(); it != a.end(); ++it)
                if (!it->is_structured() && it.key() != "length" && b.value(it.key(), json()) != *it) {
                    const json new_value = b.value(it.key(), json());
                    add("delivery_changed", where, name + " " + it.key() + " changed", &*it, &new_value);
                }
        } else {
            add("descriptor_changed", where, name + " descriptor changed");
        }
    }

    static std::map<unsigned, json> channel_map(const json& d)
    {
        std::map<unsigned, json> m;
        for (const json& c : d.value("channels", json::array()))
            m[c["service_id"].get<unsigned>()] = c;
        for (const json& list : d.value("channel_lists", json::array()))
            for (const json& c : list.value("channels", json::array()))
                m[c["service_id"].get<unsigned>()] = c;
        return m;
    }

    void channels(const std::string& where, const json& a, const json& b)
    {
        const auto olds = channel_map(a), news = channel_map(b);
        for (const auto& [sid, c] : olds) {
            const std::string who = where + " service " + std::to_string(sid);
            const auto other = news.find(sid);
            if (other == news.end()) {
                add("lcn_removed", who, "logical channel removed", &c["lcn"]);
                continue;
            }
            const json& n = other->second;
            if (c["lcn"] != n["lcn"])
                add("lcn_moved", who, "logical channel moved", &c["lcn"], &n["lcn"]);
            if (c["visible"] != n["visible"])
                add(n["visible"].get<bool>() ? "lcn_shown" : "lcn_hidden", who,
                    n["visible"].get<bool>() ? "logical channel shown" : "logical channel hidden", &c["visible"],
                    &n["visible"]);
        }
        for (const auto& [sid, c] : news)
            if (!olds.count(sid))
                add("lcn_added", where + " service " + std::to_string(sid), "logical channel added", nullptr,
                    &c["lcn"]);
    }
};

} // namespace

json diff_sections(const json& old_sections, const json& new_sections)
{
    const Inventory a = gather(old_sections), b = gather(new_sections);
    Differ d;
    for (const auto& [nit, loop] : a.networks) {
        if (!b.networks.count(nit))
            d.add("table_removed", nit, "table removed");
        else
            d.loops(nit, loop, b.networks.at(nit));
    }
    for (const auto& [nit, loop] : b.networks)
        if (!a.networks.count(nit))
            d.add("table_added", nit, "table added");
    for (const auto& [key, loop] : a.streams) {
        const std::string where = key.first + " " + key.second;
        if (!b.streams.count(key)) {
            if (b.networks.count(key.first))
                d.add("ts_removed", where, "transport stream removed");
        } else
            d.loops(where, loop, b.streams.at(key));
    }
    for (const auto& [key, loop] : b.streams)
        if (!a.streams.count(key) && a.networks.count(key.first))
            d.add("ts_added", key.first + " " + key.second, "transport stream added");
    for (const auto& [sdt, services] : a.services) {
        const auto other = b.services.find(sdt);
        if (other == b.services.end()) {
            d.add("table_removed", sdt, "table removed");
            continue;
        }
        for (const auto& [sid, sv] : services) {
            const std::string where = sdt + " service " + std::to_string(sid);
            const auto n = other->second.find(sid);
            if (n == other->second.end()) {
                d.add("service_removed", where, "service removed");
                continue;
            }
            for (const char* flag : {"eit_schedule", "eit_present_following", "running_status", "free_ca_mode"})
                if (sv[flag] != n->second[flag])
                    d.add("service_flags_changed", where, std::string(flag) + " changed", &sv[flag], &n->second[flag]);
            d.loops(where, sv["descriptors"], n->second["descriptors"]);
        }
        for (const auto& [sid, sv] : other->second)
            if (!services.count(sid))
                d.add("service_added", sdt + " service " + std::to_string(sid), "service added");
    }
    for (const auto& [sdt, services] : b.services)
        if (!a.services.count(sdt))
            d.add("table_added", sdt, "table added");
    return d.changes;
}

void print_change(const json& c, std::ostream& out)
{
    out << c["where"].get<std::string>() << ": " << c["what"].get<std::string>();
    const auto text = [](const json& v) { return v.is_string() ? "\"" + v.get<std::string>() + "\"" : v.dump(); };
    if (c.contains("old") && c.contains("new"))
        out << ": " << text(c["old"]) << " -> " << text(c["new"]);
    else if (c.contains("old"))
        out << " (was " << text(c["old"]) << ")";
    else if (c.contains("new"))
        out << ": " << text(c["new"]);
    out << "\n";
}

int run_diff(const std::string& old_path, const std::string& new_path, bool as_json, std::ostream& out,
             std::ostream& err)
{
    json sides[2];
    const std::string paths[2] = {old_path, new_path};
    for (int i = 0; i < 2; ++i) {
        std::string error;
        if (!load_decoded_sections(paths[i], sides[i], error)) {
            err << "tavel-si: error: " << error << "\n";
            return kExitBadInput;
        }
    }
    const json changes = diff_sections(sides[0], sides[1]);
    if (as_json) {
        json doc;
        doc["old"] = old_path;
        doc["new"] = new_path;
        doc["same"] = changes.empty();
        doc["changes"] = changes;
        out << doc.dump(2, ' ', false, json::error_handler_t::replace) << "\n";
    } else if (changes.empty()) {
        out << "Same content (versions and CRCs aside).\n";
    } else {
        for (const json& c : changes)
            print_change(c, out);
        out << changes.size() << (changes.size() == 1 ? " change\n" : " changes\n");
    }
    return changes.empty() ? kExitOk : kExitFailed;
}

} // namespace tavel_si
