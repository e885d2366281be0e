#include <tavel/network_descriptors.h>

#include <utility>

#include "dvb/byte_io.h"

namespace tavel {

namespace {
constexpr unsigned char kLinkageTag = 0x4A;
constexpr size_t kLinkageFixedBytes = 7;
} // namespace

DescriptorLinkage::DescriptorLinkage() : DescriptorLinkage(0, 0, 0, 0, {}) {}

DescriptorLinkage::DescriptorLinkage(unsigned short transport_stream_id, unsigned short original_network_id,
                                     unsigned short service_id, unsigned char linkage_type,
                                     std::vector<char> private_data_bytes)
    : Descriptor(kLinkageTag, static_cast<unsigned char>(kLinkageFixedBytes + private_data_bytes.size())),
      transport_stream_id(transport_stream_id), original_network_id(original_network_id), service_id(service_id),
      linkage_type(linkage_type), private_data_bytes(std::move(private_data_bytes))
{
}

// Missing fixed bytes read as 0; the private bytes are whatever data holds
// after offset 7 (the vector, not the length byte, bounds them).
void DescriptorLinkage::procesarDatos()
{
    bytes::Reader r(data);
    transport_stream_id = r.u16(0);
    original_network_id = r.u16(2);
    service_id = r.u16(4);
    linkage_type = r.u8(6);
    private_data_bytes = r.slice(kLinkageFixedBytes, r.size());
}

void DescriptorLinkage::generateDataVector()
{
    data.clear();
    data.reserve(descriptor_length);
    bytes::put16(data, transport_stream_id);
    bytes::put16(data, original_network_id);
    bytes::put16(data, service_id);
    bytes::put8(data, linkage_type);
    data.insert(data.end(), private_data_bytes.begin(), private_data_bytes.end());
}

} // namespace tavel
