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
    // Sized first and written field by field: an entry built on the stack
    // and copied in whole is read back before its stores land.
    services.resize(r.size() / kServiceListEntrySize);
    size_t i = 0;
    for (auto& entry : services) {
        entry.service_id = r.u16(i);
        entry.service_type = r.u8(i + 2);
        i += kServiceListEntrySize;
    }
}

void DescriptorServiceList::generateDataVector()
{
    data.assign(services.size() * kServiceListEntrySize, 0);
    char* p = data.data();
    for (const auto& s : services)
        p = bytes::store8(bytes::store16(p, s.service_id), s.service_type);
}

} // namespace tavel
