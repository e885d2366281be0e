#include <tavel/code_conversions.h>

#include <cstdint>

namespace tavel {

namespace {

constexpr uint16_t kIfMinMhz = 950;
constexpr uint16_t kIfMaxMhz = 2150;

// The receivers compute in 16 bits: a frequency below its oscillator wraps
// to a large value and so falls outside the IF range.
uint16_t intermediate(uint16_t freq, uint16_t lo)
{
    return static_cast<uint16_t>(freq - lo);
}

bool in_if_range(uint16_t f)
{
    return f >= kIfMinMhz && f <= kIfMaxMhz;
}

} // namespace

int getTipoServicio(unsigned short service_type)
{
    switch (service_type) {
    case 1: case 4: case 5: case 22: case 23: case 24: case 25: case 26: case 27: case 28: case 30: case 31:
        return 1;
    case 2: case 7: case 10:
        return 0;
    default:
        return 2;
    }
}

short getOrbitafromNITdata(unsigned short orbital_position, unsigned char west_east_flag)
{
    // The flag is one bit on the wire: anything but 0 is east.
    if (west_east_flag != 0)
        return static_cast<short>(orbital_position);
    int position = orbital_position;
    // West of 180 degrees is folded back to its eastern equivalent, as the
    // configuration tools expect; do not turn it into a plain negation.
    int signed_position = position < 1800 ? -position : 3600 - position;
    return static_cast<short>(static_cast<uint16_t>(signed_position));
}

unsigned short getBWOutputValueFromMHZ(unsigned short mhz)
{
    switch (mhz) {
    case 7: return 1;
    case 6: return 2;
    case 5: return 3;
    default: return 0; // 8 MHz and anything unknown
    }
}

unsigned short getBWInputValueFromMHZ(unsigned short mhz)
{
    switch (mhz) {
    case 7: return 1;
    case 6: return 0;
    // 5 MHz shares the 8 MHz code on the input side; the tuners know no other.
    default: return 2;
    }
}

unsigned short getAncho_BandaOut_MHZ(unsigned short code)
{
    switch (code) {
    case 0: return 8;
    case 1: return 7;
    case 2: return 6;
    case 3: return 5;
    default: return 0;
    }
}

unsigned short convertir_TS_freq(unsigned short freq, unsigned short& band, unsigned short lo_a, unsigned short lo_b)
{
    uint16_t if_a = intermediate(freq, lo_a);
    uint16_t if_b = intermediate(freq, lo_b);
    if (in_if_range(if_b)) {
        // On a tie the lo_a oscillator wins.
        if (!in_if_range(if_a) || if_a > if_b) {
            band = 0;
            return if_b;
        }
        band = 1;
        return if_a;
    }
    if (in_if_range(if_a)) {
        band = 1;
        return if_a;
    }
    band = 0;
    return kIfMinMhz;
}

unsigned short getBandaFromFrecuencia(unsigned short freq, unsigned short lo_a, unsigned short lo_b)
{
    uint16_t if_a = intermediate(freq, lo_a);
    uint16_t if_b = intermediate(freq, lo_b);
    if (!in_if_range(if_b))
        return in_if_range(if_a) ? 1 : 0;
    if (!in_if_range(if_a))
        return 0;
    return if_b >= if_a ? 1 : 0;
}

} // namespace tavel
