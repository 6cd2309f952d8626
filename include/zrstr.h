// zrstr.h - flat UTF-16 string operations: duplication into storage pools,
// buffers that grow, trimming, the printable and UTF-8 forms, the process
// code page, and length-prefixed BSTR text.
//
// Example:
//   char16_t* buf = NULL; int32_t cap = 0, len = 0;
//   zrstg_str_build(h, NULL, &buf, &cap, &len, u"first");
//   zrstg_str_build(h, NULL, &buf, &cap, &len, u" second");
//   char* utf8 = unistr2UTF8(buf, h);
//
// "ansi" in a name means the process code page (Windows-1252 unless the
// locale says otherwise); "printable" is an ASCII form in which characters
// above 255 are written U+XXXX.
#ifndef ZRSTR_H
#define ZRSTR_H

#include "zrstg.h"

// A length-prefixed UTF-16 block: the pointer is to the text, and the 4-byte
// byte count stands just before it.
typedef char16_t* BSTR;

// Duplication into a pool.
ZRAPI char16_t* zrstg_strdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
ZRAPI char16_t* zrstg_unicodestrdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
ZRAPI char16_t* zrstg_strtounicodedup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
ZRAPI char16_t* zrstg_unicodetostrdup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
ZRAPI char* zrstg_strtoansidup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
ZRAPI char16_t* zrstg_ansitostrdup(zrstg_handle* handle, const char* text, zrstg_subpool* subpool);
ZRAPI char* zrstg_strtoprintabledup(zrstg_handle* handle, const char16_t* text, zrstg_subpool* subpool);
// The block holds length + 1 bytes, not characters: only the heap's size
// classes give the text its room.
ZRAPI char16_t* zrstg_printabletostrdup(zrstg_handle* handle, const char* text, zrstg_subpool* subpool);
// The copy is for ZrHeap_free.
ZRAPI char16_t* zrstg_strdup_malloc(const char16_t* text);

// Appending to a buffer of the caller's (buffer, capacity and length in
// characters); the buffer is reallocated in the sub-pool when short of room.
// Each returns the buffer.
ZRAPI char16_t* zrstg_str_build(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                int32_t* capacity, int32_t* length, const char16_t* text);
ZRAPI char16_t* zrstg_unicodestr_build(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                       int32_t* capacity, int32_t* length, const char16_t* text);
ZRAPI char16_t* zrstg_str_build_huge(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                     int32_t* capacity, int32_t* length, const char16_t* text);
ZRAPI char16_t* zrstg_str_build_char(zrstg_handle* handle, zrstg_subpool* subpool, char16_t** buffer,
                                     int32_t* capacity, int32_t* length, char16_t character);

// In-place edits; each returns the text. With wideBlanks 0 only the space
// is blank; otherwise every Unicode space and the zero-width ones too.
ZRAPI char16_t* zrstg_str_remove_char(char16_t* text, char16_t character);
ZRAPI char16_t* zrstg_str_trim_right(char16_t* text, int wideBlanks);
ZRAPI char16_t* zrstg_str_trim_left(char16_t* text, int wideBlanks);
ZRAPI char16_t* zrstg_str_trim(char16_t* text, int wideBlanks);
// "hello-big_WORLD" becomes "Hello Big World".
ZRAPI char16_t* zrstg_str_wordcap(char16_t* text);

ZRAPI char16_t zrstg_ansitolower(char16_t character);
ZRAPI char16_t zrstg_ansitoupper(char16_t character);
// Collation order, not code order.
ZRAPI int zrstg_lchrcmp(char16_t a, char16_t b);
ZRAPI int zrstg_lchrcmpi(char16_t a, char16_t b);

// Plain loops without length limits.
ZRAPI int zrstg_huge_memcmp(const void* a, const void* b, size_t count);
ZRAPI void* zrstg_huge_memcpy(void* dest, const void* source, size_t count);
ZRAPI void* zrstg_huge_memmove(void* dest, const void* source, size_t count);
ZRAPI void* zrstg_huge_memset(void* dest, int byte, size_t count);
ZRAPI char16_t* zrstg_huge_strchr(const char16_t* text, char16_t character);
ZRAPI char16_t* zrstg_huge_strcpy(char16_t* dest, const char16_t* source);
ZRAPI size_t zrstg_huge_strlen(const char16_t* text);
// Zero-fills behind the copy; with a full count one terminator still lands
// behind the count.
ZRAPI char16_t* zrstg_huge_strncpy(char16_t* dest, const char16_t* source, size_t count);
ZRAPI char16_t* zrstg_huge_strstr(const char16_t* text, const char16_t* sub);

// Numbers, with 32-bit results as callers have always had them.
ZRAPI int32_t zrstg_strtol_imp(const char16_t* text, char16_t** end, int base);
ZRAPI uint32_t zrstg_strtoul_imp(const char16_t* text, char16_t** end, int base);
ZRAPI double zrstg_strtod_imp(const char16_t* text, char16_t** end);
ZRAPI double zrstg_atof_imp(const char16_t* text);
ZRAPI int32_t zrstg_atoi_imp(const char16_t* text);
ZRAPI int32_t zrstg_atol_imp(const char16_t* text);
// No sign, no overflow test: large values wrap.
ZRAPI uint32_t zrstg_atou_imp(const char16_t* text);
ZRAPI uint32_t zrstg_atoul_imp(const char16_t* text);
ZRAPI int zrstg_remove_imp(const char16_t* fileName);

// Conversions into buffers of the caller's. A null dest only counts.
ZRAPI char* zrstg_strtoprintable(char* dest, const char16_t* source);
ZRAPI char16_t* zrstg_printabletostr(char16_t* dest, const char* source);
// Each unit alone, so a surrogate pair becomes two 3-byte sequences. The size
// is not used; the terminator is written and not counted.
ZRAPI int32_t zrstg_UCS2toUTF8(char* dest, const char16_t* source, int32_t size);
// Lenient: continuation bytes are not tested and values keep 16 bits.
ZRAPI int32_t zrstg_UTF8toUCS2(char16_t* dest, const char* source, int32_t size);
// Text with embedded zeros; -1 when a stretch will not convert.
ZRAPI int32_t zrstg_ansitostr_with_zero(char16_t* dest, const char* source, int32_t count);
ZRAPI int32_t zrstg_strtoansi_with_zero(char* dest, const char16_t* source, int32_t count);
// One character; 1 to 3 bytes, or -1.
ZRAPI int unicode2UTF8(char* dest, char16_t character);
ZRAPI int UTF82unicode(char16_t* dest, const char* source);
// A null handle means the heap (ZrHeap_free the result).
ZRAPI char* unistr2UTF8(const char16_t* text, zrstg_handle* handle);
// Strict decoding of outside input: stops at the first bad sequence and keeps
// what came before. With lengthPrefix the block starts with a 4-byte byte
// count and the text follows it. expected < 1 sizes the block by the source.
ZRAPI char16_t* UTF82unistr(const char* source, zrstg_handle* handle, zrstg_subpool* subpool, int lengthPrefix,
                            int32_t expected);
// Like mbstowcs, but a bad sequence becomes '?' and sets *forced to 1.
ZRAPI size_t mbstowcs_force(char16_t* dest, const char* source, size_t size, int* forced);
// The count is in characters and the text need not end.
ZRAPI char16_t* ZRUNI_memchr(const char16_t* text, char16_t character, size_t count);

// BSTR results are heap blocks that start 4 bytes before the pointer.
ZRAPI BSTR zrstg_ansitobstr(const char* text);
ZRAPI BSTR zrstg_unicodetobstr(const char16_t* text);
ZRAPI BSTR zrstg_strtobstr(const char16_t* text);

#endif
