#include <tavel/coding.h>

#include <array>
#include <cstdint>
#include <syslog.h>

#include "dvb/byte_io.h"
#include "platform/log.h"

namespace tavel {

namespace {

constexpr uint32_t kPoly = 0x04C11DB7u;

// Slicing-by-8 tables for the MSB-first CRC, built at compile time.
struct CrcTables {
    uint32_t t[8][256];
};

constexpr CrcTables make_tables()
{
    CrcTables tables{};
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t r = n << 24;
        for (int bit = 0; bit < 8; ++bit)
            r = (r & 0x80000000u) ? (r << 1) ^ kPoly : (r << 1);
        tables.t[0][n] = r;
    }
    for (int k = 1; k < 8; ++k)
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t prev = tables.t[k - 1][n];
            tables.t[k][n] = (prev << 8) ^ tables.t[0][prev >> 24];
        }
    return tables;
}

constexpr CrcTables kTables = make_tables();

uint32_t crc_run(uint32_t crc, const uint8_t* p, size_t n)
{
    const auto& t = kTables.t;
    while (n >= 8) {
        uint32_t one = crc ^ ((uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3]);
        crc = t[7][one >> 24] ^ t[6][(one >> 16) & 0xFF] ^ t[5][(one >> 8) & 0xFF] ^ t[4][one & 0xFF] ^
              t[3][p[4]] ^ t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
        p += 8;
        n -= 8;
    }
    while (n--)
        crc = (crc << 8) ^ t[0][(crc >> 24) ^ *p++];
    return crc;
}

} // namespace

unsigned long mpeg_crc(unsigned long crc, const std::vector<char>& data, unsigned long len)
{
    if (len == 0)
        return crc;
    uint32_t reg = static_cast<uint32_t>(crc);
    const auto* base = reinterpret_cast<const uint8_t*>(data.data());
    // The byte index is 16 bits wide: positions wrap every 65536 bytes.
    unsigned long done = 0;
    while (done < len) {
        size_t pos = done & 0xFFFF;
        if (pos >= data.size())
            break;
        size_t run = 0x10000 - pos;
        if (run > data.size() - pos)
            run = data.size() - pos;
        if (run > len - done)
            run = static_cast<size_t>(len - done);
        reg = crc_run(reg, base + pos, run);
        done += run;
        if (pos + run < 0x10000 && done < len)
            break; // the buffer ended before the index wrapped
    }
    return reg;
}

void generar_new_crc(std::vector<char>& section)
{
    unsigned n = static_cast<uint16_t>(section.size());
    section.resize(section.size() >= 4 ? section.size() - 4 : 0);
    tavel::log(LOG_DEBUG, "generar_crc: %d", static_cast<int>(n));
    unsigned long crc = mpeg_crc(0xFFFFFFFFUL, section, n >= 4 ? n - 4 : 0);
    tavel::log(LOG_DEBUG, "section_CRC: %d", static_cast<int>(static_cast<int32_t>(crc)));
    bytes::put32(section, static_cast<uint32_t>(crc));
}

} // namespace tavel
