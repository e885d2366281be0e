// Fixed paths of the NIT files, before platform mapping.
#ifndef TAVEL_SI_TABLES_NIT_PATHS_H
#define TAVEL_SI_TABLES_NIT_PATHS_H

#include <string>

#include <tavel/constants.h>

namespace tavel {

// Written by generation; other programs promote it to the NIT last sent.
inline std::string nit_new_file_path()
{
    return std::string(constants::kSiTablesDir) + constants::kNitTableAuxFile;
}

inline std::string nit_last_sent_file_path()
{
    return std::string(constants::kSiTablesDir) + constants::kNitTableFile;
}

// NIT_table<nid>, decimal without leading zeros.
inline std::string nit_network_file_path(unsigned short nid)
{
    return std::string(constants::kNitFilesDir) + constants::kNitTableFile + std::to_string(nid);
}

} // namespace tavel

#endif
