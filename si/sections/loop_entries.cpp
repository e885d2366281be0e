#include <tavel/sections.h>

namespace tavel {

NITTS::NITTS() : NITTS(0, 0) {}

NITTS::NITTS(unsigned short tsid, unsigned short onid)
    : transport_stream_id(tsid), original_network_id(onid), transport_descriptors_length(0)
{
}

NITTS::~NITTS() = default;

SDTServices::SDTServices() : SDTServices(0, 0, 0, 0, 0) {}

SDTServices::SDTServices(unsigned short service_id, unsigned char EIT_schedule_flag,
                         unsigned char EIT_present_following_flag, unsigned char running_status,
                         unsigned char free_CA_mode)
    : service_id(service_id), EIT_schedule_flag(EIT_schedule_flag),
      EIT_present_following_flag(EIT_present_following_flag), running_status(running_status),
      free_CA_mode(free_CA_mode), descriptors_loop_length(0)
{
}

SDTServices::~SDTServices() = default;

SIVectorNITTS::SIVectorNITTS() = default;
SIVectorNITTS::~SIVectorNITTS() = default;

SIVectorSDTServices::SIVectorSDTServices() = default;
SIVectorSDTServices::~SIVectorSDTServices() = default;

} // namespace tavel
