#include <tavel/tot.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <syslog.h>

#include <tavel/coding.h>
#include <tavel/constants.h>
#include <tavel/file_io.h>
#include <tavel/network_descriptors.h>

#include "platform/log.h"
#include "platform/platform_path.h"
#include "si/sections/section_seal.h"

namespace tavel {

namespace {

constexpr unsigned char kDefaultTotTableId = 0x73;
constexpr uint16_t kTotHeaderLength = 11; // UTC_time, loop length, CRC
constexpr long long kSecondsPerDay = 86400;
constexpr uint64_t kNoTimeOfChange = 0xFFFFFFFFFFULL;

struct OffsetLine {
    long long current = 0;
    long long next = 0;
    long long change = 0;
};

// One decimal word [p, end) as a signed 32-bit value; false when it is not
// one. Accepts what strtoll in base 10 accepts from a word without blanks,
// read up to its first zero byte: an optional sign, digits, nothing after.
bool parse_int32(const char* p, const char* end, long long& value)
{
    end = std::find(p, end, '\0');
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    if (p == end)
        return false;
    long long v = 0;
    for (; p != end; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        v = v * 10 + (*p - '0');
        // Out of range already; stopping here also keeps v from overflowing.
        if (v > static_cast<long long>(INT_MAX) + 1)
            return false;
    }
    v = negative ? -v : v;
    if (v < INT_MIN || v > INT_MAX)
        return false;
    value = v;
    return true;
}

// White space as the classic locale's stream extraction sees it.
bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// The next blank-separated word of text from at on, as "in >> word" reads
// it (a zero byte is part of a word), as [begin, at); false at the end.
bool next_word(const std::string& text, size_t& at, size_t& begin)
{
    while (at < text.size() && is_blank(text[at]))
        ++at;
    if (at == text.size())
        return false;
    begin = at;
    while (at < text.size() && !is_blank(text[at]))
        ++at;
    return true;
}

// "current next change"; a missing or bad number counts 0. The caller's
// configuration is not trusted: one bad line must not stop the table.
OffsetLine parse_offset_line(const std::string& text)
{
    OffsetLine line;
    long long* fields[3] = {&line.current, &line.next, &line.change};
    size_t at = 0;
    size_t begin = 0;
    bool well_formed = true;
    size_t count = 0;
    while (next_word(text, at, begin)) {
        if (count < 3) {
            if (!parse_int32(text.data() + begin, text.data() + at, *fields[count]))
                well_formed = false;
        } else {
            well_formed = false;
        }
        ++count;
    }
    if (count < 3)
        well_formed = false;
    if (!well_formed)
        tavel::log(LOG_ERR, "Malformed local time offset \"%s\": three integers expected, missing ones count 0",
                   text.c_str());
    return line;
}

// Seconds to BCD hhmm.
uint16_t offset_to_bcd_hhmm(long long seconds)
{
    const auto hours = static_cast<unsigned char>(seconds / 3600);
    const auto minutes = static_cast<unsigned char>((seconds % 3600) / 60);
    return static_cast<uint16_t>((bin_2_bcd4(hours) << 8) | bin_2_bcd4(minutes));
}

// The system's path: the one logged, as the NIT and SDT readers log theirs.
std::string tot_file_path()
{
    return std::string(constants::kSiTablesDir) + constants::kTotTableFile;
}

} // namespace

tTOT::tTOT() : tTOT(kDefaultTotTableId, 0) {}

tTOT::tTOT(unsigned char table_id, unsigned long long time) : table_id(table_id), time(time), total_size(0) {}

tTOT::~tTOT() = default;

int tTOT::generarTOT(unsigned long long utc_time, bool whole)
{
    generar_cabecera_primera_section(utc_time);
    if (generar_descriptors_loop() == 0) {
        tavel::log(LOG_WARNING, "Impossible generate the TOT table. Maybe wrong time");
        tavel::log(LOG_WARNING, "HEADEND::: Impossible generate the TOT table. Maybe wrong time");
        run_recovery_command(constants::kTotRecoveryCommand);
        return 0;
    }
    cerrar_ultima_seccion();
    return generar_archivo_TOT(whole) != 0 ? 1 : 0;
}

void tTOT::generar_cabecera_primera_section(unsigned long long utc_time)
{
    const bool debug = log_wanted(LOG_DEBUG);
    if (debug)
        tavel::log(LOG_DEBUG, "Generate TOT section header.");
    total_size = 0;
    current_section = std::make_unique<SISectionTOT>(table_id);
    current_section->section_length = kTotHeaderLength;
    // Set although a TOT has no syntax bit: the multiplexer expects 0xF0 in byte 1.
    current_section->section_syntax_indicator = 1;
    current_section->UTC_time = utc_time;
    current_section->descriptors_loop_length = 0;
    if (debug)
        tavel::log(LOG_DEBUG, "generar_cabecera_primera_section: FIN");
}

int tTOT::generar_descriptors_loop()
{
    if (!current_section)
        return 0;
    if (offsets.empty()) {
        // No country code at all: the same answer as a code of length 0.
        tavel::log(LOG_ERR, "El tamaño del codigo pais debe ser 3, y es %i", 0);
        return 0;
    }
    const unsigned short count = static_cast<unsigned short>(offsets.size() - 1);
    // One mask check for the whole loop.
    const bool debug = log_wanted(LOG_DEBUG);
    if (debug)
        tavel::log(LOG_DEBUG, "Generate descriptor loop. Number of local time offset descriptors %hu", count);

    auto descriptor = std::make_shared<DescriptorLocalTimeOffset>();
    const std::string& country = offsets[0];
    if (debug)
        tavel::log(LOG_DEBUG, "Codigo Pais %s", country.c_str());
    if (country.size() != 3) {
        tavel::log(LOG_ERR, "El tamaño del codigo pais debe ser 3, y es %i", static_cast<int>(country.size()));
        return 0;
    }

    descriptor->offsets.reserve(count);
    uint8_t region = 0;
    for (size_t i = 1; i < offsets.size(); ++i) {
        OffsetLine line = parse_offset_line(offsets[i]);
        if (debug)
            tavel::log(LOG_DEBUG, "Generate descriptor loop. current_offset %i, next_offset %i, change_time %i",
                       static_cast<int>(line.current), static_cast<int>(line.next), static_cast<int>(line.change));

        offset_info entry;
        entry.country_code = country;
        long long current = line.current;
        long long next = line.next;
        const bool change_given = line.change != 0;
        if (current < 0) {
            current = -current;
            entry.local_time_offset_polarity = 1;
            if (change_given) {
                if (next < 0)
                    next = -next;
                else if (next != 0)
                    // West of Greenwich a positive next offset is counted back
                    // from a day; the configuration tools rely on it. Keep it.
                    next = kSecondsPerDay - next;
            } else {
                next = current;
            }
        } else {
            entry.local_time_offset_polarity = 0;
            if (change_given) {
                if (next < 0)
                    next += kSecondsPerDay;
            } else {
                next = current;
            }
        }

        if (count > 1)
            ++region;
        entry.country_region_id = region;
        entry.local_time_offset = offset_to_bcd_hhmm(current);

        if (change_given) {
            unsigned long long time_of_change = 0;
            if (std_time_to_mjd_utc(static_cast<unsigned long>(static_cast<long>(line.change)), time_of_change) == 0)
                return 0;
            entry.time_of_change = time_of_change;
        } else {
            entry.time_of_change = kNoTimeOfChange;
        }
        entry.next_time_offset = offset_to_bcd_hhmm(next);

        descriptor->addNewTimeOffset(entry);
        if (debug)
            tavel::log(LOG_DEBUG,
                       "Generate descriptor loop. local_time_offset %hu time_of_change %hu next_time_offset %hu",
                       entry.local_time_offset, static_cast<unsigned short>(entry.time_of_change),
                       entry.next_time_offset);
    }

    descriptor->generateDataVector();
    current_section->descriptors_loop_length =
        static_cast<uint16_t>(current_section->descriptors_loop_length + descriptor->descriptor_length + 2);
    current_section->descriptors.items.push_back(descriptor);
    return 1;
}

void tTOT::cerrar_ultima_seccion()
{
    const bool debug = log_wanted(LOG_DEBUG);
    if (debug)
        tavel::log(LOG_DEBUG, "cerrar_seccion");
    if (!current_section)
        return;
    current_section->section_length =
        static_cast<uint16_t>(current_section->section_length + current_section->descriptors_loop_length);
    total_size += current_section->section_length + 3u;
    std::vector<char> image;
    seal_section(*current_section, image, debug);
    sections.push_back(std::move(current_section));
}

int tTOT::generar_archivo_TOT(bool whole)
{
    tavel::log(LOG_INFO, "Generate TOT file");
    std::vector<char> buffer;
    buffer.reserve(total_size);
    for (const auto& section : sections)
        section->copy_section_to_buffer(buffer, whole, false);
    if (whole && buffer.size() != total_size)
        tavel::log(LOG_WARNING, "generar_archivo_TOT: NO COINCIDEN LOS TAMANOS %i %i", static_cast<int>(buffer.size()),
                   static_cast<int>(total_size));

    const std::string path = tot_file_path();
    if (write_char_vector_to_file(buffer, platform_path(path), false) == 0) {
        tavel::log(LOG_WARNING, "Imposible escribir el archivo TOT. %s", path.c_str());
        return 0;
    }
    tavel::log(LOG_INFO, "Generado archivo TOT");
    return 1;
}

bool tTOT::leer_archivo_TOT_a_buffer(std::vector<char>& buffer)
{
    tavel::log(LOG_DEBUG, "leer_archivo_TOT_a_buffer");
    const std::string path = tot_file_path();
    if (read_char_vector_from_file(platform_path(path), buffer) == 0) {
        tavel::log(LOG_WARNING, "Imposible leer el archivo TOT o archivo TOT no existente. %s", path.c_str());
        return false;
    }
    tavel::log(LOG_DEBUG, "leer_archivo_TOT_a_buffer: tamano_archivo %i", static_cast<int>(buffer.size()));
    return true;
}

void tTOT::run_recovery_command(const char* command)
{
    // Started in the background by the command itself; its status tells nothing.
    const int status = std::system(command);
    static_cast<void>(status);
}

} // namespace tavel
