// Broadcast code conversions: DVB service type class, signed orbital
// position, channel bandwidth codes and the LNB local oscillator choice.
// Frequencies are in MHz; their differences are 16-bit unsigned.
#ifndef TAVEL_CODE_CONVERSIONS_H
#define TAVEL_CODE_CONVERSIONS_H

#include <tavel/export.h>

namespace tavel {

// DVB service_type to its class: 1 television, 0 radio, 2 other.
TAVEL_API int getTipoServicio(unsigned short service_type);

// Orbital position (tenths of a degree) and west_east_flag (1 east, 0 west)
// of a satellite delivery descriptor to a signed position, west negative.
TAVEL_API short getOrbitafromNITdata(unsigned short orbital_position, unsigned char west_east_flag);

// Channel bandwidth in MHz to the output (0 = 8 MHz, 1 = 7, 2 = 6, 3 = 5)
// and input (2 = 8 or 5 MHz, 1 = 7, 0 = 6) bandwidth codes.
TAVEL_API unsigned short getBWOutputValueFromMHZ(unsigned short mhz);
TAVEL_API unsigned short getBWInputValueFromMHZ(unsigned short mhz);

// Output bandwidth code to MHz; 0 for an unknown code.
TAVEL_API unsigned short getAncho_BandaOut_MHZ(unsigned short code);

// Intermediate frequency (MHz, 950..2150) of a satellite frequency (MHz)
// for the oscillators lo_a and lo_b (MHz); band is set to 1 when lo_a is
// used and 0 when lo_b is. 950 and band 0 when neither fits.
TAVEL_API unsigned short convertir_TS_freq(unsigned short freq, unsigned short& band, unsigned short lo_a,
                                           unsigned short lo_b);

// The band (0 or 1) that convertir_TS_freq chooses for the same arguments.
TAVEL_API unsigned short getBandaFromFrecuencia(unsigned short freq, unsigned short lo_a, unsigned short lo_b);

} // namespace tavel

#endif
