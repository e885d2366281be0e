// Captures come from anywhere: any bytes, fed in any pieces, must be read
// without stepping outside a buffer, and every section handed out must be
// whole. What the packetiser makes of those sections must read back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
    for (uint16_t pid : {0x00, 0x10, 0x11, 0x12, 0x14})
        reader.select(pid);
    // The first byte chooses where the input is cut in two.
    const size_t cut = size ? (data[0] * size) / 256 : 0;
    reader.feed(bytes, cut);
    reader.feed(bytes + cut, size - cut);
    reader.finish();

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
