// ostextfile.h - the one reader and writer for text files: encoding marks
// and detection, line-end modes, and the "HA" form that keeps non-ASCII
// text in a plain-ASCII file.
//
// Example, reading a whole file of any encoding:
//   uint32_t enc = 0;
//   char16_t* buf = (char16_t*)zrstg_alc(h, 4098, NULL);
//   int32_t n;
//   while ((n = osTextFileRead32(h->pool, 0, fd, &buf, 2048, 1, &enc, 0)) > 0) use(buf, n);
//
// File numbers and file handles are both POSIX descriptors here. A null
// pool means the heap.
#ifndef OSTEXTFILE_H
#define OSTEXTFILE_H

#include "zrstg.h"

// Encoding flags: set by the reader at the start of a file, given to the writer.
#define OSTF_SWAPPED 0x01
#define OSTF_ANSI 0x02
#define OSTF_UTF8_MARK 0x04
#define OSTF_UTF16 0x08
#define OSTF_UTF8_U8 0x10
#define OSTF_HEXASCII 0x20
#define OSTF_KEEP_LINE_ENDS 0x100

// Line-end modes; 0 counts as 1.
#define OSTF_CRLF 1
#define OSTF_CR 2
#define OSTF_LF 3

// The readers deliver up to units UTF-16 units into *buffer, a block of the
// pool or the heap that they replace with a larger one when the text grows.
// They return the units delivered, 0 at the end or for a mode other than 1,
// and -1 when a read fails.
ZRAPI int32_t osTextFileRead(MEM_POOL* pool, uint32_t allocFlags, int file, char16_t** buffer, int32_t units,
                             int mode, uint32_t* encoding, int loneCrToCrLf);
ZRAPI int32_t osTextFileRead32(MEM_POOL* pool, uint32_t allocFlags, int handle, char16_t** buffer,
                               int32_t units, int mode, uint32_t* encoding, int nulToBlank);
// *written counts bytes for the 8-bit forms and units for UTF-16.
ZRAPI int osTextFileWrite(MEM_POOL* pool, int file, const char16_t* text, int32_t units, int32_t* written,
                          int mode, uint32_t encoding);
ZRAPI int osTextFileWrite32(MEM_POOL* pool, int handle, const char16_t* text, int32_t units, int32_t* written,
                            int mode, uint32_t encoding);

// Direction 1 is to the file, 0 from it.
ZRAPI int32_t osConvTextLen(const char16_t* text, int32_t units, int direction, int mode, int loneCr);
ZRAPI int osConvText(const char16_t* text, int32_t units, char16_t* target, int32_t targetSize, int direction,
                     int mode, int loneCr);

// The "HA" form: ASCII as itself, other runs as "$$HEX<n>$$<digits>$$ENDHEX$$".
ZRAPI char* HexAscii_Encrypt(const char16_t* text, int32_t units, int32_t* byteLength, MEM_POOL* pool);
// Bytes at the end that may start a run are left undone for the next buffer.
ZRAPI char16_t* HexAscii_Decrypt(const char* bytes, int32_t byteLength, int32_t* units, int32_t* bytesUndone,
                                 MEM_POOL* pool);

#endif
