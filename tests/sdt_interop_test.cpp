// A generated multi-section SDT, actual and other, decoded by libdvbpsi's SDT
// decoder and service descriptor decoder: a second opinion on our bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/sdt.h>
#include <dvbpsi/dr_48.h>

#include <tavel/sdt.h>

#include "tests/test_support.h"

namespace {

void on_sdt(void* data, dvbpsi_sdt_t* sdt) { static_cast<std::vector<dvbpsi_sdt_t*>*>(data)->push_back(sdt); }

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x42 || table_id == 0x46)
        dvbpsi_sdt_attach(handle, table_id, extension, on_sdt, data);
}

void quiet(dvbpsi_t*, const dvbpsi_msg_level_t, const char*) {}

// Carries the sections back to back in TS packets on PID 0x0011, as a
// multiplexer would; libdvbpsi reassembles them and drops any whose CRC fails.
std::vector<dvbpsi_sdt_t*> decode(const std::vector<char>& sections)
{
    std::vector<dvbpsi_sdt_t*> tables;
    dvbpsi_t* handle = dvbpsi_new(&quiet, DVBPSI_MSG_NONE);
    EXPECT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &tables));
    std::vector<uint8_t> payload;
    payload.reserve(sections.size() + 1);
    payload.push_back(0); // pointer_field
    for (char c : sections)
        payload.push_back(static_cast<uint8_t>(c));
    for (size_t offset = 0, cc = 0; offset < payload.size(); offset += 184, ++cc) {
        uint8_t packet[188];
        std::memset(packet, 0xFF, sizeof packet);
        packet[0] = 0x47;
        packet[1] = offset == 0 ? 0x40 : 0x00;                  // payload_unit_start_indicator on the first
        packet[2] = 0x11;                                        // PID
        packet[3] = static_cast<uint8_t>(0x10 | (cc & 0x0F));    // payload only, continuity_counter
        std::memcpy(packet + 4, payload.data() + offset, std::min<size_t>(184, payload.size() - offset));
        dvbpsi_packet_push(handle, packet);
    }
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
    return tables;
}

class SdtInterop : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Input 0x0010/0x0020: 0x0101 running with a service descriptor,
        // 0x0102 pausing and scrambled without descriptors.
        patterns.addSDTPatron(tavel::test::hex("42 F0 28 00 10 C7 00 00 00 20 FF"
                                               " 01 01 FF 80 12 5F 04 00 00 00 28"
                                               "   48 0A 01 03 15 41 42 04 15 43 44 45"
                                               " 01 02 FD 50 00"
                                               " 00 00 00 00"));
        sdt.patrones = &patterns;
        tavel::datos_servicios record;
        record.tsid_entrada = 0x0010;
        record.onid_entrada = 0x0020;
        record.tipo_servicio = 0x19;
        for (uint16_t i = 1; i <= 60; ++i) {
            record.sid = i;
            record.sid_entrada = i == 1 ? 0x0101 : i == 2 ? 0x0102 : 0x0999; // the rest are not found
            record.cambiar_nombre = i == 1;
            record.tipo_servicio = i <= 2 ? 0x19 : 0x02;
            record.cifrado = i > 2 && i % 2 == 1; // only new services take it
            char name[32];
            std::snprintf(name, sizeof name, i == 1 ? "Uno HD" : "Radio numero %03u", i);
            record.nombre = name;
            sdt.servicios[i] = record;
        }
        sdt.generarSDT();
        ASSERT_GE(sdt.secciones.size(), 2u);
    }

    void check(bool other)
    {
        std::vector<char> bytes;
        sdt.getSDT(bytes, other);
        const std::vector<dvbpsi_sdt_t*> tables = decode(bytes);
        ASSERT_EQ(tables.size(), 1u);
        const dvbpsi_sdt_t& t = *tables[0];
        EXPECT_EQ(t.i_table_id, other ? 0x46 : 0x42);
        EXPECT_EQ(t.i_extension, 0x0457);
        EXPECT_EQ(t.i_network_id, 0x22D4);
        EXPECT_EQ(t.i_version, 9);
        EXPECT_TRUE(t.b_current_next);
        uint16_t i = 1;
        for (const dvbpsi_sdt_service_t* s = t.p_first_service; s != nullptr; s = s->p_next, ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(s->i_service_id, i);
            EXPECT_FALSE(s->b_eit_schedule);
            EXPECT_FALSE(s->b_eit_present);
            EXPECT_EQ(s->i_running_status, i == 2 ? 2 : 4);   // 0x0102 was pausing
            EXPECT_EQ(s->b_free_ca, i == 2 || (i > 2 && i % 2 == 1)); // 0x0102 scrambled, odd new ones cifrado
            std::vector<uint8_t> tags;
            for (dvbpsi_descriptor_t* d = s->p_first_descriptor; d != nullptr; d = d->p_next)
                tags.push_back(d->i_tag);
            if (i == 2) {
                EXPECT_TRUE(tags.empty());
                continue;
            }
            EXPECT_EQ(tags, i == 1 ? (std::vector<uint8_t>{0x5F, 0x48}) : (std::vector<uint8_t>{0x48}));
            dvbpsi_descriptor_t* d = s->p_first_descriptor;
            while (d->i_tag != 0x48)
                d = d->p_next;
            const dvbpsi_service_dr_t* dr = dvbpsi_DecodeServiceDr(d);
            ASSERT_NE(dr, nullptr);
            char name[32];
            std::snprintf(name, sizeof name, i == 1 ? "\x15Uno HD" : "\x15Radio numero %03u", i);
            EXPECT_EQ(dr->i_service_type, i == 1 ? 0x19 : 0x02);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(dr->i_service_provider_name), dr->i_service_provider_name_length),
                      "\x15TAVEL");
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(dr->i_service_name), dr->i_service_name_length), name);
        }
        EXPECT_EQ(i, 61);
        for (dvbpsi_sdt_t* table : tables)
            dvbpsi_sdt_delete(table);
    }

    tavel::SDTPatron patterns;
    tavel::tSDT sdt{0x42, 0x0457, 0x22D4, 9, 0};
};

TEST_F(SdtInterop, ActualTableDecodes) { check(false); }

TEST_F(SdtInterop, OtherTableDecodes) { check(true); }

} // namespace
