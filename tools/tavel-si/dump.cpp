#include "dump.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>

#include <tavel/code_conversions.h>
#include <tavel/coding.h>
#include <tavel/delivery_descriptors.h>
#include <tavel/descriptor.h>
#include <tavel/dvb_text.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

namespace tavel_si {
namespace {

using json = nlohmann::ordered_json;

// Bounds-checked big-endian reads over one section.
class Bytes {
public:
    explicit Bytes(const std::vector<char>& b) : b_(b) {}
    size_t size() const { return b_.size(); }
    bool has(size_t pos, size_t n) const { return pos <= b_.size() && n <= b_.size() - pos; }
    unsigned u8(size_t pos) const { return pos < b_.size() ? static_cast<uint8_t>(b_[pos]) : 0u; }
    unsigned u16(size_t pos) const { return (u8(pos) << 8) | u8(pos + 1); }
    unsigned u12(size_t pos) const { return u16(pos) & 0x0FFF; }
    uint32_t u32(size_t pos) const { return (uint32_t(u16(pos)) << 16) | u16(pos + 2); }
    uint64_t u40(size_t pos) const { return (uint64_t(u8(pos)) << 32) | u32(pos + 1); }
    std::vector<char> slice(size_t pos, size_t n) const
    {
        if (!has(pos, n))
            return {};
        return std::vector<char>(b_.begin() + static_cast<long>(pos), b_.begin() + static_cast<long>(pos + n));
    }

private:
    const std::vector<char>& b_;
};

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

const char* cable_modulation(unsigned code)
{
    static const char* names[] = {"not defined", "16QAM", "32QAM", "64QAM", "128QAM", "256QAM"};
    return code < 6 ? names[code] : "reserved";
}

const char* descriptor_name(unsigned tag)
{
    switch (tag) {
    case 0x40: return "network_name";
    case 0x41: return "service_list";
    case 0x42: return "stuffing";
    case 0x43: return "satellite_delivery_system";
    case 0x44: return "cable_delivery_system";
    case 0x48: return "service";
    case 0x4A: return "linkage";
    case 0x4D: return "short_event";
    case 0x58: return "local_time_offset";
    case 0x5A: return "terrestrial_delivery_system";
    case 0x5F: return "private_data_specifier";
    case 0x62: return "frequency_list";
    case 0x83: return "logical_channel";
    case 0x87: return "logical_channel_v2";
    default: return "unknown";
    }
}

// The fields of a parsed descriptor, through its class.
void describe(const std::shared_ptr<tavel::Descriptor>& d, json& j)
{
    tavel::Descriptor* p = d.get();
    if (auto* c = dynamic_cast<tavel::DescriptorCableDeliverySystem*>(p)) {
        j["frequency_khz"] = c->frequency;
        j["symbol_rate_ksym"] = c->symbol_rate;
        j["modulation"] = c->modulation;
        j["modulation_name"] = cable_modulation(c->modulation);
        j["fec_outer"] = c->FEC_outer;
        j["fec_inner"] = c->FEC_inner;
    } else if (auto* s = dynamic_cast<tavel::DescriptorSatelliteDeliverySystem*>(p)) {
        j["frequency_mhz"] = s->frequency;
        j["orbital_position"] = tavel::getOrbitafromNITdata(s->orbital_position, s->west_east_flag);
        j["polarization"] = s->polarization;
        j["roll_off"] = s->roll_off;
        j["modulation_system"] = s->modulation_system;
        j["modulation_type"] = s->modulation_type;
        j["symbol_rate_ksym"] = s->symbol_rate;
        j["fec_inner"] = s->FEC_inner;
    } else if (auto* t = dynamic_cast<tavel::DescriptorTerrestrialDeliverySystem*>(p)) {
        j["frequency_khz"] = t->frequency;
        j["bandwidth_mhz"] = tavel::getAncho_BandaOut_MHZ(t->bandwidth);
        j["priority"] = t->priority;
        j["constellation"] = t->constellation;
        j["hierarchy"] = t->hierarchy_information;
        j["code_rate_hp"] = t->code_rate_HP_stream;
        j["code_rate_lp"] = t->code_rate_LP_stream;
        j["other_frequency_flag"] = t->other_frequency_flag;
    } else if (auto* sv = dynamic_cast<tavel::DescriptorService*>(p)) {
        j["service_type"] = sv->service_type;
        j["provider_name"] = sv->provider_name;
        j["service_name"] = sv->service_name;
    } else if (auto* sl = dynamic_cast<tavel::DescriptorServiceList*>(p)) {
        json list = json::array();
        for (const auto& e : sl->services)
            list.push_back({{"service_id", e.service_id}, {"service_type", e.service_type}});
        j["services"] = list;
    } else if (auto* l = dynamic_cast<tavel::DescriptorLCN*>(p)) {
        j["mode"] = l->lcn_mode;
        json list = json::array();
        for (const auto& e : l->services)
            list.push_back({{"service_id", e.service_id},
                            {"visible", e.visible_service_flag != 0},
                            {"lcn", e.logical_channel_number}});
        j["channels"] = list;
    } else if (auto* n = dynamic_cast<tavel::DescriptorNetworkName*>(p)) {
        j["network_name"] = tavel::DVB_text_decode(n->name);
    } else if (auto* k = dynamic_cast<tavel::DescriptorLinkage*>(p)) {
        j["transport_stream_id"] = k->transport_stream_id;
        j["original_network_id"] = k->original_network_id;
        j["service_id"] = k->service_id;
        j["linkage_type"] = k->linkage_type;
        if (!k->private_data_bytes.empty())
            j["private_data"] = hex(k->private_data_bytes);
    } else if (auto* pds = dynamic_cast<tavel::DescriptorPrivateDataSpecifier*>(p)) {
        j["private_data_specifier"] = hex_value(pds->private_data_specifier, 8);
    } else if (auto* lto = dynamic_cast<tavel::DescriptorLocalTimeOffset*>(p)) {
        json list = json::array();
        for (const auto& e : lto->offsets)
            list.push_back({{"country", e.country_code},
                            {"region", e.country_region_id},
                            {"offset", std::string(e.local_time_offset_polarity ? "-" : "+") +
                                           bcd_clock(e.local_time_offset, 2)},
                            {"time_of_change", utc_text(e.time_of_change)},
                            {"next_offset", std::string(e.local_time_offset_polarity ? "-" : "+") +
                                                bcd_clock(e.next_time_offset, 2)}});
        j["offsets"] = list;
    } else {
        j["hex"] = hex(d->data);
    }
}

// A descriptor loop of len bytes at pos.
json descriptors(const Bytes& b, size_t pos, size_t len)
{
    json list = json::array();
    const size_t end = pos + len;
    while (pos + 2 <= end) {
        const unsigned tag = b.u8(pos);
        const unsigned length = b.u8(pos + 1);
        json j;
        j["tag"] = tag;
        j["descriptor"] = descriptor_name(tag);
        j["length"] = length;
        if (pos + 2 + length > end || !b.has(pos + 2, length)) {
            j["error"] = "runs past its loop";
            list.push_back(j);
            return list;
        }
        auto d = tavel::Descriptor::getPtrDescriptorType(static_cast<unsigned short>(tag));
        d->descriptor_tag = static_cast<unsigned char>(tag);
        d->descriptor_length = static_cast<unsigned char>(length);
        d->data = b.slice(pos + 2, length);
        d->procesarDatos();
        describe(d, j);
        list.push_back(j);
        pos += 2 + length;
    }
    return list;
}

const char* table_name(unsigned table_id)
{
    if (table_id == 0x40) return "NIT actual";
    if (table_id == 0x41) return "NIT other";
    if (table_id == 0x42) return "SDT actual";
    if (table_id == 0x46) return "SDT other";
    if (table_id == 0x70) return "TDT";
    if (table_id == 0x73) return "TOT";
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
void decode_body(const Bytes& b, unsigned table_id, size_t end, json& s)
{
    if (table_id == 0x40 || table_id == 0x41) {
        long_header(b, s, "network_id");
        const size_t nd_len = b.u12(8);
        s["network_descriptors"] = descriptors(b, 10, std::min(nd_len, end > 10 ? end - 10 : 0));
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
            ts["descriptors"] = descriptors(b, pos + 6, std::min(d_len, ts_end - pos - 6));
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
            sv["descriptors"] = descriptors(b, pos + 5, std::min(d_len, end - pos - 5));
            services.push_back(sv);
            pos += 5 + d_len;
        }
        s["services"] = services;
    } else if (table_id == 0x70 || table_id == 0x73) {
        s["utc_time"] = utc_text(b.u40(3));
        if (table_id == 0x73)
            s["descriptors"] = descriptors(b, 10, std::min<size_t>(b.u12(8), end > 10 ? end - 10 : 0));
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
            ev["descriptors"] = descriptors(b, pos + 12, std::min(d_len, end - pos - 12));
            events.push_back(ev);
            pos += 12 + d_len;
        }
        s["events"] = events;
    } else {
        s["body"] = hex(b.slice(3, end > 3 ? end - 3 : 0));
    }
}

void decode_section_into(const std::vector<char>& section, json& s)
{
    const Bytes b(section);
    const unsigned table_id = b.u8(0);
    const bool has_crc = table_id != 0x70 && section.size() >= 7;
    const size_t body_end = has_crc ? section.size() - 4 : section.size();
    decode_body(b, table_id, body_end, s);
    if (has_crc) {
        const uint32_t stored = b.u32(section.size() - 4);
        s["crc32"] = hex_value(stored, 8);
        s["crc_ok"] = tavel::mpeg_crc(0xFFFFFFFFul, section, section.size()) == 0;
    }
}

} // namespace

json decode_section(const std::vector<char>& section)
{
    json s;
    const Bytes b(section);
    s["table_id"] = b.u8(0);
    s["table"] = table_name(b.u8(0));
    s["section_length"] = b.u12(1);
    decode_section_into(section, s);
    return s;
}

json decode_table_file(const std::string& name, const std::vector<char>& bytes)
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
        decode_section_into(all.slice(offset, 3 + length), s);
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
        if (it.key() == "hex" || it.key() == "body" || it.key() == "crc_ok")
            continue;
        line += (first ? "" : " ") + it.key() + "=" + scalar_text(*it);
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
