#include <tavel/descriptor.h>

#include <syslog.h>

#include "dvb/byte_io.h"
#include "platform/log.h"

namespace tavel {

Descriptor::Descriptor() : Descriptor(0, 0) {}

Descriptor::Descriptor(unsigned char tag) : Descriptor(tag, 0) {}

Descriptor::Descriptor(unsigned char tag, unsigned char length) : descriptor_tag(tag), descriptor_length(length) {}

Descriptor::~Descriptor() = default;

void Descriptor::procesarDatos() {}

void Descriptor::generateDataVector() {}

void Descriptor::printDescriptor()
{
    tavel::log(LOG_DEBUG, "DESCRIPTOR ID: %d", descriptor_tag);
    tavel::log(LOG_DEBUG, "DESCRIPTOR length: %d", descriptor_length);
    for (size_t i = 0; i < data.size(); ++i)
        tavel::log(LOG_DEBUG, "DESCRIPTOR DATA: %x", bytes::at(data, i));
}

SIVectorDescriptores::SIVectorDescriptores() = default;

SIVectorDescriptores::~SIVectorDescriptores() = default;

SIVectorDescriptores::iterator SIVectorDescriptores::find_descriptor(iterator first, iterator last, int id)
{
    // An end iterator has no element to report: log 0 for it.
    auto tag_at = [this](iterator it) { return it == items.end() || !*it ? 0 : (*it)->descriptor_tag; };
    tavel::log(LOG_DEBUG, "INICIO id %i", tag_at(first));
    tavel::log(LOG_DEBUG, "FIN id %i", tag_at(last));
    if (first == last)
        return first;
    for (; first != last; ++first) {
        tavel::log(LOG_DEBUG, "Valores de descriptor id %i = %i", tag_at(first), id);
        if (*first && (*first)->descriptor_tag == id)
            return first;
    }
    return last;
}

} // namespace tavel
