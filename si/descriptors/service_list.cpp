#include <tavel/service_descriptors.h>

#include "dvb/byte_io.h"

namespace tavel {

namespace {
constexpr unsigned char kServiceListTag = 0x41;
constexpr size_t kServiceListEntrySize = 3;
} // namespace

DescriptorServiceList::DescriptorServiceList() : Descriptor(kServiceListTag, 0) {}

void DescriptorServiceList::addNewService(unsigned short service_id, unsigned char service_type)
{
    services.push_back({service_id, service_type});
    descriptor_length = static_cast<unsigned char>(descriptor_length + kServiceListEntrySize);
}

// Reads whole entries within both the declared length and the bytes present.
void DescriptorServiceList::procesarDatos()
{
    services.clear();
    bytes::Reader r(data, 0, descriptor_length);
    services.reserve(r.size() / kServiceListEntrySize);
    for (size_t i = 0; r.has(i, kServiceListEntrySize); i += kServiceListEntrySize)
        services.push_back({r.u16(i), r.u8(i + 2)});
}

void DescriptorServiceList::generateDataVector()
{
    data.clear();
    data.reserve(descriptor_length);
    for (const auto& s : services) {
        bytes::put16(data, s.service_id);
        bytes::put8(data, s.service_type);
    }
}

} // namespace tavel
