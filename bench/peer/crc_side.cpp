#include "crc_side.h"

namespace peer {

namespace {

struct Table {
    uint32_t t[256];
    Table()
    {
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t r = n << 24;
            for (int bit = 0; bit < 8; ++bit)
                r = (r & 0x80000000u) ? (r << 1) ^ 0x04C11DB7u : (r << 1);
            t[n] = r;
        }
    }
};

const Table kTable;

} // namespace

uint32_t byte_table_crc(uint32_t crc, const uint8_t* data, size_t len)
{
    for (size_t i = 0; i < len; ++i)
        crc = (crc << 8) ^ kTable.t[(crc >> 24) ^ data[i]];
    return crc;
}

} // namespace peer
