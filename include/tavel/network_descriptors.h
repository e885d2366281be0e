// Network-level descriptors of the NIT and the local time offset
// descriptor of the TOT.
// Short payloads: missing bytes read as 0; entry loops read whole entries
// within both descriptor_length and data. Nothing is read outside data.
#ifndef TAVEL_NETWORK_DESCRIPTORS_H
#define TAVEL_NETWORK_DESCRIPTORS_H

#include <cstdint>
#include <string>
#include <vector>

#include <tavel/descriptor.h>

namespace tavel {

// Network name (tag 0x40): the bytes as they stand, no text conversion.
class TAVEL_API DescriptorNetworkName : public Descriptor {
public:
    DescriptorNetworkName();
    explicit DescriptorNetworkName(std::string name);
    void procesarDatos() override;
    void generateDataVector() override;

    std::string name;
};

// Linkage (tag 0x4A); private bytes are carried opaquely.
class TAVEL_API DescriptorLinkage : public Descriptor {
public:
    DescriptorLinkage();
    DescriptorLinkage(unsigned short transport_stream_id, unsigned short original_network_id,
                      unsigned short service_id, unsigned char linkage_type, std::vector<char> private_data_bytes);
    void procesarDatos() override;
    void generateDataVector() override;

    uint16_t transport_stream_id;
    uint16_t original_network_id;
    uint16_t service_id;
    uint8_t linkage_type;
    std::vector<char> private_data_bytes;
};

// Private data specifier (tag 0x5F).
class TAVEL_API DescriptorPrivateDataSpecifier : public Descriptor {
public:
    DescriptorPrivateDataSpecifier();
    explicit DescriptorPrivateDataSpecifier(unsigned long value);
    void procesarDatos() override;
    void generateDataVector() override;

    uint32_t private_data_specifier;
};

// One 13-byte entry of the local time offset descriptor.
struct TAVEL_API offset_info {
    std::string country_code;           // three ISO 3166 letters
    uint8_t country_region_id = 0;      // 6 bits
    uint8_t local_time_offset_polarity = 0; // 1: offset subtracted from UTC
    uint16_t local_time_offset = 0;     // BCD hhmm
    uint64_t time_of_change = 0;        // 40-bit MJD + BCD UTC time
    uint16_t next_time_offset = 0;      // BCD hhmm
};

// Local time offset (tag 0x58).
class TAVEL_API DescriptorLocalTimeOffset : public Descriptor {
public:
    DescriptorLocalTimeOffset();
    void procesarDatos() override;
    void generateDataVector() override;
    void addNewTimeOffset(const offset_info& entry);

    std::vector<offset_info> offsets;
};

} // namespace tavel

#endif
