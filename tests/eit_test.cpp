#include <gtest/gtest.h>

#include <vector>

#include <tavel/eit.h>

TEST(EitTable, ThreeSectionsChainedAndSealed)
{
    // EIT schedule of service 0x1234 in TS 0x0401 of network 0x22D4.
    tavel::tEIT eit(0x50, 0x1234, 5, 0x0401, 0x22D4, 0x08, 0x51);
    tavel::SISectionEIT* first = eit.generar_cabecera_primera_section();
    EXPECT_EQ(first, eit.current_section.get());
    eit.cerrar_seccion(false);
    eit.cerrar_seccion(false);
    eit.cerrar_ultima_seccion();
    EXPECT_EQ(eit.current_section, nullptr);
    ASSERT_NE(eit.table, nullptr);
    ASSERT_EQ(eit.table->sections.size(), 3u);
    EXPECT_EQ(eit.table->total_size, 54u);
    for (size_t i = 0; i < 3; ++i) {
        const tavel::SISectionEIT& s = *eit.table->sections[i];
        SCOPED_TRACE(i);
        EXPECT_EQ((std::vector<unsigned>{s.table_id, s.section_number, s.last_section_number, s.section_length,
                                         s.section_syntax_indicator, s.current_next_indicator, s.version_number, s.transport_stream_id, s.original_network_id,
                                         s.segment_last_section_number, s.last_table_id, s.service_id}),
                  (std::vector<unsigned>{0x50, static_cast<unsigned>(i), 2, 15, 1, 1, 5, 0x0401, 0x22D4, 0x08, 0x51,
                                         i == 0 ? 0x1234u : 0u})); // only the first section names its service
    }
}

TEST(EitTable, NothingBeforeAFirstSectionAndRestart)
{
    tavel::tEIT eit;
    EXPECT_EQ(eit.getEIT('x'), 0);
    eit.cerrar_seccion(false);
    eit.cerrar_ultima_seccion();
    EXPECT_EQ(eit.generar_cabecera_section(), nullptr);
    EXPECT_EQ(eit.table, nullptr);

    eit.generar_cabecera_primera_section();
    eit.cerrar_seccion(false);
    eit.cerrar_ultima_seccion();
    ASSERT_EQ(eit.table->sections.size(), 2u);
    eit.cerrar_ultima_seccion(); // closed already: nothing left to close
    EXPECT_EQ(eit.table->sections.size(), 2u);
    // A new first section starts a new table.
    eit.generar_cabecera_primera_section();
    eit.cerrar_ultima_seccion();
    ASSERT_EQ(eit.table->sections.size(), 1u);
    EXPECT_EQ(eit.table->total_size, 18u);
    EXPECT_EQ(eit.table->sections[0]->last_section_number, 0);
}
