// The tool's EN 300 468 decoders against bytes written by hand from the
// standard's tables, and against libdvbpsi where it decodes the same.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/dr_50.h>
#include <dvbpsi/dr_5a.h>

#include "decode/descriptor_decoder.h"
#include "decode/dvb_text_decode.h"
#include "decoded_input.h"
#include "dump.h"

namespace {

using tavel_si::decode::json;

std::vector<char> bytes(std::initializer_list<int> values)
{
    std::vector<char> b;
    for (int v : values)
        b.push_back(static_cast<char>(v));
    return b;
}

json decode(unsigned tag, const std::vector<char>& payload, uint32_t specifier = 0)
{
    tavel_si::decode::DecodeContext ctx;
    ctx.private_data_specifier = specifier;
    json out;
    tavel_si::decode::find_descriptor_decoder(tag)->decode(tavel_si::decode::Payload(payload), ctx, out);
    return out;
}

struct TextCase {
    std::vector<char> field;
    const char* charset; // of text without a selector
    const char* text;
    bool undecodable;
};

TEST(DvbTextDecode, EverySelectorOfAnnexAAndTheControlCodes)
{
    const TextCase cases[] = {
        {bytes({'C', 'a', 'f', 0xE9}), "ISO-8859-1", "Café", false},   // no selector: the headend's default
        {bytes({0xC2, 'e', 't', 0xC2, 'e'}), "ISO6937", "été", false}, // non-spacing diacritics
        {bytes({0x01, 0xB0}), "", "А", false},                         // ISO-8859-5 Cyrillic
        {bytes({0x02, 0xC7}), "", "ا", false},                         // -6 Arabic
        {bytes({0x03, 0xC1}), "", "Α", false},                         // -7 Greek
        {bytes({0x04, 0xE0}), "", "א", false},                         // -8 Hebrew
        {bytes({0x05, 0xDD}), "", "İ", false},                         // -9 Latin 5
        {bytes({0x06, 0xA1}), "", "Ą", false},                         // -10 Latin 6
        {bytes({0x07, 0xA1}), "", "ก", false},                         // -11 Thai
        {bytes({0x08, 'A'}), "", "\\x41", true},                       // reserved
        {bytes({0x09, 0xC0}), "", "Ą", false},                         // -13 Latin 7
        {bytes({0x0A, 0xA1}), "", "Ḃ", false},                         // -14 Celtic
        {bytes({0x0B, 0xA4}), "", "€", false},                         // -15 Latin 9
        {bytes({0x10, 0x00, 0x02, 0xA1}), "", "Ą", false},             // 0x10: ISO-8859-2 by table id
        {bytes({0x10, 0x00, 0x0C, 'A'}), "", "\\x41", true},           // 0x10 with a reserved table id
        {bytes({0x11, 0x00, 'A', 0x04, 0x10}), "", "AА", false},       // UCS-2 big-endian
        {bytes({0x12, 0xB0, 0xA1}), "", "가", false},                  // KS X 1001 (EUC-KR)
        {bytes({0x13, 0xB0, 0xA1}), "", "啊", false},                  // GB2312
        {bytes({0x14, 0xA4, 0x40}), "", "一", false},                  // Big5
        {bytes({0x15, 0xC3, 0xA9}), "", "é", false},                   // UTF-8
        {bytes({0x1F, 0x01, 0x9A}), "", "\\x9A", true},                // encoding_type_id: not decodable here
        {bytes({'A', 0x86, 'B', 0x87, 0x8A, 'C'}), "ISO-8859-1", "A<em>B</em><br>C", false},
        {bytes({0x11, 0x00, 'A', 0xE0, 0x8A, 0x00, 'B'}), "", "A<br>B", false},
        {bytes({0x15, 'A', 0xEE, 0x82, 0x86, 'B'}), "", "A<em>B", false},
        {bytes({0x15, 'A', 0xFF, 'B'}), "", "A\\xFFB", true},      // not UTF-8
        {bytes({0x03, 0xAE, 'A', 0x01}), "", "\\xAEA\\x01", true}, // unassigned in -7; C0 byte
    };
    for (const TextCase& c : cases) {
        const auto t = tavel_si::decode::decode_dvb_text(c.field, c.charset);
        EXPECT_EQ(t.text, c.text) << tavel_si::decode::hex_bytes(c.field);
        EXPECT_EQ(t.undecodable, c.undecodable) << tavel_si::decode::hex_bytes(c.field);
    }
}

// One field of a delivery descriptor: where its code sits, and the name of
// its highest code, so a field read from the wrong bits or a table cut
// short shows.
struct CodeField {
    unsigned tag;
    const char* key;
    size_t byte;
    unsigned shift;
    unsigned code;
    const char* name;
};

TEST(DeliveryDescriptors, CodeValuesByName)
{
    const CodeField fields[] = {
        {0x5A, "bandwidth", 4, 5, 3, "5 MHz"},
        {0x5A, "priority", 4, 4, 1, "HP (or non-hierarchical)"},
        {0x5A, "time_slicing", 4, 3, 1, "not used"},
        {0x5A, "mpe_fec", 4, 2, 1, "not used"},
        {0x5A, "constellation", 5, 6, 2, "64-QAM"},
        {0x5A, "hierarchy", 5, 3, 7, "alpha=4, in-depth interleaver"},
        {0x5A, "code_rate_hp", 5, 0, 4, "7/8"},
        {0x5A, "code_rate_lp", 6, 5, 5, "not applicable"}, // byte 5 says non-hierarchical
        {0x5A, "guard_interval", 6, 3, 3, "1/4"},
        {0x5A, "transmission_mode", 6, 1, 2, "4k"},
        {0x5A, "other_frequency", 6, 0, 1, "in use"},
        {0x44, "fec_outer", 5, 0, 2, "RS(204/188)"},
        {0x44, "modulation", 6, 0, 5, "256-QAM"},
        {0x44, "fec_inner", 10, 0, 15, "no convolutional coding"},
        {0x43, "polarisation", 6, 5, 3, "R"},
        {0x43, "modulation_type", 6, 0, 3, "16-QAM"},
        {0x43, "modulation_system", 6, 2, 1, "DVB-S2"},
    };
    for (const CodeField& f : fields) {
        std::vector<char> payload(11, 0);
        payload[f.byte] = static_cast<char>(f.code << f.shift);
        EXPECT_EQ(decode(f.tag, payload)[f.key], f.name) << f.key << " code " << f.code;
    }
    // DVB-S2 roll-off, read only with the modulation_system bit set.
    EXPECT_EQ(decode(0x43, bytes({0, 0, 0, 0, 0, 0, 2 << 3 | 0x04, 0, 0, 0, 0}))["roll_off"], "0.20");
}

// Each row: descriptor bytes and the fields they decode to, by JSON pointer
// (null: the field is absent), or the whole decoded object.
TEST(Descriptors, DecodedFromHandWrittenBytesWithTheLibrarysReadingBeside)
{
    const struct {
        unsigned tag;
        uint32_t specifier;
        std::vector<char> payload;
        const char* fields;
    } rows[] = {
        // 474 MHz, 8 MHz, 64-QAM, non-hierarchical, LP 3/4, 1/8, 8k: the issue's bytes.
        {0x5A, 0, bytes({0x02, 0xD3, 0x44, 0x40, 0x1F, 0x85, 0x52, 0xFF, 0xFF, 0xFF, 0xFF}),
         R"({"/frequency_khz":474000,"/hierarchy":"non-hierarchical, native interleaver","/code_rate_lp":"not applicable",
             "/library/hierarchy":"alpha=1, native interleaver","/library/code_rate_lp":"2/3","/guard_interval":"1/8",
             "/transmission_mode":"8k","/library/frequency_khz":null})"},
        {0x5A, 0, bytes({0x02, 0xD3, 0x44, 0x40, 0x1F, 0x95, 0x52, 0xFF, 0xFF, 0xFF, 0xFF}),
         R"({"/hierarchy":"alpha=2, native interleaver","/code_rate_lp":"3/4"})"},
        {0x5A, 0, bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0}), R"({"/frequency_khz":"not signalled"})"},
        // Cable 474.0005 MHz, 6.9001 Msymbol/s, 64-QAM.
        {0x44, 0, bytes({0x04, 0x74, 0x00, 0x05, 0xFF, 0xF2, 0x03, 0x00, 0x69, 0x00, 0x1F}),
         R"({"/frequency_khz":474000.5,"/library/frequency_khz":474000,"/symbol_rate_ksym":6900.1})"},
        {0x44, 0, bytes({0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0}), R"({"/frequency_khz":"not signalled"})"},
        // Satellite 11 757.25 MHz at 19.2 E, horizontal, 27 500 ksymbol/s, 3/4.
        {0x43, 0, bytes({0x01, 0x17, 0x57, 0x25, 0x01, 0x92, 0x81, 0x02, 0x75, 0x00, 0x03}),
         R"({"/frequency_mhz":11757.25,"/library/frequency_mhz":11757,"/orbital_position":"19.2 E","/polarisation":"H",
             "/library/polarisation":"V","/symbol_rate_ksym":27500,"/fec_inner":"3/4"})"},
        {0x43, 0, bytes({0, 0, 0, 0, 0x03, 0x00, 0x00, 0, 0, 0, 0}), R"({"/orbital_position":"30.0 W"})"},
        // Service 0x0101 visible at 701 (10 bits), 0x0102 hidden at 702.
        {0x83, 0x28, bytes({0x01, 0x01, 0xFE, 0xBD, 0x01, 0x02, 0x7E, 0xBE}),
         R"({"/channels/0/lcn":701,"/channels/0/library/lcn":189,"/channels/1/visible":false,"/channels/1/lcn":702})"},
        // Under specifier 0x29: 14 bits, 10000 = 0x2710.
        {0x83, 0x29, bytes({0x01, 0x01, 0xE7, 0x10}), R"({"/channels/0/lcn":10000})"},
        {0x88, 0x28, bytes({0x01, 0x01, 0xFC, 0x05}), R"({"/channels/0/lcn":5})"}, // HD simulcast number
        // 0x87: list 1 "AB", country ESP, one entry at 703.
        {0x87, 0x28, bytes({0x01, 0x02, 'A', 'B', 'E', 'S', 'P', 0x04, 0x01, 0x03, 0xFE, 0xBF}),
         R"({"/channel_lists/0/channel_list_name":"AB","/channel_lists/0/country":"ESP",
             "/channel_lists/0/channels/0/lcn":703})"},
        {0x42, 0, bytes({0xFF, 0xFF}), R"({"stuffing_bytes":"FF FF"})"},
        {0x47, 0, bytes({0x15, 'T', 'v'}), R"({"bouquet_name":"Tv"})"},
        {0x50, 0, bytes({0x05, 0x0B, 0x01, 's', 'p', 'a', 'H', 'D'}),
         R"({"stream_content":"0x5 H.264/AVC video","stream_content_ext":0,"component_type":"0x0B HD 16:9 25 Hz",
            "component_tag":1,"language":"spa","text":"HD"})"},
        // No selector: the reading by table 00 beside.
        {0x4D, 0, bytes({'s', 'p', 'a', 2, 'T', 'V', 4, 'd', 0xC2, 'i', 'a'}),
         R"({"language":"spa","event_name":"TV","text":"dÂia","text_table_00":"día"})"},
        {0x4E, 0, bytes({0x01, 'd', 'e', 'u', 6, 2, 'B', 'y', 2, 'I', 'T', 2, 'O', 'k'}),
         R"({"descriptor_number":0,"last_descriptor_number":1,"language":"deu",
             "items":[{"description":"By","item":"IT"}],"text":"Ok"})"},
        {0x53, 0, bytes({0x01, 0x00, 0x0B, 0x00}), R"({"ca_system_ids":["0x0100","0x0B00"]})"},
        {0x54, 0, bytes({0x14, 0x00, 0xF1, 0x23}),
         R"({"contents":[{"level_1":"0x1 movie/drama","level_2":4,"user_byte":"0x00"},
                         {"level_1":"0xF user defined","level_2":1,"user_byte":"0x23"}]})"},
        {0x55, 0, bytes({'E', 'S', 'P', 0x0F, 'F', 'R', 'A', 0x00}),
         R"({"ratings":[{"country":"ESP","rating":"minimum age 18"},{"country":"FRA","rating":"undefined"}]})"},
        {0x62, 0, bytes({0xFF, 0x02, 0xD3, 0x44, 0x40, 0xFF, 0xFF, 0xFF, 0xFF}),
         R"({"coding_type":"terrestrial","frequencies_khz":[474000,"not signalled"]})"},
        {0x62, 0, bytes({0xFE, 0x04, 0x74, 0x00, 0x00}), R"({"coding_type":"cable","frequencies_khz":[474000]})"},
        {0x66, 0, bytes({0x00, 0x0A, 0x01}),
         R"({"data_broadcast_id":"0x000A system software update","id_selector":"01"})"},
        {0x6C, 0, bytes({0x00, 0x07, 0x40, 0x00, 0xC0, 0x00, 0x00, 0x10, 0x01, 0x00}),
         R"({"cells":[{"cell_id":7,"latitude":45.0,"longitude":-90.0,"extent_of_latitude":0.0027,
                       "extent_of_longitude":0.0055,"subcells":[]}]})"},
        {0x73, 0, bytes({'t', 'v', '.', 'e', 's'}), R"({"default_authority":"tv.es"})"},
        {0x7F, 0, bytes({0x04, 0x00, 0x22, 0xD4, 0x00, 0x52, 0x00, 0x01, 0x02, 0xD3, 0x44, 0x40, 0x00}),
         R"({"extension":"0x04 T2_delivery_system","plp_id":0,"t2_system_id":8916,"siso_miso":"SISO",
             "bandwidth":"8 MHz","guard_interval":"1/8","transmission_mode":"16k","other_frequency":"in use",
             "tfs":false,"cells":[{"cell_id":1,"centre_frequencies_khz":[474000]}]})"},
        {0x7F, 0, bytes({0x04, 0, 0, 1, 0, 0x52, 0, 1, 0x02, 0xD3, 0x44, 0x40}), // no subcell loop length
         R"({"extension":"0x04 T2_delivery_system","plp_id":0,"t2_system_id":1,"siso_miso":"SISO","bandwidth":"8 MHz",
             "guard_interval":"1/8","transmission_mode":"16k","other_frequency":"in use","tfs":false,
             "cells":[{"cell_id":1,"centre_frequencies_khz":[474000],"error":"cut short"}]})"},
        {0x7F, 0, bytes({0x08, 0x01}), R"({"extension":"0x08 message","selector":"01"})"},
    };
    for (const auto& row : rows) {
        const json d = decode(row.tag, row.payload, row.specifier), fields = json::parse(row.fields);
        if (fields.begin().key()[0] != '/')
            EXPECT_EQ(d, fields) << "tag " << row.tag;
        else
            for (const auto& [pointer, value] : fields.items()) {
                const json::json_pointer at(pointer);
                EXPECT_EQ(d.contains(at) ? d.at(at) : json(), value) << "tag " << row.tag << " " << pointer;
            }
    }
    EXPECT_EQ(tavel_si::decode::find_descriptor_decoder(0x49), nullptr); // shown in hex
}

// Tables of a capture besides NIT, SDT, EIT and TOT, which carry a CRC, and
// which versions of a table are kept.
TEST(Sections, BatLikeANitShortSectionsWithoutCrcAndTheLastVersionOnly)
{
    const json bat = tavel_si::decode_section(bytes({0x4A, 0xF0, 0x11, 0x50, 0x01, 0xC5, 0x00, 0x00, 0xF0, 0x04, 0x47,
                                                     0x02, 'B', 'q', 0xF0, 0x00, 0x16, 0xB3, 0x2B, 0x43}));
    EXPECT_EQ(std::vector<json>({bat["table"], bat["bouquet_id"], bat["bouquet_descriptors"][0]["bouquet_name"], bat["crc_ok"]}),
              std::vector<json>({"BAT", 0x5001, "Bq", true}));
    // ST and TDT have no CRC; the TOT has one though its syntax indicator is 0.
    EXPECT_FALSE(tavel_si::decode_section(bytes({0x72, 0x70, 0x03, 0xFF, 0xFF, 0xFF, 0xFF})).contains("crc32"));
    EXPECT_FALSE(tavel_si::decode_section(bytes({0x70, 0x70, 0x05, 0xEA, 0x5E, 0x12, 0, 0})).contains("crc32"));
    EXPECT_EQ(tavel_si::decode_section(bytes({0x00, 0xB0, 0x0D, 4, 1, 0xC1, 0, 0, 1, 0, 0xF0, 0, 0, 0, 0, 0}))["programs"],
              json::parse(R"([{"program_number":256,"pid":4096}])"));

    // A table that shrank between two versions: only the last version's sections
    // are compared (SDT version 3 in two sections, then 4 in one; CRCs not checked).
    std::vector<char> file;
    for (int head : {0xC70001, 0xC70101, 0xC90000})
        for (char c : bytes({0x42, 0xF0, 0x0C, 4, 1, head >> 16, (head >> 8) & 0xFF, head & 0xFF, 0x22, 0xD4, 0xFF, 0, 0, 0, 0}))
            file.push_back(c);
    const std::string path = (std::filesystem::temp_directory_path() / "decode_test_sdt").string();
    std::ofstream(path, std::ios::binary).write(file.data(), static_cast<std::streamsize>(file.size()));
    json sections;
    std::string error;
    ASSERT_TRUE(tavel_si::load_decoded_sections(path, sections, error)) << error;
    std::filesystem::remove(path);
    EXPECT_EQ(std::make_pair(sections.size(), sections[0]["version"]), std::make_pair(size_t{1}, json(4)));
}

// The same bytes through libdvbpsi's decoders.
TEST(OtherDescriptors, AgreeWithLibdvbpsi)
{
    std::vector<char> t = bytes({0x02, 0xD3, 0x44, 0x40, 0x1F, 0x85, 0x52, 0xFF, 0xFF, 0xFF, 0xFF}),
                      c = bytes({0x05, 0x0B, 0x01, 's', 'p', 'a'});
    dvbpsi_descriptor_t* dt = dvbpsi_NewDescriptor(0x5A, 11, reinterpret_cast<uint8_t*>(t.data()));
    dvbpsi_descriptor_t* dc = dvbpsi_NewDescriptor(0x50, 6, reinterpret_cast<uint8_t*>(c.data()));
    const dvbpsi_terr_deliv_sys_dr_t* terr = dvbpsi_DecodeTerrDelivSysDr(dt);
    const dvbpsi_component_dr_t* comp = dvbpsi_DecodeComponentDr(dc);
    ASSERT_TRUE(terr && comp);
    EXPECT_EQ(decode(0x5A, t)["frequency_khz"], terr->i_centre_frequency / 100);
    // hierarchy 0: non-hierarchical, LP 2: 3/4, guard 2: 1/8, mode 1: 8k, as decoded above.
    EXPECT_EQ(std::vector<int>({terr->i_hierarchy_information, terr->i_code_rate_lp_stream, terr->i_guard_interval,
                                terr->i_transmission_mode}),
              std::vector<int>({0, 2, 2, 1}));
    const json component = decode(0x50, c);
    EXPECT_EQ(component["component_tag"], comp->i_component_tag);
    EXPECT_EQ(component["stream_content"].get<std::string>().substr(0, 3),
              "0x" + std::to_string(comp->i_stream_content));
    dvbpsi_DeleteDescriptors(dt);
    dvbpsi_DeleteDescriptors(dc);
}

} // namespace
