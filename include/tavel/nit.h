// The Network Information Table of the outgoing network: caller-filled
// description, generation into sealed sections, parsing of stored NITs,
// versioning against the NIT last sent, and the pattern NITs of the inputs.
#ifndef TAVEL_NIT_H
#define TAVEL_NIT_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <tavel/export.h>
#include <tavel/lcn_memory.h>
#include <tavel/sections.h>
#include <tavel/service_records.h>

namespace tavel {

class tNIT;

// Pattern NITs read from the input streams, in insertion order, no two
// with the same network id, version, last section number and size.
class TAVEL_API NITPatron {
public:
    NITPatron();
    virtual ~NITPatron();
    NITPatron(const NITPatron&) = delete;
    NITPatron& operator=(const NITPatron&) = delete;

    // Parses buffer (concatenated sections) and keeps it unless an equal one is held.
    void addNITPatron(const std::vector<char>& buffer);
    // True if a held pattern compares equal (tNIT::compareNIT).
    bool NIT_patron_exist(const std::unique_ptr<tNIT>& nit);

    std::vector<std::unique_ptr<tNIT>> patrones;
};

class TAVEL_API tNIT {
public:
    tNIT();
    tNIT(std::string pais, unsigned short network_id, std::string network_name, unsigned short con_service_list,
         unsigned short tipo_lcn, unsigned char table_id);
    virtual ~tNIT();
    tNIT(const tNIT&) = delete;
    tNIT& operator=(const tNIT&) = delete;

    // --- Parsing (stored or pattern NITs) ---
    // Appends the sections of buffer to secciones. Truncated input stops at
    // the first section, descriptor or loop that runs past its end.
    void procesarNIT(const std::vector<char>& buffer);
    void procesarNIT(const char* data, unsigned short length);
    // origen 1: the per-network file of nid; otherwise the NIT last sent.
    // Non-zero on success.
    int leer_archivo_NIT_a_buffer(unsigned short nid, std::vector<char>& buffer, int origen);
    // last_section_number of the first section (0 without sections).
    unsigned getMaxSectionNumber();
    // version_number of the first section, 65535 without sections.
    unsigned short getNITVersion();
    // Delivery parameters of a satellite TS: frequency (MHz), symbol rate
    // (ksymbol/s), orbital position (tenths of a degree), west_east_flag,
    // polarization. 1 when found; outputs untouched otherwise.
    int getTSinfo(unsigned short tsid, unsigned short onid, unsigned long& frecuencia, unsigned long& symbol_rate,
                  unsigned short& orbital_position, unsigned short& west_east_flag, unsigned char& polarization);

    // --- Generation ---
    void generarNIT();
    void generar_cabecera_primera_section();
    void generar_cabecera_section();
    void generar_network_name_descriptor();
    void generar_network_descriptors();
    void generar_TS_loop();
    void generate_cable_delivery_system_descriptor(const datos_salidas& salida, std::unique_ptr<NITTS>& ts);
    void generate_terrestrial_delivery_system_descriptor(const datos_salidas& salida, std::unique_ptr<NITTS>& ts);
    void generate_service_list_descriptor(unsigned short tsid, std::unique_ptr<NITTS>& ts);
    void generate_lcn_descriptor(unsigned short tsid, unsigned short tipo_lcn, unsigned short pds_position,
                                 std::unique_ptr<NITTS>& ts);
    void cerrar_seccion(bool ultima);
    void cerrar_ultima_seccion();

    // --- Output and versioning ---
    // Appends every section; comparar true blanks version and CRC.
    void generarNITBufferChar(std::vector<char>& buffer, bool comparar);
    // Writes the new NIT file (NIT_table_aux).
    void generar_archivo_NIT();
    // Next version_number (0..31) after the NIT last sent; 0 without one.
    unsigned getNextNITVersion();
    // True when this NIT equals the NIT last sent apart from version and CRC.
    bool isSameTable();
    // Same network id, version, last section number and size.
    bool compareNIT(const std::unique_ptr<tNIT>& other);
    void addNITPatron(const std::vector<char>& buffer);

    uint32_t data_size;  // bytes of all sections
    std::string pais;    // ISO 3166 alpha-3 country of the headend
    uint8_t table_id;
    uint16_t network_id;
    std::string network_name;
    uint8_t version;     // 0..31
    uint16_t con_service_list; // 1: a service list descriptor per TS
    uint16_t tipo_lcn;   // 0: no LCN descriptor; 1..6: LCN flavour
    std::vector<std::unique_ptr<SISectionNIT>> secciones;
    std::unique_ptr<SISectionNIT> seccion_actual;
    LCNMemVector lcnMem;
    NITPatron nitPatron;
    std::vector<std::pair<uint16_t, uint16_t>> ts_desde_patron; // (TSID, ONID)
    std::map<uint16_t, datos_salidas> salidas;     // outputs by TSID
    std::map<uint16_t, datos_servicios> servicios; // not read by the NIT
};

} // namespace tavel

#endif
