#include "decoded_input.h"

#include <map>
#include <tuple>

#include "dump.h"
#include "dvb/byte_io.h"
#include "input.h"

namespace tavel_si {

bool load_decoded_sections(const std::string& path, nlohmann::ordered_json& sections, std::string& error)
{
    Input input;
    if (!load_input(path, {}, input, error))
        return false;
    // A capture may hold a table in more than one version: the one met last
    // wins, with only its own sections (a table that shrank keeps no section
    // of the old version). Sub-tables of SDT and EIT are told apart by network too.
    const auto table_of = [](const InputSection& s) {
        const bool by_network = s.table_id == 0x42 || s.table_id == 0x46 || (s.table_id >= 0x4E && s.table_id <= 0x6F);
        const size_t at = s.table_id == 0x42 || s.table_id == 0x46 ? 8 : 10;
        const tavel::bytes::Reader r(s.bytes);
        const unsigned network = by_network && r.has(at, 2) ? r.u16(at) : 0;
        return std::make_tuple(s.table_id, s.extension, network);
    };
    std::map<std::tuple<unsigned, unsigned, unsigned>, unsigned> latest; // table -> version
    for (const InputSection& s : input.sections)
        latest[table_of(s)] = s.version;
    std::map<std::tuple<unsigned, unsigned, unsigned, unsigned>, bool> taken; // table, section_number
    sections = nlohmann::ordered_json::array();
    for (auto it = input.sections.rbegin(); it != input.sections.rend(); ++it) {
        const auto table = table_of(*it);
        const auto key = std::tuple_cat(table, std::make_tuple(it->section_number));
        if (it->version == latest[table] && !taken[key]) {
            taken[key] = true;
            sections.insert(sections.begin(), decode_section(it->bytes));
        }
    }
    if (sections.empty()) {
        error = "no complete section in " + path;
        return false;
    }
    return true;
}

} // namespace tavel_si
