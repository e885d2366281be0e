#include <tavel/network_descriptors.h>

#include <utility>

namespace tavel {

namespace {
constexpr unsigned char kNetworkNameTag = 0x40;
} // namespace

DescriptorNetworkName::DescriptorNetworkName() : Descriptor(kNetworkNameTag, 0) {}

DescriptorNetworkName::DescriptorNetworkName(std::string name)
    : Descriptor(kNetworkNameTag, static_cast<unsigned char>(name.size())), name(std::move(name))
{
}

// The name is carried byte for byte, selector byte included: no conversion.
void DescriptorNetworkName::procesarDatos()
{
    name.assign(data.begin(), data.end());
}

void DescriptorNetworkName::generateDataVector()
{
    data.assign(name.begin(), name.end());
}

} // namespace tavel
