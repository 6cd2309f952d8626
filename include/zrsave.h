// zrsave.h - grid export: one object per file format behind a four-slot
// interface, the state record they share, and the buffered file writer.
//
// Example, a two-column CSV file:
//   IZR_SaveFileType* out = CreateFileType(ZR_SAVE_CSV);
//   ZR_SAVE_STATE* s = out->Begin(NULL, 0, u"/tmp/grid.csv", 1, 2, ZR_SAVE_HEADING, OSTF_UTF8_MARK);
//   double price = 2.5;
//   if (s && out->AddColumn(s, u"item", 20, ZR_COL_STRING) && out->AddColumn(s, u"price", 0, ZR_COL_DOUBLE) &&
//       out->WriteValue(s, u"pen") && out->WriteValue(s, &price)) {
//     ok = out->End(s);    // End frees the state in any case
//   } else if (s) {
//     out->End(s);
//   }
//   ZrHeap_free(out);
//
// Objects come from ZrHeap_malloc and are freed by their creator with
// ZrHeap_free; the interface has no destructor slot. Results are 0 on
// failure, and after one failed write every later write fails too.
#ifndef ZRSAVE_H
#define ZRSAVE_H

#include <uchar.h>

#include "ostextfile.h"
#include "zrdefs.h"
#include "zrstg.h"

// Format numbers of CreateFileType; any number without a class of its own
// (2, 14, ...) gives the tab-separated text class. The workbook formats
// (1, 11, 13, 16, 17) give null until their classes exist.
#define ZR_SAVE_EXCEL 1
#define ZR_SAVE_TEXT 2
#define ZR_SAVE_CSV 3
#define ZR_SAVE_SYLK 4
#define ZR_SAVE_WKS 5
#define ZR_SAVE_WK1 6
#define ZR_SAVE_DIF 7
#define ZR_SAVE_DBASE2 8
#define ZR_SAVE_DBASE3 9
#define ZR_SAVE_SQL 10
#define ZR_SAVE_EXCEL5 11
#define ZR_SAVE_XML 12
#define ZR_SAVE_EXCEL8 13
#define ZR_SAVE_CLIPBOARD 15
#define ZR_SAVE_EXCEL12 16
#define ZR_SAVE_EXCEL12_SECOND 17

// Column types: what a WriteValue pointer points at.
#define ZR_COL_STRING 1    // NUL-terminated UTF-16 text
#define ZR_COL_DOUBLE 2    // double
#define ZR_COL_DATETIME 3  // SH_TIME
#define ZR_COL_DATE 4      // SH_TIME
#define ZR_COL_TIME 5      // SH_TIME
#define ZR_COL_DECIMAL 6   // SH_DEC; AddColumn's width is its scale

// Save flags.
#define ZR_SAVE_HEADING 0x1  // a first row of column names
#define ZR_SAVE_NO_FILE 0x4  // Begin opens no file
#define ZR_SAVE_RAW 0x8      // osSaveBegin: unbuffered, straight to the text writer

// Units of each compiled mask in the state; the compilers get this capacity.
#define ZR_SAVE_MASK_UNITS 39
// The base name keeps at most 191 units and its terminator. The record
// fixes 1044 bytes at 32 bits, and what the masks and the file record leave
// of them is room for 192 units.
#define ZR_SAVE_BASE_NAME_UNITS 192

// The output: a buffered file, a raw descriptor, or (clipboard class) a
// growing UTF-16 text whose first three words are text, capacity in bytes
// and length in units.
typedef struct ZR_SAVE_FILE {
  void* buffer;
  uint32_t capacity;  // bytes
  uint32_t used;      // bytes waiting in the buffer; units of the clipboard text
  int32_t handle;     // descriptor, -1 when closed
  uint32_t encoding;  // encoding flags of the raw form
  uint32_t kind;      // which of the forms above; 0 when nothing is open
  uint32_t failed;    // set by the first failed write
  uint8_t reserved[272];
} ZR_SAVE_FILE;

typedef struct ZR_SAVE_COLUMN {
  char16_t* name;  // a copy in the state's pool
  uint32_t width;
  uint8_t type;
  uint8_t reserved[7];
} ZR_SAVE_COLUMN;

// One zero-filled block, with one ZR_SAVE_COLUMN per column.
typedef struct ZR_SAVE_STATE {
  MEM_POOL* pool;
  uint32_t allocFlags;
  int32_t rowCount;       // as given to Begin
  int32_t rowNumber;      // rows completed
  uint32_t totalWidth;    // sum of the column widths
  int32_t columnCount;
  int32_t currentColumn;  // next to be declared or written
  uint32_t saveFlags;
  char16_t baseName[ZR_SAVE_BASE_NAME_UNITS];
  uint16_t generalMask[ZR_SAVE_MASK_UNITS];   // "[GENERAL]"
  uint16_t dateMask[ZR_SAVE_MASK_UNITS];      // "[SHORTDATE]"
  uint16_t timeMask[ZR_SAVE_MASK_UNITS];      // "[TIME]"
  uint16_t dateTimeMask[ZR_SAVE_MASK_UNITS];  // "[SHORTDATE] [TIME]"
  ZR_SAVE_FILE file;
  ZR_SAVE_COLUMN columns[1];
} ZR_SAVE_STATE;

#if ZR_PTR32
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_FILE) == 300, "file record is 300 bytes");
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_COLUMN) == 16, "column element is 16 bytes");
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_STATE) == 1044, "state with one column is 1044 bytes");
#else
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_FILE) == 304, "pointer widened");
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_COLUMN) == 24, "pointer widened, aligned");
ZR_STATIC_ASSERT(sizeof(ZR_SAVE_STATE) == 1064, "pointers widened, aligned");
#endif

// The four slots, in order. A C caller reaches them through the table
// pointer at the start of the object, passing the object first.
typedef struct IZR_SaveFileTypeVtbl {
  struct ZR_SAVE_STATE* (*Begin)(void* self, MEM_POOL* pool, uint32_t allocFlags, const char16_t* name,
                                 int32_t rows, int32_t columns, uint32_t saveFlags, uint32_t encoding);
  int (*AddColumn)(void* self, ZR_SAVE_STATE* state, const char16_t* name, uint32_t width, uint8_t type);
  int (*WriteValue)(void* self, ZR_SAVE_STATE* state, const void* value);
  int (*End)(void* self, ZR_SAVE_STATE* state);
} IZR_SaveFileTypeVtbl;

#ifdef __cplusplus
class IZR_SaveFileType {
 public:
  // Null on failure. name may be null for the clipboard; encoding is a word
  // of OSTF_ flags for the text formats.
  virtual ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                               int32_t columns, uint32_t saveFlags, uint32_t encoding) = 0;
  // Called exactly once per column, in order.
  virtual int AddColumn(ZR_SAVE_STATE* state, const char16_t* name, uint32_t width, uint8_t type) = 0;
  // One call per cell, left to right and row by row; null is a null cell.
  virtual int WriteValue(ZR_SAVE_STATE* state, const void* value) = 0;
  // Finishes the file and frees the state, also after a failure.
  virtual int End(ZR_SAVE_STATE* state) = 0;
};
#else
typedef struct IZR_SaveFileType {
  const IZR_SaveFileTypeVtbl* vtbl;
} IZR_SaveFileType;
#endif

ZRAPI IZR_SaveFileType* CreateFileType(int32_t format);

// States: allocated zero-filled in the pool (the heap when null), masks
// compiled by the process settings or the culture text (Web form), a file
// opened by the buffered writer unless the name is null or ZR_SAVE_NO_FILE
// is set. Null when the file can't be made or columns is outside 0 to
// 1048576. osSaveBegin with ZR_SAVE_RAW writes unbuffered, in the given
// encoding, through osTextFileWrite32.
ZRAPI ZR_SAVE_STATE* osSaveBegin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                 int32_t columns, uint32_t saveFlags, uint32_t encoding);
ZRAPI ZR_SAVE_STATE* osSaveBegin32(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                   int32_t columns, uint32_t saveFlags, uint32_t encoding);
ZRAPI ZR_SAVE_STATE* osSaveBegin32Web(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                      int32_t columns, uint32_t saveFlags, uint32_t encoding,
                                      const char16_t* culture);
// As osSaveBegin32Web, never opening a file; mode is a word kept for the
// caller, not used here.
ZRAPI ZR_SAVE_STATE* InitDataExporter(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                      int32_t columns, uint32_t saveFlags, uint32_t encoding, uint32_t mode,
                                      const char16_t* culture);
// Frees the column names and the state; a file still open is closed
// without a flush.
ZRAPI void osSaveEnd(ZR_SAVE_STATE* state);

// The buffered writer. A buffer size of 0 means 16284 bytes. The 32 forms
// take UTF-16 text and write it through osTextFileWrite32 in the given
// encoding, the mark once at the start; a high surrogate at the end of a
// full buffer waits for the next. The plain forms write bytes as given
// (their encoding word is not used). Write returns the bytes taken, and
// null data flushes (1 on success); Close returns the flush flag, or 0 when
// the flush or an earlier write failed.
ZRAPI int osFileOpenNew32(MEM_POOL* pool, uint32_t allocFlags, ZR_SAVE_FILE* file, const char16_t* name,
                          uint32_t bufferSize);
ZRAPI uint32_t osFileWrite32(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount, uint32_t encoding);
ZRAPI int osFileClose32(ZR_SAVE_FILE* file, int flush, uint32_t encoding);
ZRAPI int osFileOpenNew(MEM_POOL* pool, uint32_t allocFlags, ZR_SAVE_FILE* file, const char16_t* name,
                        uint32_t bufferSize);
ZRAPI uint32_t osFileWrite(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount, uint32_t encoding);
ZRAPI int osFileClose(ZR_SAVE_FILE* file, int flush, uint32_t encoding);

#endif
