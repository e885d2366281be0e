// Where a fixed platform path is really opened.
#ifndef TAVEL_PLATFORM_PATH_H
#define TAVEL_PLATFORM_PATH_H

#include <string>

namespace tavel {

// With TAVEL_ROOT set and non-empty, its value is put in front of the path
// (tests and tools run unprivileged inside a scratch root); otherwise the
// path is returned as it stands. Every fixed path the library opens goes
// through here.
std::string platform_path(const std::string& path);

} // namespace tavel

#endif
