// A table file or a capture as decoded sections, for the commands that
// compare tables (diff, verify).
#ifndef TAVEL_SI_DECODED_INPUT_H
#define TAVEL_SI_DECODED_INPUT_H

#include <string>

#include <nlohmann/json.hpp>

namespace tavel_si {

// Every complete section of the file at path, decoded (decode_section), in
// the order met. False with a reason when the file cannot be read or holds
// no section.
bool load_decoded_sections(const std::string& path, nlohmann::ordered_json& sections, std::string& error);

} // namespace tavel_si

#endif
