// Pattern NITs arrive from input streams: the parser and the pattern
// collection must stay inside any buffer, however it is cut or corrupted.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <tavel/nit.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<char> buffer(reinterpret_cast<const char*>(data), reinterpret_cast<const char*>(data) + size);

    tavel::tNIT parsed;
    parsed.procesarNIT(buffer);
    parsed.getNITVersion();
    parsed.getMaxSectionNumber();
    unsigned long frecuencia = 0, symbol_rate = 0;
    unsigned short orbital = 0, west_east = 0;
    unsigned char polarization = 0;
    parsed.getTSinfo(1, 1, frecuencia, symbol_rate, orbital, west_east, polarization);
    // Re-serialise what was read: every parsed descriptor regenerates its payload.
    std::vector<char> image;
    parsed.generarNITBufferChar(image, true);

    // The same bytes twice, and once cut in half, through the pattern collection.
    tavel::NITPatron patrones;
    patrones.addNITPatron(buffer);
    patrones.addNITPatron(buffer);
    patrones.addNITPatron(std::vector<char>(buffer.begin(), buffer.begin() + static_cast<long>(size / 2)));
    return 0;
}
