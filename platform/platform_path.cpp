#include "platform/platform_path.h"

#include <cstdlib>

namespace tavel {

std::string platform_path(const std::string& path)
{
    const char* root = std::getenv("TAVEL_ROOT");
    if (root == nullptr || *root == '\0')
        return path;
    return std::string(root) + path;
}

} // namespace tavel
