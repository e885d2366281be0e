#include <tavel/nit.h>

#include <syslog.h>

#include <tavel/delivery_descriptors.h>

#include "platform/log.h"

namespace tavel {

namespace {
constexpr unsigned char kNitActualTableId = 0x40;
constexpr unsigned char kSatelliteDeliveryTag = 0x43;
constexpr unsigned short kNoVersion = 65535;
} // namespace

tNIT::tNIT() : tNIT("FRA", 0, "", 0, 0, kNitActualTableId) {}

tNIT::tNIT(std::string pais, unsigned short network_id, std::string network_name, unsigned short con_service_list,
           unsigned short tipo_lcn, unsigned char table_id)
    : data_size(0), pais(std::move(pais)), table_id(table_id), network_id(network_id),
      network_name(std::move(network_name)), version(0), con_service_list(con_service_list), tipo_lcn(tipo_lcn)
{
}

tNIT::~tNIT() = default;

unsigned tNIT::getMaxSectionNumber()
{
    if (secciones.empty() || !secciones.front())
        return 0;
    return secciones.front()->last_section_number;
}

unsigned short tNIT::getNITVersion()
{
    if (secciones.empty() || !secciones.front())
        return kNoVersion;
    return secciones.front()->version_number;
}

int tNIT::getTSinfo(unsigned short tsid, unsigned short onid, unsigned long& frecuencia, unsigned long& symbol_rate,
                    unsigned short& orbital_position, unsigned short& west_east_flag, unsigned char& polarization)
{
    tavel::log(LOG_DEBUG, "Buscamos los datos de frecuencia y symbol_rate para TSID %i y ONID %i", tsid, onid);
    for (const auto& seccion : secciones) {
        if (!seccion)
            continue;
        tavel::log(LOG_DEBUG, "Entramos en la seccion %i", seccion->section_number);
        for (const auto& ts : seccion->transport_streams.items) {
            if (!ts)
                continue;
            tavel::log(LOG_DEBUG, "TSID %i = %i ONID %i = %i", tsid, ts->transport_stream_id, onid,
                       ts->original_network_id);
            if (ts->transport_stream_id != tsid || ts->original_network_id != onid)
                continue;
            for (const auto& d : ts->descriptores.items) {
                if (!d || d->descriptor_tag != kSatelliteDeliveryTag)
                    continue;
                auto sat = std::dynamic_pointer_cast<DescriptorSatelliteDeliverySystem>(d);
                if (!sat)
                    continue;
                frecuencia = sat->frequency;
                symbol_rate = sat->symbol_rate;
                orbital_position = sat->orbital_position;
                west_east_flag = sat->west_east_flag;
                polarization = sat->polarization;
                return 1;
            }
        }
    }
    return 0;
}

} // namespace tavel
