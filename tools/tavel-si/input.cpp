#include "input.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <tuple>

#include <tavel/file_io.h>

namespace tavel_si {

const std::vector<uint16_t> kSiPids = {0x0010, 0x0011, 0x0012, 0x0014};

namespace {

using Key = std::tuple<int, unsigned, unsigned, unsigned, unsigned>;

unsigned byte_at(const std::vector<char>& b, size_t i) { return i < b.size() ? static_cast<uint8_t>(b[i]) : 0u; }

// Collects occurrences into distinct sections.
class Collector {
public:
    explicit Collector(Input& input) : input_(input) {}

    void add(int pid, const std::vector<char>& s, uint64_t packet, int64_t pcr)
    {
        InputSection fields;
        fields.pid = pid;
        fields.table_id = byte_at(s, 0);
        if ((byte_at(s, 1) & 0x80) && s.size() >= 8) {
            fields.extension = (byte_at(s, 3) << 8) | byte_at(s, 4);
            fields.version = (byte_at(s, 5) >> 1) & 0x1F;
            fields.section_number = byte_at(s, 6);
        }
        const Key key{pid, fields.table_id, fields.extension, fields.version, fields.section_number};
        auto it = index_.find(key);
        if (it == index_.end()) {
            fields.bytes = s;
            fields.count = 1;
            fields.first_packet = packet;
            index_.emplace(key, input_.sections.size());
            input_.sections.push_back(std::move(fields));
            last_.push_back(Last{packet, pcr, 0, 0, 0});
            return;
        }
        InputSection& d = input_.sections[it->second];
        Last& last = last_[it->second];
        ++d.count;
        if (d.table_id == 0x70 || d.table_id == 0x73)
            d.last_bytes = s;
        if (pcr >= 0 && last.pcr >= 0) {
            const int64_t ticks = pcr - last.pcr; // the reader's clock runs on through wraps and jumps
            last.seconds += static_cast<double>(ticks) / tavel::kTsPcrHz;
            last.max_seconds = std::max(last.max_seconds, static_cast<double>(ticks) / tavel::kTsPcrHz);
            ++last.timed_gaps;
        }
        d.max_interval = std::max(d.max_interval, static_cast<double>(packet - last.packet));
        last.packet = packet;
        last.pcr = pcr;
    }

    // Means and units once every occurrence is in.
    void close()
    {
        for (size_t i = 0; i < input_.sections.size(); ++i) {
            InputSection& d = input_.sections[i];
            if (d.count < 2 || !input_.is_ts)
                continue;
            const double gaps = static_cast<double>(d.count - 1);
            if (last_[i].timed_gaps > 0) {
                d.unit = IntervalUnit::seconds;
                d.mean_interval = last_[i].seconds / static_cast<double>(last_[i].timed_gaps);
                d.max_interval = last_[i].max_seconds;
            } else {
                d.unit = IntervalUnit::packets;
                d.mean_interval = static_cast<double>(last_[i].packet - d.first_packet) / gaps;
            }
        }
    }

private:
    struct Last {
        uint64_t packet;
        int64_t pcr;
        double seconds;
        double max_seconds;
        uint64_t timed_gaps; // gaps with a PCR at both ends
    };
    Input& input_;
    std::map<Key, size_t> index_;
    std::vector<Last> last_; // per distinct section
};

bool load_table_file(const std::vector<char>& bytes, Input& input)
{
    Collector collector(input);
    size_t pos = 0;
    while (pos < bytes.size() && byte_at(bytes, pos) != 0xFF) { // 0xFF: stuffing to the end
        const size_t whole = 3 + (((byte_at(bytes, pos + 1) & 0x0F) << 8) | byte_at(bytes, pos + 2));
        if (pos + 3 > bytes.size() || whole > bytes.size() - pos)
            break;
        collector.add(-1, std::vector<char>(bytes.begin() + static_cast<long>(pos),
                                            bytes.begin() + static_cast<long>(pos + whole)),
                      0, -1);
        pos += whole;
    }
    input.trailing_bytes = pos < bytes.size() && byte_at(bytes, pos) != 0xFF ? bytes.size() - pos : 0;
    collector.close();
    return true;
}

} // namespace

bool load_input(const std::string& path, const std::vector<uint16_t>& extra_pids, Input& input, std::string& error)
{
    input = Input{};
    input.name = path;
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        error = "cannot read " + path;
        return false;
    }
    std::vector<char> head(8 * 204);
    head.resize(std::fread(head.data(), 1, head.size(), f));
    std::fclose(f);
    if (head.empty()) {
        error = path + " is empty";
        return false;
    }
    input.packet_size = tavel::ts_packet_size(head.data(), head.size());
    input.is_ts = input.packet_size != 0;
    if (!input.is_ts) {
        std::vector<char> bytes;
        if (!tavel::read_char_vector_from_file(path, bytes)) {
            error = "cannot read " + path;
            return false;
        }
        return load_table_file(bytes, input);
    }
    Collector collector(input);
    tavel::TsSectionReader reader([&collector](const tavel::TsSectionPlace& at, const std::vector<char>& section) {
        collector.add(at.pid, section, at.packet_index, at.time);
    });
    for (uint16_t pid : kSiPids)
        reader.select(pid);
    for (uint16_t pid : extra_pids)
        reader.select(pid);
    if (!reader.feed_file(path)) {
        error = "cannot read " + path;
        return false;
    }
    input.counts = reader.counts();
    collector.close();
    return true;
}

} // namespace tavel_si
