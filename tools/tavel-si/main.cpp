// tavel-si: generate, publish and inspect the headend's DVB SI tables.
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tavel/file_io.h>

#include "commands.h"
#include "config.h"
#include "capture_dump.h"
#include "decode/dvb_text_decode.h"
#include "dump.h"
#include "publish.h"

namespace {

using namespace tavel_si;

// The library maps its fixed paths under TAVEL_ROOT: set it before any call.
void set_root(const std::string& root)
{
    if (!root.empty())
        setenv("TAVEL_ROOT", std::filesystem::absolute(root).lexically_normal().c_str(), 1);
}

int run_generate(const std::string& config_path, const std::string& root, bool dry_run)
{
    HeadendConfig cfg;
    try {
        cfg = load_config(config_path);
    } catch (const ConfigError& e) {
        std::cerr << "tavel-si: error: " << config_path << ": " << e.what() << "\n";
        return kExitBadInput;
    }
    set_root(root);
    const PublishResult result = publish(cfg, static_cast<long long>(std::time(nullptr)), std::cout, std::cerr, dry_run);
    return result.ok ? kExitOk : kExitFailed;
}

int run_dump(const std::vector<std::string>& files, const std::vector<unsigned>& pids, bool as_json,
             const DumpOptions& options)
{
    // Every file must be readable before anything is printed.
    std::vector<std::vector<char>> contents(files.size());
    std::vector<nlohmann::ordered_json> captures(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        if (is_capture_file(files[i])) {
            Input input;
            std::string error;
            if (!load_input(files[i], std::vector<uint16_t>(pids.begin(), pids.end()), input, error)) {
                std::cerr << "tavel-si: error: FILE: " << error << "\n";
                return kExitBadInput;
            }
            captures[i] = decode_capture(input, options);
            continue;
        }
        if (!tavel::read_char_vector_from_file(files[i], contents[i])) {
            std::cerr << "tavel-si: error: FILE: cannot read " << files[i] << "\n";
            return kExitBadInput;
        }
    }
    nlohmann::ordered_json doc;
    doc["files"] = nlohmann::ordered_json::array();
    for (size_t i = 0; i < files.size(); ++i) {
        const bool capture = !captures[i].is_null();
        nlohmann::ordered_json file = capture ? captures[i] : decode_table_file(files[i], contents[i], options);
        if (as_json) {
            doc["files"].push_back(file);
        } else {
            if (i)
                std::cout << "\n";
            if (capture)
                print_capture(file, std::cout);
            else
                print_table_file(file, std::cout);
        }
    }
    if (as_json)
        std::cout << doc.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
    return kExitOk;
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"tavel-si: generate, publish and inspect the DVB SI tables (NIT, SDT, TOT) of the headend."};
    app.set_version_flag("--version", "tavel-si " TAVEL_SI_VERSION);
    app.require_subcommand(1);
    // Usage errors read like the tool's other errors: one line on stderr.
    app.failure_message([](const CLI::App*, const CLI::Error& e) {
        return std::string("tavel-si: error: ") + e.what() + " (see --help)\n";
    });
    app.footer("Exit status: 0 done; 1 a table could not be generated or written; 2 bad input or usage.\n"
               "Tables live under TAVEL_ROOT (or --root) in /tavel/datosWeb/tablasSI/.");

    std::string config_path, root, demo_root = "tavel-root", country;
    std::vector<std::string> files;
    bool as_json = false, dry_run = false;
    long frequency_khz = 0;
    std::vector<std::string> zones;
    std::string at;

    CLI::App* generate = app.add_subcommand(
        "generate", "Publish the NIT, one SDT per output and the TOT of the headend described in CONFIG.json.");
    generate->add_option("CONFIG", config_path, "JSON description of the headend (see README-tavel-si.md)")
        ->required();
    generate->add_option("--root", root, "File-system root for the table files (sets TAVEL_ROOT)");
    generate->add_flag("--check", dry_run, "Dry run: every check, then what would be published; writes nothing");

    CLI::App* demo = app.add_subcommand("demo", "Publish a built-in sample headend, then dump what it wrote.");
    demo->add_option("--root", demo_root, "File-system root for the table files (sets TAVEL_ROOT)")
        ->capture_default_str();

    CLI::App* dump = app.add_subcommand(
        "dump", "Decode table files or captures (NIT, SDT, BAT, EIT, TDT, TOT, PAT, PMT) section by section.");
    dump->add_option("FILE", files, "Table files (sections back to back) or transport stream captures")->required();
    dump->add_flag("--json", as_json, "One JSON document instead of text");
    std::vector<unsigned> dump_pids;
    dump->add_option("--pid", dump_pids,
                     "For a transport stream FILE: also read this PID (0x0010, 0x0011, 0x0012, 0x0014 always)")
        ->check(CLI::Range(0u, 0x1FFFu));
    DumpOptions dump_options;
    dump->add_option("--charset", dump_options.charset,
                     "Character table of text without a selector byte (any iconv name, e.g. ISO6937)")
        ->capture_default_str()
        ->check(CLI::Validator(
            [](std::string& name) {
                return decode::charset_supported(name) ? std::string() : "unknown character table " + name;
            },
            "NAME"));

    std::string diff_old, diff_new;
    CLI::App* diff = app.add_subcommand(
        "diff", "What changed between two table files or captures (exit 0 same, 1 different, 2 bad input).");
    diff->add_option("OLD", diff_old, "Table file or capture before")->required();
    diff->add_option("NEW", diff_new, "Table file or capture after")->required();
    diff->add_flag("--json", as_json, "One JSON document instead of text");

    std::string verify_capture, verify_root;
    CLI::App* verify = app.add_subcommand(
        "verify", "Compare what is on air (a capture) with the tables published under --root (exit 0 all on air "
                  "and on time, 1 otherwise, 2 bad input).");
    verify->add_option("CAPTURE", verify_capture, "Transport stream capture")->required();
    verify->add_option("--root", verify_root, "File-system root of the published tables")->required();
    verify->add_flag("--json", as_json, "One JSON document instead of text");

    CLI::App* channels = app.add_subcommand("channels", "List the RF channel plan of a country.");
    channels->add_option("COUNTRY", country, "ISO 3166 alpha-2 or alpha-3 code (ES, ESP, ...)")->required();
    channels->add_option("--frequency", frequency_khz, "Only the channels this frequency (kHz) lies on, offsets included")
        ->check(CLI::Range(1L, 100000000L));

    CLI::App* tot = app.add_subcommand("tot", "Print the TOT offset strings of time zones at a UTC time.");
    tot->add_option("--zone", zones, "Zone of the system's database (Europe/Madrid); repeat for regions")
        ->required();
    tot->add_option("--at", at, "UTC time, e.g. 2027-03-28T00:59:59Z (default: now)");

    TsOptions ts_options;
    CLI::App* ts = app.add_subcommand(
        "ts", "Play table files out as an MPEG transport stream at the intervals receivers expect.");
    ts->add_option("FILE", ts_options.files, "Table files (or captures): NIT, SDT, BAT, EIT, TDT, TOT")->required();
    ts->add_option("-o,--output", ts_options.output, "The transport stream to write")->required();
    ts->add_option("--duration", ts_options.duration, "Seconds of stream")->capture_default_str();
    ts->add_option("--bitrate", ts_options.bitrate, "Bits per second, null packets filling the rest")
        ->capture_default_str();
    ts->add_flag("--with-pat", ts_options.with_pat, "Add a PAT and one PMT per service of the SDT actual");
    ts->add_option("--interval", ts_options.intervals,
                   "KIND=SECONDS, KIND one of nit, nit-other, sdt, sdt-other, bat, eit-pf, eit-pf-other, "
                   "eit-schedule, tdt, tot (defaults 10, 10, 2, 10, 10, 2, 10, 10, 30, 30)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? kExitOk : kExitBadInput;
    }

    if (*generate)
        return run_generate(config_path, root, dry_run);
    if (*demo) {
        return run_demo(demo_root, std::cout, std::cerr);
    }
    if (*ts)
        return run_ts(ts_options, std::cout, std::cerr);
    if (*dump)
        return run_dump(files, dump_pids, as_json, dump_options);
    if (*verify)
        return run_verify(verify_capture, verify_root, as_json, std::cout, std::cerr);
    if (*diff)
        return run_diff(diff_old, diff_new, as_json, std::cout, std::cerr);
    if (*tot)
        return run_tot(zones, at, std::cout, std::cerr);
    return run_channels(country, frequency_khz, std::cout, std::cerr);
}
