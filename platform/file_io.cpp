#include <tavel/file_io.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
    if (path.empty() || path.back() == '/' || !make_parent_directories(path))
        return 0;
    std::string temp = path + ".tmp.XXXXXX";
    int fd = ::mkostemp(&temp[0], O_CLOEXEC);
    if (fd < 0)
        return 0;
    bool ok = write_all(fd, buffer.data(), buffer.size()) && ::fchmod(fd, 0644) == 0 && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (ok && ::rename(temp.c_str(), path.c_str()) == 0) {
        // Make the rename itself durable.
        size_t slash = path.find_last_of('/');
        std::string dir = slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
        int dfd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dfd >= 0) {
            ::fsync(dfd);
            ::close(dfd);
        }
        return 1;
    }
    ::unlink(temp.c_str());
    return 0;
}

} // namespace tavel
