// wide_format.h - printf-style formatting into UTF-16, with the conversions
// of the classic wide sprintf: %c %C %d %i %u %x %X %s %S %p and %%, flags
// '-', '0', '#', width, precision and the size prefixes h, l, ll and z.
// %s and %c take wide text, %S and %C narrow text.
#ifndef ZR_FRAME_WIDE_FORMAT_H
#define ZR_FRAME_WIDE_FORMAT_H

#include <cstdarg>
#include <cstddef>

namespace zr::frame {

// Writes at most capacity - 1 units and a terminating zero; returns the
// units written without the zero.
size_t formatWide(char16_t* out, size_t capacity, const char16_t* format, va_list args);

}  // namespace zr::frame

#endif
