// A second opinion on our NIT: libdvbpsi's NIT decoder reads a generated
// multi-section table, section by section, and must find what we wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/nit.h>
}

#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>

#include "test_support.h"

namespace tavel {
namespace {

// Keeps the one table the decoder completes.
void on_nit(void* data, dvbpsi_nit_t* nit)
{
    auto** kept = static_cast<dvbpsi_nit_t**>(data);
    if (*kept) {
        ADD_FAILURE() << "a second table";
        dvbpsi_nit_delete(*kept);
    }
    *kept = nit;
}

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x40)
        dvbpsi_nit_attach(handle, table_id, extension, on_nit, data);
}

// Hands one whole section to the demultiplexer as its section API expects.
void push_section(dvbpsi_t* handle, const uint8_t* b, size_t size)
{
    dvbpsi_psi_section_t* s = dvbpsi_NewPSISection(static_cast<int>(size));
    std::memcpy(s->p_data, b, size);
    s->i_table_id = b[0];
    s->b_syntax_indicator = (b[1] & 0x80) != 0;
    s->b_private_indicator = (b[1] & 0x40) != 0;
    s->i_length = static_cast<uint16_t>(((b[1] & 0x0F) << 8) | b[2]);
    s->i_extension = static_cast<uint16_t>((b[3] << 8) | b[4]);
    s->i_version = (b[5] >> 1) & 0x1F;
    s->b_current_next = (b[5] & 1) != 0;
    s->i_number = b[6];
    s->i_last_number = b[7];
    s->p_payload_start = s->p_data + 8;
    s->p_payload_end = s->p_data + size - 4;
    ASSERT_TRUE(dvbpsi_ValidPSISection(s)) << "CRC of section " << int(b[6]);
    dvbpsi_Demux(handle, s); // takes the section
}

// A descriptor chain as "tag:payload" items.
std::string text(const dvbpsi_descriptor_t* d)
{
    std::string out;
    for (; d != nullptr; d = d->p_next)
        out += std::to_string(d->i_tag) + ":" + test::to_hex(std::vector<char>(d->p_data, d->p_data + d->i_length)) + " ";
    return out;
}

std::string text(const SIVectorDescriptores& list)
{
    std::string out;
    for (const auto& d : list.items)
        out += std::to_string(d->descriptor_tag) + ":" + test::to_hex(d->data) + " ";
    return out;
}

TEST(NitInterop, LibdvbpsiDecodesAGeneratedThreeSectionNit)
{
    test::TempRoot root;
    tNIT nit("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit.version = 11;
    for (uint16_t t = 1; t <= 25; ++t) {
        datos_salidas& out = nit.salidas[t];
        out.tipo_salida = t % 2; // terrestrial and cable alternate
        out.tsid = t;
        out.onid = 0x22D4;
        out.frecuencia = 306000u + t * 8000u;
        out.symbol_rate = 6900;
        out.modulacion = 2;
        for (uint16_t sid = t * 100; sid < t * 100 + 10; ++sid) {
            out.servicios[sid].sid = sid;
            out.servicios[sid].tipo_servicio = 1;
            out.servicios[sid].lcn = static_cast<uint16_t>(sid - t * 90);
        }
    }
    nit.generarNIT();
    ASSERT_EQ(nit.secciones.size(), 3u);
    std::vector<char> file;
    ASSERT_NE(read_char_vector_from_file(root(std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile), file), 0);

    dvbpsi_nit_t* d = nullptr;
    dvbpsi_t* handle = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &d));
    const auto* bytes = reinterpret_cast<const uint8_t*>(file.data());
    for (size_t o = 0; o + 3 <= file.size();) {
        const size_t size = (((bytes[o + 1] & 0x0F) << 8) | bytes[o + 2]) + 3;
        ASSERT_LE(o + size, file.size());
        push_section(handle, bytes + o, size);
        o += size;
    }
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->i_table_id, 0x40);
    EXPECT_EQ(d->i_network_id, 0x3001);
    EXPECT_EQ(d->i_version, 11);
    EXPECT_TRUE(d->b_current_next);
    EXPECT_EQ(text(d->p_first_descriptor), text(nit.secciones[0]->network_descriptors)); // the name, once

    // Every TS entry in order, with its delivery, list, specifier and LCN descriptors.
    uint16_t tsid = 1;
    size_t section = 0, entry = 0;
    for (const dvbpsi_nit_ts_t* ts = d->p_first_ts; ts != nullptr; ts = ts->p_next, ++tsid, ++entry) {
        SCOPED_TRACE(tsid);
        if (entry == nit.secciones.at(section)->transport_streams.items.size()) {
            ++section;
            entry = 0;
        }
        EXPECT_EQ(ts->i_ts_id, tsid);
        EXPECT_EQ(ts->i_orig_network_id, 0x22D4);
        const std::string tags = text(ts->p_first_descriptor);
        EXPECT_EQ(tags, text(nit.secciones.at(section)->transport_streams.items.at(entry)->descriptores));
        EXPECT_EQ(std::count(tags.begin(), tags.end(), ':'), 4);
        EXPECT_EQ(tags.substr(0, 3), tsid % 2 ? "68:" : "90:"); // cable or terrestrial first
    }
    EXPECT_EQ(tsid, 26);
    dvbpsi_nit_delete(d);
}

} // namespace
} // namespace tavel
