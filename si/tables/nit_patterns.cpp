#include <tavel/nit.h>

#include <syslog.h>

#include "platform/log.h"

namespace tavel {

NITPatron::NITPatron() = default;
NITPatron::~NITPatron() = default;

void NITPatron::addNITPatron(const std::vector<char>& buffer)
{
    auto nit = std::make_unique<tNIT>();
    nit->procesarNIT(buffer);
    if (NIT_patron_exist(nit))
        return;
    patrones.push_back(std::move(nit));
    tavel::log(LOG_DEBUG, "numero de NIT patrones %i . NIT añadida", static_cast<int>(patrones.size()));
}

bool NITPatron::NIT_patron_exist(const std::unique_ptr<tNIT>& nit)
{
    if (!nit)
        return false;
    for (const auto& patron : patrones) {
        if (nit->compareNIT(patron))
            return true;
    }
    return false;
}

void tNIT::addNITPatron(const std::vector<char>& buffer) { nitPatron.addNITPatron(buffer); }

} // namespace tavel
