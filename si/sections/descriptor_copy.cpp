#include "si/sections/descriptor_copy.h"

#include <algorithm>

#include "dvb/byte_io.h"

namespace tavel {

void append_descriptors(std::vector<char>& out, SIVectorDescriptores& descriptors)
{
    for (auto& d : descriptors.items) {
        if (!d)
            continue;
        d->generateDataVector();
        bytes::put8(out, d->descriptor_tag);
        bytes::put8(out, d->descriptor_length);
        out.insert(out.end(), d->data.begin(), d->data.end());
    }
}

void append_section_start(std::vector<char>& out, unsigned table_id, unsigned syntax_indicator,
                          unsigned section_length)
{
    // Room for the whole section at once; growth stays geometric when
    // sections are appended one after another.
    const size_t needed = section_length + 3u;
    if (out.capacity() - out.size() < needed)
        out.reserve(std::max(out.size() + needed, 2 * out.capacity()));
    bytes::put8(out, table_id);
    bytes::put8(out, (syntax_indicator << 7) | 0x70 | ((section_length >> 8) & 0x0F));
    bytes::put8(out, section_length);
}

void append_loop_length(std::vector<char>& out, unsigned length)
{
    bytes::put8(out, 0xF0 | ((length >> 8) & 0x0F));
    bytes::put8(out, length);
}

} // namespace tavel
