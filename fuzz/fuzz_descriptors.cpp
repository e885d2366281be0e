// Random descriptors through the factory, the parsers and the serialisers,
// and random text through the DVB text decoder.
// Input: tag, declared length, mode byte, then payload bytes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <tavel/descriptor.h>
#include <tavel/dvb_text.h>
#include <tavel/service_descriptors.h>

namespace {

void parse_and_regenerate(unsigned short tag, uint8_t length, const std::vector<char>& payload)
{
    auto d = tavel::Descriptor::getPtrDescriptorType(tag);
    d->descriptor_tag = static_cast<unsigned char>(tag);
    d->descriptor_length = length;
    d->data = payload;
    d->procesarDatos();
    d->generateDataVector();
    // What we wrote must parse again.
    d->descriptor_length = static_cast<unsigned char>(d->data.size());
    d->procesarDatos();
    d->generateDataVector();
}

// Entries taken from the payload, four bytes each, in the mode given.
void build_lcn(unsigned short mode, const std::vector<char>& payload)
{
    tavel::DescriptorLCN lcn(mode);
    for (size_t i = 0; i + 4 <= payload.size(); i += 4) {
        auto b = [&](size_t k) { return static_cast<uint8_t>(payload[i + k]); };
        lcn.addNewService(static_cast<unsigned short>(b(0) << 8 | b(1)), b(2) & 1,
                          static_cast<unsigned short>(b(2) << 8 | b(3)) & 0x7FFF);
    }
    lcn.generateDataVector();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size)
{
    if (size < 3)
        return 0;
    const uint8_t tag = input[0];
    const uint8_t length = input[1];
    const uint8_t mode = input[2];
    const std::vector<char> payload(reinterpret_cast<const char*>(input) + 3, reinterpret_cast<const char*>(input) + size);

    parse_and_regenerate(tag, length, payload);
    // Bias towards the tags that have a class of their own.
    static const unsigned short kKnownTags[] = {0x40, 0x41, 0x43, 0x44, 0x48, 0x4A, 0x58, 0x5A, 0x5F, 0x83, 0x87};
    parse_and_regenerate(kKnownTags[mode % (sizeof kKnownTags / sizeof kKnownTags[0])], length, payload);
    build_lcn(mode & 0x07, payload);

    tavel::DVB_text_decode(std::string(payload.begin(), payload.end()));
    return 0;
}
