#include <tavel/rf_plans.h>

#include <cstring>

namespace tavel {

std::shared_ptr<rfChannelInfo> spectrumInfo::getRfChannelByIndex(unsigned int index)
{
    if (index >= num_channels)
        return nullptr;
    for (const auto& entry : bands) {
        const auto& channels = entry.second.channels;
        if (index < channels.size())
            return channels[index];
        index -= static_cast<unsigned int>(channels.size());
    }
    // A caller changed the bands behind num_channels' back.
    return nullptr;
}

std::shared_ptr<rfChannelInfo> spectrumInfo::getRfChannelByName(const char* name)
{
    if (name == nullptr)
        return nullptr;
    for (const auto& entry : bands)
        for (const auto& channel : entry.second.channels)
            if (channel && channel->name == name)
                return channel;
    return nullptr;
}

std::shared_ptr<rfChannelInfo> spectrumInfo::getRfChannelByName(const std::regex& pattern)
{
    for (const auto& entry : bands)
        for (const auto& channel : entry.second.channels)
            if (channel && std::regex_match(channel->name, pattern))
                return channel;
    return nullptr;
}

std::vector<std::shared_ptr<rfChannelInfo>> spectrumInfo::getFlatChannels()
{
    std::vector<std::shared_ptr<rfChannelInfo>> flat;
    flat.reserve(num_channels);
    for (const auto& entry : bands)
        flat.insert(flat.end(), entry.second.channels.begin(), entry.second.channels.end());
    return flat;
}

} // namespace tavel
