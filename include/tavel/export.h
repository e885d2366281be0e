// Symbol visibility of the public API. The library is built with hidden
// visibility; only what is marked TAVEL_API is exported.
#ifndef TAVEL_EXPORT_H
#define TAVEL_EXPORT_H

#define TAVEL_API __attribute__((visibility("default")))

#endif
