#include "checks.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

#include <tavel/constants.h>

namespace tavel_si {
namespace {

[[noreturn]] void fail(const std::string& field, const std::string& what)
{
    throw ConfigError(field + ": " + what);
}

std::string khz(int64_t v)
{
    return std::to_string(v) + " kHz";
}

std::string span(int64_t lo, int64_t hi)
{
    return std::to_string(lo) + "-" + std::to_string(hi) + " kHz";
}

// What each LCN flavour carries on the wire, and the library's own bound.
struct LcnRange {
    uint16_t max;
    const char* carried;
};

LcnRange lcn_range(uint16_t flavour)
{
    if (flavour == 2)
        return {1022, "14-bit field, numbers above 1022 dropped"};
    // Flavour 3's descriptor accepts up to 16382 but sends only 10 bits.
    if (flavour == 3)
        return {1023, "10 bits sent"};
    return {1022, "10 bits, 1023 dropped"};
}

} // namespace

const std::vector<int32_t>& usual_offsets_khz(int country_handle)
{
    // Offsets real transmitters use (dtv-scan-tables' dvb-t files): the
    // United Kingdom and France ±1/6 MHz (written 166 or 167 kHz),
    // Australia +125 kHz. Everywhere else the centre itself.
    static const std::vector<int32_t> none;
    static const std::vector<int32_t> sixth = {-167, -166, 166, 167};
    static const std::vector<int32_t> eighth_up = {125};
    static const std::map<int, const std::vector<int32_t>*> by_country = {{2, &sixth}, {3, &sixth}, {4, &eighth_up}};
    const auto it = by_country.find(country_handle);
    return it == by_country.end() ? none : *it->second;
}

std::string describe_offsets(const std::vector<int32_t>& offsets)
{
    std::string text;
    for (int32_t o : offsets) {
        if (o < 0 && std::find(offsets.begin(), offsets.end(), -o) != offsets.end())
            continue; // written once as ±
        const bool both = o > 0 && std::find(offsets.begin(), offsets.end(), -o) != offsets.end();
        text += (text.empty() ? "" : ", ") + std::string(both ? "±" : o > 0 ? "+" : "-") + std::to_string(std::abs(o));
    }
    return text.empty() ? "none" : text + " kHz";
}

std::vector<ChannelNear> channels_holding(tavel::spectrumInfo& plan, int64_t khz)
{
    std::vector<ChannelNear> out;
    for (const auto& ch : plan.getFlatChannels()) {
        if (2 * khz >= 2LL * ch->frequency - ch->bandwidth && 2 * khz < 2LL * ch->frequency + ch->bandwidth)
            out.push_back({ch->name, ch->frequency, ch->bandwidth});
    }
    return out;
}

ChannelNear nearest_channel(tavel::spectrumInfo& plan, int64_t khz)
{
    ChannelNear best;
    int64_t best_distance = -1;
    for (const auto& ch : plan.getFlatChannels()) {
        const int64_t distance = std::llabs(khz - ch->frequency);
        if (best_distance < 0 || distance < best_distance) {
            best = {ch->name, ch->frequency, ch->bandwidth};
            best_distance = distance;
        }
    }
    return best;
}

void check_outputs_on_plan(const std::string& country, const std::vector<OutputOnAir>& outputs)
{
    const int handle = tavel::getThriftCountryHandle(country.c_str());
    std::shared_ptr<tavel::spectrumInfo> plan = handle ? tavel::getRfBandsForCountry(handle) : nullptr;
    const std::vector<int32_t>& offsets = usual_offsets_khz(handle);
    struct Occupied {
        int64_t lo, hi;
    };
    std::vector<Occupied> occupied;
    for (const OutputOnAir& o : outputs) {
        const std::string field = o.field + ".frequency_khz";
        const int64_t f = o.frequency_khz;
        Occupied here{f - o.width_khz / 2, f + (o.width_khz + 1) / 2};
        if (!o.off_plan) {
            if (!plan || plan->num_channels == 0)
                fail(field, "no channel plan for " + country + "; say \"off_plan\": true to use " + khz(f));
            bool found = false;
            for (const auto& ch : plan->getFlatChannels()) {
                const int64_t delta = f - ch->frequency;
                if (delta == 0 || std::find(offsets.begin(), offsets.end(), delta) != offsets.end()) {
                    here = {ch->frequency - ch->bandwidth / 2, ch->frequency + (ch->bandwidth + 1) / 2};
                    found = true;
                    break;
                }
            }
            if (!found) {
                const ChannelNear near = nearest_channel(*plan, f);
                fail(field,
                     khz(f) + " is not a channel centre of " + country +
                         (offsets.empty() ? "" : " nor a usual offset from one (" + describe_offsets(offsets) + ")") +
                         "; nearest is channel " + near.name + " at " + khz(near.centre_khz));
            }
        }
        for (size_t k = 0; k < occupied.size(); ++k) {
            if (here.lo < occupied[k].hi && occupied[k].lo < here.hi)
                fail(field, khz(f) + " (" + span(here.lo, here.hi) + ") overlaps " + outputs[k].field + " at " +
                                khz(outputs[k].frequency_khz) + " (" + span(occupied[k].lo, occupied[k].hi) + ")");
        }
        occupied.push_back(here);
    }
}

uint16_t checked_lcn(const std::string& field, uint64_t lcn, uint16_t flavour)
{
    if (flavour == 0 && lcn != 0)
        fail(field, std::to_string(lcn) + " is never sent: network.lcn_flavour is 0 (no LCN descriptor)");
    const LcnRange range = lcn_range(flavour);
    if (lcn > range.max)
        fail(field, std::to_string(lcn) + " is out of range 0.." + std::to_string(range.max) + " of LCN flavour " +
                        std::to_string(flavour) + " (" + range.carried + ")");
    return static_cast<uint16_t>(lcn);
}

void check_shared_lcns(const std::vector<NumberedService>& services, const std::set<uint16_t>& allowed)
{
    std::map<uint16_t, const NumberedService*> first;
    for (const NumberedService& s : services) {
        if (s.lcn == 0 || allowed.count(s.lcn))
            continue;
        const auto [it, fresh] = first.emplace(s.lcn, &s);
        if (!fresh)
            fail(s.field + ".lcn", "LCN " + std::to_string(s.lcn) + " of \"" + s.name + "\" is already that of \"" +
                                       it->second->name + "\" (" + it->second->field +
                                       "); receivers would hide one (network.allow_shared_lcn lists numbers "
                                       "regional variants share)");
    }
}

void check_names_fit(const std::string& field, const std::string& name, const std::string& provider)
{
    // Service descriptor: type, then each text behind its length byte and
    // 0x15 (UTF-8) selector; the SDT always writes the maker as provider.
    const size_t fixed = 5;
    const size_t sent_provider = sizeof tavel::constants::kMakerLabel - 1;
    if (fixed + sent_provider + name.size() > 255)
        fail(field + ".name",
             std::to_string(name.size()) + " bytes in UTF-8, at most " + std::to_string(255 - fixed - sent_provider) +
                 " fit a service descriptor beside the provider \"" + tavel::constants::kMakerLabel + "\"");
    if (fixed + provider.size() + name.size() > 255)
        fail(field + ".provider", std::to_string(provider.size()) + " bytes in UTF-8, with the " +
                                      std::to_string(name.size()) + "-byte name a service descriptor of " +
                                      std::to_string(fixed + provider.size() + name.size()) + " bytes, at most 255");
}

} // namespace tavel_si
