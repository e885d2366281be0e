// Publishing a checked headend description the way the headend's programs
// do: NIT versioned against the NIT last sent and promoted, one SDT per
// output, the TOT for the current time.
#ifndef TAVEL_SI_PUBLISH_H
#define TAVEL_SI_PUBLISH_H

#include <ostream>
#include <string>
#include <vector>

#include "config.h"

namespace tavel_si {

struct PublishResult {
    bool ok = true;                 // false: a file could not be written
    bool changed = false;           // some NIT or SDT was published
    std::vector<std::string> files; // every table file of this headend, NIT first
};

// One line per table to out, problems to err. unix_now: the TOT's time.
// dry_run: the same lines for what would be published; nothing is written.
PublishResult publish(const HeadendConfig& cfg, long long unix_now, std::ostream& out, std::ostream& err,
                      bool dry_run = false);

} // namespace tavel_si

#endif
