#include <tavel/sdt.h>

#include <syslog.h>

#include "platform/log.h"

namespace tavel {

SDTPatron::SDTPatron() = default;

SDTPatron::~SDTPatron() = default;

bool SDTPatron::SDT_patron_exist(const std::vector<char>& buffer)
{
    for (const auto& sdt : sdts) {
        if (sdt->compareSDT(buffer))
            return true;
    }
    return false;
}

void SDTPatron::addSDTPatron(const std::vector<char>& buffer)
{
    // Identity is tsid, onid, version and size only. Two versions of one input
    // are both kept and the older one answers look-ups; the owner rebuilds the
    // collection when its inputs change.
    if (SDT_patron_exist(buffer)) {
        tavel::log(LOG_DEBUG, "Existe SDT patron");
        return;
    }
    auto sdt = std::make_unique<tSDT>();
    sdt->procesarSDT(buffer, false);
    sdts.push_back(std::move(sdt));
    tavel::log(LOG_DEBUG, "numero de SDT patrones %i . SDT añadida", static_cast<int>(sdts.size()));
}

} // namespace tavel
