// SDT generation from pattern SDTs, output as actual and other, comparison
// and the pattern collection. Expected sections are written out byte by byte,
// CRC_32 included.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <tavel/sdt.h>

#include "tests/test_support.h"

namespace {

using tavel::datos_servicios;
using tavel::SDTPatron;
using tavel::tSDT;
using tavel::test::hex;
using tavel::test::to_hex;

// An input SDT as received: tsid 0x0010, onid 0x0020, version 3.
const char* const kPatternSdt =
    "42 F0 4D"             // table_id actual, section_length 77
    " 00 10 C7 00 00"      // tsid 0x0010, version 3, current, section 0 of 0
    " 00 20 FF"            // onid 0x0020, reserved
    // 0x0101: both EIT flags, running, in the clear, 33 bytes of descriptors
    " 01 01 FF 80 21"
    "   5F 04 00 00 00 28" // private data specifier 0x28
    "   48 0A 01 03 15 41 42 04 15 43 44 45" // service: TV, provider \x15AB, name \x15CDE
    "   4A 08 00 10 00 20 01 01 05 EE"       // linkage with one private byte
    "   80 03 AA BB CC"    // private descriptor nobody here knows
    " 01 02 FD 50 00"      // 0x0102: pausing, scrambled, no descriptors
    " 01 03 FC 80 0C"      // 0x0103: running, in the clear
    "   48 0A 19 03 15 41 42 04 15 43 44 45" // service: type 0x19, AB, CDE
    " 01 04 FC 80 00"      // 0x0104: running, in the clear, no descriptors
    " 6D 0A 4B 04";        // CRC_32

// An output service taken from input service sid_entrada of TS 0x0010 / 0x0020.
datos_servicios record(uint16_t sid, uint16_t sid_entrada, uint16_t tipo, const std::string& nombre,
                       uint16_t descifrar = 0, uint8_t cifrado = 0, uint16_t cambiar_nombre = 0)
{
    // SID, input SID/TSID/ONID, LCN, spare, type, descramble, scrambled, name, rename, provider.
    return {sid, sid_entrada, 0x0010, 0x0020, 0, 0, tipo, descifrar, cifrado, nombre, cambiar_nombre, ""};
}

// The output table: tsid 0x0457, onid 0x22D4, version 7, with kPatternSdt as the only pattern.
struct Output {
    explicit Output(uint16_t modoScrambling = 0) : sdt(0x42, 0x0457, 0x22D4, 7, modoScrambling)
    {
        patterns.addSDTPatron(hex(kPatternSdt));
        sdt.patrones = &patterns;
    }
    std::string generate(const std::vector<datos_servicios>& records)
    {
        for (size_t i = 0; i < records.size(); ++i)
            sdt.servicios[static_cast<uint16_t>(i + 1)] = records[i];
        sdt.generarSDT();
        std::vector<char> out;
        sdt.getSDT(out, false);
        return to_hex(out);
    }
    SDTPatron patterns;
    tSDT sdt;
};

// An output table whose services are all new ("Servicio numero 0000"): no patterns held.
std::unique_ptr<tSDT> generated(uint16_t version, size_t services, uint16_t tsid = 0x0457)
{
    auto sdt = std::make_unique<tSDT>(0x42, tsid, 0x22D4, version, 0);
    for (uint16_t i = 1; i <= services; ++i)
        sdt->servicios[i] = record(i, 0x0999, 0x01, "Servicio numero 0000");
    sdt->generarSDT();
    return sdt;
}

// A service not found in any pattern: fresh service descriptor, type 1.
std::vector<char> not_found_entry(uint16_t sid, const std::string& name)
{
    std::vector<char> e = hex("00 00 FC 80 00 48 00 01 06 15 54 41 56 45 4C 00 15");
    e[0] = static_cast<char>(sid >> 8);
    e[1] = static_cast<char>(sid);
    e[4] = static_cast<char>(12 + name.size()); // descriptors_loop_length
    e[6] = static_cast<char>(10 + name.size()); // descriptor_length
    e[15] = static_cast<char>(name.size() + 1); // service name length with its selector
    e.insert(e.end(), name.begin(), name.end());
    return e;
}

// A section of the output table around a service loop, sealed with its CRC.
std::string section(uint8_t number, uint8_t last, const std::vector<char>& loop)
{
    std::vector<char> s = hex("42 F0 00 04 57 CF 00 00 22 D4 FF");
    s[6] = static_cast<char>(number);
    s[7] = static_cast<char>(last);
    s.insert(s.end(), loop.begin(), loop.end());
    return to_hex(tavel::test::seal(s));
}

TEST(SdtGeneration, FoundServiceKeepsDescriptorsAndMissingOneGetsFreshDescriptor)
{
    Output o;
    datos_servicios found = record(0x0201, 0x0101, 0x99, "Nuevo"); // user-defined types, 0x80 and above
    found.proveedor = "Prov";
    EXPECT_EQ(o.generate({found, record(0x0202, 0x0999, 0x82, "Radio")}),
              to_hex(hex("42 F0 4B 04 57 CF 00 00 22 D4 FF" // section_length 75
                         // 0x0201 from 0x0101: running kept, EIT flags dropped, 36 bytes
                         " 02 01 FC 80 24"
                         "   5F 04 00 00 00 28"                          // shared, untouched
                         "   48 0D 99 06 15 54 41 56 45 4C 04 15 43 44 45" // type 0x99, TAVEL, name kept
                         "   4A 08 00 10 00 20 01 01 05 EE"              // in its place
                         "   80 03 AA BB CC"                             // passes through
                         // 0x0202 not found: running, clear, fresh descriptor
                         " 02 02 FC 80 11 48 0F 82 06 15 54 41 56 45 4C 06 15 52 61 64 69 6F"
                         " 20 5D 06 B1")));
    EXPECT_EQ(o.sdt.num_service, 2u);

    // Non-service descriptors are the pattern's own objects; the service
    // descriptor is a copy, so the pattern still says what it received.
    const auto& in = o.patterns.sdts[0]->secciones[0]->services.items[0]->descriptores.items;
    const auto& out = o.sdt.secciones[0]->services.items[0]->descriptores.items;
    EXPECT_EQ(out[0], in[0]);
    EXPECT_NE(out[1], in[1]);
    EXPECT_EQ(out[3], in[3]);
    EXPECT_EQ(in[1]->descriptor_length, 10);
}

// Empty table, scrambling, naming and the write-back into the pattern, one output table each.
TEST(SdtGeneration, ScramblingAndNamingRules)
{
    // Every expected section up to the service's running_status/free_CA_mode
    // byte: section_length 17 when found, 29 when not found.
    const std::string found = "42 F0 11 04 57 CF 00 00 22 D4 FF 05 01 FC ";
    const std::string fresh = "42 F0 1D 04 57 CF 00 00 22 D4 FF 05 01 FC ";
    const std::string tavel = " 0C 48 0A 01 06 15 54 41 56 45 4C 01 15 "; // fresh service descriptor, no name
    const auto in = [](uint16_t sid_entrada, uint16_t descifrar = 0, uint8_t cifrado = 0) {
        return record(0x0501, sid_entrada, 0x01, "", descifrar, cifrado); // 0x0102 scrambled, 0x0104 clear, 0x0999 none
    };
    const struct {
        const char* what;
        uint16_t modo;
        std::vector<datos_servicios> records;
        std::string expected;
        uint8_t pattern_fca_after; // free_CA_mode of input 0x0102 afterwards
    } cases[] = {
        {"no services: one 15-byte section", 0, {}, "42 F0 0C 04 57 CF 00 00 22 D4 FF 44 4D E4 24", 1}, // header, CRC
        {"mode forces scrambled", 1, {in(0x0104)}, found + "90 00 F9 73 E7 1D", 1},
        {"scrambled input stays scrambled", 0, {in(0x0102)}, found + "50 00 3A B9 53 C9", 1},
        {"descrambled input goes out clear and clears the pattern", 0, {in(0x0102, 1)}, found + "40 00 2A E8 C8 DA", 0},
        {"clear input stays clear", 0, {in(0x0104, 1)}, found + "80 00 E9 22 7C 0E", 1},
        {"mode wins over descrambling, pattern untouched", 1, {in(0x0102, 1)}, found + "50 00 3A B9 53 C9", 1},
        {"not found, mode set", 1, {in(0x0999, 1)}, fresh + "90" + tavel + "E5 BA F1 5E", 1},
        {"not found, descrambled wins over cifrado", 0, {in(0x0999, 1, 1)}, fresh + "80" + tavel + "89 C2 6B 92", 1},
        {"not found, cifrado", 0, {in(0x0999, 0, 1)}, fresh + "90" + tavel + "E5 BA F1 5E", 1},
        {"not found, clear", 0, {in(0x0999)}, fresh + "80" + tavel + "89 C2 6B 92", 1},
        {"write-back seen by a second output service", 0,
         {record(0x0601, 0x0102, 0x01, "", 1), record(0x0602, 0x0102, 0x01, "")}, // second not descrambled itself
         "42 F0 16 04 57 CF 00 00 22 D4 FF"
         " 06 01 FC 40 00"  // pausing, clear
         " 06 02 FC 40 00"  // clear too: the pattern was cleared
         " 90 3C EE 8B", 0},
        // Input 0x0103 said type 0x19, provider AB, name CDE.
        {"cambiar_nombre 1 renames", 0, {record(0x0301, 0x0103, 0x01, "XY", 0, 0, 1)},
         "42 F0 1F 04 57 CF 00 00 22 D4 FF 03 01 FC 80 0E"
         " 48 0C 01 06 15 54 41 56 45 4C 03 15 58 59 22 62 E9 7E", 1}, // type 1, TAVEL, XY; CRC
        {"cambiar_nombre 2 keeps the name", 0, {record(0x0301, 0x0103, 0x01, "XY", 0, 0, 2)},
         "42 F0 20 04 57 CF 00 00 22 D4 FF 03 01 FC 80 0F"
         " 48 0D 01 06 15 54 41 56 45 4C 04 15 43 44 45 7D 04 41 C4", 1}, // type 1, TAVEL, CDE; CRC
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Output o(c.modo);
        EXPECT_EQ(o.generate(c.records), to_hex(hex(c.expected)));
        EXPECT_EQ(o.patterns.sdts[0]->secciones[0]->services.items[1]->free_CA_mode, c.pattern_fca_after);
    }
}

TEST(SdtGeneration, PlacementBoundaryAtFreeSpaceMinusFour)
{
    // Four services of 217 bytes leave 141 bytes free in section 0.
    std::vector<char> four;
    std::vector<datos_servicios> records;
    for (uint16_t sid = 1; sid <= 4; ++sid) {
        auto e = not_found_entry(sid, std::string(200, 'A'));
        four.insert(four.end(), e.begin(), e.end());
        records.push_back(record(sid, 0x0999, 0x01, std::string(200, 'A')));
    }
    // descriptors_loop_length 136 = free space - 5: fills the section to 1021.
    Output fits;
    records.push_back(record(5, 0x0999, 0x01, std::string(124, 'B')));
    std::vector<char> loop = four;
    auto last = not_found_entry(5, std::string(124, 'B'));
    loop.insert(loop.end(), last.begin(), last.end());
    EXPECT_EQ(fits.generate(records), section(0, 0, loop));
    EXPECT_EQ(fits.sdt.secciones[0]->section_length, 1021);

    // descriptors_loop_length 137 = free space - 4: a new section first.
    Output spills;
    records.back().nombre += 'B';
    EXPECT_EQ(spills.generate(records),
              section(0, 1, four) + " " + section(1, 1, not_found_entry(5, std::string(125, 'B'))));
    EXPECT_EQ(spills.sdt.data_size, 883u + 157u);
}

TEST(SdtComparison, VersionsSizesAndLastSectionNumber)
{
    auto one_of_two = generated(7, 1); // same loop, but says section 0 of 1
    one_of_two->secciones[0]->last_section_number = 1;
    std::vector<char> bytes;
    generated(7, 40)->getSDT(bytes, false);
    auto parsed = std::make_unique<tSDT>();
    parsed->procesarSDT(bytes, true);
    struct {
        const char* what;
        std::unique_ptr<tSDT> a, b;
        bool same_table, compare;
    } cases[] = {
        {"copy", generated(7, 3), generated(7, 3), true, true},
        {"version only differs", generated(7, 3), generated(8, 3), true, false},
        {"other tsid", generated(7, 3), generated(7, 3, 0x0458), false, false},
        {"one more service", generated(7, 3), generated(7, 4), false, false},
        {"more sections", generated(7, 3), generated(7, 40), false, false},
        {"two sections, new version", generated(7, 40), generated(8, 40), true, false},
        {"last_section_number differs", generated(7, 1), std::move(one_of_two), false, false},
        {"parsed back", generated(7, 40), std::move(parsed), true, true},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.a->isSameTable(c.b), c.same_table);
        EXPECT_EQ(c.a->compareSDT(c.b), c.compare);
    }

    // Against a serialised table: tsid, onid, version and size.
    bytes.clear();
    cases[0].a->getSDT(bytes, false);
    EXPECT_TRUE(cases[0].a->compareSDT(bytes));
    EXPECT_FALSE(cases[1].b->compareSDT(bytes)); // version 8
    bytes.push_back(0);
    EXPECT_FALSE(cases[0].a->compareSDT(bytes));
}

TEST(SdtPatterns, IdentityIsTsidOnidVersionAndSize)
{
    SDTPatron patterns;
    EXPECT_FALSE(patterns.SDT_patron_exist(hex(kPatternSdt)));
    patterns.addSDTPatron(hex(kPatternSdt));
    patterns.addSDTPatron(hex(kPatternSdt));
    EXPECT_EQ(patterns.sdts.size(), 1u);

    // Same identity and size, other services: taken for the same pattern.
    auto renamed = hex(kPatternSdt);
    renamed[11] = 0x07;
    EXPECT_TRUE(patterns.SDT_patron_exist(renamed));
    patterns.addSDTPatron(renamed);
    EXPECT_EQ(patterns.sdts.size(), 1u);

    // A new version of the same input, sent as other, is kept beside the
    // first one with its table_id; look-ups keep finding the first.
    auto v4 = hex(kPatternSdt);
    v4[0] = 0x46;
    v4[5] = static_cast<char>(0xC9);
    v4[14] = static_cast<char>(0x20); // 0x0101 now "not yet running"
    patterns.addSDTPatron(v4);
    ASSERT_EQ(patterns.sdts.size(), 2u);
    EXPECT_EQ(patterns.sdts[1]->secciones[0]->table_id, 0x46);

    tSDT out;
    out.patrones = &patterns;
    auto found = out.existServiceSDTpatrones(record(1, 0x0101, 1, ""));
    EXPECT_EQ(found, patterns.sdts[0]->secciones[0]->services.items[0]);
}

// An SDT other in two sections: tsid 0x0010, onid 0x0020, version 3.
const char* const kTwoSections =
    // section 0 of 1, section_length 50
    "46 F0 32 00 10 C7 00 01 00 20 FF"
    " 01 01 FF 80 21"                         // 0x0101: EIT flags, running, clear, 33 bytes
    "   5F 04 00 00 00 28"                    // private data specifier
    "   48 0A 01 03 15 41 42 04 15 43 44 45"  // service: TV, AB, CDE
    "   4A 08 00 10 00 20 01 01 05 EE"        // linkage, one private byte
    "   80 03 AA BB CC"                       // unknown private descriptor
    " 1B 6A EB 29"                            // CRC_32
    // section 1 of 1, section_length 22
    " 46 F0 16 00 10 C7 01 01 00 20 FF"
    " 01 02 FD 50 00"                         // 0x0102: present/following, pausing, scrambled
    " 01 05 FE 30 00"                         // 0x0105: schedule only, not yet running, scrambled
    " 79 0B B5 A3";                           // CRC_32
constexpr size_t kSection0Size = 53;

datos_servicios input_of(uint16_t sid_entrada, uint16_t tsid = 0x0010, uint16_t onid = 0x0020)
{
    return {9, sid_entrada, tsid, onid, 0, 0, 0, 0, 0, "", 0, ""};
}

// Every field of every section, as a line per section and per service.
TEST(SdtParser, ReadsEveryFieldOfEverySection)
{
    for (const bool actual : {false, true}) {
        SCOPED_TRACE(actual);
        tSDT sdt;
        const auto bytes = hex(kTwoSections);
        if (actual) // both forms: the vector and the raw pointer
            sdt.procesarSDT(bytes, true);
        else
            sdt.procesarSDT(bytes.data(), static_cast<unsigned short>(bytes.size()), false);
        EXPECT_EQ(sdt.data_size, 78u);
        EXPECT_EQ(sdt.getSDTVersion() * 10 + sdt.getMaxSectionNumber(), 31); // version 3, sections 0..1
        std::vector<std::vector<int>> got;
        for (const auto& s : sdt.secciones) {
            // Only the last CRC byte is kept, and actual forces 0x42.
            got.push_back({s->table_id, s->section_syntax_indicator, s->section_length, s->transport_stream_id,
                           s->original_network_id, s->version_number, s->current_next_indicator, s->section_number,
                           s->last_section_number, static_cast<int>(s->CRC)});
            for (const auto& v : s->services.items)
                got.push_back({v->service_id, v->EIT_schedule_flag, v->EIT_present_following_flag, v->running_status,
                               v->free_CA_mode, v->descriptors_loop_length, static_cast<int>(v->descriptores.items.size())});
        }
        const int table_id = actual ? 0x42 : 0x46;
        EXPECT_EQ(got, (std::vector<std::vector<int>>{{table_id, 1, 50, 0x0010, 0x0020, 3, 1, 0, 1, 0x29},
                                                      {0x0101, 1, 1, 4, 0, 33, 4},
                                                      {table_id, 1, 22, 0x0010, 0x0020, 3, 1, 1, 1, 0xA3},
                                                      {0x0102, 0, 1, 2, 1, 0, 0},
                                                      {0x0105, 1, 0, 1, 1, 0, 0}}));
        // The descriptors themselves as the descriptor tests read them; the last one's payload ends the loop.
        const auto& d = sdt.secciones.at(0)->services.items.at(0)->descriptores.items;
        EXPECT_EQ(std::to_string(d.at(3)->descriptor_tag) + " " + to_hex(d[3]->data), "128 AA BB CC");
    }
    // section_number above last_section_number: nothing parsed, size kept.
    tSDT backwards;
    backwards.procesarSDT(hex("42 F0 0C 00 10 C7 01 00 00 20 FF 00 00 00 00"), true);
    EXPECT_TRUE(backwards.secciones.empty());
    EXPECT_EQ(backwards.getMaxSectionNumber(), 0);
    EXPECT_EQ(backwards.data_size, 15u);
    tSDT none;
    none.procesarSDT(nullptr, 0, true);
    EXPECT_TRUE(none.secciones.empty());
}

TEST(SdtParser, CutBufferKeepsWhatWasComplete)
{
    const auto whole = hex(kTwoSections);
    struct Case {
        size_t size;
        std::vector<size_t> services_per_section;
    } cases[] = {
        {5, {}},                      // header cut
        {11 + 5 + 20, {0}},           // inside a descriptor of 0x0101
        {kSection0Size - 2, {1}},     // inside the CRC
        {kSection0Size, {1}},         // section 1 missing entirely
        {kSection0Size + 11 + 7, {1, 1}}, // 0x0105 cut
        {whole.size(), {1, 2}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        tSDT sdt;
        sdt.procesarSDT(std::vector<char>(whole.begin(), whole.begin() + static_cast<long>(c.size)), false);
        EXPECT_EQ(sdt.data_size, c.size);
        ASSERT_EQ(sdt.secciones.size(), c.services_per_section.size());
        for (size_t i = 0; i < c.services_per_section.size(); ++i)
            EXPECT_EQ(sdt.secciones[i]->services.items.size(), c.services_per_section[i]);
    }
    // Every other cut, and lengths pointing far past the end, are survived.
    for (size_t n = 0; n <= whole.size(); ++n) {
        tSDT sdt;
        sdt.procesarSDT(std::vector<char>(whole.begin(), whole.begin() + static_cast<long>(n)), false);
    }
    auto lying = whole;
    lying[1] = static_cast<char>(0xFF); // section_length 0xF32
    lying[14] = static_cast<char>(0x8F); // descriptors_loop_length 0xF21
    tSDT sdt;
    sdt.procesarSDT(lying, false);
    EXPECT_EQ(sdt.secciones.size(), 1u);
}

TEST(SdtLookup, FindsTheEntryItselfByInputIdentityAndPatternsInInsertionOrder)
{
    tSDT sdt;
    sdt.procesarSDT(hex(kTwoSections), false);
    EXPECT_EQ(sdt.buscar_servicio(input_of(0x0102)), sdt.secciones[1]->services.items[0]); // its own object
    EXPECT_EQ(sdt.buscar_servicio(input_of(0x0102, 0x0011)), nullptr);
    EXPECT_EQ(sdt.buscar_servicio(input_of(0x0102, 0x0010, 0x0021)), nullptr);
    EXPECT_EQ(sdt.buscar_servicio(input_of(0x0103)), nullptr);

    tavel::SDTPatron patterns;
    tSDT out;
    EXPECT_EQ(out.existServiceSDTpatrones(input_of(0x0102)), nullptr); // no collection set
    out.patrones = &patterns;
    patterns.addSDTPatron(hex("42 F0 11 00 33 C1 00 00 00 20 FF 01 02 FC 80 00 00 00 00 00")); // tsid 0x0033
    patterns.addSDTPatron(hex(kTwoSections));
    EXPECT_EQ(out.existServiceSDTpatrones(input_of(0x0102)), patterns.sdts[1]->secciones[1]->services.items[0]);
    EXPECT_EQ(out.existServiceSDTpatrones(input_of(0x0102, 0x0033)), patterns.sdts[0]->secciones[0]->services.items[0]);
}

} // namespace
