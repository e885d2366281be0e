// LCN memory: which logical channel number was given to which service of
// which transport stream. Callers fill and query it; the NIT generator does
// not read it.
#ifndef TAVEL_LCN_MEMORY_H
#define TAVEL_LCN_MEMORY_H

#include <cstdint>
#include <memory>
#include <vector>

#include <tavel/export.h>

namespace tavel {

struct TAVEL_API LCNMem {
    LCNMem();
    LCNMem(unsigned short tsid, unsigned short onid, unsigned short sid, unsigned short lcn);

    uint16_t tsid;
    uint16_t onid;
    uint16_t sid;
    uint16_t lcn;
};

// Remembered assignments in insertion order: a plain vector that callers
// fill; entries are shared with the callers that receive them from a look-up.
class TAVEL_API LCNMemVector : public std::vector<std::shared_ptr<LCNMem>> {
public:
    LCNMemVector();
    virtual ~LCNMemVector();

    // The last entry holding lcn (empty if none); cuantos = number of holders.
    std::shared_ptr<LCNMem> buscaPorLCN(unsigned short lcn, unsigned short& cuantos);
    // The first entry with both lcn and sid, or empty.
    std::shared_ptr<LCNMem> buscaPorLCNySID(unsigned short lcn, unsigned short sid);
    // The first entry with tsid, onid and sid, or empty.
    std::shared_ptr<LCNMem> buscaPorTSIDONIDSID(unsigned short tsid, unsigned short onid, unsigned short sid);
};

} // namespace tavel

#endif
