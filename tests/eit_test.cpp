#include <gtest/gtest.h>

#include <string>
#include <syslog.h>
#include <vector>

#include <tavel/eit.h>
#include <tavel/file_io.h>

#include "platform/log.h"
#include "test_support.h"

using tavel::test::hex;

namespace {
constexpr char kEitPath[] = "/tavel/datosWeb/tablasSI/EIT_table";
}

TEST(EitTable, ThreeSectionsChainedAndSealed)
{
    tavel::LogCapture log;
    // EIT schedule of service 0x1234 in TS 0x0401 of network 0x22D4.
    tavel::tEIT eit(0x50, 0x1234, 5, 0x0401, 0x22D4, 0x08, 0x51);
    tavel::SISectionEIT* first = eit.generar_cabecera_primera_section();
    ASSERT_NE(first, nullptr);
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
        EXPECT_EQ(s.table_id, 0x50);
        EXPECT_EQ(s.section_number, i);
        EXPECT_EQ(s.last_section_number, 2);
        EXPECT_EQ(s.section_length, 15);
        EXPECT_EQ(s.section_syntax_indicator, 1);
        EXPECT_EQ(s.current_next_indicator, 1);
        EXPECT_EQ(s.version_number, 5);
        EXPECT_EQ(s.transport_stream_id, 0x0401);
        EXPECT_EQ(s.original_network_id, 0x22D4);
        EXPECT_EQ(s.segment_last_section_number, 0x08);
        EXPECT_EQ(s.last_table_id, 0x51);
        // Only the first section names its service.
        EXPECT_EQ(s.service_id, i == 0 ? 0x1234 : 0);
        // Nothing is serialised, so the CRC is the register's start value.
        EXPECT_EQ(s.CRC, 0xFFFFFFFFu);
    }
    EXPECT_TRUE(log.has(LOG_DEBUG, "cerrar_ultima_seccion"));
}

TEST(EitTable, SingleSectionAndRestart)
{
    tavel::tEIT eit;
    EXPECT_EQ(eit.table_id, 0x4E);
    EXPECT_EQ(eit.service_id, 0);
    EXPECT_EQ(eit.current_section, nullptr);
    EXPECT_EQ(eit.table, nullptr);
    EXPECT_EQ(eit.getEIT('x'), 0);
    // Closing or chaining before a first section does nothing.
    eit.cerrar_seccion(false);
    eit.cerrar_ultima_seccion();
    EXPECT_EQ(eit.generar_cabecera_section(), nullptr);

    eit.generar_cabecera_primera_section();
    eit.cerrar_seccion(false);
    eit.cerrar_ultima_seccion();
    ASSERT_EQ(eit.table->sections.size(), 2u);

    // A new first section starts a new table.
    eit.generar_cabecera_primera_section();
    eit.cerrar_ultima_seccion();
    ASSERT_EQ(eit.table->sections.size(), 1u);
    EXPECT_EQ(eit.table->total_size, 18u);
    EXPECT_EQ(eit.table->sections[0]->table_id, 0x4E);
    EXPECT_EQ(eit.table->sections[0]->last_section_number, 0);
}

TEST(EitFile, MissingFileGivesFalseAndTheWarning)
{
    tavel::test::TempRoot root;
    tavel::LogCapture log;
    std::vector<char> buffer = hex("4E F0");
    EXPECT_FALSE(tavel::tEIT::leer_archivo_EIT_a_buffer(buffer));
    EXPECT_EQ(buffer, hex("4E F0"));
    EXPECT_TRUE(log.has(LOG_WARNING, "Imposible leer el archivo NIT o archivo NIT no existente. " + root(kEitPath)));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Leemos el archivo " + root(kEitPath)));
}

TEST(EitFile, StoredFileIsReadAsOpaqueBytes)
{
    tavel::test::TempRoot root;
    const std::vector<char> stored = hex("4E F0 0F 12 34 CB 00 00 04 01 22 D4 00 4E FF FF FF FF 00");
    ASSERT_NE(tavel::write_char_vector_to_file(stored, root(kEitPath), false), 0);
    tavel::LogCapture log;
    std::vector<char> buffer;
    EXPECT_TRUE(tavel::tEIT::leer_archivo_EIT_a_buffer(buffer));
    EXPECT_EQ(buffer, stored);
    EXPECT_TRUE(log.has(LOG_DEBUG, "leer_archivo_NIT_a_buffer: tamano_archivo 19"));
}
