// The content both libraries generate and parse: one cable network as the
// headend publishes it.
#ifndef TAVEL_PEER_CONTENT_H
#define TAVEL_PEER_CONTENT_H

#include <cstdint>
#include <string>
#include <vector>

namespace peer {

constexpr uint16_t kNetworkId = 0x3001;
constexpr uint16_t kOriginalNetworkId = 0x22D4;
constexpr uint16_t kSdtTsid = 1;
const std::string kNetworkName = "Tavel Cable";
const std::string kProvider = "TAVEL";

constexpr int kNitStreams = 64;
constexpr int kServicesPerStream = 8;
constexpr int kSdtServices = 500;

// One NIT transport stream entry: cable delivery and its service list.
struct Stream {
    uint16_t tsid;
    uint32_t frequency_hz;      // 306 MHz + 8 MHz steps
    uint32_t symbol_rate_ksym;  // 6875 ksymbol/s
    uint8_t modulation;         // 5 = 256-QAM on the wire
    std::vector<uint16_t> sids; // service_type 0x01 each
};

struct Service {
    uint16_t sid;
    uint8_t type;
    std::string name;
};

// One local time offset entry of the TOT (Spain, summer time change).
struct Offset {
    std::string country;
    int current_s;
    int next_s;
    int64_t change_unix;
};

std::vector<Stream> nit_streams();
std::vector<Service> sdt_services();
std::vector<Offset> tot_offsets();
constexpr int64_t kTotUnixTime = 1711846000; // 2024-03-31 00:46:40 UTC

} // namespace peer

#endif
