#include <tavel/service_descriptors.h>

#include "dvb/byte_io.h"

namespace tavel {

namespace {
constexpr unsigned char kLcnTag = 0x83;
constexpr unsigned char kLcnChannelListTag = 0x87;
constexpr uint16_t kModeChannelList = 3;
constexpr uint16_t kModeFourteenBits = 2;
constexpr unsigned char kChannelListHeaderSize = 6;
constexpr char kChannelListCountry[] = "900";
constexpr size_t kLcnEntrySize = 4;
constexpr unsigned short kMaxLcn = 1022;
constexpr unsigned short kMaxLcnChannelList = 16382;

// Reads 4-byte entries from offset i while whole entries remain; returns
// the offset reached.
size_t read_entries(const bytes::Reader& r, size_t i, std::vector<service_info>& out)
{
    for (; r.has(i, kLcnEntrySize); i += kLcnEntrySize) {
        // Only the low 8 bits of the number are taken: stored NITs were
        // always read this way; keep it.
        out.push_back({r.u16(i), static_cast<uint8_t>(r.u8(i + 2) >> 7), r.u8(i + 3)});
    }
    return i;
}
} // namespace

DescriptorLCN::DescriptorLCN() : DescriptorLCN(1) {}

DescriptorLCN::DescriptorLCN(unsigned short mode)
    : Descriptor(mode == kModeChannelList ? kLcnChannelListTag : kLcnTag,
                 mode == kModeChannelList ? kChannelListHeaderSize : 0),
      lcn_mode(mode)
{
}

void DescriptorLCN::addNewService(unsigned short service_id, unsigned char visible_service_flag,
                                  unsigned short logical_channel_number)
{
    // Mode 2 could code 14 bits but stays at 1022: receivers expect it.
    const bool accepted = logical_channel_number <= kMaxLcn ||
                          (logical_channel_number <= kMaxLcnChannelList && lcn_mode == kModeChannelList);
    if (!accepted)
        return;
    services.push_back({service_id, visible_service_flag, logical_channel_number});
    descriptor_length = static_cast<unsigned char>(descriptor_length + kLcnEntrySize);
}

// Reads whole entries within both the declared length and the bytes present.
void DescriptorLCN::procesarDatos()
{
    services.clear();
    bytes::Reader r(data, 0, descriptor_length);
    if (lcn_mode != kModeChannelList) {
        read_entries(r, 0, services);
        return;
    }
    // Skip list id, name length, name, country code and loop length.
    size_t p = read_entries(r, static_cast<size_t>(r.u8(1)) + kChannelListHeaderSize, services);
    // A second run after a further name field, as stored lists were read.
    if (r.has(p + 1, 1))
        read_entries(r, p + 2 + r.u8(p + 1), services);
}

void DescriptorLCN::generateDataVector()
{
    data.clear();
    if (services.empty())
        return;
    data.reserve(descriptor_length);
    if (lcn_mode == kModeChannelList) {
        bytes::put8(data, 0x00); // channel_list_id
        bytes::put8(data, 0x00); // channel_list_name_length
        data.insert(data.end(), kChannelListCountry, kChannelListCountry + 3);
        bytes::put8(data, descriptor_length - kChannelListHeaderSize);
    }
    for (const auto& s : services) {
        bytes::put16(data, s.service_id);
        const unsigned n = s.logical_channel_number;
        if (lcn_mode == kModeFourteenBits) {
            bytes::put8(data, (s.visible_service_flag ? 0xC0 : 0x40) | ((n >> 8) & 0x3F));
        } else {
            // The 3-bit mask overlaps a reserved bit, so bit 10 of the number
            // is lost: receivers in the field decode this layout; keep it.
            bytes::put8(data, (s.visible_service_flag ? 0xFC : 0x7C) | ((n >> 8) & 0x07));
        }
        bytes::put8(data, n & 0xFF);
    }
}

} // namespace tavel
