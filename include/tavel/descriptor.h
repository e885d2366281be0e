// The descriptor model: one DVB descriptor as tag, length and payload, and
// the ordered descriptor list of a table loop.
#ifndef TAVEL_DESCRIPTOR_H
#define TAVEL_DESCRIPTOR_H

#include <memory>
#include <vector>

#include <tavel/export.h>

namespace tavel {

// Base of every descriptor class. A plain Descriptor carries an unknown
// descriptor through unchanged. descriptor_length is kept by hand by the
// constructors and entry-adding operations; it is never recomputed from data.
class TAVEL_API Descriptor {
public:
    Descriptor();
    explicit Descriptor(unsigned char tag);
    Descriptor(unsigned char tag, unsigned char length);
    virtual ~Descriptor();

    // Payload (data) to typed fields. Nothing in the base class.
    virtual void procesarDatos();
    // Typed fields to payload (data). Nothing in the base class.
    virtual void generateDataVector();

    // Tag, length and every payload byte to the system log (debug).
    void printDescriptor();

    // A fresh, default-constructed object of the class registered for tag;
    // a plain Descriptor (tag 0, length 0) for any other tag. Never empty.
    static std::shared_ptr<Descriptor> getPtrDescriptorType(unsigned short tag);

    unsigned char descriptor_tag;
    unsigned char descriptor_length;
    std::vector<char> data;
};

// The descriptors of one table loop, in table order.
class TAVEL_API SIVectorDescriptores {
public:
    using iterator = std::vector<std::shared_ptr<Descriptor>>::iterator;

    SIVectorDescriptores();
    virtual ~SIVectorDescriptores();

    // The first descriptor in [first, last) whose tag is id, or last.
    iterator find_descriptor(iterator first, iterator last, int id);

    std::vector<std::shared_ptr<Descriptor>> items;
};

} // namespace tavel

#endif
