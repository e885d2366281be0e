// Decoding table files section by section: header fields, CRC check, every
// descriptor decoded from its bytes (unknown ones in hex), with the library
// classes' own reading noted where it differs.
#ifndef TAVEL_SI_DUMP_H
#define TAVEL_SI_DUMP_H

#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tavel_si {

struct DumpOptions {
    // Character table of text without a selector byte (any iconv name); the
    // headend reads such text as ISO-8859-1.
    std::string charset = "ISO-8859-1";
};

// One file's bytes as {"file", "size", "sections": [...]}; a bad CRC or a
// truncated section is reported in the document, never fatal.
nlohmann::ordered_json decode_table_file(const std::string& name, const std::vector<char>& bytes,
                                         const DumpOptions& options = {});

// One complete section (CRC included) as one item of the "sections" array.
nlohmann::ordered_json decode_section(const std::vector<char>& section, const DumpOptions& options = {});

// The readable form of one decoded section (one line, arrays indented below).
void print_section(const nlohmann::ordered_json& section, std::ostream& out);

// The readable form of decode_table_file's document.
void print_table_file(const nlohmann::ordered_json& file, std::ostream& out);

} // namespace tavel_si

#endif
