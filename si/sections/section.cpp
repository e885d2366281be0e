#include <tavel/sections.h>

#include <syslog.h>

#include <tavel/coding.h>

#include "platform/log.h"
#include "si/sections/section_seal.h"

namespace tavel {

SISection::SISection(unsigned short budget, unsigned char table_id)
    : espacio_libre_seccion(budget), table_id(table_id), section_syntax_indicator(0), section_length(0),
      version_number(0), current_next_indicator(0), section_number(0), last_section_number(0), CRC(0)
{
}

SISection::~SISection() = default;

void SISection::generar_crc()
{
    std::vector<char> image;
    seal_section(*this, image, log_wanted(LOG_DEBUG));
}

void seal_section(SISection& section, std::vector<char>& image, bool debug)
{
    image.clear();
    image.reserve(section.section_length + 3u);
    const unsigned short n = section.copy_section_to_buffer(image, false);
    if (debug)
        tavel::log(LOG_DEBUG, "generar_crc: %d", n - 4);
    // The CRC covers everything but its own 4 bytes.
    section.CRC = static_cast<uint32_t>(mpeg_crc(0xFFFFFFFFUL, image, n >= 4 ? n - 4u : 0u));
    if (debug)
        tavel::log(LOG_DEBUG, "section_CRC: %d", static_cast<int>(static_cast<int32_t>(section.CRC)));
}

} // namespace tavel
