#include "time_zone.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>

#include <dvb/byte_io.h>
#include <tavel/file_io.h>

namespace tavel_si {
namespace {

constexpr int64_t kDay = 86400;
// Zone files are a few kilobytes; anything far larger is not one.
constexpr uintmax_t kMaxZoneFile = 1 << 20;
constexpr int64_t kLastTime = 253402300799; // 9999-12-31 23:59:59

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t days_from_civil(int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

int64_t year_of(int64_t unix_time)
{
    int64_t days = unix_time / kDay - (unix_time % kDay < 0 ? 1 : 0);
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(days - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    return static_cast<int64_t>(yoe) + era * 400 + (mp >= 10 ? 1 : 0);
}

bool leap(int64_t y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

unsigned days_in_month(int64_t y, int m)
{
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && leap(y) ? 29 : days[m - 1];
}

// Reads the POSIX TZ string left to right; every step fails softly.
class FooterReader {
  public:
    explicit FooterReader(const std::string& s) : s_(s) {}
    bool done() const { return i_ >= s_.size(); }
    bool eat(char c)
    {
        if (i_ < s_.size() && s_[i_] == c) {
            ++i_;
            return true;
        }
        return false;
    }
    bool peek_sign_or_digit() const
    {
        return i_ < s_.size() && (s_[i_] == '+' || s_[i_] == '-' || std::isdigit(static_cast<unsigned char>(s_[i_])));
    }
    // "CET" or "<+0330>".
    bool name()
    {
        if (eat('<')) {
            const size_t close = s_.find('>', i_);
            if (close == std::string::npos)
                return false;
            i_ = close + 1;
            return true;
        }
        const size_t start = i_;
        while (i_ < s_.size() && std::isalpha(static_cast<unsigned char>(s_[i_])))
            ++i_;
        return i_ - start >= 3;
    }
    bool number(int lo, int hi, int& n)
    {
        const size_t start = i_;
        n = 0;
        while (i_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[i_])) && i_ - start < 4)
            n = n * 10 + (s_[i_++] - '0');
        return i_ > start && n >= lo && n <= hi;
    }
    // [+-]hh[:mm[:ss]] in seconds; hours up to 167 as the rules' times allow.
    bool hms(int32_t& seconds)
    {
        const bool negative = eat('-');
        if (!negative)
            eat('+');
        int h = 0, m = 0, sec = 0;
        if (!number(0, 167, h))
            return false;
        if (eat(':') && (!number(0, 59, m) || (eat(':') && !number(0, 59, sec))))
            return false;
        seconds = (h * 3600 + m * 60 + sec) * (negative ? -1 : 1);
        return true;
    }

  private:
    const std::string& s_;
    size_t i_ = 0;
};

} // namespace

std::string tot_offset_string(const ZoneOffsets& z)
{
    return std::to_string(z.current) + " " + std::to_string(z.next) + " " + std::to_string(z.change);
}

bool TimeZone::load(const std::string& name, TimeZone& zone, std::string& why)
{
    // Only names the database itself uses: no way out of its directory.
    bool valid = !name.empty() && name.size() <= 255 && name.front() != '/' && name.back() != '/';
    for (char c : name)
        valid = valid && (std::isalnum(static_cast<unsigned char>(c)) || c == '/' || c == '_' || c == '-' || c == '+');
    for (size_t start = 0; valid && start <= name.size();) {
        const size_t slash = std::min(name.find('/', start), name.size());
        const std::string part = name.substr(start, slash - start);
        valid = !part.empty() && part != "." && part != "..";
        start = slash + 1;
    }
    if (!valid) {
        why = "\"" + name + "\" is not a time zone name (e.g. \"Europe/Madrid\")";
        return false;
    }
    const char* tzdir = std::getenv("TZDIR");
    const std::string dir = tzdir && *tzdir ? tzdir : "/usr/share/zoneinfo";
    const std::string path = dir + "/" + name;
    std::error_code ec;
    std::vector<char> bytes;
    if (!std::filesystem::is_regular_file(path, ec) || std::filesystem::file_size(path, ec) > kMaxZoneFile || ec ||
        !tavel::read_char_vector_from_file(path, bytes)) {
        why = "unknown time zone \"" + name + "\" (not in " + dir + ")";
        return false;
    }
    if (!parse(bytes, zone)) {
        why = path + " is not a usable zone file (TZif version 2 or later, no leap seconds)";
        return false;
    }
    zone.name_ = name;
    return true;
}

bool TimeZone::parse(const std::vector<char>& bytes, TimeZone& zone)
{
    const tavel::bytes::Reader r(bytes);
    const auto header_ok = [&](size_t at) {
        return r.has(at, 44) && r.u8(at) == 'T' && r.u8(at + 1) == 'Z' && r.u8(at + 2) == 'i' && r.u8(at + 3) == 'f';
    };
    // Counts: isutcnt, isstdcnt, leapcnt, timecnt, typecnt, charcnt.
    const auto count = [&](size_t header, int k) { return static_cast<uint64_t>(r.u32(header + 20 + 4 * k)); };
    const auto block = [&](size_t header, uint64_t time_size) {
        return count(header, 3) * time_size + count(header, 3) + count(header, 4) * 6 + count(header, 5) +
               count(header, 2) * (time_size + 4) + count(header, 1) + count(header, 0);
    };
    if (!header_ok(0) || r.u8(4) < '2')
        return false;
    const uint64_t v2 = 44 + block(0, 4);
    if (v2 > bytes.size() || !header_ok(v2))
        return false;
    const uint64_t timecnt = count(v2, 3), typecnt = count(v2, 4);
    const uint64_t data = v2 + 44, end = data + block(v2, 8);
    if (count(v2, 2) != 0 || typecnt == 0 || typecnt > 256 || end > bytes.size())
        return false;

    TimeZone z;
    const uint64_t types = data + timecnt * 9;
    const auto type_offset = [&](uint64_t k) { return static_cast<int32_t>(r.u32(types + k * 6)); };
    z.first_offset_ = type_offset(0);
    for (uint64_t k = 0; k < timecnt; ++k) {
        const uint8_t type = r.u8(data + timecnt * 8 + k);
        if (type >= typecnt)
            return false;
        const uint64_t at = (static_cast<uint64_t>(r.u32(data + k * 8)) << 32) | r.u32(data + k * 8 + 4);
        // Ascending, and not past year 9999, so that rule dates stay in range.
        if ((!z.table_.empty() && static_cast<int64_t>(at) <= z.table_.back().at) ||
            static_cast<int64_t>(at) > kLastTime)
            return false;
        z.table_.push_back({static_cast<int64_t>(at), type_offset(type)});
    }
    // The footer: "\n" TZ "\n" right after the data.
    if (end >= bytes.size() || r.u8(end) != '\n')
        return false;
    std::string tz;
    size_t i = end + 1;
    for (; i < bytes.size() && r.u8(i) != '\n'; ++i)
        tz.push_back(static_cast<char>(r.u8(i)));
    if (i >= bytes.size() || (!tz.empty() && !z.parse_footer(tz)))
        return false;
    zone = std::move(z);
    return true;
}

bool TimeZone::parse_footer(const std::string& tz)
{
    FooterReader f(tz);
    int32_t posix = 0;
    if (!f.name() || !f.hms(posix))
        return false;
    // POSIX counts west of Greenwich as positive.
    std_offset_ = -posix;
    has_footer_ = true;
    if (f.done())
        return true;
    if (!f.name())
        return false;
    dst_offset_ = std_offset_ + 3600;
    if (f.peek_sign_or_digit()) {
        if (!f.hms(posix))
            return false;
        dst_offset_ = -posix;
    }
    const auto rule = [&](RuleDate& d) {
        if (!f.eat(','))
            return false;
        bool ok;
        if (f.eat('M')) {
            d.kind = 'M';
            ok = f.number(1, 12, d.month) && f.eat('.') && f.number(1, 5, d.week) && f.eat('.') &&
                 f.number(0, 6, d.weekday);
        } else if (f.eat('J')) {
            d.kind = 'J';
            ok = f.number(1, 365, d.day);
        } else {
            d.kind = 'D';
            ok = f.number(0, 365, d.day);
        }
        return ok && (!f.eat('/') || f.hms(d.time));
    };
    has_dst_ = rule(dst_start_) && rule(dst_end_) && f.done();
    return has_dst_;
}

int64_t TimeZone::rule_instant(int64_t year, const RuleDate& rule, int32_t offset_before) const
{
    int64_t days = days_from_civil(year, 1, 1);
    if (rule.kind == 'J') {
        days += rule.day - 1 + (leap(year) && rule.day >= 60 ? 1 : 0);
    } else if (rule.kind == 'D') {
        days += rule.day;
    } else {
        const int64_t first = days_from_civil(year, static_cast<unsigned>(rule.month), 1);
        const int weekday_first = static_cast<int>(((first + 4) % 7 + 7) % 7); // 1970-01-01 was a Thursday
        int day = (rule.weekday - weekday_first + 7) % 7 + (rule.week - 1) * 7;
        while (day >= static_cast<int>(days_in_month(year, rule.month)))
            day -= 7;
        days = first + day;
    }
    return days * kDay + rule.time - offset_before;
}

std::vector<TimeZone::Transition> TimeZone::footer_transitions(int64_t from_year, int64_t to_year) const
{
    std::vector<Transition> out;
    for (int64_t y = from_year; y <= to_year; ++y) {
        out.push_back({rule_instant(y, dst_start_, std_offset_), dst_offset_});
        out.push_back({rule_instant(y, dst_end_, dst_offset_), std_offset_});
    }
    std::stable_sort(out.begin(), out.end(), [](const Transition& a, const Transition& b) { return a.at < b.at; });
    return out;
}

ZoneOffsets TimeZone::offsets_at(int64_t unix_time) const
{
    // Every transition that can matter: the file's, then the footer's for
    // the years around the later of now and the file's last transition.
    // Rule dates are computed up to year 9999 only.
    unix_time = std::min(std::max(unix_time, -kLastTime), kLastTime);
    std::vector<Transition> all = table_;
    const int64_t last = table_.empty() ? INT64_MIN : table_.back().at;
    int32_t before = first_offset_;
    if (has_footer_ && !has_dst_ && table_.empty()) {
        before = std_offset_;
    } else if (has_dst_) {
        const int64_t year = year_of(std::max(unix_time, table_.empty() ? unix_time : last));
        for (const Transition& t : footer_transitions(year - 1, year + 2))
            if (t.at > last)
                all.push_back(t);
        if (table_.empty())
            before = all.front().offset;
    }
    ZoneOffsets z;
    z.current = before;
    size_t i = 0;
    for (; i < all.size() && all[i].at <= unix_time; ++i)
        z.current = all[i].offset;
    z.next = z.current;
    // Transitions that only rename the zone (same offset) are no change.
    for (; i < all.size(); ++i) {
        const bool superseded = i + 1 < all.size() && all[i + 1].at == all[i].at;
        if (!superseded && all[i].offset != z.current) {
            z.next = all[i].offset;
            z.change = all[i].at;
            break;
        }
    }
    return z;
}

} // namespace tavel_si
