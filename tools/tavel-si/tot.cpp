#include <cstdio>
#include <ctime>

#include "commands.h"
#include "time_zone.h"

namespace tavel_si {
namespace {

std::string utc_text(int64_t unix_time)
{
    const time_t t = static_cast<time_t>(unix_time);
    tm parts{};
    char text[40] = "?";
    if (gmtime_r(&t, &parts))
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}

std::string utc_offset(int32_t seconds)
{
    char text[16];
    const int32_t a = seconds < 0 ? -seconds : seconds;
    std::snprintf(text, sizeof text, "UTC%c%02d:%02d", seconds < 0 ? '-' : '+', a / 3600, a % 3600 / 60);
    return text;
}

// "2027-03-28T00:59:59Z", nothing else.
bool parse_utc(const std::string& text, int64_t& unix_time)
{
    tm parts{};
    char zulu = 0, tail = 0;
    if (text.size() != 20 ||
        std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c%c", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                    &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &zulu, &tail) != 7 ||
        zulu != 'Z')
        return false;
    const tm given = parts;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    unix_time = static_cast<int64_t>(timegm(&parts));
    // timegm normalises 02-30 to 03-02: such a date was not a real one.
    return parts.tm_mday == given.tm_mday && parts.tm_hour == given.tm_hour && parts.tm_min == given.tm_min &&
           parts.tm_sec == given.tm_sec;
}

} // namespace

int run_tot(const std::vector<std::string>& zones, const std::string& at, std::ostream& out, std::ostream& err)
{
    int64_t when = static_cast<int64_t>(std::time(nullptr));
    if (!at.empty() && !parse_utc(at, when)) {
        err << "tavel-si: error: --at: \"" << at << "\" is not a UTC time like 2027-03-28T00:59:59Z\n";
        return kExitBadInput;
    }
    std::vector<TimeZone> loaded(zones.size());
    for (size_t i = 0; i < zones.size(); ++i) {
        std::string why;
        if (!TimeZone::load(zones[i], loaded[i], why)) {
            err << "tavel-si: error: --zone: " << why << "\n";
            return kExitBadInput;
        }
    }
    out << "TOT offsets at " << utc_text(when) << " (current next change, as passed to the library):\n";
    for (const TimeZone& zone : loaded) {
        const ZoneOffsets z = zone.offsets_at(when);
        out << zone.name() << ": \"" << tot_offset_string(z) << "\" (" << utc_offset(z.current);
        if (z.change != 0)
            out << ", then " << utc_offset(z.next) << " from " << utc_text(z.change) << ")\n";
        else
            out << ", no change ahead)\n";
    }
    return kExitOk;
}

} // namespace tavel_si
