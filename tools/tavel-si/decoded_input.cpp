#include "decoded_input.h"

#include <map>
#include <tuple>

#include "dump.h"
#include "input.h"

namespace tavel_si {

bool load_decoded_sections(const std::string& path, nlohmann::ordered_json& sections, std::string& error)
{
    Input input;
    if (!load_input(path, {}, input, error))
        return false;
    // A capture may hold a table in more than one version: the last wins.
    std::map<std::tuple<unsigned, unsigned, unsigned>, size_t> latest;
    for (size_t i = 0; i < input.sections.size(); ++i) {
        const InputSection& s = input.sections[i];
        latest[{s.table_id, s.extension, s.section_number}] = i;
    }
    sections = nlohmann::ordered_json::array();
    for (size_t i = 0; i < input.sections.size(); ++i) {
        const InputSection& s = input.sections[i];
        if (latest[{s.table_id, s.extension, s.section_number}] == i)
            sections.push_back(decode_section(s.bytes));
    }
    if (sections.empty()) {
        error = "no complete section in " + path;
        return false;
    }
    return true;
}

} // namespace tavel_si
