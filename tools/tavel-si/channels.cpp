#include <cstdio>
#include <memory>

#include <tavel/rf_plans.h>

#include "commands.h"

namespace tavel_si {
namespace {

std::string mhz(long khz)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "%ld.%03ld", khz / 1000, khz % 1000);
    return buf;
}

} // namespace

int run_channels(const std::string& country, std::ostream& out, std::ostream& err)
{
    const int handle = tavel::getThriftCountryHandle(country.c_str());
    if (handle == 0) {
        err << "tavel-si: error: COUNTRY: unknown country code \"" << country
            << "\" (ISO 3166 alpha-2 or alpha-3, e.g. ES or ESP)\n";
        return kExitBadInput;
    }
    std::shared_ptr<tavel::spectrumInfo> plan = tavel::getRfBandsForCountry(handle);
    if (!plan || plan->country < 0) {
        err << "tavel-si: error: COUNTRY: no RF plan for \"" << country << "\"\n";
        return kExitBadInput;
    }
    out << "RF plan of " << country << ": " << plan->bands.size() << (plan->bands.size() == 1 ? " band, " : " bands, ")
        << plan->num_channels << " channels\n";
    for (const auto& entry : plan->bands) {
        const tavel::bandInfo& band = entry.second;
        out << "\nBand " << entry.first << " " << band.name << ": " << mhz(band.start_frequency) << " - "
            << mhz(band.stop_frequency) << " MHz, " << band.channels.size() << " channels\n";
        out << "  channel  centre MHz  bandwidth MHz\n";
        for (const auto& ch : band.channels) {
            char line[96];
            std::snprintf(line, sizeof line, "  %-7s %11s  %13s\n", ch->name.c_str(), mhz(ch->frequency).c_str(),
                          mhz(ch->bandwidth).c_str());
            out << line;
        }
    }
    return kExitOk;
}

} // namespace tavel_si
