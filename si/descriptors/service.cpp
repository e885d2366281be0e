#include <tavel/service_descriptors.h>

#include <algorithm>
#include <utility>

#include "dvb/byte_io.h"
#include "dvb/dvb_text_decode.h"

namespace tavel {

namespace {
constexpr unsigned char kServiceTag = 0x48;
// service_type and the two name-length bytes.
constexpr unsigned char kServiceFixedBytes = 3;
// ... plus the two selector bytes written in front of the names.
constexpr unsigned char kServiceFixedBytesWithSelectors = 5;
constexpr unsigned char kSelectorUtf8 = 0x15;

// A name field: its length byte counts the selector byte written in front.
char* store_name(char* p, unsigned char charset, const std::string& name)
{
    p = bytes::store8(p, static_cast<uint32_t>(name.size() + 1));
    p = bytes::store8(p, charset);
    return std::copy(name.begin(), name.end(), p);
}
} // namespace

DescriptorService::DescriptorService()
    : Descriptor(kServiceTag, kServiceFixedBytes), service_type(0), provider_charset(0), service_name_charset(0)
{
}

DescriptorService::DescriptorService(unsigned char service_type, std::string provider_name, std::string service_name)
    : Descriptor(kServiceTag,
                 static_cast<unsigned char>(provider_name.size() + service_name.size() + kServiceFixedBytesWithSelectors)),
      service_type(service_type), provider_charset(kSelectorUtf8), provider_name(std::move(provider_name)),
      service_name_charset(kSelectorUtf8), service_name(std::move(service_name))
{
}

void DescriptorService::setProvider(const std::string& name)
{
    descriptor_length = static_cast<unsigned char>(descriptor_length + name.size() - provider_name.size());
    provider_name = name;
    provider_charset = kSelectorUtf8;
}

void DescriptorService::setName(const std::string& name)
{
    descriptor_length = static_cast<unsigned char>(descriptor_length + name.size() - service_name.size());
    service_name = name;
    service_name_charset = kSelectorUtf8;
}

// Short payloads: fields past the end of the payload read as empty.
void DescriptorService::procesarDatos()
{
    bytes::Reader r(data, 0, descriptor_length);
    service_type = r.u8(0);
    const size_t provider_size = r.u8(1);
    const bytes::Reader::View provider = r.view(2, provider_size);
    provider_name = text::decode(provider.data, provider.size);
    provider_charset = kSelectorUtf8;

    const size_t name_offset = 2 + provider_size;
    const size_t name_size = r.u8(name_offset);
    const bytes::Reader::View name = r.view(name_offset + 1, name_size);
    service_name = text::decode(name.data, name.size);
    service_name_charset = kSelectorUtf8;
}

void DescriptorService::generateDataVector()
{
    data.assign(kServiceFixedBytesWithSelectors + provider_name.size() + service_name.size(), 0);
    char* p = bytes::store8(data.data(), service_type);
    p = store_name(p, provider_charset, provider_name);
    store_name(p, service_name_charset, service_name);
    // A name re-emitted as UTF-8 may differ in size from the bytes it was
    // parsed from; only the written size keeps the SDT well formed.
    descriptor_length = static_cast<unsigned char>(data.size());
}

} // namespace tavel
