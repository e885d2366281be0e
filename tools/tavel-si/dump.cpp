#include "dump.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>

#include <tavel/coding.h>

#include "decode/descriptor_decoder.h"
#include "dvb/byte_io.h"

namespace tavel_si {
namespace {

using json = nlohmann::ordered_json;

using Bytes = tavel::bytes::Reader;

std::string hex(const std::vector<char>& bytes)
{
    std::string s;
    char two[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(two, sizeof two, i ? " %02X" : "%02X", static_cast<uint8_t>(bytes[i]));
        s += two;
    }
    return s;
}

std::string hex_value(unsigned long value, int digits)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "0x%0*lX", digits, value);
    return buf;
}

std::string utc_text(uint64_t mjd_utc)
{
    if ((mjd_utc & 0xFFFFFFFFFFull) == 0xFFFFFFFFFFull)
        return "none";
    tm parts{};
    tavel::mjd_utc_to_gmt_time(mjd_utc, parts);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return buf;
}

// BCD hhmm (or hhmmss) as text.
std::string bcd_clock(unsigned long bcd, int fields)
{
    char buf[16];
    if (fields == 3)
        std::snprintf(buf, sizeof buf, "%02lX:%02lX:%02lX", (bcd >> 16) & 0xFF, (bcd >> 8) & 0xFF, bcd & 0xFF);
    else
        std::snprintf(buf, sizeof buf, "%02lX:%02lX", (bcd >> 8) & 0xFF, bcd & 0xFF);
    return buf;
}

// A descriptor loop of len bytes at pos, each descriptor decoded from its
// bytes (the library's own reading noted where it differs).
json descriptors(const Bytes& b, size_t pos, size_t len, const DumpOptions& options)
{
    json list = json::array();
    decode::DecodeContext ctx;
    ctx.default_charset = options.charset;
    const size_t end = pos + len;
    while (pos + 2 <= end) {
        const unsigned tag = b.u8(pos);
        const unsigned length = b.u8(pos + 1);
        const decode::DescriptorDecoder* decoder = decode::find_descriptor_decoder(tag);
        json j;
        j["tag"] = tag;
        j["descriptor"] = decoder ? decoder->name : "unknown";
        j["length"] = length;
        if (pos + 2 + length > end || !b.has(pos + 2, length)) {
            j["error"] = "runs past its loop";
            list.push_back(j);
            return list;
        }
        const std::vector<char> payload = b.slice(pos + 2, length);
        if (decoder)
            decoder->decode(decode::Payload(payload), ctx, j);
        else
            j["hex"] = hex(payload);
        // A private data specifier holds for the rest of its loop.
        if (tag == 0x5F && length >= 4)
            ctx.private_data_specifier = decode::Payload(payload).u32(0);
        list.push_back(j);
        pos += 2 + length;
    }
    return list;
}

const char* table_name(unsigned table_id)
{
    if (table_id == 0x00) return "PAT";
    if (table_id == 0x01) return "CAT";
    if (table_id == 0x02) return "PMT";
    if (table_id == 0x40) return "NIT actual";
    if (table_id == 0x41) return "NIT other";
    if (table_id == 0x42) return "SDT actual";
    if (table_id == 0x46) return "SDT other";
    if (table_id == 0x4A) return "BAT";
    if (table_id == 0x70) return "TDT";
    if (table_id == 0x71) return "RST";
    if (table_id == 0x72) return "ST";
    if (table_id == 0x73) return "TOT";
    if (table_id == 0x7E) return "DIT";
    if (table_id == 0x7F) return "SIT";
    if (table_id == 0x4E) return "EIT actual p/f";
    if (table_id == 0x4F) return "EIT other p/f";
    if (table_id >= 0x50 && table_id <= 0x5F) return "EIT actual schedule";
    if (table_id >= 0x60 && table_id <= 0x6F) return "EIT other schedule";
    return "unknown";
}

// The long-form header fields shared by NIT, SDT and EIT.
void long_header(const Bytes& b, json& s, const char* extension_name)
{
    s[extension_name] = b.u16(3);
    s["version"] = (b.u8(5) >> 1) & 0x1F;
    s["current_next"] = b.u8(5) & 1;
    s["section_number"] = b.u8(6);
    s["last_section_number"] = b.u8(7);
}

// Body of one section; end is the first CRC byte (or the section end).
void decode_body(const Bytes& b, unsigned table_id, size_t end, json& s, const DumpOptions& options)
{
    if (table_id == 0x40 || table_id == 0x41 || table_id == 0x4A) {
        // A BAT is laid out as a NIT, with a bouquet where the network is.
        const bool bat = table_id == 0x4A;
        long_header(b, s, bat ? "bouquet_id" : "network_id");
        const size_t nd_len = b.u12(8);
        s[bat ? "bouquet_descriptors" : "network_descriptors"] = descriptors(b, 10, std::min(nd_len, end > 10 ? end - 10 : 0), options);
        size_t pos = 10 + nd_len;
        const size_t ts_len = b.u12(pos);
        pos += 2;
        const size_t ts_end = std::min(pos + ts_len, end);
        json tss = json::array();
        while (pos + 6 <= ts_end) {
            const size_t d_len = b.u12(pos + 4);
            json ts;
            ts["transport_stream_id"] = b.u16(pos);
            ts["original_network_id"] = b.u16(pos + 2);
            ts["descriptors"] = descriptors(b, pos + 6, std::min(d_len, ts_end - pos - 6), options);
            tss.push_back(ts);
            pos += 6 + d_len;
        }
        s["transport_streams"] = tss;
    } else if (table_id == 0x42 || table_id == 0x46) {
        long_header(b, s, "transport_stream_id");
        s["original_network_id"] = b.u16(8);
        size_t pos = 11;
        json services = json::array();
        while (pos + 5 <= end) {
            const size_t d_len = b.u12(pos + 3);
            json sv;
            sv["service_id"] = b.u16(pos);
            sv["eit_schedule"] = (b.u8(pos + 2) >> 1) & 1;
            sv["eit_present_following"] = b.u8(pos + 2) & 1;
            sv["running_status"] = b.u8(pos + 3) >> 5;
            sv["free_ca_mode"] = (b.u8(pos + 3) >> 4) & 1;
            sv["descriptors"] = descriptors(b, pos + 5, std::min(d_len, end - pos - 5), options);
            services.push_back(sv);
            pos += 5 + d_len;
        }
        s["services"] = services;
    } else if (table_id == 0x00 && end >= 8) {
        long_header(b, s, "transport_stream_id");
        json programs = json::array();
        for (size_t pos = 8; pos + 4 <= end; pos += 4)
            programs.push_back({{"program_number", b.u16(pos)}, {"pid", b.u16(pos + 2) & 0x1FFF}});
        s["programs"] = programs;
    } else if (table_id == 0x02 && end >= 12) {
        long_header(b, s, "program_number");
        s["pcr_pid"] = b.u16(8) & 0x1FFF;
        const size_t info_len = b.u12(10);
        s["program_descriptors"] = descriptors(b, 12, std::min(info_len, end - 12), options);
        json streams = json::array();
        for (size_t pos = 12 + info_len; pos + 5 <= end;) {
            const size_t es_len = b.u12(pos + 3);
            json es;
            es["stream_type"] = hex_value(b.u8(pos), 2);
            es["pid"] = b.u16(pos + 1) & 0x1FFF;
            es["descriptors"] = descriptors(b, pos + 5, std::min(es_len, end - pos - 5), options);
            streams.push_back(es);
            pos += 5 + es_len;
        }
        s["streams"] = streams;
    } else if (table_id == 0x70 || table_id == 0x73) {
        s["utc_time"] = utc_text(b.u40(3));
        if (table_id == 0x73)
            s["descriptors"] = descriptors(b, 10, std::min<size_t>(b.u12(8), end > 10 ? end - 10 : 0), options);
    } else if (table_id >= 0x4E && table_id <= 0x6F) {
        long_header(b, s, "service_id");
        s["transport_stream_id"] = b.u16(8);
        s["original_network_id"] = b.u16(10);
        s["segment_last_section_number"] = b.u8(12);
        s["last_table_id"] = b.u8(13);
        size_t pos = 14;
        json events = json::array();
        while (pos + 12 <= end) {
            const size_t d_len = b.u12(pos + 10);
            json ev;
            ev["event_id"] = b.u16(pos);
            ev["start_time"] = utc_text(b.u40(pos + 2));
            ev["duration"] = bcd_clock((b.u16(pos + 7) << 8) | b.u8(pos + 9), 3);
            ev["running_status"] = b.u8(pos + 10) >> 5;
            ev["free_ca_mode"] = (b.u8(pos + 10) >> 4) & 1;
            ev["descriptors"] = descriptors(b, pos + 12, std::min(d_len, end - pos - 12), options);
            events.push_back(ev);
            pos += 12 + d_len;
        }
        s["events"] = events;
    } else {
        s["body"] = hex(b.slice(3, end > 3 ? end - 3 : 0));
    }
}

void decode_section_into(const std::vector<char>& section, json& s, const DumpOptions& options)
{
    const Bytes b(section);
    const unsigned table_id = b.u8(0);
    // Long sections end in a CRC_32; of the short ones only the TOT has one
    // (TDT, RST and ST none).
    const bool has_crc = ((b.u8(1) & 0x80) || table_id == 0x73) && section.size() >= 7;
    const size_t body_end = has_crc ? section.size() - 4 : section.size();
    decode_body(b, table_id, body_end, s, options);
    if (has_crc) {
        const uint32_t stored = b.u32(section.size() - 4);
        s["crc32"] = hex_value(stored, 8);
        s["crc_ok"] = tavel::mpeg_crc(0xFFFFFFFFul, section, section.size()) == 0;
    }
}

} // namespace

json decode_section(const std::vector<char>& section, const DumpOptions& options)
{
    json s;
    const Bytes b(section);
    s["table_id"] = b.u8(0);
    s["table"] = table_name(b.u8(0));
    s["section_length"] = b.u12(1);
    decode_section_into(section, s, options);
    return s;
}

json decode_table_file(const std::string& name, const std::vector<char>& bytes, const DumpOptions& options)
{
    json file;
    file["file"] = name;
    file["size"] = bytes.size();
    json sections = json::array();
    size_t offset = 0;
    const Bytes all(bytes);
    while (offset < bytes.size()) {
        json s;
        s["offset"] = offset;
        const unsigned table_id = all.u8(offset);
        if (table_id == 0xFF) // stuffing to the end
            break;
        s["table_id"] = table_id;
        s["table"] = table_name(table_id);
        if (!all.has(offset, 3)) {
            s["error"] = "truncated header";
            sections.push_back(s);
            break;
        }
        const size_t length = all.u12(offset + 1);
        s["section_length"] = length;
        if (!all.has(offset, 3 + length)) {
            s["error"] = "truncated: " + std::to_string(bytes.size() - offset) + " bytes left, section needs " +
                         std::to_string(3 + length);
            sections.push_back(s);
            break;
        }
        decode_section_into(all.slice(offset, 3 + length), s, options);
        sections.push_back(s);
        offset += 3 + length;
    }
    file["sections"] = sections;
    return file;
}

namespace {

std::string scalar_text(const json& v)
{
    if (v.is_string())
        return v.get<std::string>().find(' ') == std::string::npos && !v.get<std::string>().empty()
                   ? v.get<std::string>()
                   : "\"" + v.get<std::string>() + "\"";
    return v.dump();
}

// Scalars on one line (key=value); arrays below, one item a line, indented.
void print_item(const json& item, const std::string& indent, const std::string& lead, std::ostream& out)
{
    std::string line = indent + lead;
    bool first = lead.empty();
    for (auto it = item.begin(); it != item.end(); ++it) {
        if (it->is_array() || it.key() == "tag" || it.key() == "descriptor")
            continue;
        if (it.key() == "hex" || it.key() == "body" || it.key() == "crc_ok" || it.key() == "library")
            continue;
        line += (first ? "" : " ") + it.key() + "=" + scalar_text(*it);
        // Where the headend's class reads the bytes otherwise, say so here.
        if (item.contains("library") && item["library"].contains(it.key()))
            line += " (library: " + scalar_text(item["library"][it.key()]) + ")";
        first = false;
    }
    if (item.contains("crc_ok"))
        line += item["crc_ok"].get<bool>() ? " (CRC ok)" : " (CRC BAD)";
    for (const char* raw : {"hex", "body"})
        if (item.contains(raw))
            line += std::string(first ? "" : " ") + raw + "=" + item[raw].get<std::string>();
    out << line << "\n";
    for (auto it = item.begin(); it != item.end(); ++it) {
        if (!it->is_array())
            continue;
        if (it->empty())
            continue;
        out << indent << "  " << it.key() << ":\n";
        for (const json& child : *it) {
            if (!child.is_object()) {
                out << indent << "    " << scalar_text(child) << "\n";
                continue;
            }
            std::string child_lead;
            if (child.contains("tag")) {
                child_lead = "[" + hex_value(child["tag"].get<unsigned>(), 2) + " " +
                             child["descriptor"].get<std::string>() + "]";
            }
            print_item(child, indent + "    ", child_lead, out);
        }
    }
}

} // namespace

void print_section(const json& s, std::ostream& out)
{
    std::string lead = s["table"].get<std::string>();
    if (s.contains("table_id"))
        lead += " table_id=" + hex_value(s["table_id"].get<unsigned>(), 2);
    json rest = s;
    rest.erase("table");
    rest.erase("table_id");
    print_item(rest, "", lead, out);
}

void print_table_file(const json& file, std::ostream& out)
{
    const json& sections = file["sections"];
    out << "== " << file["file"].get<std::string>() << " (" << file["size"].get<size_t>() << " bytes, "
        << sections.size() << (sections.size() == 1 ? " section" : " sections") << ")\n";
    for (const json& s : sections)
        print_section(s, out);
}

} // namespace tavel_si
