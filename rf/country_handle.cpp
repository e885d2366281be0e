#include <tavel/rf_plans.h>

#include <cctype>
#include <string>

namespace tavel {

namespace {

struct CountryCode {
    const char* alpha2;
    const char* alpha3;
    int number;
};

// Numbers of the interface's country enumeration, the keys of the plan.
constexpr CountryCode kCountryCodes[] = {
    {"ES", "ESP", 1},  {"FR", "FRA", 2},  {"GB", "GBR", 3},  {"AU", "AUS", 4},  {"IT", "ITA", 5},
    {"PT", "PRT", 6},  {"GR", "GRC", 7},  {"NZ", "NZL", 8},  {"SE", "SWE", 9},  {"FI", "FIN", 10},
    {"MV", "MDV", 11}, {"MX", "MEX", 12}, {"KR", "KOR", 13}, {"TW", "TWN", 14}, {"RU", "RUS", 15},
};

} // namespace

int getThriftCountryHandle(const char* code)
{
    if (code == nullptr)
        return 0;
    std::string upper(code);
    for (char& c : upper)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (const auto& country : kCountryCodes)
        if (upper == country.alpha2 || upper == country.alpha3)
            return country.number;
    return 0;
}

} // namespace tavel
