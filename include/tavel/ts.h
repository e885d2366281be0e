// MPEG transport streams: reading the sections of chosen PIDs out of a
// capture, and packing sections (plus PAT, PMT, PCR and null packets) into
// 188-byte packets for a modulator, a player or an analyser.
#ifndef TAVEL_TS_H
#define TAVEL_TS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <tavel/export.h>

namespace tavel {

constexpr size_t kTsPacketSize = 188;
constexpr uint16_t kTsNullPid = 0x1FFF;
constexpr uint64_t kTsPcrHz = 27000000; // PCR ticks per second

// 188 (plain), 192 (M2TS: 4-byte prefix) or 204 (16 Reed-Solomon bytes)
// when the bytes start like a transport stream (sync bytes at one of those
// strides), else 0.
TAVEL_API size_t ts_packet_size(const char* data, size_t size);

// What went wrong in a stream, counted over everything fed so far.
struct TsCounts {
    uint64_t packets = 0;           // packets found (every PID)
    uint64_t cc_errors = 0;         // continuity breaks on selected PIDs
    uint64_t duplicates = 0;        // repeated packets dropped (one allowed per break-free run)
    uint64_t crc_errors = 0;        // sections dropped for a bad CRC_32
    uint64_t tei_packets = 0;       // packets with transport_error_indicator set (dropped; one that still
                                    // carries its PID's next counter is no CC error, its section is cut)
    uint64_t cut_sections = 0;      // sections left unfinished (break, new start, end of stream)
    uint64_t oversize_sections = 0; // section_length beyond 1021 (4093 for EIT, ST, SIT, private), skipped
    uint64_t garbage_bytes = 0;     // bytes outside any packet
    uint64_t resyncs = 0;           // times sync was lost and found again
    uint64_t scrambled_packets = 0; // selected PIDs' packets with transport_scrambling_control set (dropped)
    uint64_t pcr_discontinuities = 0; // PCR jumps (flagged or not) on the PID times come from
    uint64_t leading_bytes = 0;     // bytes before the first packet (a capture begun inside one): not an error
};

// Where a complete section came from.
struct TsSectionPlace {
    uint16_t pid;
    uint64_t packet_index; // packet holding the section's last byte, from 0
    int64_t pcr;           // last PCR seen before it (27 MHz ticks), -1 when none yet
    // That PCR on a clock that starts at 0 with the first one and runs on
    // through wrap-arounds and discontinuities (a jump is bridged at the
    // stream's packet rate), and on to the next PID with a PCR when the
    // timing PID falls silent for over a second: differences are durations.
    // -1 before any PCR.
    int64_t time = -1;
};

// Push parser over transport stream bytes. Sections of the selected PIDs are
// reassembled and handed to the handler once complete and, where they carry
// one, with a good CRC. Bytes may come in pieces of any size; nothing is read
// outside what was given.
class TAVEL_API TsSectionReader {
public:
    using Handler = std::function<void(const TsSectionPlace&, const std::vector<char>& section)>;

    explicit TsSectionReader(Handler handler);
    ~TsSectionReader();
    TsSectionReader(const TsSectionReader&) = delete;
    TsSectionReader& operator=(const TsSectionReader&) = delete;

    void select(uint16_t pid);
    // The bytes are walked where they lie, without a copy; what a later piece
    // must complete (a packet cut at their end) is copied, so they need not
    // outlive the call.
    void feed(const char* data, size_t size);
    void feed(const std::vector<char>& bytes) { feed(bytes.data(), bytes.size()); }
    // End of stream: a last short packet is garbage, unfinished sections are cut.
    void finish();
    // Feeds a whole file in chunks, then finishes. False when it cannot be read.
    bool feed_file(const std::string& path);

    const TsCounts& counts() const;
    size_t packet_size() const; // stride in use, 0 before sync

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Sections of one PID into 188-byte packets. Each call packs its sections
// back to back (payload_unit_start_indicator and pointer_field where one
// begins) and fills the last packet with 0xFF; the continuity counter runs
// on across calls.
class TAVEL_API TsPacketiser {
public:
    explicit TsPacketiser(uint16_t pid);
    void packetise(const std::vector<std::vector<char>>& sections, std::vector<char>& out);
    void packetise(const std::vector<char>& section, std::vector<char>& out);
    uint16_t pid() const { return pid_; }

private:
    uint16_t pid_;
    uint8_t cc_ = 0;
};

// A null packet (PID 0x1FFF) appended to out.
TAVEL_API void ts_append_null_packet(std::vector<char>& out);
// An adaptation-field-only packet on pid carrying pcr (27 MHz ticks).
TAVEL_API void ts_append_pcr_packet(std::vector<char>& out, uint16_t pid, uint64_t pcr);

struct TsProgram {
    uint16_t program_number;
    uint16_t pmt_pid;
};

// PAT of the transport stream, network PID 0x0010 as program 0, then the programs.
TAVEL_API std::vector<char> ts_pat_section(uint16_t transport_stream_id, const std::vector<TsProgram>& programs,
                                           uint8_t version = 0);
// PMT of a program whose one stream is the PCR PID, declared as private data
// (stream_type 0x06): no media, but enough for players to list the program.
TAVEL_API std::vector<char> ts_pmt_section(uint16_t program_number, uint16_t pcr_pid, uint8_t version = 0);
// The services of SDT actual sections (table_id 0x42) as programs, PMT PIDs
// from first_pmt_pid up in order of appearance; transport_stream_id is set
// from the first such section. Other sections, and SDT actual sections of
// other transport streams, are ignored.
TAVEL_API std::vector<TsProgram> ts_programs_of_sdt(const std::vector<std::vector<char>>& sections,
                                                    uint16_t first_pmt_pid, uint16_t& transport_stream_id);

} // namespace tavel

#endif
