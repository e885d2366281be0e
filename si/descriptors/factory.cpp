#include <tavel/descriptor.h>

#include <tavel/delivery_descriptors.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

namespace tavel {

namespace {
constexpr unsigned short kLcnChannelListMode = 3;
} // namespace

std::shared_ptr<Descriptor> Descriptor::getPtrDescriptorType(unsigned short tag)
{
    switch (tag) {
    case 0x40:
        return std::make_shared<DescriptorNetworkName>();
    case 0x41:
        return std::make_shared<DescriptorServiceList>();
    case 0x43:
        return std::make_shared<DescriptorSatelliteDeliverySystem>();
    case 0x44:
        return std::make_shared<DescriptorCableDeliverySystem>();
    case 0x48:
        return std::make_shared<DescriptorService>();
    case 0x4A:
        return std::make_shared<DescriptorLinkage>();
    case 0x58:
        return std::make_shared<DescriptorLocalTimeOffset>();
    case 0x5A:
        return std::make_shared<DescriptorTerrestrialDeliverySystem>();
    case 0x5F:
        return std::make_shared<DescriptorPrivateDataSpecifier>();
    case 0x83:
        return std::make_shared<DescriptorLCN>();
    case 0x87:
        return std::make_shared<DescriptorLCN>(kLcnChannelListMode);
    default:
        // Tag 0 on purpose: the parser sets tag and length from the bytes it read.
        return std::make_shared<Descriptor>();
    }
}

} // namespace tavel
