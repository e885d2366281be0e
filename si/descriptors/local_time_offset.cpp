#include <tavel/network_descriptors.h>

#include <algorithm>

#include "dvb/byte_io.h"

namespace tavel {

namespace {
constexpr unsigned char kLocalTimeOffsetTag = 0x58;
constexpr size_t kOffsetEntrySize = 13;
constexpr size_t kCountryCodeSize = 3;
constexpr uint8_t kReservedBit = 0x02;
} // namespace

DescriptorLocalTimeOffset::DescriptorLocalTimeOffset() : Descriptor(kLocalTimeOffsetTag, 0) {}

void DescriptorLocalTimeOffset::addNewTimeOffset(const offset_info& entry)
{
    offsets.push_back(entry);
    descriptor_length = static_cast<unsigned char>(descriptor_length + kOffsetEntrySize);
}

// Appends the entries found (earlier ones are kept); reads whole 13-byte
// entries within both the declared length and the bytes present.
void DescriptorLocalTimeOffset::procesarDatos()
{
    bytes::Reader r(data, 0, descriptor_length);
    for (size_t i = 0; r.has(i, kOffsetEntrySize); i += kOffsetEntrySize) {
        offset_info entry;
        const std::vector<char> code = r.slice(i, kCountryCodeSize);
        entry.country_code.assign(code.begin(), code.end());
        const uint8_t region = r.u8(i + 3);
        entry.country_region_id = region >> 2;
        entry.local_time_offset_polarity = region & 1;
        entry.local_time_offset = r.u16(i + 4);
        entry.time_of_change = r.u40(i + 6);
        entry.next_time_offset = r.u16(i + 11);
        offsets.push_back(entry);
    }
}

void DescriptorLocalTimeOffset::generateDataVector()
{
    // The code is written as it stands: a short code makes a short entry.
    size_t size = 0;
    for (const auto& o : offsets)
        size += o.country_code.size() + kOffsetEntrySize - kCountryCodeSize;
    data.assign(size, 0);
    char* p = data.data();
    for (const auto& o : offsets) {
        p = std::copy(o.country_code.begin(), o.country_code.end(), p);
        p = bytes::store8(p, (o.country_region_id << 2) | kReservedBit | (o.local_time_offset_polarity & 1));
        p = bytes::store16(p, o.local_time_offset);
        p = bytes::store40(p, o.time_of_change);
        p = bytes::store16(p, o.next_time_offset);
    }
}

} // namespace tavel
