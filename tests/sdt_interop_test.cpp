// A generated multi-section SDT, actual and other, decoded by libdvbpsi's SDT
// decoder and service descriptor decoder: a second opinion on our bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
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

struct DecodedService {
    uint16_t id = 0;
    bool eit_schedule = false;
    bool eit_present = false;
    uint8_t running_status = 0;
    bool free_ca = false;
    std::vector<uint8_t> tags;
    uint8_t service_type = 0;
    std::string provider; // as on the wire, selector byte included
    std::string name;
};

struct DecodedTable {
    uint8_t table_id = 0;
    uint16_t tsid = 0;
    uint8_t version = 0;
    bool current_next = false;
    uint16_t onid = 0;
    std::vector<DecodedService> services;
};

struct Decoder {
    std::vector<DecodedTable> tables;
    int bad_crc = 0;
};

void on_sdt(void* data, dvbpsi_sdt_t* sdt)
{
    DecodedTable table;
    table.table_id = sdt->i_table_id;
    table.tsid = sdt->i_extension;
    table.version = sdt->i_version;
    table.current_next = sdt->b_current_next;
    table.onid = sdt->i_network_id;
    for (dvbpsi_sdt_service_t* s = sdt->p_first_service; s != nullptr; s = s->p_next) {
        DecodedService service;
        service.id = s->i_service_id;
        service.eit_schedule = s->b_eit_schedule;
        service.eit_present = s->b_eit_present;
        service.running_status = s->i_running_status;
        service.free_ca = s->b_free_ca;
        for (dvbpsi_descriptor_t* d = s->p_first_descriptor; d != nullptr; d = d->p_next) {
            service.tags.push_back(d->i_tag);
            if (d->i_tag != 0x48)
                continue;
            dvbpsi_service_dr_t* dr = dvbpsi_DecodeServiceDr(d);
            if (dr == nullptr)
                continue;
            service.service_type = dr->i_service_type;
            service.provider.assign(reinterpret_cast<const char*>(dr->i_service_provider_name),
                                    dr->i_service_provider_name_length);
            service.name.assign(reinterpret_cast<const char*>(dr->i_service_name), dr->i_service_name_length);
        }
        table.services.push_back(service);
    }
    static_cast<Decoder*>(data)->tables.push_back(table);
    dvbpsi_sdt_delete(sdt);
}

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x42 || table_id == 0x46)
        dvbpsi_sdt_attach(handle, table_id, extension, on_sdt, data);
}

void quiet(dvbpsi_t*, const dvbpsi_msg_level_t, const char*) {}

// Cuts the buffer into sections and hands each to the demultiplexer.
Decoder decode(const std::vector<char>& bytes)
{
    Decoder decoder;
    dvbpsi_t* handle = dvbpsi_new(&quiet, DVBPSI_MSG_NONE);
    EXPECT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &decoder));
    size_t offset = 0;
    while (offset + 3 <= bytes.size()) {
        const auto* raw = reinterpret_cast<const uint8_t*>(bytes.data()) + offset;
        const int length = ((raw[1] & 0x0F) << 8 | raw[2]) + 3;
        if (offset + static_cast<size_t>(length) > bytes.size()) {
            ADD_FAILURE() << "section runs past the buffer at " << offset;
            break;
        }
        dvbpsi_psi_section_t* section = dvbpsi_NewPSISection(length);
        std::memcpy(section->p_data, raw, static_cast<size_t>(length));
        section->i_table_id = raw[0];
        section->b_syntax_indicator = raw[1] & 0x80;
        section->b_private_indicator = raw[1] & 0x40;
        section->i_length = static_cast<uint16_t>(length - 3);
        section->i_extension = static_cast<uint16_t>(raw[3] << 8 | raw[4]);
        section->i_version = (raw[5] >> 1) & 0x1F;
        section->b_current_next = raw[5] & 1;
        section->i_number = raw[6];
        section->i_last_number = raw[7];
        section->p_payload_start = section->p_data + 8;
        section->p_payload_end = section->p_data + length - 4;
        section->i_crc = static_cast<uint32_t>(raw[length - 4]) << 24 | raw[length - 3] << 16 | raw[length - 2] << 8 |
                         raw[length - 1];
        if (!dvbpsi_ValidPSISection(section))
            ++decoder.bad_crc;
        dvbpsi_Demux(handle, section);
        offset += static_cast<size_t>(length);
    }
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
    return decoder;
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
        sdt = std::make_unique<tavel::tSDT>(0x42, 0x0457, 0x22D4, 9, 0);
        sdt->patrones = &patterns;
        tavel::datos_servicios tv;
        tv.sid = 1;
        tv.sid_entrada = 0x0101;
        tv.tsid_entrada = 0x0010;
        tv.onid_entrada = 0x0020;
        tv.tipo_servicio = 0x19;
        tv.nombre = "Uno HD";
        tv.cambiar_nombre = 1;
        sdt->servicios[1] = tv;
        tavel::datos_servicios paused = tv;
        paused.sid = 2;
        paused.sid_entrada = 0x0102;
        paused.cambiar_nombre = 0;
        sdt->servicios[2] = paused;
        for (uint16_t i = 3; i <= 60; ++i) {
            tavel::datos_servicios fresh;
            fresh.sid = i;
            fresh.sid_entrada = 0x0999;
            fresh.tipo_servicio = 0x02;
            fresh.cifrado = i % 2;
            char name[32];
            std::snprintf(name, sizeof name, "Radio numero %03u", i);
            fresh.nombre = name;
            sdt->servicios[i] = fresh;
        }
        sdt->generarSDT();
        ASSERT_GE(sdt->secciones.size(), 2u);
    }

    void check(const Decoder& decoder, uint8_t table_id)
    {
        EXPECT_EQ(decoder.bad_crc, 0);
        ASSERT_EQ(decoder.tables.size(), 1u);
        const DecodedTable& t = decoder.tables[0];
        EXPECT_EQ(t.table_id, table_id);
        EXPECT_EQ(t.tsid, 0x0457);
        EXPECT_EQ(t.onid, 0x22D4);
        EXPECT_EQ(t.version, 9);
        EXPECT_TRUE(t.current_next);
        ASSERT_EQ(t.services.size(), 60u);

        const DecodedService& tv = t.services[0];
        EXPECT_EQ(tv.id, 1);
        EXPECT_FALSE(tv.eit_schedule);
        EXPECT_FALSE(tv.eit_present);
        EXPECT_EQ(tv.running_status, 4);
        EXPECT_FALSE(tv.free_ca);
        EXPECT_EQ(tv.tags, (std::vector<uint8_t>{0x5F, 0x48}));
        EXPECT_EQ(tv.service_type, 0x19);
        EXPECT_EQ(tv.provider, "\x15TAVEL");
        EXPECT_EQ(tv.name, "\x15Uno HD");

        const DecodedService& paused = t.services[1];
        EXPECT_EQ(paused.id, 2);
        EXPECT_EQ(paused.running_status, 2);
        EXPECT_TRUE(paused.free_ca);
        EXPECT_TRUE(paused.tags.empty());

        for (uint16_t i = 3; i <= 60; ++i) {
            const DecodedService& radio = t.services[i - 1];
            SCOPED_TRACE(i);
            char name[32];
            std::snprintf(name, sizeof name, "\x15Radio numero %03u", i);
            EXPECT_EQ(radio.id, i);
            EXPECT_EQ(radio.running_status, 4);
            EXPECT_EQ(radio.free_ca, i % 2 == 1);
            EXPECT_EQ(radio.service_type, 0x02);
            EXPECT_EQ(radio.provider, "\x15TAVEL");
            EXPECT_EQ(radio.name, name);
        }
    }

    tavel::SDTPatron patterns;
    std::unique_ptr<tavel::tSDT> sdt;
};

TEST_F(SdtInterop, ActualTableDecodes)
{
    std::vector<char> bytes;
    sdt->getSDT(bytes, false);
    check(decode(bytes), 0x42);
}

TEST_F(SdtInterop, OtherTableDecodes)
{
    std::vector<char> bytes;
    sdt->getSDT(bytes, true);
    check(decode(bytes), 0x46);
}

} // namespace
