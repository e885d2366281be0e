// The tool's commands other than generate's pieces; each returns the exit
// status (0 done, 1 could not write or generate, 2 bad input).
#ifndef TAVEL_SI_COMMANDS_H
#define TAVEL_SI_COMMANDS_H

#include <ostream>
#include <string>
#include <vector>

namespace tavel_si {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitBadInput = 2 };

// The RF plan of a country (alpha-2 or alpha-3 code); with frequency_khz
// (not 0) only the channels that frequency lies on.
int run_channels(const std::string& country, long frequency_khz, std::ostream& out, std::ostream& err);

// The TOT offset strings of each zone at a UTC time ("2027-03-28T00:59:59Z";
// empty: now).
int run_tot(const std::vector<std::string>& zones, const std::string& at, std::ostream& out, std::ostream& err);

// The built-in sample headend published under root, then dumped.
int run_demo(const std::string& root, std::ostream& out, std::ostream& err);

// What changed from the tables in old_path to those in new_path (table
// files or captures): 0 same, 1 different, 2 bad input.
int run_diff(const std::string& old_path, const std::string& new_path, bool as_json, std::ostream& out,
             std::ostream& err);

// The capture's tables against those published under root (NIT, each SDT,
// TOT): 0 all on air and on time, 1 otherwise, 2 bad input.
int run_verify(const std::string& capture_path, const std::string& root, bool as_json, std::ostream& out,
               std::ostream& err);

// Exposed for the tests' benefit: the demo's description and its pattern tables.
std::string demo_config_json();
std::vector<char> demo_pattern_nit();
std::vector<char> demo_pattern_sdt();

// tavel-si ts: table files (or captures) played out as a transport stream.
struct TsOptions {
    std::vector<std::string> files;
    std::string output;
    double duration = 30;     // seconds
    double bitrate = 1000000; // bit/s
    bool with_pat = false;    // PAT and one PMT per SDT-actual service
    std::vector<std::string> intervals; // KIND=SECONDS overrides
};
int run_ts(const TsOptions& options, std::ostream& out, std::ostream& err);

} // namespace tavel_si

#endif
