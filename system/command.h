// Running a helper program without a shell and collecting what it prints.
#ifndef TAVEL_SYSTEM_COMMAND_H
#define TAVEL_SYSTEM_COMMAND_H

#include <string>
#include <vector>

namespace tavel {
namespace command {

// Starts program with argv (argv[0] included, passed as given) and its
// standard output on a pipe; salida is cleared and receives everything the
// program prints until it exits. program is searched on PATH when it has no
// slash. 0 once the program ran, or was missing or not executable (empty
// output, as a shell would give); -1 when no process could be started (salida
// left as it was). The exit status is not looked at.
int run(const std::string& program, const std::vector<std::string>& argv, std::string& salida);

// The argument vector of the interface status query for one interface.
std::vector<std::string> interfaceStatusArgv(const std::string& interfaz);

} // namespace command
} // namespace tavel

#endif
