#include "system/command.h"

#include <tavel/constants.h>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tavel {
namespace command {

int run(const std::string& program, const std::vector<std::string>& argv, std::string& salida)
{
    if (argv.empty())
        return -1;
    std::vector<char*> args;
    args.reserve(argv.size() + 1);
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);

    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return -1;

    posix_spawn_file_actions_t actions;
    if (::posix_spawn_file_actions_init(&actions) != 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return -1;
    }
    // dup2 clears close-on-exec on the child's stdout; both pipe ends close at exec.
    ::posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);

    pid_t pid = 0;
    int rc;
    if (program.find('/') == std::string::npos)
        rc = ::posix_spawnp(&pid, program.c_str(), &actions, nullptr, args.data(), environ);
    else
        rc = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, args.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    // Nothing started at all: an error, and the output is left as it was.
    if (rc == EAGAIN || rc == ENOMEM) {
        ::close(fds[0]);
        return -1;
    }
    salida.clear();
    if (rc != 0) {
        ::close(fds[0]);
        // A program that is missing or not executable behaves as it did when
        // a shell started it: the run happened and printed nothing.
        return 0;
    }

    char piece[128];
    for (;;) {
        ssize_t n = ::read(fds[0], piece, sizeof piece);
        if (n > 0) {
            salida.append(piece, static_cast<size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            break;
        }
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return 0;
}

std::vector<std::string> interfaceStatusArgv(const std::string& interfaz)
{
    return {constants::kNetworkConfigTool, "-j", "-I", interfaz};
}

} // namespace command
} // namespace tavel
