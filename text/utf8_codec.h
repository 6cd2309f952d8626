// utf8_codec.h - the library's two UTF-8 codecs on counted buffers: the
// lenient one of the zrstg_ calls (one unit at a time, the old lead-byte
// masks) and the strict one for outside input.
#ifndef ZR_TEXT_UTF8_CODEC_H
#define ZR_TEXT_UTF8_CODEC_H

#include <cstddef>
#include <cstdint>

namespace zr::text {

// The units before the terminator, counted eight at a time.
size_t terminatedLength(const char16_t* text);

// Bytes for units encoded one by one (a surrogate gets its own 3 bytes).
size_t lenientUtf8Length(const char16_t* source, size_t units);
// Writes exactly lenientUtf8Length bytes and returns their count; no terminator.
size_t lenientEncodeUtf8(const char16_t* source, size_t units, char* dest);

// Decodes up to bytes bytes; a sequence whose continuation bytes lie beyond
// the end or on a NUL is cut there. A failed lead byte gives one unit that
// keeps dest's old value. A null dest only counts. With tail, a last
// sequence that runs past the end is left undecoded and its bytes counted.
size_t lenientDecodeUtf8(const unsigned char* source, size_t bytes, char16_t* dest, size_t* tail);

// Strict decoding; stops at a bad or cut sequence, or when destUnits is
// full. Returns the units written, and where it stopped in *consumed.
size_t strictDecodeUtf8(const unsigned char* source, size_t bytes, char16_t* dest, size_t destUnits,
                        size_t* consumed);
// Well-formed UTF-8 with pairs joined and lone surrogates as U+FFFD; dest
// needs 3 bytes a unit. Returns the bytes written, no terminator.
size_t strictEncodeUtf8(const char16_t* source, size_t units, char* dest);

}  // namespace zr::text

#endif
