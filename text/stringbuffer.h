// stringbuffer.h - the string buffer's calls for the library's own use.
#ifndef ZR_TEXT_STRINGBUFFER_H
#define ZR_TEXT_STRINGBUFFER_H

#include "shbuffer.h"

namespace zr::text {

// What a failed spill throws. Internal callers that append to a buffer
// which may spill catch it; the exported appends turn it into their 0.
constexpr int kSpillFailed = -1;

// Appends n characters; throws kSpillFailed when memory and the spill fail.
void stringBufferAppend(SH_STRINGBUFFER* buffer, const char16_t* text, uint32_t n);
// Writes the whole content, file part first, to an open file with the given
// encoding flags. Returns false if a read or write failed.
bool StringBufferWriteTo(SH_STRINGBUFFER* buffer, int file, uint32_t encoding);

}  // namespace zr::text

#endif
