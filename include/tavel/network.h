// IPv4 helpers: text and integer forms, multicast tests, the PSI/SI group,
// the backplane addresses and the status of a network interface.
#ifndef TAVEL_NETWORK_H
#define TAVEL_NETWORK_H

#include <string>

#include <tavel/export.h>

namespace tavel {

// Dotted IPv4 text to a host-order integer (192.168.1.1 -> 0xC0A80101);
// 0 for an empty or invalid text.
TAVEL_API unsigned int ip4StringToInt(const std::string& ip);

// Host-order integer to dotted text, always 15 characters: a shorter text is
// followed by '\0' padding (use it through c_str()). Empty on failure.
TAVEL_API std::string intToIp4String(unsigned long ip);

// True for 224.0.0.0 to 239.255.255.255 (host order).
TAVEL_API bool ipIsMulticast(unsigned int ip);
TAVEL_API bool pIsMulticast(const std::string& ip);

// The multicast group of the PSI/SI tables, "232.0.1.1" (owned by the library).
TAVEL_API const char* getPsisiMulticastAddress();

// Backplane addresses of this module's processor and FPGA, from the backplane
// subnet tool; fixed defaults when it gives nothing usable. Returns 0.
TAVEL_API int getCpuAndFpgaIpAddress(std::string& cpu, std::string& fpga);

// Runs the network configuration tool for the interface (its JSON status)
// and leaves the tool's whole output in salida. The name reaches the tool as
// one argument and is never seen by a shell. 0, or -1 when the tool cannot
// be started.
TAVEL_API int getNetworInterfaceStatus(std::string interfaz, std::string& salida);

} // namespace tavel

#endif
