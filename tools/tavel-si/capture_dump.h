// dump for transport stream captures: each distinct section of the SI PIDs
// once, decoded as table files are, with how often it repeated and what
// went wrong in the capture.
#ifndef TAVEL_SI_CAPTURE_DUMP_H
#define TAVEL_SI_CAPTURE_DUMP_H

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

#include "dump.h"
#include "input.h"

namespace tavel_si {

// True when the file's first bytes are transport stream packets.
bool is_capture_file(const std::string& path);

// {"file", "packet_size", "packets", "errors": {...}, "sections": [...]}: each
// section as decode_section gives it plus "pid" and "repetitions".
nlohmann::ordered_json decode_capture(const Input& capture, const DumpOptions& options = {});

// The readable form of decode_capture's document.
void print_capture(const nlohmann::ordered_json& capture, std::ostream& out);

} // namespace tavel_si

#endif
