// tavel-si ts: table files played out as a transport stream at the
// repetition intervals receivers expect, padded with null packets, with a
// PCR so that analysers can time what they see.
#include <cmath>
#include <ctime>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

#include <tavel/coding.h>
#include <tavel/ts.h>

#include "commands.h"
#include "dvb/byte_io.h"
#include "input.h"

namespace tavel_si {

namespace {

constexpr uint16_t kPcrPid = 0x0100;
constexpr uint16_t kFirstPmtPid = 0x1000;
constexpr double kPcrEvery = 0.04;
constexpr double kPsiEvery = 0.1;

struct Kind {
    unsigned first_table_id, last_table_id;
    const char* key; // for --interval KEY=SECONDS
    const char* name;
    uint16_t pid;
    double interval; // seconds
};

// The longest gaps receivers are promised (NIT, SDT other and BAT 10 s,
// SDT actual and EIT p/f actual 2 s, TDT and TOT 30 s).
const Kind kKinds[] = {
    {0x40, 0x40, "nit", "NIT actual", 0x0010, 10},       {0x41, 0x41, "nit-other", "NIT other", 0x0010, 10},
    {0x42, 0x42, "sdt", "SDT actual", 0x0011, 2},        {0x46, 0x46, "sdt-other", "SDT other", 0x0011, 10},
    {0x4A, 0x4A, "bat", "BAT", 0x0011, 10},              {0x4E, 0x4E, "eit-pf", "EIT p/f actual", 0x0012, 2},
    {0x4F, 0x4F, "eit-pf-other", "EIT p/f other", 0x0012, 10}, {0x50, 0x6F, "eit-schedule", "EIT schedule", 0x0012, 10},
    {0x70, 0x70, "tdt", "TDT", 0x0014, 30},              {0x73, 0x73, "tot", "TOT", 0x0014, 30},
};

struct Table {
    std::string name;
    uint16_t pid;
    unsigned table_id;
    double interval;
    std::vector<std::vector<char>> sections;
    std::vector<unsigned> numbers; // section_number of each
    double next = 0;
    uint64_t sent = 0;
};

std::string hex4(unsigned v)
{
    char buf[8];
    std::snprintf(buf, sizeof buf, "0x%04X", v);
    return buf;
}

// TDT and TOT tell the time: move it on by the seconds played so far.
std::vector<char> timed(const std::vector<char>& section, unsigned table_id, double elapsed)
{
    std::vector<char> s = section;
    if ((table_id != 0x70 && table_id != 0x73) || s.size() < 8)
        return s;
    unsigned long long mjd_utc = 0;
    for (size_t i = 3; i < 8; ++i)
        mjd_utc = (mjd_utc << 8) | static_cast<uint8_t>(s[i]);
    tm parts{};
    tavel::mjd_utc_to_gmt_time(mjd_utc, parts);
    const time_t start = timegm(&parts);
    unsigned long long moved = 0;
    if (start < 0 || !tavel::std_time_to_mjd_utc(static_cast<unsigned long>(start + static_cast<time_t>(elapsed)), moved))
        return s;
    for (size_t i = 0; i < 5; ++i)
        s[3 + i] = static_cast<char>(moved >> (8 * (4 - i)));
    if (table_id == 0x73 && s.size() >= 12) {
        const unsigned long crc = tavel::mpeg_crc(0xFFFFFFFFul, s, s.size() - 4);
        for (size_t i = 0; i < 4; ++i)
            s[s.size() - 4 + i] = static_cast<char>(crc >> (8 * (3 - i)));
    }
    return s;
}

bool bad(std::ostream& err, const std::string& what)
{
    err << "tavel-si: error: " << what << "\n";
    return false;
}

bool collect(const TsOptions& o, std::vector<Table>& tables, std::ostream& err)
{
    std::map<std::string, double> given;
    for (const std::string& item : o.intervals) {
        const size_t eq = item.find('=');
        double seconds = 0;
        std::istringstream value(eq == std::string::npos ? "" : item.substr(eq + 1));
        bool known = false;
        for (const Kind& k : kKinds)
            known = known || item.substr(0, eq) == k.key;
        if (!known || !(value >> seconds) || !value.eof() || !(seconds > 0))
            return bad(err, "--interval: expected KIND=SECONDS with KIND one of nit, nit-other, sdt, sdt-other, bat, "
                            "eit-pf, eit-pf-other, eit-schedule, tdt, tot; got " + item);
        given[item.substr(0, eq)] = seconds;
    }
    std::map<std::tuple<unsigned, unsigned, unsigned>, size_t> index; // pid, table_id, extension
    for (const std::string& file : o.files) {
        Input input;
        std::string error;
        if (!load_input(file, {}, input, error))
            return bad(err, "FILE: " + error);
        if (input.trailing_bytes)
            return bad(err, "FILE: " + file + ": the last section is cut short (" +
                                std::to_string(input.trailing_bytes) + " bytes left)");
        if (input.sections.empty())
            return bad(err, "FILE: " + file + ": no sections");
        for (const InputSection& s : input.sections) {
            const Kind* kind = nullptr;
            for (const Kind& k : kKinds)
                kind = s.table_id >= k.first_table_id && s.table_id <= k.last_table_id ? &k : kind;
            if (!kind)
                return bad(err, "FILE: " + file + ": table_id 0x" + hex4(s.table_id).substr(4) +
                                    " is not an SI table this command plays out");
            const auto key = std::make_tuple(unsigned{kind->pid}, s.table_id, s.extension);
            auto it = index.find(key);
            if (it == index.end()) {
                it = index.emplace(key, tables.size()).first;
                const auto g = given.find(kind->key);
                tables.push_back(Table{kind->name, kind->pid, s.table_id,
                                       g == given.end() ? kind->interval : g->second, {}, {}});
            }
            Table& t = tables[it->second];
            bool have = false;
            for (unsigned n : t.numbers)
                have = have || n == s.section_number;
            if (!have) {
                t.sections.push_back(s.bytes);
                t.numbers.push_back(s.section_number);
            }
        }
    }
    return true;
}

size_t packets_for(const std::vector<std::vector<char>>& sections)
{
    size_t bytes = 0;
    for (const auto& s : sections)
        bytes += s.size() + 1;
    return (bytes + 182) / 183 + sections.size(); // generous: a pointer per section
}

} // namespace

int run_ts(const TsOptions& o, std::ostream& out, std::ostream& err)
{
    if (!(o.duration > 0) || !(o.bitrate >= 188 * 8 * 30)) {
        err << "tavel-si: error: --duration must be above 0 and --bitrate at least 45120 bit/s\n";
        return kExitBadInput;
    }
    std::vector<Table> tables;
    if (!collect(o, tables, err))
        return kExitBadInput;

    std::vector<Table> psi; // PAT then one PMT per service of the SDT actual
    uint16_t tsid = 0;
    if (o.with_pat) {
        std::vector<std::vector<char>> sdt;
        std::string streams; // transport_stream_id of each SDT actual
        size_t actual = 0;
        for (const Table& t : tables)
            if (t.table_id == 0x42) {
                sdt.insert(sdt.end(), t.sections.begin(), t.sections.end());
                streams += (actual++ ? ", " : "") + std::to_string(tavel::bytes::Reader(t.sections.front()).u16(3));
            }
        // A stream has one SDT actual: the PAT of several would be wrong for all but one.
        if (actual > 1) {
            bad(err, "--with-pat: " + std::to_string(actual) + " SDT actual tables given (transport streams " +
                         streams + "); a transport stream carries one, whose services its PAT lists");
            return kExitBadInput;
        }
        const std::vector<tavel::TsProgram> programs = tavel::ts_programs_of_sdt(sdt, kFirstPmtPid, tsid);
        psi.push_back(Table{"PAT", 0x0000, 0x00, kPsiEvery, {tavel::ts_pat_section(tsid, programs)}, {0}});
        for (const tavel::TsProgram& p : programs)
            psi.push_back(Table{"PMT of service " + std::to_string(p.program_number), p.pmt_pid, 0x02, kPsiEvery,
                                {tavel::ts_pmt_section(p.program_number, kPcrPid)}, {0}});
    }
    tables.insert(tables.begin(), psi.begin(), psi.end());

    const double packet_seconds = 188.0 * 8 / o.bitrate;
    double needed = 1 / kPcrEvery;
    for (const Table& t : tables)
        needed += static_cast<double>(packets_for(t.sections)) / t.interval;
    if (needed * 188 * 8 > o.bitrate) {
        err << "tavel-si: error: --bitrate " << std::llround(o.bitrate) << " is too low: these tables need about "
            << static_cast<long long>(std::ceil(needed * 188 * 8)) << " bit/s\n";
        return kExitBadInput;
    }

    std::ofstream file(o.output, std::ios::binary | std::ios::trunc);
    if (!file) {
        err << "tavel-si: error: cannot write " << o.output << "\n";
        return kExitFailed;
    }
    std::map<uint16_t, tavel::TsPacketiser> packetisers; // the counter runs per PID
    std::vector<char> queue, chunk;
    size_t queued = 0; // read position in queue
    double next_pcr = 0;
    const uint64_t total = static_cast<uint64_t>(std::ceil(o.duration / packet_seconds));
    for (uint64_t k = 0; k < total; ++k) {
        const double now = static_cast<double>(k) * packet_seconds;
        for (Table& t : tables) {
            if (t.next > now)
                continue;
            std::vector<std::vector<char>> burst;
            for (const auto& s : t.sections)
                burst.push_back(timed(s, t.table_id, now));
            packetisers.emplace(t.pid, tavel::TsPacketiser(t.pid)).first->second.packetise(burst, queue);
            t.next += t.interval;
            ++t.sent;
        }
        if (now >= next_pcr) {
            // The PCR is the time its base's last byte (packet byte 10) leaves.
            const double at = (static_cast<double>(k) * 188 + 10) * 8 / o.bitrate;
            tavel::ts_append_pcr_packet(chunk, kPcrPid, static_cast<uint64_t>(std::llround(at * tavel::kTsPcrHz)));
            next_pcr += kPcrEvery;
        } else if (queued < queue.size()) {
            chunk.insert(chunk.end(), queue.begin() + static_cast<long>(queued),
                         queue.begin() + static_cast<long>(queued + 188));
            queued += 188;
        } else {
            tavel::ts_append_null_packet(chunk);
        }
        if (queued == queue.size()) {
            queue.clear();
            queued = 0;
        }
        if (chunk.size() >= (1u << 20) || k + 1 == total) {
            file.write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
            chunk.clear();
        }
    }
    file.close();
    if (!file) {
        err << "tavel-si: error: cannot write " << o.output << "\n";
        return kExitFailed;
    }
    out << "wrote " << o.output << ": " << total << " packets, " << o.duration << " s at " << std::llround(o.bitrate) << " bit/s, PCR on PID " << hex4(kPcrPid) << " every " << kPcrEvery * 1000 << " ms\n";
    for (const Table& t : tables)
        out << "  PID " << hex4(t.pid) << "  " << t.name << ", " << t.sections.size()
            << (t.sections.size() == 1 ? " section" : " sections") << ", every " << t.interval << " s: sent "
            << t.sent << (t.sent == 1 ? " time\n" : " times\n");
    if (o.with_pat && psi.size() == 1)
        out << "  (no SDT actual given: the PAT lists no services)\n";
    return kExitOk;
}

} // namespace tavel_si
