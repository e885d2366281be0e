// DVB coding primitives: CRC-32/MPEG-2, packed BCD, and the 40-bit
// MJD + BCD UTC time of DVB.
#ifndef TAVEL_CODING_H
#define TAVEL_CODING_H

#include <ctime>
#include <vector>

#include <tavel/export.h>

namespace tavel {

// CRC-32/MPEG-2 (poly 0x04C11DB7, no reflection, no final xor) of the first
// len bytes of data, starting from the register value crc. Byte positions
// are taken modulo 65536; reading stops at the end of data.
TAVEL_API unsigned long mpeg_crc(unsigned long crc, const std::vector<char>& data, unsigned long len);

// Replaces the last 4 bytes of a section buffer by its CRC_32.
TAVEL_API void generar_new_crc(std::vector<char>& section);

// Packed BCD: one decimal digit per nibble, at most 8 digits.
TAVEL_API unsigned long bin2bcd(unsigned long value);
TAVEL_API unsigned long bcd2bin(unsigned long bcd);
// One byte of two BCD digits (callers pass 0..99).
TAVEL_API unsigned char bin_2_bcd4(unsigned char value);
TAVEL_API unsigned char bcd4_2_bin(unsigned char bcd);

// Unix time to the 40-bit MJD+BCD UTC_time (MJD in bits 24..39, hh mm ss in
// BCD below). Returns 1, or 0 (and mjd_utc 0) before 1 January 2010.
TAVEL_API int std_time_to_mjd_utc(unsigned long unix_seconds, unsigned long long& mjd_utc);

// MJD+BCD UTC_time to broken-down time. tm_yday counts 1 on 1 January.
TAVEL_API void mjd_utc_to_gmt_time(const unsigned long long& mjd_utc, tm& out);

// Plausibility of a new system time (Unix seconds): 0 not valid (1 January
// 2017 or earlier), 2 within 5 s of old_time, 1 valid and changed.
TAVEL_API int checkValidezHora(unsigned long long new_time, unsigned long long old_time);

} // namespace tavel

#endif
