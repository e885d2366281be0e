// The event information table holder: EIT section headers opened, chained
// and sealed, and the stored EIT file read back as bytes. Event loops are
// not built.
#ifndef TAVEL_EIT_H
#define TAVEL_EIT_H

#include <cstdint>
#include <memory>
#include <vector>

#include <tavel/descriptor.h>
#include <tavel/export.h>
#include <tavel/sections.h>

namespace tavel {

// One event record; no operation fills it yet.
class TAVEL_API EITEvent {
public:
    EITEvent();
    virtual ~EITEvent();

    uint32_t event_id;
    uint64_t start_time; // 40-bit MJD + BCD UTC time
    uint32_t duration;   // BCD hhmmss
    uint8_t running_status;
    uint8_t free_CA_mode;
    uint8_t spare1; // unused
    uint8_t spare2; // unused
    SIVectorDescriptores descriptores;
};

// The closed sections of one EIT, in section order.
class TAVEL_API tablaEIT {
public:
    tablaEIT();
    virtual ~tablaEIT();
    tablaEIT(const tablaEIT&) = delete;
    tablaEIT& operator=(const tablaEIT&) = delete;

    uint32_t total_size; // sum of section_length + 3 over the sections
    std::vector<std::unique_ptr<SISectionEIT>> sections;
};

class TAVEL_API tEIT {
public:
    tEIT();
    tEIT(unsigned char table_id, unsigned short service_id, unsigned char version_number,
         unsigned short transport_stream_id, unsigned short original_network_id,
         unsigned char segment_last_section_number, unsigned char last_table_id);
    virtual ~tEIT();
    tEIT(const tEIT&) = delete;
    tEIT& operator=(const tEIT&) = delete;

    // A new table and its first section (number 0) from this object's
    // header values; the returned section stays owned by this object.
    SISectionEIT* generar_cabecera_primera_section();
    // The next section after the last closed one (service_id not repeated);
    // nullptr when no section has been closed yet.
    SISectionEIT* generar_cabecera_section();
    // Moves the current section into the table; unless last, opens the next.
    void cerrar_seccion(bool last);
    // Closes the current section, then stamps last_section_number into every
    // section and seals each with its CRC.
    void cerrar_ultima_seccion();
    // Always 0.
    int getEIT(char);

    // The EIT file into buffer as opaque bytes; true on success.
    static bool leer_archivo_EIT_a_buffer(std::vector<char>& buffer);

    uint8_t table_id; // 0x4E by default
    uint16_t service_id;
    uint8_t version_number;
    uint16_t transport_stream_id;
    uint16_t original_network_id;
    uint8_t segment_last_section_number;
    uint8_t last_table_id;
    std::unique_ptr<SISectionEIT> current_section; // section being filled, or empty
    std::unique_ptr<tablaEIT> table;               // closed sections, or empty
};

} // namespace tavel

#endif
