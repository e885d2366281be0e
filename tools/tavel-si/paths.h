// Where the tool finds the headend's table files. The library maps its
// fixed paths under TAVEL_ROOT; the tool mirrors that for the files it
// names itself (per-output SDTs, the promoted NIT).
#ifndef TAVEL_SI_PATHS_H
#define TAVEL_SI_PATHS_H

#include <cstdint>
#include <string>

namespace tavel_si {

// TAVEL_ROOT (when set and non-empty) in front of a fixed platform path.
std::string rooted(const std::string& platform_path);

// The tables directory and the files in it.
std::string tables_dir();
std::string nit_sent_path();   // NIT last sent: what the multiplexer plays out
std::string nit_new_path();    // new NIT, written by the generator
std::string tot_path();
// One SDT (actual) per output, named by its transport_stream_id in decimal.
std::string sdt_output_name(uint16_t tsid);
std::string sdt_output_path(uint16_t tsid);

} // namespace tavel_si

#endif
