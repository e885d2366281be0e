#include <tavel/delivery_descriptors.h>

#include <syslog.h>

#include <tavel/coding.h>

#include "dvb/byte_io.h"
#include "platform/log.h"

namespace tavel {

namespace {
constexpr unsigned char kSatelliteTag = 0x43;
constexpr unsigned char kDeliveryLength = 11;
} // namespace

DescriptorSatelliteDeliverySystem::DescriptorSatelliteDeliverySystem()
    : DescriptorSatelliteDeliverySystem(0, 0, 0, 0, 0, 0, 0, 0, 0)
{
}

DescriptorSatelliteDeliverySystem::DescriptorSatelliteDeliverySystem(
    unsigned long frequency, unsigned short orbital_position, unsigned char west_east_flag,
    unsigned char polarization, unsigned char roll_off, unsigned char modulation_system,
    unsigned char modulation_type, unsigned long symbol_rate, unsigned char FEC_inner)
    : Descriptor(kSatelliteTag, kDeliveryLength), frequency(static_cast<uint32_t>(frequency)),
      orbital_position(orbital_position), west_east_flag(west_east_flag), polarization(polarization),
      roll_off(roll_off), modulation_system(modulation_system), modulation_type(modulation_type),
      symbol_rate(static_cast<uint32_t>(symbol_rate)), FEC_inner(FEC_inner)
{
}

void DescriptorSatelliteDeliverySystem::procesarDatos()
{
    bytes::Reader r(data);
    unsigned long frequency_bcd = r.u24(0);
    frequency = static_cast<uint32_t>(bcd2bin(frequency_bcd));
    tavel::log(LOG_DEBUG, "Frecuencia bcd %lu , frecuencia %lu", frequency_bcd, static_cast<unsigned long>(frequency));

    unsigned long orbit_bcd = r.u16(4);
    orbital_position = static_cast<unsigned short>(bcd2bin(orbit_bcd));
    tavel::log(LOG_DEBUG, "orbita bcd %lu , orbita %lu", orbit_bcd, static_cast<unsigned long>(orbital_position));

    const uint8_t flags = r.u8(6);
    west_east_flag = flags >> 7;
    tavel::log(LOG_DEBUG, "west_east_flag %hhu", west_east_flag);
    // Only bit 5 is read, inverted: the multiplexer configuration counts on it. Keep it.
    polarization = (flags & 0x20) ? 0 : 1;
    tavel::log(LOG_DEBUG, "polaridad %hhu", polarization);
    roll_off = (flags >> 3) & 0x03;
    modulation_system = (flags >> 2) & 0x01;
    modulation_type = flags & 0x03;

    unsigned long symbol_rate_bcd = r.u24(7);
    symbol_rate = static_cast<uint32_t>(bcd2bin(symbol_rate_bcd));
    tavel::log(LOG_DEBUG, "SymbolRate bcd %lu , Symbolrate %lu", symbol_rate_bcd,
               static_cast<unsigned long>(symbol_rate));
    FEC_inner = r.u8(10) & 0x0F;
}

void DescriptorSatelliteDeliverySystem::generateDataVector()
{
    data.clear();
    data.reserve(descriptor_length);
    // Six BCD digits of 10 kHz from a value in MHz: larger values lose their leading digits.
    bytes::put24(data, static_cast<uint32_t>(bin2bcd(frequency)));
    bytes::put8(data, 0x00);
    bytes::put16(data, static_cast<uint32_t>(bin2bcd(orbital_position)));
    // Bits 4-3 repeat the polarization and roll-off is left out: receivers in
    // the field were tuned to this byte; do not normalise.
    bytes::put8(data, (west_east_flag << 7) | ((polarization & 1) << 5) | ((polarization & 3) << 3) |
                          ((modulation_system & 1) << 2) | (modulation_type & 3));
    bytes::put24(data, static_cast<uint32_t>(bin2bcd(symbol_rate)));
    bytes::put8(data, FEC_inner & 0x0F);
}

} // namespace tavel
