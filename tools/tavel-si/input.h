// Reading what a command is given: a table file (sections back to back) or
// a transport stream capture, told apart by content, never by name. Either
// way the result is the list of distinct sections with how often each came.
#ifndef TAVEL_SI_INPUT_H
#define TAVEL_SI_INPUT_H

#include <cstdint>
#include <string>
#include <vector>

#include <tavel/ts.h>

namespace tavel_si {

// PIDs read from a capture unless more are asked for: NIT, SDT/BAT, EIT, TDT/TOT.
extern const std::vector<uint16_t> kSiPids;

enum class IntervalUnit { none, seconds, packets };

// One distinct section: the same PID, table_id, extension, version and
// section_number (for TDT/TOT, which have no version: the same PID and
// table_id) count as one; its bytes are those of the first occurrence.
struct InputSection {
    int pid = -1; // -1 when read from a table file
    unsigned table_id = 0;
    unsigned extension = 0; // table_id_extension, 0 for short sections
    unsigned version = 0;
    unsigned section_number = 0;
    std::vector<char> bytes;
    // TDT and TOT, whose time moves on: the bytes of the last occurrence.
    std::vector<char> last_bytes;

    uint64_t count = 0;        // occurrences
    uint64_t first_packet = 0; // capture packet index of the first (0 for files)
    // Between consecutive occurrences: seconds by the PCR when the capture
    // has one (gaps before its first PCR left out), else packets; none when
    // seen once or read from a table file.
    IntervalUnit unit = IntervalUnit::none;
    double mean_interval = 0;
    double max_interval = 0;
};

struct Input {
    std::string name;
    bool is_ts = false;
    size_t packet_size = 0; // 188, 192 or 204 for a capture
    tavel::TsCounts counts; // capture only; all zero for a table file
    // A table file whose last section is cut short: the bytes left over.
    size_t trailing_bytes = 0;
    std::vector<InputSection> sections; // in order of first appearance
};

// Loads path into input. Returns false, with a one-line reason in error,
// when the file cannot be read or is empty. extra_pids are read from a
// capture besides kSiPids; for a table file they do not matter.
bool load_input(const std::string& path, const std::vector<uint16_t>& extra_pids, Input& input, std::string& error);

} // namespace tavel_si

#endif
