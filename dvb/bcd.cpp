#include <tavel/coding.h>

namespace tavel {

unsigned long bin2bcd(unsigned long value)
{
    unsigned long bcd = 0;
    for (int shift = 0; value != 0 && shift < 32; shift += 4) {
        bcd |= (value % 10) << shift;
        value /= 10;
    }
    return bcd & 0xFFFFFFFFUL;
}

unsigned long bcd2bin(unsigned long bcd)
{
    // Nibbles above 9 are not rejected: they count with their value.
    unsigned long value = 0;
    unsigned long weight = 1;
    for (int i = 0; i < 8; ++i) {
        value += ((bcd >> (4 * i)) & 0x0F) * weight;
        weight *= 10;
    }
    return value;
}

unsigned char bin_2_bcd4(unsigned char value)
{
    return static_cast<unsigned char>(((value / 10) << 4) | (value % 10));
}

unsigned char bcd4_2_bin(unsigned char bcd)
{
    return static_cast<unsigned char>((bcd >> 4) * 10 + (bcd & 0x0F));
}

} // namespace tavel
