// What changed between two sets of tables (table files or captures), in
// the headend engineer's terms.
#ifndef TAVEL_SI_DIFF_H
#define TAVEL_SI_DIFF_H

#include <ostream>

#include <nlohmann/json.hpp>

namespace tavel_si {

// old_sections and new_sections: arrays of decoded sections (decode_section).
// Returns an array of changes, each {"kind", "where", "what", "old", "new"}
// ("old"/"new" only where they apply); empty when the content is the same
// (versions and CRCs aside). Kinds: table_added, table_removed, ts_added,
// ts_removed, service_added, service_removed, service_renamed,
// service_retyped, provider_changed, service_flags_changed, lcn_moved,
// lcn_hidden, lcn_shown, lcn_added, lcn_removed, delivery_changed,
// descriptor_added, descriptor_dropped, descriptor_changed.
nlohmann::ordered_json diff_sections(const nlohmann::ordered_json& old_sections,
                                     const nlohmann::ordered_json& new_sections);

// One change as a line of text.
void print_change(const nlohmann::ordered_json& change, std::ostream& out);

} // namespace tavel_si

#endif
