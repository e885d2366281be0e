// component_descriptor (0x50).
#include "descriptor_decoder.h"

namespace tavel_si {
namespace decode {
namespace {

// stream_content (with stream_content_ext for 0xB and 0xF).
std::string stream_content(unsigned content, unsigned ext)
{
    if (content == 0x0B)
        return ext == 0x0F ? "NGA" : ext == 0x0E ? "UHD video / HEVC extension" : "reserved";
    if (content == 0x0F)
        return "user defined";
    return code_name({"reserved", "MPEG-2 video", "MPEG-1 Layer 2 audio", "teletext, subtitles, VBI",
                      "AC-3 audio", "H.264/AVC video", "HE-AAC audio", "DTS audio", "DVB SRM / CPCM",
                      "HEVC video", "NGA / AC-4 audio"},
                     content);
}

// The commonest component_type values of the video, audio and subtitle
// contents; others are shown by number.
std::string component_type(unsigned content, unsigned type)
{
    if (content == 0x01)
        return code_name({"reserved", "4:3 25 Hz", "16:9 with pan vectors 25 Hz", "16:9 25 Hz", ">16:9 25 Hz",
                          "4:3 30 Hz", "16:9 with pan vectors 30 Hz", "16:9 30 Hz", ">16:9 30 Hz",
                          "HD 4:3 25 Hz", "HD 16:9 with pan vectors 25 Hz", "HD 16:9 25 Hz", "HD >16:9 25 Hz"},
                         type);
    if (content == 0x02)
        return code_name({"reserved", "single mono", "dual mono", "stereo", "multi-lingual multi-channel",
                          "surround"},
                         type);
    if (content == 0x03 && type == 0x01)
        return "EBU teletext subtitles";
    if (content == 0x03 && type >= 0x10 && type <= 0x15)
        return code_name({"DVB subtitles", "DVB subtitles 4:3", "DVB subtitles 16:9", "DVB subtitles 2.21:1",
                          "DVB subtitles HD", "DVB subtitles plano-stereoscopic HD"},
                         type - 0x10);
    if (content == 0x03 && type >= 0x20 && type <= 0x25)
        return code_name({"DVB subtitles, hard of hearing", "hard of hearing 4:3", "hard of hearing 16:9",
                          "hard of hearing 2.21:1", "hard of hearing HD", "hard of hearing plano-stereoscopic HD"},
                         type - 0x20);
    if (content == 0x05)
        return code_name({"reserved", "SD 4:3 25 Hz", "reserved", "SD 16:9 25 Hz", "SD >16:9 25 Hz", "SD 4:3 30 Hz",
                          "reserved", "SD 16:9 30 Hz", "SD >16:9 30 Hz", "reserved", "reserved", "HD 16:9 25 Hz",
                          "HD >16:9 25 Hz", "reserved", "reserved", "HD 16:9 30 Hz", "HD >16:9 30 Hz"},
                         type);
    if (content == 0x06 && type <= 0x03)
        return code_name({"reserved", "single mono", "reserved", "stereo"}, type);
    return "";
}

void decode(const Payload& p, const DecodeContext& ctx, json& out)
{
    if (!p.has(0, 6)) {
        out["error"] = "needs 6 bytes";
        return;
    }
    const unsigned content = p.u8(0) & 0x0F;
    const unsigned ext = p.u8(0) >> 4;
    out["stream_content"] = hex_number(content, 1) + " " + stream_content(content, ext);
    out["stream_content_ext"] = ext;
    const std::string type_name = component_type(content, p.u8(1));
    out["component_type"] = hex_number(p.u8(1), 2) + (type_name.empty() ? "" : " " + type_name);
    out["component_tag"] = p.u8(2);
    const std::vector<char> language = p.slice(3, 3);
    out["language"] = std::string(language.begin(), language.end());
    put_text(out, "text", p.slice(6, p.size() - 6), ctx);
}

} // namespace

extern const DescriptorDecoder kComponentDecoder = {0x50, "component", &decode};

} // namespace decode
} // namespace tavel_si
