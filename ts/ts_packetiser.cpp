#include <tavel/ts.h>

#include "dvb/byte_io.h"

namespace tavel {

TsPacketiser::TsPacketiser(uint16_t pid) : pid_(pid & 0x1FFF) {}

void TsPacketiser::packetise(const std::vector<char>& section, std::vector<char>& out)
{
    packetise(std::vector<std::vector<char>>{section}, out);
}

void TsPacketiser::packetise(const std::vector<std::vector<char>>& sections, std::vector<char>& out)
{
    std::vector<char> run;
    std::vector<size_t> starts;
    for (const auto& s : sections) {
        starts.push_back(run.size());
        run.insert(run.end(), s.begin(), s.end());
    }
    size_t pos = 0;
    size_t next = 0; // first section start not yet passed
    while (pos < run.size()) {
        while (next < starts.size() && starts[next] < pos)
            ++next;
        const bool starts_here = next < starts.size() && starts[next] < pos + 183;
        // A section beginning on the packet's very last byte would need a
        // pointer_field there is no room for: give the byte to a one-byte
        // adaptation field instead, so the section begins in the next packet.
        const bool short_payload = !starts_here && next < starts.size() && starts[next] == pos + 183;
        bytes::put8(out, 0x47);
        bytes::put16(out, (starts_here ? 0x4000u : 0u) | pid_);
        bytes::put8(out, (short_payload ? 0x30u : 0x10u) | cc_);
        cc_ = (cc_ + 1) & 0x0F;
        size_t room = 184;
        if (short_payload) {
            bytes::put8(out, 0); // adaptation_field_length
            room = 183;
        }
        if (starts_here) {
            bytes::put8(out, static_cast<uint32_t>(starts[next] - pos)); // pointer_field
            room = 183;
        }
        const size_t n = std::min(room, run.size() - pos);
        out.insert(out.end(), run.begin() + static_cast<long>(pos), run.begin() + static_cast<long>(pos + n));
        out.insert(out.end(), room - n, static_cast<char>(0xFF));
        pos += n;
    }
}

void ts_append_null_packet(std::vector<char>& out)
{
    bytes::put32(out, 0x47000010u | (static_cast<uint32_t>(kTsNullPid) << 8));
    out.insert(out.end(), 184, static_cast<char>(0xFF));
}

void ts_append_pcr_packet(std::vector<char>& out, uint16_t pid, uint64_t pcr)
{
    bytes::put8(out, 0x47);
    bytes::put16(out, pid & 0x1FFF);
    bytes::put8(out, 0x20); // adaptation field only: the counter does not advance
    bytes::put8(out, 183);  // adaptation_field_length
    bytes::put8(out, 0x10); // PCR_flag
    const uint64_t base = (pcr / 300) & 0x1FFFFFFFFull;
    bytes::put32(out, static_cast<uint32_t>(base >> 1));
    bytes::put16(out, static_cast<uint32_t>(((base & 1) << 15) | 0x7E00 | (pcr % 300)));
    out.insert(out.end(), 176, static_cast<char>(0xFF));
}

} // namespace tavel
