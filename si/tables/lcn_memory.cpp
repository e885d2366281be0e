#include <tavel/lcn_memory.h>

#include <syslog.h>

#include "platform/log.h"

namespace tavel {

LCNMem::LCNMem() : tsid(0), onid(0), sid(0), lcn(0) {}

LCNMem::LCNMem(unsigned short tsid, unsigned short onid, unsigned short sid, unsigned short lcn)
    : tsid(tsid), onid(onid), sid(sid), lcn(lcn)
{
}

LCNMemVector::LCNMemVector() = default;
LCNMemVector::~LCNMemVector() = default;

std::shared_ptr<LCNMem> LCNMemVector::buscaPorLCN(unsigned short lcn, unsigned short& cuantos)
{
    cuantos = 0;
    std::shared_ptr<LCNMem> found;
    // Walk them all: the count tells the caller whether the number is shared.
    for (const auto& entry : *this) {
        if (entry && entry->lcn == lcn) {
            found = entry;
            ++cuantos;
        }
    }
    return found;
}

std::shared_ptr<LCNMem> LCNMemVector::buscaPorLCNySID(unsigned short lcn, unsigned short sid)
{
    for (const auto& entry : *this) {
        if (entry && entry->lcn == lcn && entry->sid == sid)
            return entry;
    }
    return nullptr;
}

std::shared_ptr<LCNMem> LCNMemVector::buscaPorTSIDONIDSID(unsigned short tsid, unsigned short onid,
                                                          unsigned short sid)
{
    for (const auto& entry : *this) {
        if (!entry)
            continue;
        // The entry's LCN sits in the SID slot of this trace; field tools grep for it as is.
        tavel::log(LOG_DEBUG, "TSID %i = %i ONID %i = %i SID %i = %i", entry->tsid, tsid, entry->onid, onid,
                   entry->lcn, sid);
        if (entry->tsid == tsid && entry->onid == onid && entry->sid == sid)
            return entry;
    }
    return nullptr;
}

} // namespace tavel
