// Service Description Table: one SDT as a list of sealed sections, parsed
// from bytes or generated from the output services and the pattern SDTs of
// the input streams; its byte output, comparison and the pattern collection.
#ifndef TAVEL_SDT_H
#define TAVEL_SDT_H

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include <tavel/export.h>
#include <tavel/sections.h>
#include <tavel/service_records.h>

namespace tavel {

class SDTPatron;

class TAVEL_API tSDT {
public:
    // table_id 0x42 (SDT actual), everything else 0.
    tSDT();
    tSDT(unsigned short table_id, unsigned short transport_stream_id, unsigned short original_network_id,
         unsigned short version_number, unsigned short modoScrambling);
    virtual ~tSDT();
    tSDT(const tSDT&) = delete;
    tSDT& operator=(const tSDT&) = delete;

    // --- Parsing and look-up ---
    // Parses a whole SDT (sections back to back) into secciones. With actual
    // true every section gets table_id 0x42, else the stored one.
    void procesarSDT(const std::vector<char>& buffer, bool actual);
    void procesarSDT(const char* data, unsigned short size, bool actual);
    // Reads the stored SDT file; true when it was read and is over 14 bytes.
    static bool leer_archivo_SDT_a_buffer(std::vector<char>& buffer);
    // The entry (not a copy) of the record's input service in this table, or empty.
    std::shared_ptr<SDTServices> buscar_servicio(const datos_servicios& record);
    // The same look-up over every pattern SDT, first match wins.
    std::shared_ptr<SDTServices> existServiceSDTpatrones(const datos_servicios& record);
    // last_section_number of the first section (0 without sections).
    unsigned char getMaxSectionNumber();
    // version_number of the first section, or 0 without sections.
    unsigned char getSDTVersion();

    // --- Generation from servicios and patrones ---
    void generarSDT();
    void generar_cabecera_primera_section();
    SISectionSDT* generar_cabecera_section();
    void generar_service_loop();
    void cerrar_seccion(bool ultima);
    void cerrar_ultima_seccion();

    // --- Output and comparison ---
    // Appends every section to out; pattern: version and CRC as 0; other:
    // table_id 0x46 and the CRC resealed.
    void generarSDTBufferChar(std::vector<char>& out, bool pattern, bool other);
    // The sealed sections appended to out (as SDT other when other is true).
    void getSDT(std::vector<char>& out, bool other);
    // Same content, version and CRC ignored.
    bool isSameTable(std::unique_ptr<tSDT>& other);
    // Same transport_stream_id, original_network_id, version, last_section_number and size.
    bool compareSDT(const std::unique_ptr<tSDT>& other);
    // Same transport_stream_id, original_network_id, version and size as a serialised SDT.
    bool compareSDT(const std::vector<char>& buffer);

    uint32_t data_size;             // bytes of the whole table
    uint16_t table_id;              // 0x42 actual, 0x46 other
    uint16_t transport_stream_id;
    uint16_t original_network_id;
    uint16_t version_number;        // low 5 bits used
    uint16_t modoScrambling;        // non-zero: every generated service is scrambled
    uint16_t num_service;           // services placed by the last generation
    std::vector<std::unique_ptr<SISectionSDT>> secciones;
    std::unique_ptr<SISectionSDT> seccionActual; // the section being filled
    SDTPatron* patrones = nullptr;  // not owned; set by the caller before generating
    std::map<uint16_t, datos_servicios> servicios; // output services, by key
};

// The pattern SDTs: input SDTs whose services the generator re-emits.
class TAVEL_API SDTPatron {
public:
    SDTPatron();
    virtual ~SDTPatron();
    SDTPatron(const SDTPatron&) = delete;
    SDTPatron& operator=(const SDTPatron&) = delete;

    // Parses buffer (table_id kept) and keeps it unless a pattern of the same
    // identity (tsid, onid, version, size) is held already.
    void addSDTPatron(const std::vector<char>& buffer);
    bool SDT_patron_exist(const std::vector<char>& buffer);

    std::vector<std::unique_ptr<tSDT>> sdts; // in insertion order
};

} // namespace tavel

#endif
