// The Time Offset Table: one section with the UTC time and a local time
// offset descriptor, sealed and written to the TOT file.
#ifndef TAVEL_TOT_H
#define TAVEL_TOT_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <tavel/export.h>
#include <tavel/sections.h>

namespace tavel {

class TAVEL_API tTOT {
public:
    tTOT();
    tTOT(unsigned char table_id, unsigned long long time);
    virtual ~tTOT();
    tTOT(const tTOT&) = delete;
    tTOT& operator=(const tTOT&) = delete;

    // utc_time: 40-bit MJD + BCD UTC_time. 1 when the TOT file was written;
    // 0 when the table could not be generated (the recovery command is then
    // started and the previous file is left as it was). whole: as for
    // generar_archivo_TOT.
    int generarTOT(unsigned long long utc_time, bool whole);

    // The steps of generarTOT, in order.
    void generar_cabecera_primera_section(unsigned long long utc_time);
    // 1, or 0 for a country code that is not 3 characters or a change time
    // before 2010.
    int generar_descriptors_loop();
    void cerrar_ultima_seccion();
    // whole true: complete sections; false: only the descriptor loops
    // (loop length and descriptors). Non-zero when the file was written.
    int generar_archivo_TOT(bool whole);

    // The TOT file into buffer; true on success.
    bool leer_archivo_TOT_a_buffer(std::vector<char>& buffer);

    uint8_t table_id;                                   // 0x73 by default
    uint64_t time;                                      // kept, not used by generation
    std::vector<std::unique_ptr<SISectionTOT>> sections; // finished sections
    std::unique_ptr<SISectionTOT> current_section;      // section under construction
    uint32_t total_size;                                // bytes of the finished sections

    // Filled by the caller. Element 0: three-letter country code. Each
    // further element: "current next change" as decimal integers: current
    // and next offset in seconds (negative: west of Greenwich), change time
    // in Unix seconds (0: no change scheduled). A number that is missing, not
    // decimal or outside the signed 32-bit range counts as 0, and the string
    // is logged at LOG_ERR ("Malformed local time offset ..."); words after
    // the third are ignored (and logged the same way).
    std::vector<std::string> offsets;

protected:
    // Starts the recovery command when the table cannot be generated;
    // by default through system(). Tests override it.
    virtual void run_recovery_command(const char* command);
};

} // namespace tavel

#endif
