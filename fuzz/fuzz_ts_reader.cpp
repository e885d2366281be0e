// Captures come from anywhere: any bytes, fed in any pieces, must be read
// without stepping outside a buffer, and every section handed out must be
// whole; where the pieces are cut must change nothing. What the packetiser
// makes of those sections must read back the same.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <tuple>
#include <vector>

#include <tavel/ts.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* bytes = reinterpret_cast<const char*>(data);
    tavel::ts_packet_size(bytes, size);

    std::vector<std::vector<char>> sections;
    tavel::TsSectionReader reader([&sections](const tavel::TsSectionPlace&, const std::vector<char>& s) {
        const size_t length = s.size() >= 3 ? ((static_cast<uint8_t>(s[1]) & 0x0F) << 8 | static_cast<uint8_t>(s[2])) : 0;
        if (s.size() < 3 || s.size() != 3 + length || s.size() > 4096)
            std::abort();
        sections.push_back(s);
    });
    std::vector<std::vector<char>> whole;
    tavel::TsSectionReader once([&whole](const tavel::TsSectionPlace&, const std::vector<char>& s) { whole.push_back(s); });
    for (uint16_t pid : {0x00, 0x10, 0x11, 0x12, 0x14}) {
        reader.select(pid);
        once.select(pid);
    }
    // The first byte chooses where the input is cut in two, the second the
    // size of the pieces the rest comes in.
    const size_t cut = size ? (data[0] * size) / 256 : 0;
    const size_t piece = size > 1 ? 1 + data[1] * 4 : size;
    reader.feed(bytes, cut);
    for (size_t at = cut; at < size; at += piece)
        reader.feed(bytes + at, std::min(piece, size - at));
    reader.finish();
    once.feed(bytes, size);
    once.finish();
    const auto counts = [](const tavel::TsCounts& n) {
        return std::make_tuple(n.packets, n.cc_errors, n.duplicates, n.crc_errors, n.tei_packets, n.cut_sections,
                               n.oversize_sections, n.garbage_bytes, n.resyncs, n.leading_bytes);
    };
    if (whole != sections || counts(once.counts()) != counts(reader.counts()) ||
        once.packet_size() != reader.packet_size())
        std::abort();

    uint16_t tsid = 0;
    tavel::ts_programs_of_sdt(sections, 0x1000, tsid);
    std::vector<char> ts;
    tavel::TsPacketiser packetiser(0x11);
    packetiser.packetise(sections, ts);
    std::vector<std::vector<char>> again;
    tavel::TsSectionReader check([&again](const tavel::TsSectionPlace&, const std::vector<char>& s) { again.push_back(s); });
    check.select(0x11);
    check.feed(ts);
    check.finish();
    // Sections with a bad CRC are dropped on both passes alike, so all come back.
    if (again != sections)
        std::abort();
    return 0;
}
