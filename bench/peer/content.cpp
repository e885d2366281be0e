#include "content.h"

namespace peer {

std::vector<Stream> nit_streams()
{
    std::vector<Stream> out;
    for (int i = 0; i < kNitStreams; ++i) {
        Stream s;
        s.tsid = static_cast<uint16_t>(i + 1);
        s.frequency_hz = 306000000u + 8000000u * static_cast<uint32_t>(i);
        s.symbol_rate_ksym = 6875;
        s.modulation = 5;
        for (int k = 0; k < kServicesPerStream; ++k)
            s.sids.push_back(static_cast<uint16_t>(s.tsid * 100 + k));
        out.push_back(s);
    }
    return out;
}

std::vector<Service> sdt_services()
{
    std::vector<Service> out;
    for (int i = 0; i < kSdtServices; ++i)
        out.push_back({static_cast<uint16_t>(1000 + i), 0x01, "Channel " + std::to_string(i + 1)});
    return out;
}

std::vector<Offset> tot_offsets()
{
    return {{"ESP", 3600, 7200, 1711846800}, {"ESP", 0, 3600, 1711846800}};
}

} // namespace peer
