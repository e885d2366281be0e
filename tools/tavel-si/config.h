// The JSON description of a headend, read and checked as a whole before
// anything is written. Every problem is reported as one ConfigError whose
// text names the field (outputs[1].services[0].lcn: ...).
#ifndef TAVEL_SI_CONFIG_H
#define TAVEL_SI_CONFIG_H

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <tavel/service_records.h>

#include "time_zone.h"

namespace tavel_si {

struct ConfigError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A TOT entry: numbers as given, or a zone resolved when the TOT is made.
struct TimeOffsetEntry {
    bool from_zone = false;
    TimeZone zone;
    ZoneOffsets fixed; // seconds east of UTC; change in Unix seconds, 0 none
};

struct HeadendConfig {
    std::string country;        // ISO 3166 alpha-3
    uint16_t network_id = 0;
    std::string network_name;
    uint8_t nit_table_id = 0x40;
    uint16_t service_list = 1;  // con_service_list
    uint16_t lcn_flavour = 0;   // tipo_lcn
    uint16_t scramble_all = 0;  // modoScrambling of every SDT
    std::map<uint16_t, tavel::datos_salidas> outputs; // by TSID
    std::vector<std::vector<char>> pattern_nits;      // file contents
    std::vector<std::vector<char>> pattern_sdts;
    std::vector<std::pair<uint16_t, uint16_t>> ts_from_patterns; // (TSID, ONID)
    std::string tot_country;
    std::vector<TimeOffsetEntry> tot_entries;
};

// The TOT's offset strings ("current next change") at unix_now.
std::vector<std::string> tot_offsets_at(const HeadendConfig& cfg, long long unix_now);

// text: the JSON document; base_dir: where relative pattern paths start.
HeadendConfig parse_config(const std::string& text, const std::string& base_dir);
// Reads the file, then parse_config with the file's directory.
HeadendConfig load_config(const std::string& path);

} // namespace tavel_si

#endif
