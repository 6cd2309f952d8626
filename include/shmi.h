// shmi.h - the data blob: a self-describing big-endian byte stream of typed
// values for other processes, its reading iterator, and in-place byte order
// swaps for records written on a machine of the other order.
//
// Example:
//   SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
//   shmi_DataBlob_addLong(blob, 42);
//   shmi_DataBlob_addString(blob, u"ab");
//   SH_MI_DATA_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
//   int32_t n;
//   char16_t* text;
//   if (shmi_DataIter_GetLong(it, &n) == S_OK && shmi_DataIter_GetString(it, &text, NULL) == S_OK)
//     ZrHeap_free(text);
//   shmi_DataIter_Release(it);
//   shmi_DataBlob_Release(blob);
//
// The stream starts with a 10-byte header (length 10 high byte first,
// "MIBLOB", version 0, flags with bit 0 set) and holds values without tags
// or padding, every number high byte first. Positions count from the
// stream's first byte. Strings are a 4-byte count of characters with the
// terminator, then each character; a null string is the count 0xFFFFFFFF.
// Decimals are their seven digit words, then the flags and scale bytes;
// date-times their microseconds, year, and six one-byte fields; nested
// blobs a 4-byte byte count (0xFFFFFFFF for null) and the bytes.
#ifndef SHMI_H
#define SHMI_H

#include <uchar.h>

#include "shdec.h"
#include "shdt.h"
#include "zrdefs.h"
#include "zrobj.h"
#include "zrstg.h"

// Iterator results: a read or move past the end, and a stream whose header
// the iterator does not know.
#define SHMI_E_OUT_OF_RANGE ((HRESULT)0x80042801u)
#define SHMI_E_NOT_READABLE ((HRESULT)0x80042802u)

#define SHMI_HEADER_SIZE 10

typedef struct SH_MI_DATA_BLOB SH_MI_DATA_BLOB;
typedef struct SH_MI_DATA_BLOB_ITER SH_MI_DATA_BLOB_ITER;

// A blob with one reference and the header written; null when out of
// memory. Writers don't report failure: a write the heap can't make room
// for is dropped.
ZRAPI SH_MI_DATA_BLOB* shmi_CreateDataBlob(void);
ZRAPI uint32_t shmi_DataBlob_AddRef(SH_MI_DATA_BLOB* blob);
ZRAPI uint32_t shmi_DataBlob_Release(SH_MI_DATA_BLOB* blob);

ZRAPI void shmi_DataBlob_addByte(SH_MI_DATA_BLOB* blob, uint8_t value);
// 1 for any non-zero value.
ZRAPI void shmi_DataBlob_addBool(SH_MI_DATA_BLOB* blob, int32_t value);
ZRAPI void shmi_DataBlob_addShort(SH_MI_DATA_BLOB* blob, int16_t value);
ZRAPI void shmi_DataBlob_addUShort(SH_MI_DATA_BLOB* blob, uint16_t value);
ZRAPI void shmi_DataBlob_addChar(SH_MI_DATA_BLOB* blob, char16_t value);
ZRAPI void shmi_DataBlob_addLong(SH_MI_DATA_BLOB* blob, int32_t value);
ZRAPI void shmi_DataBlob_addULong(SH_MI_DATA_BLOB* blob, uint32_t value);
// The bits of the value, as a long.
ZRAPI void shmi_DataBlob_addFloat(SH_MI_DATA_BLOB* blob, float value);
ZRAPI void shmi_DataBlob_addDouble(SH_MI_DATA_BLOB* blob, double value);
ZRAPI void shmi_DataBlob_addString(SH_MI_DATA_BLOB* blob, const char16_t* text);
// The bytes as they are.
ZRAPI void shmi_DataBlob_addBytes(SH_MI_DATA_BLOB* blob, const void* bytes, uint32_t count);
ZRAPI void shmi_DataBlob_addDecimal(SH_MI_DATA_BLOB* blob, const SH_DEC* value);
ZRAPI void shmi_DataBlob_addDateTime(SH_MI_DATA_BLOB* blob, const SH_TIME* value);
ZRAPI void shmi_DataBlob_addShBlob(SH_MI_DATA_BLOB* blob, IZR_Blob* value);

// Room for count more bytes at the write position.
ZRAPI HRESULT shmi_DataBlob_Reserve(SH_MI_DATA_BLOB* blob, uint32_t count);
// The used size in bytes, header included.
ZRAPI uint32_t shmi_DataBlob_GetSize(SH_MI_DATA_BLOB* blob);
// Cuts the stream to size bytes, or lengthens it with zeros; never below the
// header. The write position stays within the new size.
ZRAPI HRESULT shmi_DataBlob_SetSize(SH_MI_DATA_BLOB* blob, uint32_t size);
// Starts the stream again from its first byte: the next typed value puts a
// fresh header first, while a block write brings its own.
ZRAPI void shmi_DataBlob_Reset(SH_MI_DATA_BLOB* blob);
// Direct writes: make room for count bytes, write them at the block
// pointer, then Advance by the bytes written. Advance past the room made is
// E_INVALIDARG.
ZRAPI HRESULT shmi_DataBlob_DoingBlockWrite(SH_MI_DATA_BLOB* blob, uint32_t count);
ZRAPI void* shmi_DataBlob_GetBlockPointer(SH_MI_DATA_BLOB* blob);
ZRAPI HRESULT shmi_DataBlob_Advance(SH_MI_DATA_BLOB* blob, uint32_t count);
// A new iterator with one reference, behind the header (data) or at the
// first byte (blob, for the stream as raw bytes). Null when out of memory.
ZRAPI SH_MI_DATA_BLOB_ITER* shmi_DataBlob_GetDataIterator(SH_MI_DATA_BLOB* blob);
ZRAPI SH_MI_DATA_BLOB_ITER* shmi_DataBlob_GetBlobIterator(SH_MI_DATA_BLOB* blob);

// The iterator reads the stream as it stood when the iterator was made or
// last reset. A failed read leaves the position where it was.
ZRAPI uint32_t shmi_DataIter_AddRef(SH_MI_DATA_BLOB_ITER* it);
ZRAPI uint32_t shmi_DataIter_Release(SH_MI_DATA_BLOB_ITER* it);
ZRAPI HRESULT shmi_DataIter_Reset(SH_MI_DATA_BLOB_ITER* it);
ZRAPI uint32_t shmi_DataIter_GetSize(SH_MI_DATA_BLOB_ITER* it);
ZRAPI HRESULT shmi_DataIter_MoveTo(SH_MI_DATA_BLOB_ITER* it, uint32_t position);
ZRAPI uint32_t shmi_DataIter_GetCurrentPosition(SH_MI_DATA_BLOB_ITER* it);
ZRAPI const void* shmi_DataIter_GetBlockPointer(SH_MI_DATA_BLOB_ITER* it);
ZRAPI HRESULT shmi_DataIter_Advance(SH_MI_DATA_BLOB_ITER* it, uint32_t count);

ZRAPI HRESULT shmi_DataIter_GetByte(SH_MI_DATA_BLOB_ITER* it, uint8_t* value);
ZRAPI HRESULT shmi_DataIter_GetBool(SH_MI_DATA_BLOB_ITER* it, int32_t* value);
ZRAPI HRESULT shmi_DataIter_GetShort(SH_MI_DATA_BLOB_ITER* it, int16_t* value);
ZRAPI HRESULT shmi_DataIter_GetUShort(SH_MI_DATA_BLOB_ITER* it, uint16_t* value);
ZRAPI HRESULT shmi_DataIter_GetChar(SH_MI_DATA_BLOB_ITER* it, char16_t* value);
ZRAPI HRESULT shmi_DataIter_GetLong(SH_MI_DATA_BLOB_ITER* it, int32_t* value);
ZRAPI HRESULT shmi_DataIter_GetULong(SH_MI_DATA_BLOB_ITER* it, uint32_t* value);
ZRAPI HRESULT shmi_DataIter_GetFloat(SH_MI_DATA_BLOB_ITER* it, float* value);
ZRAPI HRESULT shmi_DataIter_GetDouble(SH_MI_DATA_BLOB_ITER* it, double* value);
// The text comes from the storage handle, or the heap (ZrHeap_free) when it
// is null; a null string gives null. The last character read is always a
// terminator.
ZRAPI HRESULT shmi_DataIter_GetString(SH_MI_DATA_BLOB_ITER* it, char16_t** text, zrstg_handle* storage);
ZRAPI HRESULT shmi_DataIter_GetDecimal(SH_MI_DATA_BLOB_ITER* it, SH_DEC* value);
ZRAPI HRESULT shmi_DataIter_GetDateTime(SH_MI_DATA_BLOB_ITER* it, SH_TIME* value);
// A new blob with one reference, or null for a null one.
ZRAPI HRESULT shmi_DataIter_GetShBlob(SH_MI_DATA_BLOB_ITER* it, IZR_Blob** value);
ZRAPI HRESULT shmi_DataIter_GetBytes(SH_MI_DATA_BLOB_ITER* it, void* bytes, uint32_t count);

// Byte order. Each swaps the value at address in place and returns the
// address just behind it.
typedef void* (*SH_FLIP_FN)(void* address);
ZRAPI void* shFlipShort(void* address);
ZRAPI void* shFlipLong(void* address);
ZRAPI void* shFlipLonglong(void* address);
ZRAPI void* shFlipDouble(void* address);
// A time_t of the 32-bit layout in an 8-byte slot: the first 4 bytes swap.
ZRAPI void* shFlipTimeT(void* address);
ZRAPI void* shFlipSHDEC(void* address);
ZRAPI void* shFlipSHTime(void* address);
// Calls flip count times, each on the address the last call returned, and
// returns the address behind the last; a null address does nothing. The
// argument is the caller's and goes unused. The Native form has no effect.
ZRAPI void* shFlipDataLoop(void* address, SH_FLIP_FN flip, uint32_t count, void* argument);
ZRAPI void* shFlipDataLoopNative(void* address, SH_FLIP_FN flip, uint32_t count, void* argument);
// The process-wide flag that tells whether records are in native order.
ZRAPI void shSetFlipDataNative(int native);
ZRAPI int shGetFlipDataNative(void);

#endif
