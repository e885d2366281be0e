// A time zone of the system's zone database (TZif files under
// /usr/share/zoneinfo, or TZDIR), read by the tool itself so that the TOT's
// offsets and change times come from the same data the receivers' clocks
// were set by. Times are Unix seconds; offsets are seconds east of UTC.
#ifndef TAVEL_SI_TIME_ZONE_H
#define TAVEL_SI_TIME_ZONE_H

#include <cstdint>
#include <string>
#include <vector>

namespace tavel_si {

// What one TOT entry announces at a given time.
struct ZoneOffsets {
    int32_t current = 0;
    int32_t next = 0;   // equals current when no change follows
    int64_t change = 0; // UTC of the next change; 0 when none follows
};

// The library's offset string: "current next change".
std::string tot_offset_string(const ZoneOffsets& z);

class TimeZone {
  public:
    // Loads a zone by name ("Europe/Madrid"). On failure returns false and
    // sets why to one phrase ("unknown time zone \"Europe/Madird\"").
    static bool load(const std::string& name, TimeZone& zone, std::string& why);
    // Parses TZif bytes (version 2 or later); false when they are not usable.
    static bool parse(const std::vector<char>& bytes, TimeZone& zone);

    const std::string& name() const { return name_; }
    ZoneOffsets offsets_at(int64_t unix_time) const;

  private:
    // One daylight-saving rule of the POSIX TZ footer (Mm.w.d, Jn or n).
    struct RuleDate {
        char kind = 'M'; // 'M', 'J' or 'D' (zero-based day of year)
        int month = 0, week = 0, weekday = 0, day = 0;
        int32_t time = 7200; // local time of day, may be negative or past 24 h
    };
    struct Transition {
        int64_t at;
        int32_t offset;
    };

    bool parse_footer(const std::string& tz);
    int64_t rule_instant(int64_t year, const RuleDate& rule, int32_t offset_before) const;
    std::vector<Transition> footer_transitions(int64_t from_year, int64_t to_year) const;

    std::string name_;
    std::vector<Transition> table_; // from the file, ascending
    int32_t first_offset_ = 0;      // before the first transition
    bool has_footer_ = false;       // the footer rules times after the table
    int32_t std_offset_ = 0, dst_offset_ = 0;
    bool has_dst_ = false;
    RuleDate dst_start_, dst_end_;
};

} // namespace tavel_si

#endif
