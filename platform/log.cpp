#include "platform/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <syslog.h>

namespace tavel {

namespace {
// Test-only hook; production never sets it.
thread_local LogCapture* active_capture = nullptr;

// vsnprintf does not know "%m"; syslog does. Expand it for the capture.
std::string expand_errno(const char* format, int saved_errno)
{
    std::string out;
    for (const char* p = format; *p; ++p) {
        if (p[0] == '%' && p[1] == '%') {
            out += "%%";
            ++p;
        } else if (p[0] == '%' && p[1] == 'm') {
            for (const char* s = std::strerror(saved_errno); *s; ++s) {
                if (*s == '%')
                    out += '%';
                out += *s;
            }
            ++p;
        } else {
            out += *p;
        }
    }
    return out;
}
} // namespace

bool capture_active() { return active_capture != nullptr; }

void capture_line(int priority, const char* format, ...)
{
    if (!active_capture)
        return;
    const int saved_errno = errno;
    const std::string expanded = expand_errno(format, saved_errno);
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, expanded.c_str(), copy);
    va_end(copy);
    std::string text(n > 0 ? static_cast<size_t>(n) : 0, '\0');
    if (n > 0)
        std::vsnprintf(&text[0], text.size() + 1, expanded.c_str(), args);
    va_end(args);
    active_capture->lines_.push_back({priority, text});
    errno = saved_errno;
}

bool log_wanted(int priority)
{
    // setlogmask(0) reads the mask without changing it.
    return active_capture != nullptr || (setlogmask(0) & LOG_MASK(LOG_PRI(priority))) != 0;
}

LogCapture::LogCapture() : previous_(active_capture) { active_capture = this; }

LogCapture::~LogCapture() { active_capture = previous_; }

bool LogCapture::has(int priority, const std::string& text) const
{
    for (const auto& l : lines_)
        if (l.priority == priority && l.text == text)
            return true;
    return false;
}

bool LogCapture::contains(int priority, const std::string& fragment) const
{
    for (const auto& l : lines_)
        if (l.priority == priority && l.text.find(fragment) != std::string::npos)
            return true;
    return false;
}

size_t LogCapture::count(int priority) const
{
    size_t n = 0;
    for (const auto& l : lines_)
        if (l.priority == priority)
            ++n;
    return n;
}

} // namespace tavel
