// zrdefs.h - common definitions of the library's exported headers.
#ifndef ZRDEFS_H
#define ZRDEFS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ZR_EXTERN_C extern "C"
#else
#define ZR_EXTERN_C extern
#endif

// Every exported function is declared with ZRAPI; everything else in the
// library is hidden.
#define ZRAPI ZR_EXTERN_C __attribute__((visibility("default")))
// Exported C++ classes and the interfaces they implement. Every member is
// defined out of line: inline members are hidden.
#define ZR_EXPORT_CLASS __attribute__((visibility("default")))

// Asserts a record layout at compile time, on every build including -m32.
#ifdef __cplusplus
#define ZR_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define ZR_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

// True on the 32-bit build, where records keep their documented sizes.
#define ZR_PTR32 (UINTPTR_MAX == 0xFFFFFFFFu)

#endif
