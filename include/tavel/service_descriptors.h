// Service descriptors: service (0x48), service list (0x41) and logical
// channel numbers (private tags 0x83 and 0x87).
// Parsers read whole entries within both descriptor_length and data; fields
// past the end of a short payload read as empty or 0.
#ifndef TAVEL_SERVICE_DESCRIPTORS_H
#define TAVEL_SERVICE_DESCRIPTORS_H

#include <cstdint>
#include <string>
#include <vector>

#include <tavel/descriptor.h>

namespace tavel {

// Service descriptor of the SDT (tag 0x48). Names are UTF-8 after parsing;
// each is written behind its character-table selector byte.
class TAVEL_API DescriptorService : public Descriptor {
public:
    DescriptorService();
    DescriptorService(unsigned char service_type, std::string provider_name, std::string service_name);
    void procesarDatos() override;
    // Also sets descriptor_length to the payload size written.
    void generateDataVector() override;
    void setProvider(const std::string& name);
    void setName(const std::string& name);

    unsigned char service_type;
    unsigned char provider_charset;
    std::string provider_name;
    unsigned char service_name_charset;
    std::string service_name;
};

struct TAVEL_API service_list_inf {
    uint16_t service_id;
    uint8_t service_type;
};

// Service list descriptor of the NIT (tag 0x41).
class TAVEL_API DescriptorServiceList : public Descriptor {
public:
    DescriptorServiceList();
    void procesarDatos() override;
    void generateDataVector() override;
    void addNewService(unsigned short service_id, unsigned char service_type);

    std::vector<service_list_inf> services;
};

struct TAVEL_API service_info {
    uint16_t service_id;
    uint8_t visible_service_flag;
    uint16_t logical_channel_number;
};

// Logical channel numbers. Mode 1: tag 0x83, 10-bit numbers. Mode 2: tag
// 0x83, 14-bit coding. Mode 3: tag 0x87 with a 6-byte channel-list header.
// Other modes: tag 0x83, coded and parsed as mode 1.
class TAVEL_API DescriptorLCN : public Descriptor {
public:
    DescriptorLCN();
    explicit DescriptorLCN(unsigned short mode);
    void procesarDatos() override;
    void generateDataVector() override;
    // Accepts numbers up to 1022 (16382 in mode 3); others are dropped.
    void addNewService(unsigned short service_id, unsigned char visible_service_flag,
                       unsigned short logical_channel_number);

    uint16_t lcn_mode;
    std::vector<service_info> services;
};

} // namespace tavel

#endif
