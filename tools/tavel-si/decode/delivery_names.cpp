#include "delivery_names.h"

namespace tavel_si {
namespace decode {

std::string fec_inner_name(unsigned code)
{
    if (code == 15)
        return "no convolutional coding";
    return code_name({"not defined", "1/2", "2/3", "3/4", "5/6", "7/8", "8/9", "3/5", "4/5", "9/10"}, code);
}

json bcd_number(uint32_t value, int digits, int decimals)
{
    double whole = 0;
    for (int i = digits - 1; i >= 0; --i) {
        const unsigned digit = (value >> (4 * i)) & 0xF;
        if (digit > 9)
            return "invalid BCD";
        whole = whole * 10 + digit;
    }
    double scale = 1;
    for (int i = 0; i < decimals; ++i)
        scale *= 10;
    return number(whole / scale);
}

} // namespace decode
} // namespace tavel_si
