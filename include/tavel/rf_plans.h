// RF channel plans by country: the bands and named RF channels of each
// supported country, with look-ups by index, name and pattern.
// All frequencies and bandwidths are in kHz.
#ifndef TAVEL_RF_PLANS_H
#define TAVEL_RF_PLANS_H

#include <cstdint>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <tavel/export.h>

namespace tavel {

// One RF channel.
struct TAVEL_API rfChannelInfo {
    std::string name;      // as the plan gives it, e.g. "21", "E5", "S12"; the search key
    int32_t frequency = 0; // centre frequency, kHz
    int32_t bandwidth = 0; // kHz
};

// One frequency band and its channels, in plan order.
struct TAVEL_API bandInfo {
    std::string name;
    int32_t start_frequency = 0;   // lower edge, kHz
    int32_t stop_frequency = 0;    // upper edge, kHz
    int32_t channel_bandwidth = 0; // kHz
    std::vector<std::shared_ptr<rfChannelInfo>> channels;
};

// One country's plan. Channels are counted and searched in ascending band
// number, then plan order within a band. Results share the channel objects;
// an empty pointer means nothing was found.
class TAVEL_API spectrumInfo {
public:
    int32_t country = -1;      // -1 when the country has no plan
    uint32_t num_channels = 0; // over all bands
    std::map<int, bandInfo> bands;

    // The index-th channel counting from 0.
    std::shared_ptr<rfChannelInfo> getRfChannelByIndex(unsigned int index);
    // The first channel whose name is exactly name (case-sensitive).
    std::shared_ptr<rfChannelInfo> getRfChannelByName(const char* name);
    // The first channel whose whole name matches the pattern.
    std::shared_ptr<rfChannelInfo> getRfChannelByName(const std::regex& pattern);
    // Every channel, in order.
    std::vector<std::shared_ptr<rfChannelInfo>> getFlatChannels();
};

// ISO 3166 alpha-2 or alpha-3 code, any letter case, to the country number
// of the plan (1 "ES" Spain ... 15 "RU" Russia); 0 when unknown.
TAVEL_API int getThriftCountryHandle(const char* code);

// A new spectrum object for a country number (from getThriftCountryHandle);
// country -1 and no bands when the plan has no such country.
TAVEL_API std::shared_ptr<spectrumInfo> getRfBandsForCountry(int country);

} // namespace tavel

#endif
