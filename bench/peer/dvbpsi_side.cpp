#include "dvbpsi_side.h"

#include <cstring>

#include "crc_side.h"
#include <ctime>

extern "C" {
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/nit.h>
#include <dvbpsi/sdt.h>
#include <dvbpsi/tot.h>
#include <dvbpsi/dr_40.h>
#include <dvbpsi/dr_41.h>
#include <dvbpsi/dr_44.h>
#include <dvbpsi/dr_48.h>
#include <dvbpsi/dr_58.h>
}

namespace peer::dvbpsi_side {

namespace {

// libdvbpsi leaves BCD coding of the delivery parameters to its caller.
uint32_t to_bcd(uint32_t value, int digits)
{
    uint32_t out = 0;
    for (int i = 0; i < digits; ++i) {
        out |= (value % 10) << (4 * i);
        value /= 10;
    }
    return out;
}

uint8_t bcd8(int v)
{
    return static_cast<uint8_t>(((v / 10) << 4) | (v % 10));
}

// 40-bit MJD + BCD hh:mm:ss of a Unix time.
uint64_t mjd_utc(int64_t unix_time)
{
    int64_t days = unix_time / 86400;
    int64_t secs = unix_time % 86400;
    uint64_t mjd = static_cast<uint64_t>(days + 40587);
    return (mjd << 24) | (uint64_t(bcd8(int(secs / 3600))) << 16) | (uint64_t(bcd8(int(secs % 3600 / 60))) << 8) |
           bcd8(int(secs % 60));
}

void append_sections(std::vector<uint8_t>& out, dvbpsi_psi_section_t* first)
{
    for (dvbpsi_psi_section_t* s = first; s; s = s->p_next)
        out.insert(out.end(), s->p_data, s->p_payload_end + (s->b_syntax_indicator ? 4 : 0));
}

// Appends a generated descriptor to a list the table owns.
void link(dvbpsi_descriptor_t** first, dvbpsi_descriptor_t* d)
{
    while (*first)
        first = &(*first)->p_next;
    *first = d;
}

} // namespace

std::vector<uint8_t> generate_nit(const std::vector<Stream>& streams)
{
    dvbpsi_t* h = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    dvbpsi_nit_t* nit = dvbpsi_nit_new(0x40, kNetworkId, kNetworkId, 0, true);

    dvbpsi_network_name_dr_t name{};
    name.i_name_length = static_cast<uint8_t>(kNetworkName.size());
    std::memcpy(name.i_name_byte, kNetworkName.data(), kNetworkName.size());
    link(&nit->p_first_descriptor, dvbpsi_GenNetworkNameDr(&name, false));

    for (const Stream& s : streams) {
        dvbpsi_nit_ts_t* ts = dvbpsi_nit_ts_add(nit, s.tsid, kOriginalNetworkId);
        dvbpsi_cable_deliv_sys_dr_t cable{};
        cable.i_frequency = to_bcd(s.frequency_hz / 100, 8);
        cable.i_modulation = s.modulation;
        cable.i_symbol_rate = to_bcd(s.symbol_rate_ksym * 10, 7);
        cable.i_fec_outer = 2;
        cable.i_fec_inner = 15;
        link(&ts->p_first_descriptor, dvbpsi_GenCableDelivSysDr(&cable, false));
        dvbpsi_service_list_dr_t list{};
        for (uint16_t sid : s.sids) {
            list.i_service[list.i_service_count].i_service_id = sid;
            list.i_service[list.i_service_count].i_service_type = 0x01;
            ++list.i_service_count;
        }
        link(&ts->p_first_descriptor, dvbpsi_GenServiceListDr(&list, false));
    }

    dvbpsi_psi_section_t* sections = dvbpsi_nit_sections_generate(h, nit, 0x40);
    std::vector<uint8_t> out;
    append_sections(out, sections);
    dvbpsi_DeletePSISections(sections);
    dvbpsi_nit_delete(nit);
    dvbpsi_delete(h);
    return out;
}

std::vector<uint8_t> generate_sdt(const std::vector<Service>& services)
{
    dvbpsi_t* h = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    dvbpsi_sdt_t* sdt = dvbpsi_sdt_new(0x42, kSdtTsid, 0, true, kOriginalNetworkId);
    for (const Service& s : services) {
        dvbpsi_sdt_service_t* svc = dvbpsi_sdt_service_add(sdt, s.sid, false, false, 4, false);
        dvbpsi_service_dr_t d{};
        d.i_service_type = s.type;
        d.i_service_provider_name_length = static_cast<uint8_t>(kProvider.size());
        std::memcpy(d.i_service_provider_name, kProvider.data(), kProvider.size());
        d.i_service_name_length = static_cast<uint8_t>(s.name.size());
        std::memcpy(d.i_service_name, s.name.data(), s.name.size());
        link(&svc->p_first_descriptor, dvbpsi_GenServiceDr(&d, false));
    }
    dvbpsi_psi_section_t* sections = dvbpsi_sdt_sections_generate(h, sdt);
    std::vector<uint8_t> out;
    append_sections(out, sections);
    dvbpsi_DeletePSISections(sections);
    dvbpsi_sdt_delete(sdt);
    dvbpsi_delete(h);
    return out;
}

std::vector<uint8_t> generate_tot(const std::vector<Offset>& offsets, int64_t unix_time)
{
    dvbpsi_t* h = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    dvbpsi_tot_t* tot = dvbpsi_tot_new(0x73, 0, 0, false, mjd_utc(unix_time));
    dvbpsi_local_time_offset_dr_t lto{};
    uint8_t region = 0;
    for (const Offset& o : offsets) {
        dvbpsi_local_time_offset_t& e = lto.p_local_time_offset[lto.i_local_time_offsets_number++];
        std::memcpy(e.i_country_code, o.country.data(), 3);
        e.i_country_region_id = offsets.size() > 1 ? ++region : 0;
        int cur = o.current_s < 0 ? -o.current_s : o.current_s;
        int next = o.next_s < 0 ? -o.next_s : o.next_s;
        e.i_local_time_offset_polarity = o.current_s < 0;
        e.i_local_time_offset = static_cast<uint16_t>((bcd8(cur / 3600) << 8) | bcd8(cur % 3600 / 60));
        e.i_time_of_change = mjd_utc(o.change_unix);
        e.i_next_time_offset = static_cast<uint16_t>((bcd8(next / 3600) << 8) | bcd8(next % 3600 / 60));
    }
    // dvbpsi_tot_t is packed: no pointer into it.
    dvbpsi_descriptor_t* first = tot->p_first_descriptor;
    link(&first, dvbpsi_GenLocalTimeOffsetDr(&lto, false));
    tot->p_first_descriptor = first;
    dvbpsi_psi_section_t* sections = dvbpsi_tot_sections_generate(h, tot);
    std::vector<uint8_t> out;
    append_sections(out, sections);
    dvbpsi_DeletePSISections(sections);
    dvbpsi_tot_delete(tot);
    dvbpsi_delete(h);
    return out;
}

std::vector<uint8_t> repaired_tot(std::vector<uint8_t> tot)
{
    if (tot.size() < 7)
        return tot;
    size_t length = tot.size() - 3;
    tot[1] = static_cast<uint8_t>((tot[1] & 0xF0) | ((length >> 8) & 0x0F));
    tot[2] = static_cast<uint8_t>(length);
    uint32_t crc = byte_table_crc(0xFFFFFFFFu, tot.data(), tot.size() - 4);
    for (int i = 0; i < 4; ++i)
        tot[tot.size() - 4 + i] = static_cast<uint8_t>(crc >> (24 - 8 * i));
    return tot;
}

std::vector<uint8_t> packetise(const std::vector<uint8_t>& sections, uint16_t pid)
{
    std::vector<uint8_t> ts;
    uint8_t cc = 0;
    size_t pos = 0;
    while (pos + 3 <= sections.size()) {
        size_t len = 3 + (((sections[pos + 1] & 0x0F) << 8) | sections[pos + 2]);
        size_t end = pos + len < sections.size() ? pos + len : sections.size();
        bool first = true;
        while (pos < end) {
            uint8_t pkt[188];
            std::memset(pkt, 0xFF, sizeof pkt);
            pkt[0] = 0x47;
            pkt[1] = static_cast<uint8_t>((first ? 0x40 : 0x00) | (pid >> 8));
            pkt[2] = static_cast<uint8_t>(pid);
            pkt[3] = static_cast<uint8_t>(0x10 | (cc++ & 0x0F));
            size_t at = 4;
            if (first)
                pkt[at++] = 0; // pointer_field
            size_t n = std::min(end - pos, sizeof pkt - at);
            std::memcpy(pkt + at, sections.data() + pos, n);
            pos += n;
            first = false;
            ts.insert(ts.end(), pkt, pkt + sizeof pkt);
        }
    }
    return ts;
}

namespace {

struct Sink {
    Parsed result;
};

void on_nit(void* data, dvbpsi_nit_t* nit)
{
    Parsed& r = static_cast<Sink*>(data)->result;
    ++r.tables;
    for (dvbpsi_descriptor_t* d = nit->p_first_descriptor; d; d = d->p_next) {
        ++r.descriptors;
        if (d->i_tag == 0x40) {
            dvbpsi_network_name_dr_t* n = dvbpsi_DecodeNetworkNameDr(d);
            if (n)
                r.checksum += n->i_name_length;
        }
    }
    for (dvbpsi_nit_ts_t* ts = nit->p_first_ts; ts; ts = ts->p_next) {
        ++r.entries;
        r.checksum += ts->i_ts_id + ts->i_orig_network_id;
        for (dvbpsi_descriptor_t* d = ts->p_first_descriptor; d; d = d->p_next) {
            ++r.descriptors;
            if (d->i_tag == 0x44) {
                dvbpsi_cable_deliv_sys_dr_t* c = dvbpsi_DecodeCableDelivSysDr(d);
                if (c)
                    r.checksum += c->i_frequency + c->i_symbol_rate + c->i_modulation;
            } else if (d->i_tag == 0x41) {
                dvbpsi_service_list_dr_t* l = dvbpsi_DecodeServiceListDr(d);
                if (l)
                    for (int i = 0; i < l->i_service_count; ++i)
                        r.checksum += l->i_service[i].i_service_id + l->i_service[i].i_service_type;
            }
        }
    }
    dvbpsi_nit_delete(nit);
}

void on_sdt(void* data, dvbpsi_sdt_t* sdt)
{
    Parsed& r = static_cast<Sink*>(data)->result;
    ++r.tables;
    for (dvbpsi_sdt_service_t* s = sdt->p_first_service; s; s = s->p_next) {
        ++r.entries;
        r.checksum += s->i_service_id + s->i_running_status;
        for (dvbpsi_descriptor_t* d = s->p_first_descriptor; d; d = d->p_next) {
            ++r.descriptors;
            if (d->i_tag == 0x48) {
                dvbpsi_service_dr_t* sd = dvbpsi_DecodeServiceDr(d);
                if (sd)
                    r.checksum += sd->i_service_type + sd->i_service_name_length + sd->i_service_provider_name_length;
            }
        }
    }
    dvbpsi_sdt_delete(sdt);
}

void on_tot(void* data, dvbpsi_tot_t* tot)
{
    Parsed& r = static_cast<Sink*>(data)->result;
    ++r.tables;
    r.checksum += tot->i_utc_time;
    for (dvbpsi_descriptor_t* d = tot->p_first_descriptor; d; d = d->p_next) {
        ++r.descriptors;
        if (d->i_tag == 0x58) {
            dvbpsi_local_time_offset_dr_t* l = dvbpsi_DecodeLocalTimeOffsetDr(d);
            if (!l)
                continue;
            for (int i = 0; i < l->i_local_time_offsets_number; ++i) {
                ++r.entries;
                const dvbpsi_local_time_offset_t& e = l->p_local_time_offset[i];
                r.checksum += e.i_local_time_offset + e.i_next_time_offset + e.i_time_of_change + e.i_country_region_id;
            }
        }
    }
    dvbpsi_tot_delete(tot);
}

void on_new_table(dvbpsi_t* h, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x40)
        dvbpsi_nit_attach(h, table_id, extension, on_nit, data);
    else if (table_id == 0x42)
        dvbpsi_sdt_attach(h, table_id, extension, on_sdt, data);
    else if (table_id == 0x73)
        dvbpsi_tot_attach(h, table_id, extension, on_tot, data);
}

Parsed parse(const std::vector<uint8_t>& ts)
{
    Sink sink;
    dvbpsi_t* h = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    dvbpsi_AttachDemux(h, on_new_table, &sink);
    // dvbpsi_packet_push takes a writable pointer but only reads the packet.
    auto* packets = const_cast<uint8_t*>(ts.data());
    for (size_t at = 0; at + 188 <= ts.size(); at += 188)
        dvbpsi_packet_push(h, packets + at);
    dvbpsi_DetachDemux(h);
    dvbpsi_delete(h);
    return sink.result;
}

} // namespace

Parsed parse_nit(const std::vector<uint8_t>& ts)
{
    return parse(ts);
}

Parsed parse_sdt(const std::vector<uint8_t>& ts)
{
    return parse(ts);
}

Parsed parse_tot(const std::vector<uint8_t>& ts)
{
    return parse(ts);
}

} // namespace peer::dvbpsi_side
