// SI sections: header fields, free-space budget, loop entries, byte layout
// and CRC sealing of the NIT, SDT, TOT and EIT sections.
#ifndef TAVEL_SECTIONS_H
#define TAVEL_SECTIONS_H

#include <cstdint>
#include <memory>
#include <vector>

#include <tavel/descriptor.h>
#include <tavel/export.h>

namespace tavel {

// One entry of a NIT transport stream loop.
class TAVEL_API NITTS {
public:
    NITTS();
    NITTS(unsigned short tsid, unsigned short onid);
    virtual ~NITTS();

    uint16_t transport_stream_id;
    uint16_t original_network_id;
    uint16_t transport_descriptors_length; // sum of (descriptor length + 2)
    SIVectorDescriptores descriptores;
};

// One service entry of an SDT section; shared between sections and look-ups.
class TAVEL_API SDTServices {
public:
    SDTServices();
    SDTServices(unsigned short service_id, unsigned char EIT_schedule_flag, unsigned char EIT_present_following_flag,
                unsigned char running_status, unsigned char free_CA_mode);
    virtual ~SDTServices();

    uint16_t service_id;
    uint8_t EIT_schedule_flag;
    uint8_t EIT_present_following_flag;
    uint8_t running_status;
    uint8_t free_CA_mode;
    uint16_t descriptors_loop_length;
    SIVectorDescriptores descriptores;
};

class TAVEL_API SIVectorNITTS {
public:
    SIVectorNITTS();
    virtual ~SIVectorNITTS();
    std::vector<std::unique_ptr<NITTS>> items;
};

class TAVEL_API SIVectorSDTServices {
public:
    SIVectorSDTServices();
    virtual ~SIVectorSDTServices();
    std::vector<std::shared_ptr<SDTServices>> items;
};

class TAVEL_API SISection {
public:
    SISection(unsigned short budget, unsigned char table_id);
    virtual ~SISection();
    SISection(const SISection&) = delete;
    SISection& operator=(const SISection&) = delete;

    // Appends the section to out; returns the bytes appended (mod 65536).
    // With pattern true, version_number and CRC are written as 0.
    virtual unsigned short copy_section_to_buffer(std::vector<char>& out, bool pattern) = 0;
    // Seals the section: CRC over the copied section without its CRC bytes.
    void generar_crc();

    uint16_t espacio_libre_seccion; // bytes left for loop entries
    uint8_t table_id;
    uint8_t section_syntax_indicator;
    uint16_t section_length;
    uint8_t version_number;
    uint8_t current_next_indicator;
    uint8_t section_number;
    uint8_t last_section_number;
    uint32_t CRC;
};

class TAVEL_API SISectionNIT : public SISection {
public:
    SISectionNIT();
    explicit SISectionNIT(unsigned char table_id);
    unsigned short copy_section_to_buffer(std::vector<char>& out, bool pattern) override;

    uint16_t network_id;
    uint16_t network_descriptors_length;
    uint16_t transport_stream_loop_length;
    SIVectorDescriptores network_descriptors;
    SIVectorNITTS transport_streams;
};

class TAVEL_API SISectionSDT : public SISection {
public:
    SISectionSDT();
    explicit SISectionSDT(unsigned char table_id);
    unsigned short copy_section_to_buffer(std::vector<char>& out, bool pattern) override;
    // With other true, table_id is written as 0x46 (SDT other).
    unsigned short copy_section_to_buffer_Other(std::vector<char>& out, bool pattern, bool other);

    uint16_t transport_stream_id;
    uint16_t original_network_id;
    SIVectorSDTServices services;
};

class TAVEL_API SISectionTOT : public SISection {
public:
    SISectionTOT();
    explicit SISectionTOT(unsigned char table_id);
    // The whole section.
    unsigned short copy_section_to_buffer(std::vector<char>& out, bool pattern) override;
    // whole false: only descriptors_loop_length and the descriptors. pattern is ignored.
    unsigned short copy_section_to_buffer(std::vector<char>& out, bool whole, bool pattern);

    uint64_t UTC_time; // 40-bit MJD + BCD
    uint16_t descriptors_loop_length;
    SIVectorDescriptores descriptors;
};

// EIT section header; its loop is not serialised by this class.
class TAVEL_API SISectionEIT : public SISection {
public:
    SISectionEIT();
    explicit SISectionEIT(unsigned char table_id);
    // Appends nothing and returns 0.
    unsigned short copy_section_to_buffer(std::vector<char>& out, bool pattern) override;

    uint16_t service_id;
    uint16_t transport_stream_id;
    uint16_t original_network_id;
    uint8_t segment_last_section_number;
    uint8_t last_table_id;
};

} // namespace tavel

#endif
