#include "paths.h"

#include <cstdlib>

#include <tavel/constants.h>

namespace tavel_si {

std::string rooted(const std::string& platform_path)
{
    const char* root = std::getenv("TAVEL_ROOT");
    if (root == nullptr || *root == '\0')
        return platform_path;
    return std::string(root) + platform_path;
}

std::string tables_dir()
{
    return rooted(tavel::constants::kSiTablesDir);
}

std::string nit_sent_path()
{
    return tables_dir() + tavel::constants::kNitTableFile;
}

std::string nit_new_path()
{
    return tables_dir() + tavel::constants::kNitTableAuxFile;
}

std::string tot_path()
{
    return tables_dir() + tavel::constants::kTotTableFile;
}

std::string sdt_output_name(uint16_t tsid)
{
    return std::string(tavel::constants::kSdtTableFile) + "_" + std::to_string(tsid);
}

std::string sdt_output_path(uint16_t tsid)
{
    return tables_dir() + sdt_output_name(tsid);
}

} // namespace tavel_si
