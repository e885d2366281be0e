// tavel-ts-bench: the sections of PIDs 0x0010, 0x0011 and 0x0014 read out of
// a 100 MB capture by TsSectionReader and by libdvbpsi's packet layer, side
// by side on the same bytes, the file in the page cache. libdvbpsi leaves
// reading and PID dispatch to its user: that side reads the file in the same
// chunks, checks sync, picks the three PIDs and pushes their packets into one
// handle per PID, whose gather callback checks the CRC, as ours does, and
// counts. Both sides get the file by fread, 256 KB at a time (libdvbpsi takes
// packets, not files). Then our reader fed from a read-only mapping of the
// file, the way to skip the copy (the page faults are paid instead), and both
// sides over the bytes already in memory: what the walk itself costs. And
// the file read in the same chunks with nothing done with the bytes: the
// least any reader of the file pays. Medians of several rounds.
//   tavel-ts-bench [DIR]   captures are made in DIR (default /tmp) if missing
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>

#include <tavel/coding.h>
#include <tavel/ts.h>

namespace {

constexpr size_t kSize = 100u * 1000 * 1000;
constexpr size_t kChunk = 256 * 1024;
constexpr int kRounds = 9;

std::vector<char> section(uint8_t table_id, uint16_t extension, size_t size, std::mt19937& rng)
{
    std::vector<char> s(size - 4);
    for (char& c : s)
        c = static_cast<char>(rng() & 0x7F);
    s[0] = static_cast<char>(table_id);
    s[1] = static_cast<char>((table_id == 0x73 ? 0x70 : 0xF0) | ((size - 3) >> 8));
    s[2] = static_cast<char>((size - 3) & 0xFF);
    s[3] = static_cast<char>(extension >> 8);
    s[4] = static_cast<char>(extension);
    s[5] = static_cast<char>(0xC1);
    s[6] = s[7] = 0;
    const unsigned long crc = tavel::mpeg_crc(0xFFFFFFFFul, s, s.size());
    for (int shift = 24; shift >= 0; shift -= 8)
        s.push_back(static_cast<char>(crc >> shift));
    return s;
}

// "mux": a 24 Mbit/s multiplex (video with a PCR every 40 ms, audio, EIT on
// 0x0012) with NIT, SDT and TOT at the intervals receivers expect.
// "si": only the three PIDs, tables back to back, as a PID-filtered capture.
void make_capture(const std::string& path, bool si_only)
{
    std::mt19937 rng(13);
    tavel::TsPacketiser nit(0x10), sdt(0x11), tot(0x14), eit(0x12);
    const std::vector<std::vector<char>> nits = {section(0x40, 1, 1024, rng), section(0x40, 1, 700, rng)};
    const std::vector<std::vector<char>> sdts = {section(0x42, 7, 900, rng), section(0x46, 8, 400, rng)};
    const std::vector<char> tots = section(0x73, 0, 40, rng);
    const std::vector<char> eits = section(0x50, 101, 4000, rng);
    std::vector<char> out, video(184);
    out.reserve(kSize + 64 * 1024);
    const uint64_t per_second = 24000000 / (188 * 8);
    uint8_t video_cc = 0, audio_cc = 0;
    for (uint64_t k = 0; out.size() < kSize; ++k) {
        if (si_only) {
            nit.packetise(nits, out);
            sdt.packetise(sdts, out);
            for (int i = 0; i < 4; ++i)
                tot.packetise(tots, out);
            continue;
        }
        if (k % (per_second * 10) == 0)
            nit.packetise(nits, out);
        if (k % (per_second * 2) == 0)
            sdt.packetise(sdts, out);
        if (k % (per_second * 30) == 0)
            tot.packetise(tots, out);
        if (k % 100 == 0)
            eit.packetise(eits, out);
        if (k % (per_second / 25) == 0) {
            tavel::ts_append_pcr_packet(out, 0x100, k * 188 * 8 * tavel::kTsPcrHz / 24000000);
            continue;
        }
        const bool audio = k % 10 == 3;
        const char head[4] = {0x47, 0x01, static_cast<char>(audio ? 0x01 : 0x00),
                              static_cast<char>(0x10 | (audio ? audio_cc++ : video_cc++) % 16)};
        out.insert(out.end(), head, head + 4);
        for (char& c : video)
            c = static_cast<char>(rng());
        out.insert(out.end(), video.begin(), video.end());
    }
    std::ofstream(path, std::ios::binary).write(out.data(), static_cast<std::streamsize>(out.size()));
}

struct Tally {
    uint64_t sections = 0;
    uint64_t bytes = 0;
};

enum class Source { file, mapped, memory };

uint64_t ours(const std::string& path, Source source, std::vector<char>& memory)
{
    Tally t;
    tavel::TsSectionReader reader([&t](const tavel::TsSectionPlace&, const std::vector<char>& s) {
        ++t.sections;
        t.bytes += s.size();
    });
    for (uint16_t pid : {0x10, 0x11, 0x14})
        reader.select(pid);
    if (source != Source::mapped) {
        if (source == Source::file) {
            reader.feed_file(path);
        } else {
            reader.feed(memory.data(), memory.size());
            reader.finish();
        }
        return t.sections;
    }
    const int fd = open(path.c_str(), O_RDONLY);
    struct stat st {};
    if (fd < 0 || fstat(fd, &st) != 0)
        return 0;
    const size_t size = static_cast<size_t>(st.st_size);
    void* map = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (map != MAP_FAILED) {
        madvise(map, size, MADV_SEQUENTIAL);
        reader.feed(static_cast<const char*>(map), size);
        munmap(map, size);
    }
    close(fd);
    reader.finish();
    return t.sections;
}

void gather(dvbpsi_t* handle, dvbpsi_psi_section_t* section)
{
    Tally& t = *static_cast<Tally*>(handle->p_sys);
    if (dvbpsi_ValidPSISection(section)) {
        ++t.sections;
        t.bytes += static_cast<uint64_t>(section->p_payload_end - section->p_data) + 4;
    }
    dvbpsi_DeletePSISections(section);
}

// The packets of the three PIDs in data[0, size) into their handles; the bytes used.
size_t push(dvbpsi_t* const (&handles)[3], uint8_t* data, size_t size)
{
    size_t pos = 0;
    for (; pos + 188 <= size; pos += 188) {
        uint8_t* p = data + pos;
        if (p[0] != 0x47)
            continue;
        const unsigned pid = ((p[1] & 0x1F) << 8) | p[2];
        dvbpsi_t* h = pid == 0x10 ? handles[0] : pid == 0x11 ? handles[1] : pid == 0x14 ? handles[2] : nullptr;
        if (h)
            dvbpsi_packet_push(h, p);
    }
    return pos;
}

uint64_t theirs(const std::string& path, Source source, std::vector<char>& memory)
{
    Tally t;
    dvbpsi_t* handles[3];
    for (dvbpsi_t*& h : handles) {
        h = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
        h->p_decoder = static_cast<dvbpsi_decoder_t*>(dvbpsi_decoder_new(gather, 4096, true, sizeof(dvbpsi_decoder_t)));
        h->p_sys = &t;
    }
    std::vector<uint8_t> buf(kChunk + 188);
    size_t fill = 0;
    std::FILE* f = source == Source::file ? std::fopen(path.c_str(), "rb") : nullptr;
    for (size_t n; f && (n = std::fread(buf.data() + fill, 1, kChunk, f)) > 0;) {
        fill += n;
        const size_t pos = push(handles, buf.data(), fill);
        std::memmove(buf.data(), buf.data() + pos, fill - pos);
        fill -= pos;
    }
    if (f)
        std::fclose(f);
    else
        push(handles, reinterpret_cast<uint8_t*>(memory.data()), memory.size());
    for (dvbpsi_t* h : handles) {
        dvbpsi_decoder_delete(h->p_decoder);
        h->p_decoder = nullptr;
        dvbpsi_delete(h);
    }
    return t.sections;
}

// The file read in the chunks both sides use, the bytes left unlooked at.
uint64_t read_alone(const std::string& path)
{
    std::vector<char> buf(kChunk);
    uint64_t total = 0;
    std::FILE* f = std::fopen(path.c_str(), "rb");
    for (size_t n; f && (n = std::fread(buf.data(), 1, kChunk, f)) > 0;)
        total += n;
    if (f)
        std::fclose(f);
    return total;
}

double seconds(const std::function<uint64_t()>& run, uint64_t& sections)
{
    const auto start = std::chrono::steady_clock::now();
    sections = run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    const std::string dir = argc > 1 ? argv[1] : "/tmp";
    std::printf("both sides read the file with fread, 256 KB at a time; \"mmap\": ours fed from a mapping "
                "instead;\n\"in memory\": both over the bytes already read (ours, libdvbpsi); \"read alone\": the "
                "fread loop,\nnothing done with the bytes\n");
    std::printf("%-44s %9s %9s %9s %7s %9s %9s %19s %10s\n", "capture (100 MB, PIDs 0x10 0x11 0x14 read)",
                "sections", "tavel", "libdvbpsi", "ratio", "tavel", "mmap", "in memory", "read alone");
    for (const bool si_only : {false, true}) {
        const std::string path = dir + (si_only ? "/tavel-ts-bench-si.ts" : "/tavel-ts-bench-mux.ts");
        if (!std::ifstream(path))
            make_capture(path, si_only);
        std::ifstream in(path, std::ios::binary); // and into the page cache
        std::vector<char> memory((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        uint64_t n_ours = 0, n_theirs = 0, n_mapped = 0, n_ours_memory = 0, n_theirs_memory = 0;
        uint64_t n_read = 0;
        std::vector<double> our_times, their_times, mapped_times, our_memory_times, their_memory_times, read_times;
        for (int i = 0; i < kRounds; ++i) { // alternated, so that load elsewhere falls on all
            our_times.push_back(seconds([&] { return ours(path, Source::file, memory); }, n_ours));
            their_times.push_back(seconds([&] { return theirs(path, Source::file, memory); }, n_theirs));
            mapped_times.push_back(seconds([&] { return ours(path, Source::mapped, memory); }, n_mapped));
            our_memory_times.push_back(seconds([&] { return ours(path, Source::memory, memory); }, n_ours_memory));
            their_memory_times.push_back(
                seconds([&] { return theirs(path, Source::memory, memory); }, n_theirs_memory));
            read_times.push_back(seconds([&] { return read_alone(path); }, n_read));
        }
        const double t_ours = median(our_times), t_theirs = median(their_times);
        if (n_ours != n_theirs || n_mapped != n_ours || n_ours_memory != n_ours || n_theirs_memory != n_ours) {
            std::fprintf(stderr, "tavel-ts-bench: the ways of reading found different numbers of sections\n");
            return 1;
        }
        std::printf("%-44s %9llu %7.1fms %7.1fms %7.2f %5.2fGB/s %7.1fms %7.1fms %7.1fms %8.1fms\n",
                    si_only ? "SI PIDs only, tables back to back" : "24 Mbit/s multiplex, SI at receiver intervals",
                    static_cast<unsigned long long>(n_ours), t_ours * 1e3, t_theirs * 1e3, t_ours / t_theirs,
                    static_cast<double>(kSize) / t_ours / 1e9, median(mapped_times) * 1e3,
                    median(our_memory_times) * 1e3, median(their_memory_times) * 1e3, median(read_times) * 1e3);
    }
    return 0;
}
