#include "rf/plan_builder.h"

namespace tavel {

std::shared_ptr<spectrumInfo> buildSpectrum(int country, const thrift::coax::RfChannelPlan& plan)
{
    auto spectrum = std::make_shared<spectrumInfo>();
    auto found = plan.find(country);
    if (found == plan.end())
        return spectrum;

    spectrum->country = country;
    for (const auto& [band_number, band] : found->second) {
        if (!band.enabled)
            continue;
        bandInfo entry;
        entry.name = band.name;
        entry.start_frequency = band.start_frequency;
        entry.stop_frequency = band.stop_frequency;
        entry.channel_bandwidth = band.channel_bandwidth;
        entry.channels.reserve(band.channels.size());
        for (const auto& channel : band.channels) {
            auto info = std::make_shared<rfChannelInfo>();
            info->name = channel.name;
            info->frequency = channel.frequency;
            info->bandwidth = channel.bandwidth;
            entry.channels.push_back(std::move(info));
            ++spectrum->num_channels;
        }
        spectrum->bands.emplace(band_number, std::move(entry));
    }
    return spectrum;
}

std::shared_ptr<spectrumInfo> getRfBandsForCountry(int country)
{
    return buildSpectrum(country, thrift::coax::rfchannels_constants().rfchannels);
}

} // namespace tavel
