// Model number, headend kind and RF port counts of a module, and its slot in
// the chassis.
#ifndef TAVEL_MODULE_H
#define TAVEL_MODULE_H

#include <string>

#include <tavel/export.h>

namespace tavel {

// Model number of a model name (exact, case-sensitive): KMX-410 1, KMX-430 3,
// KMX-630 4, KSR-430 7, anything else 99.
TAVEL_API unsigned short getNumModeloModulo(const std::string& modelo);

// True for the transport stream unit (model number 7).
TAVEL_API bool getTipoCabecera(unsigned short modelo);
TAVEL_API bool getTipoCabecera(const std::string& modelo);

// RF outputs of a model number: 6 for model 4, else 4.
TAVEL_API unsigned short getNumSalidasRFModulo(unsigned short modelo);
// RF inputs: as many as RF outputs.
TAVEL_API unsigned short getNumEntradasRFModulo(unsigned short modelo);

// Slot from a host or interface name: "tvl<n>" gives n (0..9), "lo" gives 1,
// anything else -1.
TAVEL_API int getSlotNumber(std::string nombre);

// Slot detected at start-up (0..10), read from the detection file. While the
// file is missing, waits up to reintentos seconds for it; 0 when it never
// appears or holds no usable number.
TAVEL_API unsigned int getDetectedSlot(unsigned int reintentos);

} // namespace tavel

#endif
