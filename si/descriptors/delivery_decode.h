// Field decoding of the cable and terrestrial delivery descriptors without
// their debug line, for parsers that check the log mask once per table
// instead of once per descriptor. procesarDatos is this plus the line.
#ifndef TAVEL_SI_DESCRIPTORS_DELIVERY_DECODE_H
#define TAVEL_SI_DESCRIPTORS_DELIVERY_DECODE_H

#include <tavel/delivery_descriptors.h>

namespace tavel {

void decode_cable_delivery(DescriptorCableDeliverySystem& d);
void decode_terrestrial_delivery(DescriptorTerrestrialDeliverySystem& d);

} // namespace tavel

#endif
