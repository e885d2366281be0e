// A second opinion on our NIT: libdvbpsi's NIT decoder reads a generated
// multi-section table, section by section, and must find what we wrote.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
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

struct Decoded {
    int tables = 0;
    dvbpsi_nit_t* nit = nullptr;
};

void on_nit(void* data, dvbpsi_nit_t* nit)
{
    auto* decoded = static_cast<Decoded*>(data);
    ++decoded->tables;
    if (decoded->nit)
        dvbpsi_nit_delete(decoded->nit);
    decoded->nit = nit;
}

void on_new_subtable(dvbpsi_t* handle, uint8_t table_id, uint16_t extension, void* data)
{
    if (table_id == 0x40)
        dvbpsi_nit_attach(handle, table_id, extension, on_nit, data);
}

// Hands one whole section to the demultiplexer as its section API expects.
void push_section(dvbpsi_t* handle, const std::vector<char>& file, size_t o, size_t size)
{
    dvbpsi_psi_section_t* s = dvbpsi_NewPSISection(static_cast<int>(size));
    std::memcpy(s->p_data, file.data() + o, size);
    const uint8_t* b = s->p_data;
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
    s->i_crc = (uint32_t(b[size - 4]) << 24) | (uint32_t(b[size - 3]) << 16) | (uint32_t(b[size - 2]) << 8) |
               b[size - 1];
    ASSERT_TRUE(dvbpsi_ValidPSISection(s)) << "section at " << o;
    dvbpsi_Demux(handle, s); // takes the section
}

std::vector<std::string> tags_of(const dvbpsi_descriptor_t* d)
{
    std::vector<std::string> out;
    for (; d != nullptr; d = d->p_next)
        out.push_back(std::to_string(d->i_tag) + ":" +
                      test::to_hex(std::vector<char>(d->p_data, d->p_data + d->i_length)));
    return out;
}

std::vector<std::string> tags_of(const SIVectorDescriptores& list)
{
    std::vector<std::string> out;
    for (const auto& d : list.items)
        out.push_back(std::to_string(d->descriptor_tag) + ":" + test::to_hex(d->data));
    return out;
}

TEST(NitInterop, LibdvbpsiDecodesAGeneratedThreeSectionNit)
{
    test::TempRoot root;
    tNIT nit("FRA", 0x3001, "TVNET", 1, 1, 0x40);
    nit.version = 11;
    for (uint16_t t = 1; t <= 25; ++t) {
        datos_salidas out;
        out.tipo_salida = t % 2; // cable and terrestrial alternate
        out.tsid = t;
        out.onid = 0x22D4;
        out.frecuencia = 306000u + t * 8000u;
        out.symbol_rate = 6900;
        out.modulacion = 2;
        for (uint16_t s = 0; s < 10; ++s) {
            datos_servicios d;
            d.sid = static_cast<uint16_t>(t * 100 + s);
            d.tipo_servicio = 1;
            d.lcn = static_cast<uint16_t>(t * 10 + s);
            out.servicios[d.sid] = d;
        }
        nit.salidas[t] = out;
    }
    nit.generarNIT();
    ASSERT_EQ(nit.secciones.size(), 3u);

    std::vector<char> file;
    ASSERT_NE(read_char_vector_from_file(root(std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile),
                                         file),
              0);

    Decoded decoded;
    dvbpsi_t* handle = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    ASSERT_NE(handle, nullptr);
    ASSERT_TRUE(dvbpsi_AttachDemux(handle, on_new_subtable, &decoded));
    for (size_t o = 0; o < file.size();) {
        const size_t size = (((static_cast<uint8_t>(file[o + 1]) & 0x0F) << 8) | static_cast<uint8_t>(file[o + 2])) + 3;
        ASSERT_LE(o + size, file.size());
        push_section(handle, file, o, size);
        o += size;
    }
    ASSERT_EQ(decoded.tables, 1);
    ASSERT_NE(decoded.nit, nullptr);
    const dvbpsi_nit_t* d = decoded.nit;
    EXPECT_EQ(d->i_table_id, 0x40);
    EXPECT_EQ(d->i_network_id, 0x3001);
    EXPECT_EQ(d->i_version, 11);
    EXPECT_TRUE(d->b_current_next);

    // Network descriptors of every section, then every TS entry in order.
    std::vector<std::string> ours_network;
    std::vector<const NITTS*> ours_ts;
    for (const auto& s : nit.secciones) {
        for (const auto& t : tags_of(s->network_descriptors))
            ours_network.push_back(t);
        for (const auto& ts : s->transport_streams.items)
            ours_ts.push_back(ts.get());
    }
    EXPECT_EQ(tags_of(d->p_first_descriptor), ours_network);
    size_t i = 0;
    for (const dvbpsi_nit_ts_t* ts = d->p_first_ts; ts != nullptr; ts = ts->p_next, ++i) {
        SCOPED_TRACE(i);
        ASSERT_LT(i, ours_ts.size());
        EXPECT_EQ(ts->i_ts_id, ours_ts[i]->transport_stream_id);
        EXPECT_EQ(ts->i_orig_network_id, 0x22D4);
        EXPECT_EQ(tags_of(ts->p_first_descriptor), tags_of(ours_ts[i]->descriptores));
        EXPECT_EQ(tags_of(ts->p_first_descriptor).size(), 4u);
    }
    EXPECT_EQ(i, 25u);

    dvbpsi_nit_delete(decoded.nit);
    dvbpsi_DetachDemux(handle);
    dvbpsi_delete(handle);
}

} // namespace
} // namespace tavel
