// The library's one way to the system log, and a test-only capture.
#ifndef TAVEL_PLATFORM_LOG_H
#define TAVEL_PLATFORM_LOG_H

#include <cerrno>
#include <string>
#include <syslog.h>
#include <vector>

namespace tavel {

// Records the line in this thread's capture, if one is active (tests).
void capture_line(int priority, const char* format, ...);
bool capture_active();

// Hands the system's format and arguments to syslog itself, as they are
// written, so that whatever watches the process's syslog calls sees the very
// call; "%m" is syslog's own. The format is never the caller's text.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
template <typename... Args>
void log(int priority, const char* format, Args... args)
{
    const int saved_errno = errno;
    if (capture_active())
        capture_line(priority, format, args...);
    errno = saved_errno;
    syslog(priority, format, args...);
    errno = saved_errno;
}
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

// True when a line of this priority would be recorded: the process log mask
// lets it through, or a capture is active on this thread. A check costs about
// as much as a masked log call, so loops check once and skip both the call
// and the building of its arguments; a mask changed during that loop is
// seen from the next call on.
bool log_wanted(int priority);

struct LogLine {
    int priority;
    std::string text;
};

// While an object of this class lives, every line logged by the same thread
// is also recorded here (and still sent to syslog). For tests.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<LogLine>& lines() const { return lines_; }
    // True when some line has exactly this priority and text.
    bool has(int priority, const std::string& text) const;
    // True when some line has this priority and contains the fragment.
    bool contains(int priority, const std::string& fragment) const;
    // Number of lines with this priority.
    size_t count(int priority) const;
    void clear() { lines_.clear(); }

private:
    friend void capture_line(int, const char*, ...);
    std::vector<LogLine> lines_;
    LogCapture* previous_;
};

} // namespace tavel

#endif
