#include <tavel/eit.h>

namespace tavel {

EITEvent::EITEvent()
    : event_id(0), start_time(0), duration(0), running_status(0), free_CA_mode(0), spare1(0), spare2(0)
{
}

EITEvent::~EITEvent() = default;

tablaEIT::tablaEIT() : total_size(0) {}

tablaEIT::~tablaEIT() = default;

} // namespace tavel
