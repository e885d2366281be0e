#include "publish.h"

#include <cstdio>
#include <ctime>
#include <memory>

#include <tavel/coding.h>
#include <tavel/file_io.h>
#include <tavel/nit.h>
#include <tavel/sdt.h>
#include <tavel/tot.h>

#include "paths.h"

namespace tavel_si {
namespace {

std::unique_ptr<tavel::tNIT> make_nit(const HeadendConfig& cfg)
{
    auto nit = std::make_unique<tavel::tNIT>(cfg.country, cfg.network_id, cfg.network_name, cfg.service_list,
                                             cfg.lcn_flavour, cfg.nit_table_id);
    nit->salidas = cfg.outputs;
    nit->ts_desde_patron = cfg.ts_from_patterns;
    for (const auto& buffer : cfg.pattern_nits)
        nit->addNITPatron(buffer);
    return nit;
}

// generarNIT without its file write: the candidate is only compared.
void build_nit_sections(tavel::tNIT& nit)
{
    nit.generar_cabecera_primera_section();
    nit.generar_network_name_descriptor();
    if (!nit.nitPatron.patrones.empty())
        nit.generar_network_descriptors();
    nit.generar_TS_loop();
    nit.cerrar_ultima_seccion();
}

// A generated SDT with the pattern collection it points into. Generation
// may write back into the patterns, so every build gets its own copy.
struct BuiltSdt {
    std::unique_ptr<tavel::SDTPatron> patterns;
    std::unique_ptr<tavel::tSDT> sdt;
};

BuiltSdt build_sdt(const HeadendConfig& cfg, const tavel::datos_salidas& output, unsigned version)
{
    BuiltSdt b;
    b.patterns = std::make_unique<tavel::SDTPatron>();
    for (const auto& buffer : cfg.pattern_sdts)
        b.patterns->addSDTPatron(buffer);
    b.sdt = std::make_unique<tavel::tSDT>(0x42, output.tsid, output.onid, version, cfg.scramble_all);
    b.sdt->servicios = output.servicios;
    b.sdt->patrones = b.patterns.get();
    b.sdt->generarSDT();
    return b;
}

std::string plural(size_t n, const char* word)
{
    return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

class QuietTOT : public tavel::tTOT {
protected:
    // The recovery script belongs to the headend, not to a workstation.
    void run_recovery_command(const char*) override {}
};

bool publish_nit(const HeadendConfig& cfg, bool dry_run, PublishResult& result, std::ostream& out,
                 std::ostream& err)
{
    const std::string sent = nit_sent_path();
    tavel::tNIT stored;
    std::vector<char> bytes;
    unsigned short stored_version = 65535;
    if (tavel::read_char_vector_from_file(sent, bytes) && bytes.size() > 15) {
        stored.procesarNIT(bytes);
        stored_version = stored.getNITVersion();
    }
    result.files.push_back(sent);

    if (stored_version != 65535) {
        auto candidate = make_nit(cfg);
        candidate->version = static_cast<uint8_t>(stored_version);
        build_nit_sections(*candidate);
        if (candidate->isSameTable()) {
            out << "NIT  network " << cfg.network_id << ": unchanged (version " << stored_version << "), nothing "
                << (dry_run ? "to publish" : "published") << "\n";
            return true;
        }
    }
    auto nit = make_nit(cfg);
    nit->version = static_cast<uint8_t>(nit->getNextNITVersion());
    if (dry_run) {
        build_nit_sections(*nit);
        result.changed = true;
        out << "NIT  network " << cfg.network_id << ": would publish version " << unsigned(nit->version)
            << (stored_version == 65535 ? " (new)" : " (raised)") << ", " << plural(nit->secciones.size(), "section")
            << ", " << nit->data_size << " bytes -> " << sent << "\n";
        return true;
    }
    nit->generarNIT();
    // The multiplexer reads the NIT last sent: promote the new one in one step.
    if (std::rename(nit_new_path().c_str(), sent.c_str()) != 0) {
        err << "tavel-si: error: cannot publish the NIT: " << nit_new_path() << " -> " << sent << " failed\n";
        return false;
    }
    result.changed = true;
    out << "NIT  network " << cfg.network_id << ": published version " << unsigned(nit->version) << ", "
        << plural(nit->secciones.size(), "section") << ", " << nit->data_size << " bytes -> " << sent << "\n";
    return true;
}

bool publish_sdt(const HeadendConfig& cfg, const tavel::datos_salidas& output, bool dry_run, PublishResult& result,
                 std::ostream& out, std::ostream& err)
{
    const std::string path = sdt_output_path(output.tsid);
    result.files.push_back(path);
    std::unique_ptr<tavel::tSDT> stored;
    std::vector<char> bytes;
    if (tavel::read_char_vector_from_file(path, bytes) && bytes.size() > 14) {
        stored = std::make_unique<tavel::tSDT>();
        stored->procesarSDT(bytes, true);
        if (stored->secciones.empty())
            stored.reset();
    }
    unsigned version = 0;
    if (stored) {
        const unsigned stored_version = stored->getSDTVersion();
        BuiltSdt candidate = build_sdt(cfg, output, stored_version);
        if (candidate.sdt->isSameTable(stored)) {
            out << "SDT  tsid " << output.tsid << ": unchanged (version " << stored_version << "), nothing "
                << (dry_run ? "to publish" : "published") << "\n";
            return true;
        }
        version = (stored_version + 1) % 32;
    }
    BuiltSdt built = build_sdt(cfg, output, version);
    std::vector<char> sections;
    built.sdt->getSDT(sections, false);
    if (dry_run) {
        result.changed = true;
        out << "SDT  tsid " << output.tsid << ": would publish version " << version << (stored ? " (raised)" : " (new)")
            << ", " << plural(built.sdt->num_service, "service") << ", "
            << plural(built.sdt->secciones.size(), "section") << ", " << sections.size() << " bytes -> " << path
            << "\n";
        return true;
    }
    if (!tavel::write_char_vector_to_file(sections, path, false)) {
        err << "tavel-si: error: cannot write " << path << "\n";
        return false;
    }
    result.changed = true;
    out << "SDT  tsid " << output.tsid << ": published version " << version << ", "
        << plural(built.sdt->num_service, "service") << ", " << plural(built.sdt->secciones.size(), "section")
        << ", " << sections.size() << " bytes -> " << path << "\n";
    return true;
}

bool publish_tot(const HeadendConfig& cfg, long long unix_now, bool dry_run, PublishResult& result,
                 std::ostream& out, std::ostream& err)
{
    const std::string path = tot_path();
    result.files.push_back(path);
    unsigned long long utc = 0;
    if (unix_now < 0 || !tavel::std_time_to_mjd_utc(static_cast<unsigned long>(unix_now), utc)) {
        err << "tavel-si: error: the system clock is before 2010; no TOT written\n";
        return false;
    }
    QuietTOT tot;
    tot.offsets.push_back(cfg.tot_country);
    const std::vector<std::string> offsets = tot_offsets_at(cfg, unix_now);
    tot.offsets.insert(tot.offsets.end(), offsets.begin(), offsets.end());
    // A dry run takes generarTOT's steps short of writing the file.
    bool made = false;
    if (dry_run) {
        tot.generar_cabecera_primera_section(utc);
        made = tot.generar_descriptors_loop() == 1;
        if (made)
            tot.cerrar_ultima_seccion();
    } else {
        made = tot.generarTOT(utc, true) == 1;
    }
    if (!made) {
        err << "tavel-si: error: the TOT could not be generated\n";
        return false;
    }
    char when[32];
    const time_t t = static_cast<time_t>(unix_now);
    tm parts{};
    gmtime_r(&t, &parts);
    std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", &parts);
    out << "TOT  " << cfg.tot_country << (dry_run ? ": would write for " : ": written for ") << when << " UTC, "
        << plural(offsets.size(), "offset") << ", " << tot.total_size << " bytes -> " << path << "\n";
    for (const std::string& o : offsets)
        out << "     offset \"" << o << "\"\n";
    return true;
}

} // namespace

PublishResult publish(const HeadendConfig& cfg, long long unix_now, std::ostream& out, std::ostream& err,
                      bool dry_run)
{
    PublishResult result;
    result.ok = publish_nit(cfg, dry_run, result, out, err);
    for (const auto& entry : cfg.outputs)
        result.ok = publish_sdt(cfg, entry.second, dry_run, result, out, err) && result.ok;
    result.ok = publish_tot(cfg, unix_now, dry_run, result, out, err) && result.ok;
    if (!result.changed)
        out << "Nothing " << (dry_run ? "to publish" : "published") << ": the NIT and every SDT are unchanged.\n";
    if (dry_run && result.ok)
        out << "Dry run: all checks passed, nothing written.\n";
    return result;
}

} // namespace tavel_si
