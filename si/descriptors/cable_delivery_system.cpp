#include <tavel/delivery_descriptors.h>

#include <syslog.h>

#include <tavel/coding.h>

#include "dvb/byte_io.h"
#include "platform/log.h"
#include "si/descriptors/delivery_decode.h"

namespace tavel {

namespace {
constexpr unsigned char kCableTag = 0x44;
constexpr unsigned char kDeliveryLength = 11;
constexpr unsigned char kFecInnerNoConvCoding = 0x0F;
} // namespace

DescriptorCableDeliverySystem::DescriptorCableDeliverySystem()
    : DescriptorCableDeliverySystem(0, 0, 0, 0, kFecInnerNoConvCoding)
{
}

DescriptorCableDeliverySystem::DescriptorCableDeliverySystem(unsigned long frequency, unsigned long symbol_rate,
                                                             unsigned char modulation, unsigned char FEC_outer,
                                                             unsigned char FEC_inner)
    : Descriptor(kCableTag, kDeliveryLength), frequency(static_cast<uint32_t>(frequency)),
      symbol_rate(static_cast<uint32_t>(symbol_rate)), modulation(modulation), FEC_outer(FEC_outer),
      FEC_inner(FEC_inner)
{
}

void decode_cable_delivery(DescriptorCableDeliverySystem& d)
{
    bytes::Reader r(d.data);
    // Wire: 8 BCD digits of 100 Hz and 7 of 100 symbol/s; the last digit of each is dropped.
    d.frequency = static_cast<uint32_t>(bcd2bin(r.u32(0) >> 4));
    d.FEC_outer = r.u8(5) & 0x0F;
    d.modulation = r.u8(6);
    d.symbol_rate = static_cast<uint32_t>(bcd2bin(r.u24(7)));
    d.FEC_inner = r.u8(10) & 0x0F;
}

void DescriptorCableDeliverySystem::procesarDatos()
{
    decode_cable_delivery(*this);
    tavel::log(LOG_DEBUG, "frecuencia %lu, symbolRate_bcd %lu", static_cast<unsigned long>(frequency),
               static_cast<unsigned long>(symbol_rate));
}

void DescriptorCableDeliverySystem::generateDataVector()
{
    data.assign(kDeliveryLength, 0);
    char* p = bytes::store32(data.data(), static_cast<uint32_t>(bin2bcd(frequency) << 4));
    p = bytes::store8(p, 0xFF);
    p = bytes::store8(p, 0xF0 | (FEC_outer & 0x0F));
    p = bytes::store8(p, modulation);
    bytes::store32(p, static_cast<uint32_t>((bin2bcd(symbol_rate) << 8) | (FEC_inner & 0x0F)));
}

} // namespace tavel
