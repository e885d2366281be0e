#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include <tavel/coding.h>
#include <tavel/delivery_descriptors.h>
#include <tavel/file_io.h>
#include <tavel/network_descriptors.h>
#include <tavel/service_descriptors.h>

#include "commands.h"
#include "config.h"
#include "dump.h"
#include "publish.h"

namespace tavel_si {
namespace {

// The sample headend: two cable outputs and one terrestrial one in Spain,
// a dozen services, half of them taken over from the input stream 0x0401
// of network 0x22D4 (the pattern NIT and SDT below), the TOT from the
// zones of the peninsula and the Canaries.
const char kDemoConfig[] = R"({
  "country": "ESP",
  "network": {
    "id": "0x3085",
    "name": "Tavel Demo",
    "table": "actual",
    "service_list_descriptor": true,
    "lcn_flavour": 1
  },
  "scramble_all": false,
  "patterns": {
    "nit_files": ["patterns/input-NIT"],
    "sdt_files": ["patterns/input-SDT"],
    "transport_streams": [{ "tsid": "0x0401", "onid": "0x22D4" }]
  },
  "time_offsets": {
    "entries": [{ "zone": "Europe/Madrid" }, { "zone": "Atlantic/Canary" }]
  },
  "outputs": [
    {
      "type": "cable", "tsid": 1, "onid": "0x22D4",
      "frequency_khz": 474000, "symbol_rate_ksym": 6900, "modulation": "64QAM",
      "services": [
        { "sid": 101, "input": { "sid": "0x0101", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 1, "type": "tv", "name": "Uno" },
        { "sid": 102, "input": { "sid": "0x0102", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 2, "type": "tv", "name": "Dos" },
        { "sid": 103, "input": { "sid": "0x0103", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 3, "type": "hd-tv",
          "name": "Tres HD", "rename": true, "descramble": true },
        { "sid": 104, "input": { "sid": "0x0104", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 4, "type": "tv", "name": "Cuatro" }
      ]
    },
    {
      "type": "cable", "tsid": 2, "onid": "0x22D4",
      "frequency_khz": 482000, "symbol_rate_ksym": 6900, "modulation": "256QAM",
      "services": [
        { "sid": 201, "input": { "sid": "0x0105", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 5, "type": "tv", "name": "Cinco" },
        { "sid": 202, "input": { "sid": "0x0106", "tsid": "0x0401", "onid": "0x22D4" }, "lcn": 6, "type": "tv",
          "name": "Seis Deportes", "rename": true },
        { "sid": 203, "lcn": 7, "type": "tv", "name": "Canal Local", "provider": "Ayuntamiento" },
        { "sid": 204, "lcn": 8, "type": "tv", "name": "Promo", "scrambled": true }
      ]
    },
    {
      "type": "terrestrial", "tsid": 3, "onid": "0x22D4",
      "frequency_khz": 698000, "bandwidth_mhz": 8, "modulation": "64QAM",
      "code_rate": "2/3", "guard_interval": "1/4", "transmission_mode": "8k",
      "services": [
        { "sid": 301, "lcn": 20, "type": "radio", "name": "Radio Clásica" },
        { "sid": 302, "lcn": 21, "type": "radio", "name": "Radio Norte" },
        { "sid": 303, "lcn": 22, "type": "tv", "name": "Información 24h" },
        { "sid": 304, "lcn": 23, "type": "teletext", "name": "Teletexto" }
      ]
    }
  ]
}
)";

void put8(std::vector<char>& b, unsigned v)
{
    b.push_back(static_cast<char>(v & 0xFF));
}

void put16(std::vector<char>& b, unsigned v)
{
    put8(b, v >> 8);
    put8(b, v);
}

// A descriptor as a class builds it: tag, length, payload.
void put_descriptor(std::vector<char>& b, tavel::Descriptor& d)
{
    d.generateDataVector();
    put8(b, d.descriptor_tag);
    put8(b, d.descriptor_length);
    b.insert(b.end(), d.data.begin(), d.data.end());
}

void put_raw_descriptor(std::vector<char>& b, unsigned tag, const std::vector<unsigned>& payload)
{
    put8(b, tag);
    put8(b, static_cast<unsigned>(payload.size()));
    for (unsigned v : payload)
        put8(b, v);
}

// Fills in section_length at bytes 1-2 and appends the CRC.
void seal(std::vector<char>& section)
{
    const size_t length = section.size() + 4 - 3;
    section[1] = static_cast<char>((static_cast<uint8_t>(section[1]) & 0xF0) | ((length >> 8) & 0x0F));
    section[2] = static_cast<char>(length & 0xFF);
    section.insert(section.end(), 4, 0);
    tavel::generar_new_crc(section);
}

void patch12(std::vector<char>& b, size_t pos, size_t value)
{
    b[pos] = static_cast<char>((static_cast<uint8_t>(b[pos]) & 0xF0) | ((value >> 8) & 0x0F));
    b[pos + 1] = static_cast<char>(value & 0xFF);
}

} // namespace

std::string demo_config_json()
{
    return kDemoConfig;
}

// NIT of the input network 0x22D4 (version 4): its name, a linkage to the
// input service 0x0101 (carried, so rewritten), a linkage of type 4
// (dropped), and one TS whose specifier, private 0x88 descriptor and
// LCNs are offered to the outputs.
std::vector<char> demo_pattern_nit()
{
    std::vector<char> s;
    put8(s, 0x40);
    put16(s, 0xF000);
    put16(s, 0x22D4);
    put8(s, 0xC1 | (4 << 1));
    put8(s, 0);
    put8(s, 0);
    put16(s, 0xF000);
    const size_t nd_start = s.size();
    tavel::DescriptorNetworkName name("Red de Entrada");
    put_descriptor(s, name);
    tavel::DescriptorLinkage epg(0x0401, 0x22D4, 0x0101, 1, {});
    put_descriptor(s, epg);
    tavel::DescriptorLinkage ssu(0x0401, 0x22D4, 0x0109, 4, {});
    put_descriptor(s, ssu);
    patch12(s, nd_start - 2, s.size() - nd_start);
    const size_t loop_at = s.size();
    put16(s, 0xF000);
    put16(s, 0x0401);
    put16(s, 0x22D4);
    const size_t td_at = s.size();
    put16(s, 0xF000);
    tavel::DescriptorCableDeliverySystem cable(386000, 6875, 3, 2, 5);
    put_descriptor(s, cable);
    tavel::DescriptorPrivateDataSpecifier pds(0x28);
    put_descriptor(s, pds);
    put_raw_descriptor(s, 0x88, {0x00, 0x01, 0x02, 0x03});
    tavel::DescriptorLCN lcn(1);
    lcn.addNewService(0x0101, 1, 101);
    put_descriptor(s, lcn);
    patch12(s, td_at, s.size() - td_at - 2);
    patch12(s, loop_at, s.size() - loop_at - 2);
    seal(s);
    return s;
}

// SDT of the input stream 0x0401 (version 7): six running services, the
// third one scrambled, each with a service descriptor, the first with a
// private data specifier behind it.
std::vector<char> demo_pattern_sdt()
{
    static const char* names[] = {"Canal 1", "Canal 2", "Canal 3", "Canal 4", "Canal 5", "Canal 6"};
    std::vector<char> s;
    put8(s, 0x42);
    put16(s, 0xF000);
    put16(s, 0x0401);
    put8(s, 0xC1 | (7 << 1));
    put8(s, 0);
    put8(s, 0);
    put16(s, 0x22D4);
    put8(s, 0xFF);
    for (unsigned i = 0; i < 6; ++i) {
        put16(s, 0x0101 + i);
        put8(s, 0xFC);
        const size_t at = s.size();
        const unsigned free_ca = i == 2 ? 1 : 0;
        put16(s, (4u << 13) | (free_ca << 12));
        tavel::DescriptorService service(0x01, "Operador de Entrada", names[i]);
        put_descriptor(s, service);
        if (i == 0) {
            tavel::DescriptorPrivateDataSpecifier pds(0x28);
            put_descriptor(s, pds);
        }
        patch12(s, at, s.size() - at - 2);
    }
    seal(s);
    return s;
}

int run_demo(const std::string& root, std::ostream& out, std::ostream& err)
{
    namespace fs = std::filesystem;
    const std::string base = fs::absolute(root).lexically_normal().string();
    // Absolute, so that the paths reported do not depend on the directory.
    setenv("TAVEL_ROOT", base.c_str(), 1);
    const std::vector<char> config(kDemoConfig, kDemoConfig + sizeof kDemoConfig - 1);
    if (!tavel::write_char_vector_to_file(demo_pattern_nit(), base + "/patterns/input-NIT", false) ||
        !tavel::write_char_vector_to_file(demo_pattern_sdt(), base + "/patterns/input-SDT", false) ||
        !tavel::write_char_vector_to_file(config, base + "/demo-headend.json", false)) {
        err << "tavel-si: error: cannot write under " << base << "\n";
        return kExitFailed;
    }
    HeadendConfig cfg;
    try {
        cfg = parse_config(kDemoConfig, base);
    } catch (const ConfigError& e) {
        err << "tavel-si: error: built-in demo: " << e.what() << "\n";
        return kExitFailed;
    }
    out << "Demo headend: " << base << "/demo-headend.json (patterns in " << base << "/patterns)\n";
    const PublishResult result = publish(cfg, static_cast<long long>(std::time(nullptr)), out, err);
    if (!result.ok)
        return kExitFailed;
    for (const std::string& path : result.files) {
        std::vector<char> bytes;
        if (!tavel::read_char_vector_from_file(path, bytes))
            continue;
        out << "\n";
        print_table_file(decode_table_file(path, bytes), out);
    }
    return kExitOk;
}

} // namespace tavel_si
