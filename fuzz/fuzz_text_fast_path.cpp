// The DVB text decoder with its fast path (ISO-8859-1, ASCII, UTF-8 without
// iconv) against the same decoder sending every table through iconv: same
// result and same log lines (priority and text, in order) for every input,
// or abort on the first difference.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <syslog.h>
#include <vector>

#include "dvb/dvb_text_decode.h"
#include "platform/log.h"

namespace {

struct Run {
    std::string text;
    std::vector<tavel::LogLine> lines;
};

Run run_decoder(const char* data, size_t size, tavel::text::Conversion conversion)
{
    tavel::LogCapture capture; // records every line, whatever the mask
    Run run;
    run.text = tavel::text::decode(data, size, conversion);
    run.lines = capture.lines();
    return run;
}

void print_bytes(const char* what, const std::string& bytes)
{
    std::fprintf(stderr, "%s (%zu):", what, bytes.size());
    for (char c : bytes)
        std::fprintf(stderr, " %02x", static_cast<unsigned>(static_cast<uint8_t>(c)));
    std::fprintf(stderr, "\n");
}

[[noreturn]] void differ(const std::string& input, const Run& fast, const Run& reference, const char* what)
{
    std::fprintf(stderr, "fast path and iconv differ: %s\n", what);
    print_bytes("input", input);
    print_bytes("fast path", fast.text);
    print_bytes("iconv", reference.text);
    for (const auto& l : fast.lines)
        std::fprintf(stderr, "fast  <%d> %s\n", l.priority, l.text.c_str());
    for (const auto& l : reference.lines)
        std::fprintf(stderr, "iconv <%d> %s\n", l.priority, l.text.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // The captures see every line; the system log need not.
    setlogmask(LOG_MASK(LOG_EMERG));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const Run fast = run_decoder(input.data(), input.size(), tavel::text::Conversion::fast_path_first);
    const Run reference = run_decoder(input.data(), input.size(), tavel::text::Conversion::iconv_only);
    if (fast.text != reference.text)
        differ(input, fast, reference, "text");
    if (fast.lines.size() != reference.lines.size())
        differ(input, fast, reference, "number of log lines");
    for (size_t i = 0; i < fast.lines.size(); ++i)
        if (fast.lines[i].priority != reference.lines[i].priority || fast.lines[i].text != reference.lines[i].text)
            differ(input, fast, reference, "log line");
    return 0;
}
