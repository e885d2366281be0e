#include <tavel/ts.h>

#include <tavel/coding.h>

#include <algorithm>

#include "dvb/byte_io.h"

namespace tavel {

namespace {

// Long section header up to last_section_number; length filled in by seal().
std::vector<char> open_section(uint8_t table_id, uint16_t extension, uint8_t version)
{
    std::vector<char> s;
    bytes::put8(s, table_id);
    bytes::put16(s, 0xB000); // syntax indicator, reserved bits, length to come
    bytes::put16(s, extension);
    bytes::put8(s, 0xC1u | ((version & 0x1Fu) << 1)); // current_next_indicator
    bytes::put8(s, 0);                                // section_number
    bytes::put8(s, 0);                                // last_section_number
    return s;
}

std::vector<char> seal(std::vector<char> s)
{
    const size_t length = s.size() + 4 - 3;
    s[1] = static_cast<char>(0xB0 | ((length >> 8) & 0x0F));
    s[2] = static_cast<char>(length & 0xFF);
    bytes::put32(s, static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFul, s, s.size())));
    return s;
}

} // namespace

std::vector<char> ts_pat_section(uint16_t transport_stream_id, const std::vector<TsProgram>& programs, uint8_t version)
{
    std::vector<char> s = open_section(0x00, transport_stream_id, version);
    bytes::put16(s, 0);             // program 0: the network
    bytes::put16(s, 0xE000 | 0x10); // network_PID
    for (const TsProgram& p : programs) {
        bytes::put16(s, p.program_number);
        bytes::put16(s, 0xE000u | (p.pmt_pid & 0x1FFFu));
    }
    return seal(std::move(s));
}

std::vector<char> ts_pmt_section(uint16_t program_number, uint16_t pcr_pid, uint8_t version)
{
    std::vector<char> s = open_section(0x02, program_number, version);
    bytes::put16(s, 0xE000u | (pcr_pid & 0x1FFFu));
    bytes::put16(s, 0xF000); // program_info_length 0
    // Players list only programs with a stream: declare the PCR PID as private data.
    bytes::put8(s, 0x06);
    bytes::put16(s, 0xE000u | (pcr_pid & 0x1FFFu));
    bytes::put16(s, 0xF000); // ES_info_length 0
    return seal(std::move(s));
}

std::vector<TsProgram> ts_programs_of_sdt(const std::vector<std::vector<char>>& sections, uint16_t first_pmt_pid,
                                          uint16_t& transport_stream_id)
{
    std::vector<TsProgram> programs;
    bool have_tsid = false;
    for (const auto& section : sections) {
        const bytes::Reader r(section);
        if (r.u8(0) != 0x42 || !r.has(0, 15))
            continue;
        if (!have_tsid) {
            transport_stream_id = r.u16(3);
            have_tsid = true;
        }
        if (r.u16(3) != transport_stream_id) // one stream has one SDT actual
            continue;
        const size_t whole = std::min(r.size(), size_t{3} + r.u12(1));
        if (whole < 15)
            continue;
        const size_t end = whole - 4; // before the CRC
        for (size_t pos = 11; r.has(pos, 5) && pos + 5 <= end; pos += 5 + r.u12(pos + 3)) {
            const uint16_t service_id = r.u16(pos);
            bool known = false;
            for (const TsProgram& p : programs)
                known = known || p.program_number == service_id;
            if (!known)
                programs.push_back(TsProgram{service_id, static_cast<uint16_t>(first_pmt_pid + programs.size())});
        }
    }
    return programs;
}

} // namespace tavel
