#include "config.h"

#include "checks.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include <tavel/code_conversions.h>
#include <tavel/file_io.h>

namespace tavel_si {
namespace {

using nlohmann::json;

[[noreturn]] void fail(const std::string& field, const std::string& what)
{
    throw ConfigError(field + ": " + what);
}

std::string join(const std::string& path, const std::string& key)
{
    return path.empty() ? key : path + "." + key;
}

std::string at(const std::string& path, size_t i)
{
    return path + "[" + std::to_string(i) + "]";
}

// Rejects keys that are not part of the schema: a misspelt field must not
// silently fall back to its default.
void only_keys(const json& obj, const std::string& path, std::initializer_list<const char*> keys)
{
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        if (std::none_of(keys.begin(), keys.end(), [&](const char* k) { return it.key() == k; }))
            fail(join(path, it.key()), "unknown field");
    }
}

const json& object_at(const json& parent, const std::string& path, const char* key)
{
    const std::string field = join(path, key);
    if (!parent.contains(key))
        fail(field, "missing");
    const json& v = parent.at(key);
    if (!v.is_object())
        fail(field, "must be an object");
    return v;
}

// Integer field: a JSON number or a "0x..." string, inside [lo, hi].
uint64_t uint_value(const json& v, const std::string& field, uint64_t lo, uint64_t hi)
{
    uint64_t n = 0;
    if (v.is_number_unsigned()) {
        n = v.get<uint64_t>();
    } else if (v.is_number_integer()) {
        fail(field, std::to_string(v.get<int64_t>()) + " is out of range " + std::to_string(lo) + ".." +
                        std::to_string(hi));
    } else if (v.is_string()) {
        const std::string s = v.get<std::string>();
        if (s.size() < 3 || s.size() > 18 || s[0] != '0' || (s[1] != 'x' && s[1] != 'X') ||
            !std::all_of(s.begin() + 2, s.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); }))
            fail(field, "\"" + s + "\" is not a number (write 4660 or \"0x1234\")");
        n = std::strtoull(s.c_str() + 2, nullptr, 16);
    } else {
        fail(field, "must be an integer");
    }
    if (n < lo || n > hi)
        fail(field, std::to_string(n) + " is out of range " + std::to_string(lo) + ".." + std::to_string(hi));
    return n;
}

uint64_t get_uint(const json& obj, const std::string& path, const char* key, uint64_t lo, uint64_t hi)
{
    if (!obj.contains(key))
        fail(join(path, key), "missing");
    return uint_value(obj.at(key), join(path, key), lo, hi);
}

uint64_t get_uint_or(const json& obj, const std::string& path, const char* key, uint64_t lo, uint64_t hi,
                     uint64_t fallback)
{
    return obj.contains(key) ? uint_value(obj.at(key), join(path, key), lo, hi) : fallback;
}

int64_t get_int(const json& obj, const std::string& path, const char* key, int64_t lo, int64_t hi)
{
    const std::string field = join(path, key);
    if (!obj.contains(key))
        fail(field, "missing");
    const json& v = obj.at(key);
    if (!v.is_number_integer())
        fail(field, "must be an integer");
    int64_t n = v.is_number_unsigned() && v.get<uint64_t>() > uint64_t(INT64_MAX) ? INT64_MAX : v.get<int64_t>();
    if (n < lo || n > hi)
        fail(field, std::to_string(n) + " is out of range " + std::to_string(lo) + ".." + std::to_string(hi));
    return n;
}

bool get_bool_or(const json& obj, const std::string& path, const char* key, bool fallback)
{
    if (!obj.contains(key))
        return fallback;
    if (!obj.at(key).is_boolean())
        fail(join(path, key), "must be true or false");
    return obj.at(key).get<bool>();
}

std::string get_string(const json& obj, const std::string& path, const char* key, size_t max_bytes)
{
    const std::string field = join(path, key);
    if (!obj.contains(key))
        fail(field, "missing");
    if (!obj.at(key).is_string())
        fail(field, "must be a string");
    std::string s = obj.at(key).get<std::string>();
    if (s.size() > max_bytes)
        fail(field, "longer than " + std::to_string(max_bytes) + " bytes");
    return s;
}

std::string get_string_or(const json& obj, const std::string& path, const char* key, size_t max_bytes,
                          const std::string& fallback)
{
    return obj.contains(key) ? get_string(obj, path, key, max_bytes) : fallback;
}

struct Name {
    const char* name;
    uint16_t code;
};

// A named code; the error lists what is accepted.
uint16_t get_named(const json& obj, const std::string& path, const char* key, std::initializer_list<Name> names)
{
    const std::string s = get_string(obj, path, key, 64);
    std::string accepted;
    for (const Name& n : names) {
        if (s == n.name)
            return n.code;
        accepted += accepted.empty() ? n.name : std::string(", ") + n.name;
    }
    fail(join(path, key), "unknown value \"" + s + "\" (accepted: " + accepted + ")");
}

const json& array_at(const json& obj, const std::string& path, const char* key, bool required)
{
    static const json empty = json::array();
    if (!obj.contains(key)) {
        if (required)
            fail(join(path, key), "missing");
        return empty;
    }
    if (!obj.at(key).is_array())
        fail(join(path, key), "must be an array");
    return obj.at(key);
}

std::string check_country(const json& obj, const std::string& path, const char* key)
{
    std::string c = get_string(obj, path, key, 16);
    if (c.size() != 3 || !std::all_of(c.begin(), c.end(), [](char ch) { return ch >= 'A' && ch <= 'Z'; }))
        fail(join(path, key), "\"" + c + "\" is not a three-letter upper-case ISO 3166 code (e.g. \"ESP\")");
    return c;
}

std::string directory_of(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::vector<char> read_pattern(const json& entry, const std::string& field, const std::string& base_dir,
                               bool nit)
{
    if (!entry.is_string() || entry.get<std::string>().empty())
        fail(field, "must be a file path");
    std::string path = entry.get<std::string>();
    if (path[0] != '/')
        path = base_dir + "/" + path;
    std::vector<char> buffer;
    if (!tavel::read_char_vector_from_file(path, buffer))
        fail(field, "cannot read " + path);
    if (buffer.size() < 16)
        fail(field, path + " is too short for a table (" + std::to_string(buffer.size()) + " bytes)");
    const unsigned table_id = static_cast<uint8_t>(buffer[0]);
    const bool ok = nit ? (table_id == 0x40 || table_id == 0x41) : (table_id == 0x42 || table_id == 0x46);
    if (!ok) {
        char hex[8];
        std::snprintf(hex, sizeof hex, "0x%02X", table_id);
        fail(field, path + " is not " + (nit ? "a NIT" : "an SDT") + " (table_id " + hex + ")");
    }
    return buffer;
}

void parse_service(const json& s, const std::string& path, const HeadendConfig& cfg, tavel::datos_servicios& rec)
{
    if (!s.is_object())
        fail(path, "must be an object");
    only_keys(s, path, {"sid", "input", "lcn", "type", "descramble", "scrambled", "name", "rename", "provider"});
    rec.sid = static_cast<uint16_t>(get_uint(s, path, "sid", 1, 0xFFFF));
    rec.sid_entrada = rec.sid;
    if (s.contains("input")) {
        const json& in = object_at(s, path, "input");
        const std::string ip = join(path, "input");
        only_keys(in, ip, {"sid", "tsid", "onid"});
        rec.sid_entrada = static_cast<uint16_t>(get_uint(in, ip, "sid", 1, 0xFFFF));
        rec.tsid_entrada = static_cast<uint16_t>(get_uint(in, ip, "tsid", 0, 0xFFFF));
        rec.onid_entrada = static_cast<uint16_t>(get_uint(in, ip, "onid", 0, 0xFFFF));
    }
    rec.lcn = checked_lcn(join(path, "lcn"), get_uint_or(s, path, "lcn", 0, 0xFFFF, 0), cfg.lcn_flavour);
    if (s.contains("type") && s.at("type").is_string() && s.at("type").get<std::string>().rfind("0x", 0) != 0) {
        rec.tipo_servicio = get_named(s, path, "type",
                                      {{"tv", 0x01}, {"radio", 0x02}, {"teletext", 0x03}, {"data", 0x0C},
                                       {"sd-tv", 0x16}, {"hd-tv", 0x19}, {"uhd-tv", 0x1F}});
    } else {
        rec.tipo_servicio = static_cast<uint16_t>(get_uint(s, path, "type", 1, 0xFF));
    }
    rec.Descifrar = get_bool_or(s, path, "descramble", false) ? 1 : 0;
    rec.cifrado = get_bool_or(s, path, "scrambled", false) ? 1 : 0;
    rec.nombre = get_string(s, path, "name", 4096);
    rec.cambiar_nombre = get_bool_or(s, path, "rename", false) ? 1 : 0;
    rec.proveedor = get_string_or(s, path, "provider", 4096, "");
    check_names_fit(path, rec.nombre, rec.proveedor);
}

// Also notes the output's place on the air and its numbered services.
void parse_output(const json& o, const std::string& path, HeadendConfig& cfg, tavel::datos_salidas& out,
                  std::vector<OutputOnAir>& on_air, std::vector<NumberedService>& numbered)
{
    if (!o.is_object())
        fail(path, "must be an object");
    const uint16_t type = get_named(o, path, "type", {{"terrestrial", 0}, {"cable", 1}, {"other", 2}});
    out.tipo_salida = type;
    if (type == 1) {
        only_keys(o, path,
                  {"type", "tsid", "onid", "frequency_khz", "symbol_rate_ksym", "modulation", "off_plan", "services"});
        out.frecuencia = static_cast<uint32_t>(get_uint(o, path, "frequency_khz", 1, 9999999));
        out.symbol_rate = static_cast<uint16_t>(get_uint(o, path, "symbol_rate_ksym", 1, 0xFFFF));
        // The generator sends index + 1, the DVB cable modulation code.
        out.modulacion = get_named(o, path, "modulation",
                                   {{"16QAM", 0}, {"32QAM", 1}, {"64QAM", 2}, {"128QAM", 3}, {"256QAM", 4}});
        // Roll-off 0.15: the occupied width of a cable signal.
        on_air.push_back({path, out.frecuencia, out.symbol_rate * 115u / 100u, get_bool_or(o, path, "off_plan", false)});
    } else if (type == 0) {
        only_keys(o, path, {"type", "tsid", "onid", "frequency_khz", "bandwidth_mhz", "modulation", "code_rate",
                            "guard_interval", "transmission_mode", "off_plan", "services"});
        out.frecuencia = static_cast<uint32_t>(get_uint(o, path, "frequency_khz", 1, 42949672));
        const auto mhz = static_cast<unsigned short>(get_uint(o, path, "bandwidth_mhz", 5, 8));
        out.ancho_banda = tavel::getBWOutputValueFromMHZ(mhz);
        on_air.push_back({path, out.frecuencia, mhz * 1000u, get_bool_or(o, path, "off_plan", false)});
        out.modulacion = get_named(o, path, "modulation", {{"QPSK", 0}, {"16QAM", 1}, {"64QAM", 2}});
        out.code_rate = get_named(o, path, "code_rate", {{"1/2", 0}, {"2/3", 1}, {"3/4", 2}, {"5/6", 3}, {"7/8", 4}});
        out.intervalo_guarda =
            get_named(o, path, "guard_interval", {{"1/32", 0}, {"1/16", 1}, {"1/8", 2}, {"1/4", 3}});
        out.modo_transmision = get_named(o, path, "transmission_mode", {{"2k", 0}, {"8k", 1}, {"4k", 2}});
    } else {
        only_keys(o, path, {"type", "tsid", "onid", "services"});
    }
    out.tsid = static_cast<uint16_t>(get_uint(o, path, "tsid", 0, 0xFFFF));
    out.onid = static_cast<uint16_t>(get_uint(o, path, "onid", 0, 0xFFFF));

    const std::string sp = join(path, "services");
    const json& services = array_at(o, path, "services", false);
    std::map<uint16_t, size_t> seen;
    for (size_t i = 0; i < services.size(); ++i) {
        tavel::datos_servicios rec;
        parse_service(services[i], at(sp, i), cfg, rec);
        auto [it, fresh] = seen.emplace(rec.sid, i);
        if (!fresh)
            fail(join(at(sp, i), "sid"), "duplicate service id " + std::to_string(rec.sid) + " (already " +
                                             at(sp, it->second) + ")");
        out.servicios[rec.sid] = rec;
        numbered.push_back({at(sp, i), rec.nombre, rec.lcn});
    }
    // Descriptor lengths are one byte: 85 service-list entries, 62 LCN entries.
    if (cfg.service_list == 1 && services.size() > 85)
        fail(sp, std::to_string(services.size()) + " services, at most 85 fit in a service list descriptor");
    if (cfg.lcn_flavour != 0 && services.size() > 62)
        fail(sp, std::to_string(services.size()) + " services, at most 62 fit in an LCN descriptor");
}

} // namespace

HeadendConfig parse_config(const std::string& text, const std::string& base_dir)
{
    json doc;
    try {
        doc = json::parse(text);
    } catch (const json::parse_error& e) {
        // Line and column of the byte where parsing stopped.
        size_t line = 1, column = 1;
        const size_t end = std::min<size_t>(e.byte > 0 ? e.byte - 1 : 0, text.size());
        for (size_t i = 0; i < end; ++i) {
            if (text[i] == '\n') {
                ++line;
                column = 1;
            } else {
                ++column;
            }
        }
        std::string what = e.what();
        const size_t colon = what.rfind(": ");
        if (colon != std::string::npos)
            what = what.substr(colon + 2);
        throw ConfigError("JSON syntax error at line " + std::to_string(line) + ", column " +
                          std::to_string(column) + ": " + what);
    } catch (const json::out_of_range& e) {
        // A number beyond the range of a double (1e999) is bad input too.
        std::string what = e.what();
        const size_t bracket = what.find("] ");
        throw ConfigError("JSON " + (bracket == std::string::npos ? what : what.substr(bracket + 2)));
    }
    if (!doc.is_object())
        throw ConfigError("the document must be a JSON object");
    only_keys(doc, "", {"country", "network", "scramble_all", "outputs", "patterns", "time_offsets"});

    HeadendConfig cfg;
    cfg.country = check_country(doc, "", "country");
    const json& net = object_at(doc, "", "network");
    only_keys(net, "network", {"id", "name", "table", "service_list_descriptor", "lcn_flavour", "allow_shared_lcn"});
    cfg.network_id = static_cast<uint16_t>(get_uint(net, "network", "id", 0, 0xFFFF));
    cfg.network_name = get_string(net, "network", "name", 255);
    cfg.nit_table_id = net.contains("table")
                           ? static_cast<uint8_t>(get_named(net, "network", "table", {{"actual", 0x40}, {"other", 0x41}}))
                           : 0x40;
    cfg.service_list = get_bool_or(net, "network", "service_list_descriptor", true) ? 1 : 0;
    cfg.lcn_flavour = static_cast<uint16_t>(get_uint_or(net, "network", "lcn_flavour", 0, 6, 0));
    std::set<uint16_t> shared_lcns;
    const json& shared = array_at(net, "network", "allow_shared_lcn", false);
    for (size_t i = 0; i < shared.size(); ++i)
        shared_lcns.insert(checked_lcn(at("network.allow_shared_lcn", i),
                                       uint_value(shared[i], at("network.allow_shared_lcn", i), 1, 0xFFFF),
                                       cfg.lcn_flavour));
    cfg.scramble_all = get_bool_or(doc, "", "scramble_all", false) ? 1 : 0;

    const json& outputs = array_at(doc, "", "outputs", true);
    std::map<uint16_t, size_t> seen;
    std::vector<OutputOnAir> on_air;
    std::vector<NumberedService> numbered;
    for (size_t i = 0; i < outputs.size(); ++i) {
        tavel::datos_salidas out;
        parse_output(outputs[i], at("outputs", i), cfg, out, on_air, numbered);
        auto [it, fresh] = seen.emplace(out.tsid, i);
        if (!fresh)
            fail(join(at("outputs", i), "tsid"),
                 "duplicate transport stream id " + std::to_string(out.tsid) + " (already " + at("outputs", it->second) + ")");
        cfg.outputs[out.tsid] = out;
    }
    check_outputs_on_plan(cfg.country, on_air);
    check_shared_lcns(numbered, shared_lcns);

    if (doc.contains("patterns")) {
        const json& pat = object_at(doc, "", "patterns");
        only_keys(pat, "patterns", {"nit_files", "sdt_files", "transport_streams"});
        const json& nits = array_at(pat, "patterns", "nit_files", false);
        for (size_t i = 0; i < nits.size(); ++i)
            cfg.pattern_nits.push_back(read_pattern(nits[i], at("patterns.nit_files", i), base_dir, true));
        const json& sdts = array_at(pat, "patterns", "sdt_files", false);
        for (size_t i = 0; i < sdts.size(); ++i)
            cfg.pattern_sdts.push_back(read_pattern(sdts[i], at("patterns.sdt_files", i), base_dir, false));
        const json& tss = array_at(pat, "patterns", "transport_streams", false);
        for (size_t i = 0; i < tss.size(); ++i) {
            const std::string tp = at("patterns.transport_streams", i);
            if (!tss[i].is_object())
                fail(tp, "must be an object");
            only_keys(tss[i], tp, {"tsid", "onid"});
            cfg.ts_from_patterns.emplace_back(static_cast<uint16_t>(get_uint(tss[i], tp, "tsid", 0, 0xFFFF)),
                                              static_cast<uint16_t>(get_uint(tss[i], tp, "onid", 0, 0xFFFF)));
        }
    }

    cfg.tot_country = cfg.country;
    if (doc.contains("time_offsets")) {
        const json& tot = object_at(doc, "", "time_offsets");
        only_keys(tot, "time_offsets", {"country", "entries"});
        if (tot.contains("country"))
            cfg.tot_country = check_country(tot, "time_offsets", "country");
        const json& entries = array_at(tot, "time_offsets", "entries", false);
        // One descriptor holds at most 19 entries (13 bytes each).
        if (entries.size() > 19)
            fail("time_offsets.entries", std::to_string(entries.size()) + " entries, at most 19 fit");
        for (size_t i = 0; i < entries.size(); ++i) {
            const std::string ep = at("time_offsets.entries", i);
            if (!entries[i].is_object())
                fail(ep, "must be an object");
            TimeOffsetEntry entry;
            if (entries[i].contains("zone")) {
                only_keys(entries[i], ep, {"zone"});
                std::string why;
                if (!TimeZone::load(get_string(entries[i], ep, "zone", 255), entry.zone, why))
                    fail(join(ep, "zone"), why);
                entry.from_zone = true;
                cfg.tot_entries.push_back(entry);
                continue;
            }
            only_keys(entries[i], ep, {"current_s", "next_s", "change_unix_s"});
            const int64_t current = get_int(entries[i], ep, "current_s", -43200, 50400);
            const int64_t next = get_int(entries[i], ep, "next_s", -43200, 50400);
            const int64_t change = entries[i].contains("change_unix_s")
                                       ? get_int(entries[i], ep, "change_unix_s", 0, 0xFFFFFFFFLL)
                                       : 0;
            // The DVB clock starts in 2010 for the headend; earlier times fail the TOT.
            if (change != 0 && change < 1262304000)
                fail(join(ep, "change_unix_s"), std::to_string(change) + " is before 2010-01-01 (0 = no change)");
            entry.fixed = {static_cast<int32_t>(current), static_cast<int32_t>(next), change};
            cfg.tot_entries.push_back(entry);
        }
    }
    return cfg;
}

std::vector<std::string> tot_offsets_at(const HeadendConfig& cfg, long long unix_now)
{
    std::vector<std::string> offsets;
    for (const TimeOffsetEntry& e : cfg.tot_entries)
        offsets.push_back(tot_offset_string(e.from_zone ? e.zone.offsets_at(unix_now) : e.fixed));
    return offsets;
}

HeadendConfig load_config(const std::string& path)
{
    std::vector<char> bytes;
    if (!tavel::read_char_vector_from_file(path, bytes))
        throw ConfigError("cannot read the file");
    return parse_config(std::string(bytes.begin(), bytes.end()), directory_of(path));
}

} // namespace tavel_si
