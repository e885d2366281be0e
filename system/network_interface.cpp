#include <tavel/network.h>

#include "platform/platform_path.h"
#include "system/command.h"

#include <tavel/constants.h>

#include <algorithm>
#include <arpa/inet.h>

namespace tavel {

namespace {

bool isIp4(const std::string& text)
{
    struct in_addr addr;
    return ::inet_pton(AF_INET, text.c_str(), &addr) == 1;
}

} // namespace

int getCpuAndFpgaIpAddress(std::string& cpu, std::string& fpga)
{
    std::string salida;
    if (command::run(constants::kBackplaneSubnetTool,
                     {constants::kBackplaneSubnetTool, constants::kBackplaneSubnetQuery}, salida) == 0) {
        salida.erase(std::remove_if(salida.begin(), salida.end(), [](char c) { return c == '\n' || c == '\0'; }),
                     salida.end());
        size_t blank = salida.find(' ');
        // Without a blank both take the whole text: npos + 1 wraps to 0, as
        // the backplane scripts of single-processor modules expect.
        std::string first = salida.substr(0, blank);
        std::string second = salida.substr(blank + 1);
        if (isIp4(first) && isIp4(second)) {
            cpu = first;
            fpga = second;
            return 0;
        }
    }
    cpu = constants::kDefaultCpuBackplaneAddress;
    fpga = constants::kDefaultFpgaBackplaneAddress;
    return 0;
}

int getNetworInterfaceStatus(std::string interfaz, std::string& salida)
{
    // The name may come from the web interface: it goes to the tool as one
    // argument and never through a shell.
    return command::run(platform_path(constants::kNetworkConfigTool), command::interfaceStatusArgv(interfaz), salida);
}

} // namespace tavel
