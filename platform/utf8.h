// utf8.h - plain UTF-16 <-> UTF-8 for names handed to the operating system.
#ifndef ZR_PLATFORM_UTF8_H
#define ZR_PLATFORM_UTF8_H

#include <string>

namespace zr::platform {

// Unpaired surrogates become U+FFFD.
std::string toUtf8(const char16_t* text);
std::string toUtf8(const char16_t* text, size_t length);
std::u16string fromUtf8(const char* text);

}  // namespace zr::platform

#endif
