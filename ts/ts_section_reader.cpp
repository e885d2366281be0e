#include <tavel/ts.h>

#include <tavel/coding.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "dvb/byte_io.h"

namespace tavel {

namespace {

constexpr uint8_t kSync = 0x47;
constexpr size_t kStrides[] = {188, 192, 204};
// Sync is taken once this many sync bytes stand at one stride.
constexpr size_t kSyncRun = 4;
// Bytes read from a file at a time: enough to amortise the system call,
// small enough to stay in cache while the packets are walked.
constexpr size_t kChunk = 256 * 1024;
constexpr size_t kCarry = kSyncRun * 204 + 204;

size_t max_section_length(uint8_t table_id)
{
    // EIT and private sections may reach 4096 bytes, the rest 1024.
    if ((table_id >= 0x4E && table_id <= 0x6F) || table_id >= 0x80 || (table_id >= 0x04 && table_id <= 0x3F))
        return 4093;
    return 1021;
}

struct PidState {
    std::vector<char> section;
    size_t need = 0; // whole section size once its header is in
    int last_cc = -1;
    bool in_section = false;
    bool duplicate_seen = false;
    // SI repeats itself: sections already found good, so that a repetition
    // costs a comparison instead of a CRC over every byte.
    std::vector<std::vector<char>> verified;
    size_t next_verified = 0;
};

constexpr size_t kVerifiedPerPid = 8;

} // namespace

size_t ts_packet_size(const char* data, size_t size)
{
    const std::vector<char> head(data, data + (size < 8 * 204 ? size : 8 * 204));
    const bytes::Reader r(head);
    for (size_t stride : kStrides) {
        // A capture may begin inside a packet; M2TS puts its 4-byte prefix
        // before the sync byte. Off those starts, ask for sync all through
        // the head, so that a table file with a regular run of 0x47 bytes
        // (a list of service ids 0x47xx) is not taken for a stream.
        const size_t natural = stride == 192 ? 4 : 0;
        for (size_t first = 0; first < stride && r.has(first, 1); ++first) {
            size_t syncs = 0;
            bool broken = false;
            for (size_t at = first; r.has(at, 1) && !broken; at += stride) {
                broken = r.u8(at) != kSync;
                syncs += broken ? 0 : 1;
            }
            const size_t wanted = first == natural ? 2 : head.size() == 8 * 204 ? 7 : head.size() + 1;
            if (!broken && (syncs >= wanted || (first == natural && syncs == 1 && size == stride)))
                return stride;
        }
    }
    return 0;
}

struct TsSectionReader::State {
    explicit State(Handler h) : handler(std::move(h)), slot(8192, -1) {}

    Handler handler;
    std::vector<int16_t> slot; // PID -> index in pids, -1 when not selected
    std::vector<PidState> pids;
    std::vector<char> buf; // bytes [begin, fill) not yet consumed; grows to kChunk + kCarry
    size_t begin = 0;
    size_t fill = 0;
    TsCounts counts;
    size_t stride = 0;
    bool lost = false;
    int pcr_pid = -1;
    int64_t pcr = -1;

    void cut(PidState& st)
    {
        if (st.in_section) {
            ++counts.cut_sections;
            st.in_section = false;
        }
    }

    static bool known_good(const PidState& st)
    {
        for (const auto& v : st.verified)
            if (v == st.section)
                return true;
        return false;
    }

    void complete(PidState& st, uint16_t pid)
    {
        st.in_section = false;
        const bytes::Reader s(st.section);
        // TOT carries a CRC without the syntax indicator; TDT, RST and ST none.
        if (((s.u8(1) & 0x80) || s.u8(0) == 0x73) && !known_good(st)) {
            if (mpeg_crc(0xFFFFFFFFul, st.section, st.section.size()) != 0) {
                ++counts.crc_errors;
                return;
            }
            if (st.verified.size() < kVerifiedPerPid)
                st.verified.push_back(st.section);
            else
                st.verified[st.next_verified++ % kVerifiedPerPid] = st.section;
        }
        handler(TsSectionPlace{pid, counts.packets - 1, pcr}, st.section);
    }

    // Payload bytes [a, b) of buf for one PID; new sections may begin only when allowed.
    void take(PidState& st, uint16_t pid, size_t a, size_t b, bool may_start)
    {
        const bytes::Reader r(buf, 0, fill);
        while (a < b) {
            if (!st.in_section) {
                if (!may_start || r.u8(a) == 0xFF) // 0xFF: stuffing to the end of the packet
                    return;
                st.in_section = true;
                st.section.clear();
                st.need = 0;
            }
            if (st.need == 0) {
                const size_t n = std::min(3 - st.section.size(), b - a);
                append(st, a, n);
                a += n;
                if (st.section.size() < 3)
                    return;
                const bytes::Reader h(st.section);
                const size_t length = h.u12(1);
                if (length > max_section_length(h.u8(0))) {
                    ++counts.oversize_sections;
                    st.in_section = false;
                    return; // where the next section would begin is unknown
                }
                st.need = 3 + length;
            }
            const size_t n = std::min(st.need - st.section.size(), b - a);
            append(st, a, n);
            a += n;
            if (st.section.size() == st.need)
                complete(st, pid);
        }
    }

    void append(PidState& st, size_t at, size_t n)
    {
        if (at <= fill && n <= fill - at)
            st.section.insert(st.section.end(), buf.begin() + static_cast<long>(at),
                              buf.begin() + static_cast<long>(at + n));
    }

    void packet(size_t at)
    {
        const bytes::Reader p(buf, at, at + kTsPacketSize);
        ++counts.packets;
        const uint8_t b1 = p.u8(1);
        const uint8_t b3 = p.u8(3);
        if (b1 & 0x80) {
            ++counts.tei_packets;
            return;
        }
        const uint16_t pid = static_cast<uint16_t>(((b1 & 0x1F) << 8) | p.u8(2));
        const unsigned afc = (b3 >> 4) & 3;
        const unsigned af_length = (afc & 2) ? p.u8(4) : 0;
        // Times come from the first PID seen carrying a PCR, so they never jump between programs.
        if (af_length >= 7 && (p.u8(5) & 0x10) && (pcr_pid < 0 || pid == pcr_pid)) {
            const uint64_t base = (static_cast<uint64_t>(p.u32(6)) << 1) | (p.u8(10) >> 7);
            pcr = static_cast<int64_t>(base * 300 + (((p.u8(10) & 1u) << 8) | p.u8(11)));
            pcr_pid = pid;
        }
        const int index = slot[pid];
        if (index < 0 || afc == 0)
            return;
        PidState& st = pids[static_cast<size_t>(index)];
        const bool discontinuity = af_length > 0 && (p.u8(5) & 0x80);
        const int cc = b3 & 0x0F;
        const bool has_payload = afc & 1;
        if (st.last_cc >= 0 && !discontinuity) {
            // The standard lets a packet be sent twice in a row; a third copy is a break.
            if (cc == st.last_cc && has_payload && !st.duplicate_seen) {
                st.duplicate_seen = true;
                ++counts.duplicates;
                return;
            }
            const int expected = has_payload ? (st.last_cc + 1) & 0x0F : st.last_cc;
            if (cc != expected) {
                ++counts.cc_errors;
                cut(st);
            }
        }
        st.last_cc = cc;
        st.duplicate_seen = false;
        if (!has_payload)
            return;
        size_t off = 4 + ((afc & 2) ? 1 + af_length : 0);
        if (off >= kTsPacketSize) {
            cut(st);
            return;
        }
        if (!(b1 & 0x40)) {
            take(st, pid, at + off, at + kTsPacketSize, false);
            return;
        }
        const size_t pointer = p.u8(off);
        ++off;
        if (off + pointer > kTsPacketSize) {
            cut(st);
            return;
        }
        take(st, pid, at + off, at + off + pointer, false);
        cut(st); // a new section begins: the old one must have ended
        take(st, pid, at + off + pointer, at + kTsPacketSize, true);
    }

    // Finds sync from pos; returns where the packet is, or fill when more bytes are needed.
    size_t find_sync(size_t pos, bool at_end, size_t& found_stride)
    {
        const bytes::Reader r(buf, 0, fill);
        for (size_t i = pos; i < fill; ++i) {
            if (r.u8(i) != kSync)
                continue;
            bool waiting = false;
            size_t order[3] = {188, 192, 204};
            if (stride == 192)
                std::swap(order[0], order[1]);
            else if (stride == 204)
                std::swap(order[0], order[2]);
            for (size_t s : order) {
                size_t k = 1;
                while (k < kSyncRun && r.has(i + k * s, 1) && r.u8(i + k * s) == kSync)
                    ++k;
                if (k == kSyncRun || (at_end && !r.has(i + k * s, 1) && r.has(i, kTsPacketSize))) {
                    found_stride = s;
                    return i;
                }
                if (!r.has(i + k * s, 1))
                    waiting = true;
            }
            if (waiting && !at_end)
                return i;
        }
        return fill;
    }

    void process(bool at_end)
    {
        size_t pos = begin;
        for (;;) {
            if (stride == 0 || lost) {
                size_t s = 0;
                const size_t i = find_sync(pos, at_end, s);
                size_t skipped = i - pos;
                if (s == 0) { // not found yet: a possible M2TS prefix stays for the next look
                    const size_t keep = i < fill && stride == 0 ? std::min<size_t>(4, skipped) : 0;
                    counts.garbage_bytes += skipped - keep;
                    pos = i - keep;
                    break;
                }
                if (stride == 0 && s == 192 && skipped >= 4)
                    skipped -= 4; // the first packet's M2TS prefix
                counts.garbage_bytes += skipped;
                if (lost)
                    ++counts.resyncs;
                lost = false;
                stride = s;
                pos = i;
            }
            // The loop's bound keeps every read below inside [0, fill).
            const int16_t* const selected = slot.data();
            const size_t step = stride, end = fill;
            uint64_t packets = counts.packets;
            while (pos + step <= end || (at_end && pos + kTsPacketSize <= end)) {
                if (bytes::at(buf, pos) != kSync) {
                    lost = true;
                    break;
                }
                const uint8_t b1 = bytes::at(buf, pos + 1);
                const uint8_t b3 = bytes::at(buf, pos + 3);
                // Most packets are neither selected, errored nor carrying an
                // adaptation field (where a PCR may be): count and step over.
                if (selected[((b1 & 0x1F) << 8) | bytes::at(buf, pos + 2)] < 0 && !(b1 & 0x80) && !(b3 & 0x20)) {
                    ++packets;
                } else {
                    counts.packets = packets;
                    packet(pos);
                    packets = counts.packets;
                }
                pos = pos + step <= end ? pos + step : end;
            }
            counts.packets = packets;
            if (!lost)
                break;
        }
        if (at_end) {
            counts.garbage_bytes += fill - pos; // a cut last packet
            pos = fill;
        }
        // Keep the unread tail at the front for the next bytes.
        if (fill > pos)
            std::memmove(buf.data(), buf.data() + pos, fill - pos);
        fill -= pos;
        begin = 0;
    }
};

TsSectionReader::TsSectionReader(Handler handler) : state_(new State(std::move(handler))) {}

TsSectionReader::~TsSectionReader() = default;

void TsSectionReader::select(uint16_t pid)
{
    pid &= 0x1FFF;
    if (state_->slot[pid] >= 0)
        return;
    state_->slot[pid] = static_cast<int16_t>(state_->pids.size());
    state_->pids.emplace_back();
}

void TsSectionReader::feed(const char* data, size_t size)
{
    State& s = *state_;
    while (size > 0) {
        const size_t n = std::min(size, kChunk);
        if (s.buf.size() < s.fill + n)
            s.buf.resize(s.fill + n);
        std::memcpy(s.buf.data() + s.fill, data, n);
        s.fill += n;
        data += n;
        size -= n;
        s.process(false);
    }
}

void TsSectionReader::finish()
{
    State& s = *state_;
    s.process(true);
    for (PidState& st : s.pids)
        s.cut(st);
}

bool TsSectionReader::feed_file(const std::string& path)
{
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    State& s = *state_;
    if (s.buf.size() < kChunk + kCarry)
        s.buf.resize(kChunk + kCarry);
    bool ok = true;
    for (;;) {
        // Whole chunks keep the reads on page boundaries of the file.
        const size_t n = std::fread(s.buf.data() + s.fill, 1, std::min(kChunk, s.buf.size() - s.fill), f);
        if (n == 0) {
            ok = !std::ferror(f);
            break;
        }
        s.fill += n;
        s.process(false);
    }
    std::fclose(f);
    finish();
    return ok;
}

const TsCounts& TsSectionReader::counts() const { return state_->counts; }

size_t TsSectionReader::packet_size() const { return state_->stride; }

} // namespace tavel
