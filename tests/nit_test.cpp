// NIT model and parser: constructors, reading sections back, satellite TS
// look-up, and bounded parsing of truncated or corrupt input.
#include <gtest/gtest.h>

#include <syslog.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/delivery_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/nit.h>
#include <tavel/service_descriptors.h>

#include "platform/log.h"
#include "test_support.h"

namespace tavel {
namespace {

using test::hex;
using test::to_hex;

// The reference table: network 0x3001 "TVNET", version 5, cable TS 2 / 0x22D4.
const char* kReferenceNit = "40 F0 3F 30 01 CB 00 00 F0 07 40 05 54 56 4E 45 54 F0 2B"
                            "00 02 22 D4 F0 25"
                            "44 0B 04 74 00 00 FF F2 03 00 69 00 0F"
                            "41 06 00 07 01 00 08 02"
                            "5F 04 00 00 00 28"
                            "83 08 00 07 FC 05 00 08 FD 2C"
                            "66 52 AA 30";

// Two sections (0 and 1 of 1) of network 0x0100 version 2: section 0 a
// cable TS, section 1 a satellite TS at 11 757 MHz, 19.2 E, 27 500 ksym/s.
const char* kTwoSections = "40 F0 25 01 00 C5 00 01 F0 05 40 03 53 41 54 F0 13"
                           "00 01 00 46 F0 0D 44 0B 04 74 00 00 FF F2 03 00 69 00 0F"
                           "00 00 00 00"                 // CRC (not checked)
                           "40 F0 20 01 00 C5 01 01 F0 00 F0 13"
                           "04 4C 00 46 F0 0D 43 0B 01 17 57 00 01 92 81 02 75 00 03"
                           "00 00 00 00";

TEST(NitModel, ConstructorsSetTheirDefaults)
{
    tNIT nit;
    EXPECT_EQ(nit.pais, "FRA");
    EXPECT_EQ(nit.table_id, 0x40);
    EXPECT_EQ(nit.network_id, 0);
    EXPECT_EQ(nit.version, 0);
    EXPECT_EQ(nit.data_size, 0u);
    EXPECT_EQ(nit.con_service_list, 0);
    EXPECT_EQ(nit.tipo_lcn, 0);
    EXPECT_EQ(nit.getNITVersion(), 65535);
    EXPECT_EQ(nit.getMaxSectionNumber(), 0u);

    tNIT other("ESP", 0x3001, "TVNET", 1, 3, 0x41);
    EXPECT_EQ(other.pais, "ESP");
    EXPECT_EQ(other.network_id, 0x3001);
    EXPECT_EQ(other.network_name, "TVNET");
    EXPECT_EQ(other.con_service_list, 1);
    EXPECT_EQ(other.tipo_lcn, 3);
    EXPECT_EQ(other.table_id, 0x41);
    EXPECT_EQ(other.version, 0);
    EXPECT_TRUE(other.secciones.empty() && other.salidas.empty() && other.nitPatron.patrones.empty());
}

TEST(NitParser, ReadsTheReferenceTableBack)
{
    tNIT nit;
    nit.procesarNIT(hex(kReferenceNit));
    EXPECT_EQ(nit.data_size, 66u);
    ASSERT_EQ(nit.secciones.size(), 1u);
    const SISectionNIT& s = *nit.secciones[0];
    EXPECT_EQ(s.table_id, 0x40);
    EXPECT_EQ(s.section_syntax_indicator, 1);
    EXPECT_EQ(s.section_length, 63);
    EXPECT_EQ(s.network_id, 0x3001);
    EXPECT_EQ(s.version_number, 5);
    EXPECT_EQ(s.current_next_indicator, 1);
    EXPECT_EQ(s.network_descriptors_length, 7);
    EXPECT_EQ(s.transport_stream_loop_length, 43);
    EXPECT_EQ(nit.getNITVersion(), 5);
    EXPECT_EQ(nit.getMaxSectionNumber(), 0u);

    ASSERT_EQ(s.network_descriptors.items.size(), 1u);
    auto name = std::dynamic_pointer_cast<DescriptorNetworkName>(s.network_descriptors.items[0]);
    ASSERT_TRUE(name);
    EXPECT_EQ(name->name, "TVNET");

    ASSERT_EQ(s.transport_streams.items.size(), 1u);
    const NITTS& ts = *s.transport_streams.items[0];
    EXPECT_EQ(ts.transport_stream_id, 2);
    EXPECT_EQ(ts.original_network_id, 0x22D4);
    EXPECT_EQ(ts.transport_descriptors_length, 37);
    ASSERT_EQ(ts.descriptores.items.size(), 4u);
    auto cable = std::dynamic_pointer_cast<DescriptorCableDeliverySystem>(ts.descriptores.items[0]);
    ASSERT_TRUE(cable);
    EXPECT_EQ(cable->frequency, 474000u);
    EXPECT_EQ(cable->symbol_rate, 6900u);
    auto lcn = std::dynamic_pointer_cast<DescriptorLCN>(ts.descriptores.items[3]);
    ASSERT_TRUE(lcn);
    ASSERT_EQ(lcn->services.size(), 2u);
    EXPECT_EQ(lcn->services[1].logical_channel_number, 44); // parser keeps the low 8 bits

    // Every descriptor holds its tag, length and wire payload as read.
    const char* payloads[] = {"04 74 00 00 FF F2 03 00 69 00 0F", "00 07 01 00 08 02", "00 00 00 28",
                              "00 07 FC 05 00 08 FD 2C"};
    const int tags[] = {0x44, 0x41, 0x5F, 0x83};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(ts.descriptores.items[i]->descriptor_tag, tags[i]);
        EXPECT_EQ(ts.descriptores.items[i]->descriptor_length, hex(payloads[i]).size());
        EXPECT_EQ(to_hex(ts.descriptores.items[i]->data), payloads[i]);
    }
}

TEST(NitParser, PointerFormCopiesItsBytes)
{
    const auto bytes = hex(kReferenceNit);
    tNIT nit;
    nit.procesarNIT(bytes.data(), static_cast<unsigned short>(bytes.size()));
    ASSERT_EQ(nit.secciones.size(), 1u);
    EXPECT_EQ(nit.secciones[0]->network_id, 0x3001);

    tNIT empty;
    empty.procesarNIT(bytes.data(), 0);
    EXPECT_TRUE(empty.secciones.empty());
    EXPECT_EQ(empty.data_size, 0u);
}

TEST(NitParser, FirstSectionNumberAboveTheLastGivesNothing)
{
    auto bytes = hex(kReferenceNit);
    bytes[6] = 3;
    bytes[7] = 1;
    tNIT nit;
    nit.procesarNIT(bytes);
    EXPECT_TRUE(nit.secciones.empty());
    EXPECT_EQ(nit.data_size, 66u);
    EXPECT_EQ(nit.getNITVersion(), 65535);
}

TEST(NitParser, ReadsConsecutiveSectionsAndFindsTheSatelliteTs)
{
    tNIT nit;
    nit.procesarNIT(hex(kTwoSections));
    ASSERT_EQ(nit.secciones.size(), 2u);
    EXPECT_EQ(nit.secciones[1]->section_number, 1);
    EXPECT_EQ(nit.getMaxSectionNumber(), 1u);
    EXPECT_EQ(nit.getNITVersion(), 2);

    LogCapture log;
    unsigned long frecuencia = 1, symbol_rate = 1;
    unsigned short orbital = 1, west_east = 9;
    unsigned char polarization = 9;
    // The cable TS has no satellite descriptor: not found, outputs untouched.
    EXPECT_EQ(nit.getTSinfo(1, 0x46, frecuencia, symbol_rate, orbital, west_east, polarization), 0);
    EXPECT_EQ(frecuencia, 1u);
    EXPECT_EQ(polarization, 9);

    EXPECT_EQ(nit.getTSinfo(0x044C, 0x46, frecuencia, symbol_rate, orbital, west_east, polarization), 1);
    EXPECT_EQ(frecuencia, 11757u);
    EXPECT_EQ(symbol_rate, 27500u);
    EXPECT_EQ(orbital, 192);
    EXPECT_EQ(west_east, 1);
    EXPECT_EQ(polarization, 1); // bit 5 clear
    EXPECT_TRUE(log.has(LOG_DEBUG, "Buscamos los datos de frecuencia y symbol_rate para TSID 1100 y ONID 70"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Entramos en la seccion 1"));
    EXPECT_TRUE(log.has(LOG_DEBUG, "TSID 1100 = 1100 ONID 70 = 70"));
}

// Every prefix of a good table parses without reading outside it, and keeps
// exactly the sections and TS entries that were complete.
TEST(NitParser, TruncatedInputKeepsWhatWasComplete)
{
    const auto full = hex(kTwoSections);
    for (size_t n = 0; n <= full.size(); ++n) {
        SCOPED_TRACE(n);
        tNIT nit;
        nit.procesarNIT(std::vector<char>(full.begin(), full.begin() + static_cast<long>(n)));
        EXPECT_EQ(nit.data_size, n);
        size_t entries = 0;
        for (const auto& s : nit.secciones)
            entries += s->transport_streams.items.size();
        // Section 0's TS entry ends at byte 36, section 1 starts at 40 and its entry ends at 71.
        const size_t expected_sections = n < 10 ? 0 : n < 50 ? 1 : 2;
        const size_t expected_entries = (n >= 36 ? 1 : 0) + (n >= 71 ? 1 : 0);
        EXPECT_EQ(nit.secciones.size(), expected_sections);
        EXPECT_EQ(entries, expected_entries);
    }
}

TEST(NitParser, LengthsPointingPastTheEndStopThere)
{
    struct Case {
        const char* what;
        const char* bytes;
        size_t network_descriptors;
        size_t entries;
    } cases[] = {
        {"descriptor longer than the buffer", "40 F0 20 00 01 C1 00 00 F0 10 40 FF 41 42", 0, 0},
        {"network loop longer than its descriptors", "40 F0 20 00 01 C1 00 00 FF FF 40 01 41", 1, 0},
        {"TS loop length missing", "40 F0 20 00 01 C1 00 00 F0 03 40 01 41", 1, 0},
        {"TS entry header cut", "40 F0 20 00 01 C1 00 00 F0 00 F0 10 00 01 00", 0, 0},
        {"TS descriptor cut", "40 F0 20 00 01 C1 00 00 F0 00 F0 10 00 01 00 02 F0 05 5F 04 00", 0, 0},
        {"last section 255 of a one-section buffer", "40 F0 0D 00 01 C1 00 FF F0 00 F0 00 00 00 00 00", 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        tNIT nit;
        nit.procesarNIT(hex(c.bytes));
        ASSERT_EQ(nit.secciones.size(), 1u);
        EXPECT_EQ(nit.secciones[0]->network_descriptors.items.size(), c.network_descriptors);
        EXPECT_EQ(nit.secciones[0]->transport_streams.items.size(), c.entries);
    }
}

TEST(NitParser, BuffersTooShortForAHeaderGiveNothing)
{
    for (const char* bytes : {"", "40", "40 F0 0D 00 01 C1 00 00 F0"}) {
        tNIT nit;
        nit.procesarNIT(hex(bytes));
        EXPECT_TRUE(nit.secciones.empty());
    }
}

} // namespace
} // namespace tavel
