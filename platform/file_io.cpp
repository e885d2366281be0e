#include <tavel/file_io.h>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "platform/log.h"

namespace tavel {

namespace {

bool make_parent_directories(const std::string& path)
{
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos || slash == 0)
        return true;
    std::string dir = path.substr(0, slash);
    for (size_t pos = 1; pos <= dir.size(); ++pos) {
        if (pos != dir.size() && dir[pos] != '/')
            continue;
        std::string part = dir.substr(0, pos);
        if (::mkdir(part.c_str(), 0755) != 0 && errno != EEXIST)
            return false;
    }
    struct stat st;
    return ::stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Temporary files are "<file name>.tmp.XXXXXX" (six random characters) in the
// target's directory. The writer holds an exclusive flock on its temporary
// file from creation to rename, so a temporary file whose lock can be taken
// belongs to a writer that died.
const char kTempInfix[] = ".tmp.";
const size_t kTempRandom = 6;

std::string directory_of(const std::string& path)
{
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
}

// Removes the temporary files of this target left by dead writers. Those of
// live writers (locked) and every other name stay.
void remove_dead_temps(const std::string& path)
{
    const std::string dir = directory_of(path);
    size_t slash = path.find_last_of('/');
    const std::string prefix = (slash == std::string::npos ? path : path.substr(slash + 1)) + kTempInfix;
    DIR* d = ::opendir(dir.c_str());
    if (!d)
        return;
    while (const dirent* entry = ::readdir(d)) {
        const std::string name = entry->d_name;
        if (name.size() != prefix.size() + kTempRandom || name.compare(0, prefix.size(), prefix) != 0)
            continue;
        const std::string temp = dir + "/" + name;
        int fd = ::open(temp.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            continue;
        struct stat held, named;
        // Unlink only the very file locked here, not a successor of the same name.
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &held) == 0 && S_ISREG(held.st_mode) &&
            ::lstat(temp.c_str(), &named) == 0 && held.st_ino == named.st_ino && held.st_dev == named.st_dev)
            ::unlink(temp.c_str());
        ::close(fd);
    }
    ::closedir(d);
}

// A fresh temporary file for path, created and locked; -1 with errno set on
// failure. A cleaner in another process may remove the file between its
// creation and the lock: then the name no longer leads to it and we retry.
int create_locked_temp(const std::string& path, std::string& temp)
{
    for (int attempt = 0; attempt < 8; ++attempt) {
        temp = path + kTempInfix + std::string(kTempRandom, 'X');
        int fd = ::mkostemp(&temp[0], O_CLOEXEC);
        if (fd < 0)
            return -1;
        struct stat held, named;
        if (::flock(fd, LOCK_EX) == 0 && ::fstat(fd, &held) == 0 && ::lstat(temp.c_str(), &named) == 0 &&
            held.st_ino == named.st_ino && held.st_dev == named.st_dev)
            return fd;
        ::close(fd);
    }
    errno = EAGAIN;
    return -1;
}

// The one warning of a failed write: the path and the system's reason.
int report_failure(const std::string& path, int error)
{
    errno = error;
    tavel::log(LOG_WARNING, "write_char_vector_to_file: cannot write %s: %m", path.c_str());
    return 0;
}

bool write_all(int fd, const char* data, size_t size)
{
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

int read_char_vector_from_file(const std::string& path, std::vector<char>& buffer)
{
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    std::vector<char> content;
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0)
        content.reserve(static_cast<size_t>(st.st_size));
    char chunk[65536];
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            ::close(fd);
            return 0;
        }
        if (n == 0)
            break;
        content.insert(content.end(), chunk, chunk + n);
    }
    ::close(fd);
    buffer.swap(content);
    return 1;
}

int write_char_vector_to_file(const std::vector<char>& buffer, const std::string& path, bool /*flag*/)
{
    if (path.empty() || path.back() == '/')
        return report_failure(path, EISDIR);
    if (!make_parent_directories(path))
        return report_failure(path, errno);
    remove_dead_temps(path);
    std::string temp;
    int fd = create_locked_temp(path, temp);
    if (fd < 0)
        return report_failure(path, errno);
    bool ok = write_all(fd, buffer.data(), buffer.size()) && ::fchmod(fd, 0644) == 0 && ::fsync(fd) == 0 &&
              ::rename(temp.c_str(), path.c_str()) == 0;
    int error = errno;
    if (!ok) {
        // Unlinked while still locked, so no cleaner can mistake it for ours.
        ::unlink(temp.c_str());
        ::close(fd);
        return report_failure(path, error);
    }
    // Closed after the rename: the lock covers the file's whole life as a
    // temp. The data is already flushed, so close has nothing left to fail.
    ::close(fd);
    // Make the rename itself durable.
    int dfd = ::open(directory_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dfd >= 0) {
        ::fsync(dfd);
        ::close(dfd);
    }
    return 1;
}

} // namespace tavel
