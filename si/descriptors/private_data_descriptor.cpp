#include <tavel/network_descriptors.h>

#include "dvb/byte_io.h"

namespace tavel {

namespace {
constexpr unsigned char kPrivateDataSpecifierTag = 0x5F;
constexpr unsigned char kPrivateDataSpecifierLength = 4;
} // namespace

DescriptorPrivateDataSpecifier::DescriptorPrivateDataSpecifier() : DescriptorPrivateDataSpecifier(0) {}

DescriptorPrivateDataSpecifier::DescriptorPrivateDataSpecifier(unsigned long value)
    : Descriptor(kPrivateDataSpecifierTag, kPrivateDataSpecifierLength),
      private_data_specifier(static_cast<uint32_t>(value))
{
}

void DescriptorPrivateDataSpecifier::procesarDatos()
{
    private_data_specifier = bytes::Reader(data).u32(0);
}

void DescriptorPrivateDataSpecifier::generateDataVector()
{
    data.clear();
    data.reserve(descriptor_length);
    bytes::put32(data, private_data_specifier);
}

} // namespace tavel
