#include <tavel/coding.h>

#include <cstdint>
#include <syslog.h>

#include "platform/log.h"

namespace tavel {

namespace {
constexpr long kSecondsPerDay = 86400;
constexpr long kMjdOfUnixEpoch = 40587;
constexpr long kLastMjdRejected = 55196; // 31 December 2009
constexpr unsigned long long kEarliestValidTime = 1483228800ULL; // 1 January 2017
constexpr long long kSameTimeSeconds = 5;
} // namespace

int std_time_to_mjd_utc(unsigned long unix_seconds, unsigned long long& mjd_utc)
{
    mjd_utc = 0;
    const long seconds = static_cast<long>(unix_seconds);
    const long days = seconds / kSecondsPerDay;
    const long rest = seconds % kSecondsPerDay;
    const long mjd = days + kMjdOfUnixEpoch;
    if (mjd <= kLastMjdRejected)
        return 0;
    mjd_utc = static_cast<unsigned long long>(mjd % 65536) << 24;
    mjd_utc |= bin_2_bcd4(static_cast<unsigned char>(rest % 60));
    mjd_utc |= static_cast<unsigned long long>(bin_2_bcd4(static_cast<unsigned char>((rest / 60) % 60))) << 8;
    mjd_utc |= static_cast<unsigned long long>(bin_2_bcd4(static_cast<unsigned char>(rest / 3600))) << 16;
    return 1;
}

void mjd_utc_to_gmt_time(const unsigned long long& mjd_utc, tm& out)
{
    // EN 300 468 Annex C, in unsigned integer arithmetic.
    const uint32_t mjd = static_cast<uint32_t>((mjd_utc >> 24) & 0xFFFF);
    const uint32_t y = (mjd * 40 - 603128) / 14610;
    const uint32_t m = (10000 * (mjd - (y * 1461) / 4) - 149561000) / 306001;
    const uint32_t d = mjd - (y * 1461) / 4 - 14956 - (m * 306001) / 10000;
    const uint32_t k = (m == 14 || m == 15) ? 1 : 0;
    out.tm_mon = static_cast<int>(k ? m - 14 : m - 2);
    out.tm_year = static_cast<int>(y + k);
    out.tm_mday = static_cast<int>(d);
    out.tm_wday = static_cast<int>((mjd + 3) % 7);
    // One more than the usual 0-based count; callers expect 1 on 1 January.
    out.tm_yday = static_cast<int>(mjd - 15384 - (((y + k - 1) * 1461) / 4));
    out.tm_sec = bcd4_2_bin(static_cast<unsigned char>(mjd_utc & 0xFF));
    out.tm_min = bcd4_2_bin(static_cast<unsigned char>((mjd_utc >> 8) & 0xFF));
    out.tm_hour = bcd4_2_bin(static_cast<unsigned char>((mjd_utc >> 16) & 0xFF));
    out.tm_isdst = 0;
}

int checkValidezHora(unsigned long long new_time, unsigned long long old_time)
{
    tavel::log(LOG_DEBUG, "Hora %llu, old %llu", new_time, old_time);
    if (new_time <= kEarliestValidTime)
        return 0;
    // The difference is a signed 64-bit value and wraps like one (a new time
    // just below 2^64 is 1 s from 0). Its magnitude is taken unsigned, so the
    // most negative difference counts as far apart instead of overflowing.
    const long long diff = static_cast<long long>(old_time - new_time);
    const unsigned long long magnitude =
        diff < 0 ? 0ULL - static_cast<unsigned long long>(diff) : static_cast<unsigned long long>(diff);
    tavel::log(LOG_DEBUG, "Hora %lli, old %lli", static_cast<long long>(magnitude), kSameTimeSeconds);
    return magnitude < static_cast<unsigned long long>(kSameTimeSeconds + 1) ? 2 : 1;
}

} // namespace tavel
