#include "service_type_names.h"

#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {

std::string service_type_name(unsigned type)
{
    std::string name;
    if (type >= 0x80 && type <= 0xFE)
        name = "user defined";
    else
        name = code_name({"reserved", "digital television", "digital radio sound", "teletext", "NVOD reference",
                          "NVOD time-shifted", "mosaic", "FM radio", "DVB SRM", "reserved",
                          "advanced codec digital radio sound", "H.264/AVC mosaic", "data broadcast",
                          "reserved for common interface", "RCS map", "RCS FLS", "DVB MHP",
                          "MPEG-2 HD digital television", "reserved", "reserved", "reserved", "reserved",
                          "H.264/AVC SD digital television", "H.264/AVC SD NVOD time-shifted",
                          "H.264/AVC SD NVOD reference", "H.264/AVC HD digital television",
                          "H.264/AVC HD NVOD time-shifted", "H.264/AVC HD NVOD reference",
                          "H.264/AVC frame compatible plano-stereoscopic HD digital television",
                          "H.264/AVC frame compatible plano-stereoscopic HD NVOD time-shifted",
                          "H.264/AVC frame compatible plano-stereoscopic HD NVOD reference",
                          "HEVC digital television", "HEVC UHD digital television (HDR and/or high frame rate)"},
                         type);
    return hex_number(type, 2) + " " + name;
}

} // namespace decode
} // namespace tavel_si
