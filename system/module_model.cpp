#include <tavel/module.h>

#include <tavel/constants.h>

namespace tavel {

unsigned short getNumModeloModulo(const std::string& modelo)
{
    // Callers compare against these exact numbers; 2, 5 and 6 are never handed out.
    if (modelo == constants::kModelKmx410)
        return 1;
    if (modelo == constants::kModelKmx430)
        return 3;
    if (modelo == constants::kModelKmx630)
        return 4;
    if (modelo == constants::kModelKsr430)
        return 7;
    return 99;
}

bool getTipoCabecera(unsigned short modelo)
{
    return modelo == 7;
}

bool getTipoCabecera(const std::string& modelo)
{
    return getTipoCabecera(getNumModeloModulo(modelo));
}

unsigned short getNumSalidasRFModulo(unsigned short modelo)
{
    return modelo == 4 ? 6 : 4;
}

unsigned short getNumEntradasRFModulo(unsigned short modelo)
{
    return getNumSalidasRFModulo(modelo);
}

} // namespace tavel
