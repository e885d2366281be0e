#include <tavel/ts.h>

#include <tavel/coding.h>

#include <algorithm>
#include <cstdio>

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
// Bytes taken from a new piece to finish what the last one left over: more
// than a sync search or a packet can need.
constexpr size_t kCarry = kSyncRun * 204 + 204;

size_t max_section_length(uint8_t table_id)
{
    // EIT, ST (which may overwrite any section), SIT and private sections may
    // reach 4096 bytes, the rest 1024.
    if ((table_id >= 0x4E && table_id <= 0x6F) || table_id >= 0x80 || (table_id >= 0x04 && table_id <= 0x3F) ||
        table_id == 0x72 || table_id == 0x7F)
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

constexpr int64_t kPcrWrap = (int64_t{1} << 33) * 300;
// Two PCRs further apart than this (or going back) are a discontinuity:
// the standard asks for one every 100 ms.
constexpr int64_t kMaxPcrStep = 27000000;

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
    // Bytes of the last feed not yet consumed: a packet cut at the end of a
    // piece, or the bytes sync is still being looked for in.
    std::vector<char> carry;
    TsCounts counts;
    size_t stride = 0;
    bool lost = false;
    int pcr_pid = -1;
    int64_t pcr = -1;
    int64_t time = -1;
    uint64_t pcr_packet = 0;        // packet index of the last PCR
    double ticks_per_packet = 0;    // from the last regular PCR step, 0 before one

    // A new PCR on the timing PID: the clock moves by its step, or across a
    // jump by the packets since the last one at the rate measured before it.
    // A PID taking over as the timing PID has its own clock: bridged too, but
    // no discontinuity of the stream.
    void clock(int64_t value, bool flagged, bool new_pid)
    {
        const uint64_t packets = counts.packets - 1 - pcr_packet;
        if (time < 0) {
            time = 0;
        } else {
            const int64_t step = ((value - pcr) % kPcrWrap + kPcrWrap) % kPcrWrap;
            if (new_pid || flagged || step > kMaxPcrStep) {
                if (!new_pid)
                    ++counts.pcr_discontinuities;
                time += static_cast<int64_t>(ticks_per_packet * static_cast<double>(packets));
            } else {
                time += step;
                if (packets > 0)
                    ticks_per_packet = static_cast<double>(step) / static_cast<double>(packets);
            }
        }
        pcr = value;
        pcr_packet = counts.packets - 1;
    }

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
        TsSectionPlace place{pid, counts.packets - 1, pcr};
        place.time = time;
        handler(place, st.section);
    }

    // Payload bytes [a, b) of one packet for one PID; new sections may begin only when allowed.
    void take(PidState& st, uint16_t pid, const char* a, const char* b, bool may_start)
    {
        while (a < b) {
            if (!st.in_section) {
                if (!may_start || bytes::at(a, 0) == 0xFF) // 0xFF: stuffing to the end of the packet
                    return;
                st.in_section = true;
                st.section.clear();
                st.need = 0;
            }
            if (st.need == 0) {
                const size_t n = std::min<size_t>(3 - st.section.size(), static_cast<size_t>(b - a));
                st.section.insert(st.section.end(), a, a + n);
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
            const size_t n = std::min<size_t>(st.need - st.section.size(), static_cast<size_t>(b - a));
            st.section.insert(st.section.end(), a, a + n);
            a += n;
            if (st.section.size() == st.need)
                complete(st, pid);
        }
    }

    // One whole 188-byte packet at p.
    void packet(const char* p)
    {
        ++counts.packets;
        const uint8_t b1 = bytes::at(p, 1);
        const uint8_t b3 = bytes::at(p, 3);
        const uint16_t pid = static_cast<uint16_t>(((b1 & 0x1F) << 8) | bytes::at(p, 2));
        if (b1 & 0x80) {
            ++counts.tei_packets;
            // Its payload cannot be trusted, but a header that still names a
            // followed PID with the next counter says the packet was not lost:
            // the section it carried is cut, the next packet is no CC error.
            const int index = slot[pid];
            if (index >= 0 && (b3 & 0x10)) {
                PidState& st = pids[static_cast<size_t>(index)];
                if (st.last_cc >= 0 && (b3 & 0x0F) == ((st.last_cc + 1) & 0x0F)) {
                    st.last_cc = b3 & 0x0F;
                    st.duplicate_seen = false;
                    cut(st);
                }
            }
            return;
        }
        const unsigned afc = (b3 >> 4) & 3;
        const unsigned af_length = (afc & 2) ? bytes::at(p, 4) : 0;
        // Times come from the first PID seen carrying a PCR, so they never jump
        // between programs; when that program goes off air (silent for over a
        // second of the stream), the next PID with a PCR takes over.
        const bool timing_pid_gone =
            ticks_per_packet > 0 &&
            ticks_per_packet * static_cast<double>(counts.packets - 1 - pcr_packet) > kMaxPcrStep;
        if (af_length >= 7 && (bytes::at(p, 5) & 0x10) && (pcr_pid < 0 || pid == pcr_pid || timing_pid_gone)) {
            uint64_t base = 0;
            for (size_t i = 6; i < 10; ++i)
                base = (base << 8) | bytes::at(p, i);
            base = (base << 1) | (bytes::at(p, 10) >> 7);
            const bool new_pid = pcr_pid >= 0 && pid != pcr_pid;
            pcr_pid = pid;
            clock(static_cast<int64_t>(base * 300 + (((bytes::at(p, 10) & 1u) << 8) | bytes::at(p, 11))),
                  (bytes::at(p, 5) & 0x80) != 0, new_pid);
        }
        const int index = slot[pid];
        if (index < 0 || afc == 0)
            return;
        PidState& st = pids[static_cast<size_t>(index)];
        const bool discontinuity = af_length > 0 && (bytes::at(p, 5) & 0x80);
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
        if (b3 & 0xC0) { // SI is never scrambled: these bytes cannot be read
            ++counts.scrambled_packets;
            cut(st);
            return;
        }
        size_t off = 4 + ((afc & 2) ? 1 + af_length : 0);
        if (off >= kTsPacketSize) {
            cut(st);
            return;
        }
        const char* const end = p + kTsPacketSize;
        if (!(b1 & 0x40)) {
            take(st, pid, p + off, end, false);
            return;
        }
        const size_t pointer = bytes::at(p, off);
        ++off;
        if (off + pointer > kTsPacketSize) {
            cut(st);
            return;
        }
        take(st, pid, p + off, p + off + pointer, false);
        cut(st); // a new section begins: the old one must have ended
        take(st, pid, p + off + pointer, end, true);
    }

    // Finds sync in data[pos, size); returns where the packet is, or size when
    // more bytes are needed.
    size_t find_sync(const char* data, size_t size, size_t pos, bool at_end, size_t& found_stride)
    {
        for (size_t i = pos; i < size; ++i) {
            if (bytes::at(data, i) != kSync)
                continue;
            bool waiting = false;
            size_t order[3] = {188, 192, 204};
            if (stride == 192)
                std::swap(order[0], order[1]);
            else if (stride == 204)
                std::swap(order[0], order[2]);
            for (size_t s : order) {
                size_t k = 1;
                while (k < kSyncRun && i + k * s < size && bytes::at(data, i + k * s) == kSync)
                    ++k;
                const bool more = i + k * s < size;
                if (k == kSyncRun || (at_end && !more && kTsPacketSize <= size - i)) {
                    // A stride asked for first but still short of bytes decides
                    // first: otherwise where a piece ends would pick the stride.
                    if (waiting && !at_end)
                        return i;
                    found_stride = s;
                    return i;
                }
                if (!more)
                    waiting = true;
            }
            if (waiting && !at_end)
                return i;
        }
        return size;
    }

    // Walks the packets of data[0, size). Returns how many bytes are done
    // with; the rest must come again, with what follows them, in the next call.
    size_t process(const char* data, size_t size, bool at_end)
    {
        size_t pos = 0;
        for (;;) {
            if (stride == 0 || lost) {
                size_t s = 0;
                const size_t i = find_sync(data, size, pos, at_end, s);
                size_t skipped = i - pos;
                if (s == 0) { // not found yet: a possible M2TS prefix stays for the next look,
                    // also when its sync byte is still to come
                    const size_t keep = stride == 0 ? std::min<size_t>(4, skipped) : 0;
                    (stride == 0 ? counts.leading_bytes : counts.garbage_bytes) += skipped - keep;
                    pos = i - keep;
                    break;
                }
                if (stride == 0 && s == 192 && skipped >= 4)
                    skipped -= 4; // the first packet's M2TS prefix
                // Before the first packet: where the capture began, not damage.
                (stride == 0 ? counts.leading_bytes : counts.garbage_bytes) += skipped;
                if (lost)
                    ++counts.resyncs;
                lost = false;
                stride = s;
                pos = i;
            }
            // The loop's bound keeps every packet, and every read below, inside [0, size).
            const int16_t* const selected = slot.data();
            const size_t step = stride;
            uint64_t packets = counts.packets;
            while (pos + step <= size || (at_end && pos + kTsPacketSize <= size)) {
                const char* const p = data + pos;
                // Bytes not in cache yet (a large buffer of the caller's): the
                // header eight packets on is asked for now, not waited for then.
                if (pos + 9 * step <= size)
                    __builtin_prefetch(p + 8 * step);
                if (bytes::at(p, 0) != kSync) {
                    lost = true;
                    break;
                }
                const uint8_t b1 = bytes::at(p, 1);
                const uint8_t b3 = bytes::at(p, 3);
                // Most packets are neither selected, errored nor carrying an
                // adaptation field (where a PCR may be): count and step over.
                if (selected[((b1 & 0x1F) << 8) | bytes::at(p, 2)] < 0 && !(b1 & 0x80) && !(b3 & 0x20)) {
                    ++packets;
                } else {
                    counts.packets = packets;
                    packet(p);
                    packets = counts.packets;
                }
                pos = pos + step <= size ? pos + step : size;
            }
            counts.packets = packets;
            if (!lost)
                break;
        }
        if (at_end) {
            counts.garbage_bytes += size - pos; // a cut last packet
            pos = size;
        }
        return pos;
    }

    void feed(const char* data, size_t size)
    {
        size_t off = 0;
        // The bytes left over last time, completed from the new ones; as soon
        // as the walk is past them it goes on in the caller's bytes directly.
        while (!carry.empty() && off < size) {
            const size_t old = carry.size();
            const size_t n = std::min(size - off, kCarry);
            carry.insert(carry.end(), data + off, data + off + n);
            const size_t used = process(carry.data(), carry.size(), false);
            if (used >= old) {
                off += used - old;
                carry.clear();
            } else {
                off += n;
                carry.erase(carry.begin(), carry.begin() + static_cast<long>(used));
            }
        }
        if (off < size) {
            const size_t used = process(data + off, size - off, false);
            carry.assign(data + off + used, data + size);
        }
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

void TsSectionReader::feed(const char* data, size_t size) { state_->feed(data, size); }

void TsSectionReader::finish()
{
    State& s = *state_;
    s.process(s.carry.data(), s.carry.size(), true);
    s.carry.clear();
    for (PidState& st : s.pids)
        s.cut(st);
}

bool TsSectionReader::feed_file(const std::string& path)
{
    std::FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    // Read, not mapped: on the machine measured, faulting a mapped capture's
    // pages in cost about three times copying them out of the page cache.
    // Each chunk is walked where it lies; only a packet cut at its end is kept.
    std::vector<char> chunk(kChunk);
    bool ok = true;
    for (;;) {
        const size_t n = std::fread(chunk.data(), 1, chunk.size(), f);
        if (n == 0) {
            ok = !std::ferror(f);
            break;
        }
        state_->feed(chunk.data(), n);
    }
    std::fclose(f);
    finish();
    return ok;
}

const TsCounts& TsSectionReader::counts() const { return state_->counts; }

size_t TsSectionReader::packet_size() const { return state_->stride; }

} // namespace tavel
