// Descriptors decoded from their bytes as EN 300 468 defines them, for
// display. Each descriptor (or close family) has its own source here,
// registered by tag in registry.cpp; none of them changes the library's
// classes, whose own reading is added as a "library" note where it differs.
#ifndef TAVEL_SI_DECODE_DESCRIPTOR_DECODER_H
#define TAVEL_SI_DECODE_DESCRIPTOR_DECODER_H

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <tavel/descriptor.h>

#include "dvb/byte_io.h"

namespace tavel_si {
namespace decode {

using json = nlohmann::ordered_json;
using Payload = tavel::bytes::Reader;

// What a descriptor's meaning depends on besides its own bytes.
struct DecodeContext {
    std::string default_charset = "ISO-8859-1"; // text without a selector byte
    uint32_t private_data_specifier = 0;        // last one seen in this loop, 0 for none
};

using DecodeFunction = void (*)(const Payload& payload, const DecodeContext& ctx, json& out);

struct DescriptorDecoder {
    unsigned tag;
    const char* name;
    DecodeFunction decode;
};

// The decoder of a tag, or nullptr (then the payload is shown in hex).
const DescriptorDecoder* find_descriptor_decoder(unsigned tag);

// The whole payload of a descriptor as a byte buffer.
std::vector<char> payload_bytes(const Payload& payload);

// --- shared pieces of the decoders ----------------------------------------

// Bytes as "0A 1B ..".
std::string hex_bytes(const std::vector<char>& bytes);
// A number as "0x00AB" with the given count of hex digits.
std::string hex_number(unsigned long value, int digits);

// The name of a code in a table of names, "reserved" beyond it.
std::string code_name(std::initializer_list<const char*> names, unsigned code);

// Whole numbers stay integers in the output; others keep their fraction.
json number(double value);

// A DVB text field: out[key] is its UTF-8 text with control codes shown;
// out[key + "_undecodable"] = true when some bytes could not be decoded.
void put_text(json& out, const std::string& key, const std::vector<char>& field, const DecodeContext& ctx);

// Adds out["library"][key] = reading when the library's class reads the
// field differently from out[key].
void note_library(json& out, const std::string& key, const json& reading);

// The descriptor as the library's own class parses it: the factory's class
// for the tag, its procesarDatos run on the payload.
std::shared_ptr<tavel::Descriptor> library_reading(unsigned tag, const Payload& payload);

} // namespace decode
} // namespace tavel_si

#endif
