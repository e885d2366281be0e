// Delivery system descriptors of the NIT's transport-stream loop.
// Payload: 11 bytes each. Units held in the objects are given per field;
// the wire units (BCD, 10 Hz) are produced by generateDataVector.
// Short payloads: missing bytes read as 0 (no read outside data).
#ifndef TAVEL_DELIVERY_DESCRIPTORS_H
#define TAVEL_DELIVERY_DESCRIPTORS_H

#include <cstdint>

#include <tavel/descriptor.h>

namespace tavel {

// Cable (tag 0x44).
class TAVEL_API DescriptorCableDeliverySystem : public Descriptor {
public:
    DescriptorCableDeliverySystem();
    DescriptorCableDeliverySystem(unsigned long frequency, unsigned long symbol_rate, unsigned char modulation,
                                  unsigned char FEC_outer, unsigned char FEC_inner);
    void procesarDatos() override;
    void generateDataVector() override;

    uint32_t frequency;   // kHz
    uint32_t symbol_rate; // ksymbol/s
    unsigned char modulation; // DVB code (3 = 64-QAM)
    unsigned char FEC_outer;
    unsigned char FEC_inner;
};

// Satellite (tag 0x43).
class TAVEL_API DescriptorSatelliteDeliverySystem : public Descriptor {
public:
    DescriptorSatelliteDeliverySystem();
    DescriptorSatelliteDeliverySystem(unsigned long frequency, unsigned short orbital_position,
                                      unsigned char west_east_flag, unsigned char polarization,
                                      unsigned char roll_off, unsigned char modulation_system,
                                      unsigned char modulation_type, unsigned long symbol_rate,
                                      unsigned char FEC_inner);
    void procesarDatos() override;
    void generateDataVector() override;

    uint32_t frequency;                // MHz
    unsigned short orbital_position;   // tenths of a degree
    unsigned char west_east_flag;      // 1 = east
    unsigned char polarization;
    unsigned char roll_off;
    unsigned char modulation_system;
    unsigned char modulation_type;
    uint32_t symbol_rate;              // ksymbol/s
    unsigned char FEC_inner;
};

// Terrestrial (tag 0x5A).
class TAVEL_API DescriptorTerrestrialDeliverySystem : public Descriptor {
public:
    DescriptorTerrestrialDeliverySystem();
    DescriptorTerrestrialDeliverySystem(unsigned long frequency, unsigned char bandwidth, unsigned char priority,
                                        unsigned char time_slicing_indicator, unsigned char MPE_FEC_indicator,
                                        unsigned char constellation, unsigned char hierarchy_information,
                                        unsigned char code_rate_HP_stream, unsigned char code_rate_LP_stream,
                                        unsigned char guard_interval, unsigned char transmission_mode,
                                        unsigned char other_frequency_flag);
    void procesarDatos() override;
    void generateDataVector() override;

    uint32_t frequency; // kHz (centre frequency)
    unsigned char bandwidth;
    unsigned char priority;
    unsigned char time_slicing_indicator;
    unsigned char MPE_FEC_indicator;
    unsigned char constellation;
    unsigned char hierarchy_information;
    unsigned char code_rate_HP_stream;
    unsigned char code_rate_LP_stream;
    unsigned char guard_interval;
    unsigned char transmission_mode;
    unsigned char other_frequency_flag;
};

} // namespace tavel

#endif
