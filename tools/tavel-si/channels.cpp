#include <algorithm>
#include <cstdio>
#include <memory>

#include <tavel/rf_plans.h>

#include "checks.h"
#include "commands.h"

namespace tavel_si {
namespace {

std::string mhz(long khz)
{
    char buf[24];
    std::snprintf(buf, sizeof buf, "%ld.%03ld", khz / 1000, khz % 1000);
    return buf;
}

// Which channels hold a frequency, and whether generate takes it there.
void print_frequency(const std::string& country, int handle, tavel::spectrumInfo& plan, long khz, std::ostream& out)
{
    const std::vector<int32_t>& offsets = usual_offsets_khz(handle);
    out << khz << " kHz in " << country << " (usual offsets: " << describe_offsets(offsets) << ")\n";
    const std::vector<ChannelNear> holding = channels_holding(plan, khz);
    if (holding.empty()) {
        const ChannelNear near = nearest_channel(plan, khz);
        out << "  on no channel; nearest is channel " << near.name << " at " << near.centre_khz << " kHz\n";
        return;
    }
    for (const ChannelNear& ch : holding) {
        const long delta = khz - ch.centre_khz;
        const bool usual = std::find(offsets.begin(), offsets.end(), delta) != offsets.end();
        char line[160];
        std::snprintf(line, sizeof line, "  channel %-4s centre %ld kHz, %ld kHz wide, offset %+ld kHz: %s\n",
                      ch.name.c_str(), static_cast<long>(ch.centre_khz), static_cast<long>(ch.bandwidth_khz), delta,
                      delta == 0 ? "on the centre" : usual ? "a usual offset" : "off the plan (needs \"off_plan\": true)");
        out << line;
    }
}

} // namespace

int run_channels(const std::string& country, long frequency_khz, std::ostream& out, std::ostream& err)
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
    if (frequency_khz != 0) {
        print_frequency(country, handle, *plan, frequency_khz, out);
        return kExitOk;
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
