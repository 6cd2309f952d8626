// lmi.h - library files: a block-structured container of named entries, each
// a byte stream with a comment and a time stamp.
//
// Example, writing one entry:
//   char16_t path[] = u"/tmp/app.zrl", name[] = u"main";
//   LMI_CreateLibrary(h->pool, path, NULL);
//   LMI_LIBRARY* lib = LMI_OpenLibrary(h->pool, path, 2, 0);
//   LMI_OpenEntry(lib, name, LMI_ENTRY_WRITE, NULL);
//   LMI_WriteEntry(lib, bytes, size);
//   LMI_CloseEntry(lib);
//   LMI_CloseLibrary(lib);
//
// Entry names are folded to lower case (ASCII letters only) in the caller's
// own buffer, so names must be writable. Calls return 0 or a negative code.
#ifndef LMI_H
#define LMI_H

#ifndef __cplusplus
#include <uchar.h>
#endif

#include "zrstg.h"

// Library open modes.
#define LMI_LIBRARY_READ 1
#define LMI_LIBRARY_READWRITE 2
#define LMI_LIBRARY_WRITE 3

// Entry open modes.
#define LMI_ENTRY_READ 1
#define LMI_ENTRY_WRITE 3

// Status codes.
#define LMI_ERR_CREATE (-1)
#define LMI_ERR_EXISTS (-2)
#define LMI_ERR_FILE (-3)
#define LMI_ERR_BUFFER (-4)
#define LMI_ERR_SIZE (-5)
#define LMI_ERR_HANDLE (-6)
#define LMI_ERR_INFO (-7)
#define LMI_ERR_PATTERN (-8)
#define LMI_ERR_MODE (-9)
#define LMI_ERR_NAME (-10)
#define LMI_ERR_ALLOCATION (-11)
#define LMI_ERR_NOT_FOUND (-12)
#define LMI_ERR_NOT_OPEN (-13)
#define LMI_ERR_NOT_READ (-14)
#define LMI_ERR_NOT_WRITE (-15)
#define LMI_ERR_ENTRY_OPEN (-16)
#define LMI_ERR_DISK_FULL (-17)
#define LMI_ERR_DAMAGED (-18)
#define LMI_ERR_POOL (-19)

// The open library. All of it comes from one allocation of the caller's pool.
typedef struct LMI_LIBRARY {
  int32_t mapDirty;      // the current map block has bits not yet on disk
  int32_t needsTrim;     // a chain was freed: the file's end is to be trimmed
  int32_t inExecutable;  // found through a trailer; gets a trailer back on close
  int32_t keepOpen;      // close releases nothing
  int32_t extendOnly;    // this operation takes new blocks at the file's end
  uint8_t lastBlock[512];  // image of the chain's last block already on disk
  char16_t comment[256];   // comment of the open entry
  int32_t findResult;      // class of the name at the last visited node
  int32_t file;            // descriptor; -1 while parked
  uint32_t mapOffset;      // offset of the block in secondMap, 0 if none
  uint32_t baseOffset;     // where the library starts in the file
  uint32_t lastWritten;    // offset of the block in lastBlock, 0 if none
  int32_t bufferBlocks;    // whole blocks in ioBuffer
  uint32_t nodeOffset;     // offset of the node in secondNode; 0: root current
  uint8_t* ioBuffer;       // read-ahead and write-behind buffer
  char16_t* exePath;
  char16_t* tempPath;
  uint8_t* readBlock;    // block being read, inside ioBuffer
  uint8_t* entry;        // record of the open entry; 1 while a listing runs
  uint8_t* currentMap;   // rootMap or secondMap
  uint8_t* secondMap;
  uint8_t* rootMap;      // the first map block inside the header image
  uint8_t* header;       // 4608-byte image: header, first map, root node
  uint8_t* currentNode;  // rootNode or secondNode
  uint8_t* secondNode;
  uint8_t* rootNode;
  uint32_t* blockList;   // one slot per block of ioBuffer
  MEM_POOL* pool;
  int32_t pendingBlocks;  // blocks waiting in ioBuffer while writing
  int32_t tailRoom;       // writing: free bytes of the last pending block; reading: unread bytes
  int32_t entryMode;      // 0 none, 1 read, 3 write
  int32_t nodeFree;       // free bytes in an empty node
  int32_t firstData;      // lowest legal offset of a data block
  int32_t openMode;
  int32_t nodeSize;
  int32_t bufferSize;
  uint32_t nextRead;  // offset of the next block to fetch, 0 at the end
} LMI_LIBRARY;

ZR_STATIC_ASSERT(offsetof(LMI_LIBRARY, lastBlock) == 20, "LMI_LIBRARY layout");
ZR_STATIC_ASSERT(offsetof(LMI_LIBRARY, comment) == 532, "LMI_LIBRARY layout");
ZR_STATIC_ASSERT(offsetof(LMI_LIBRARY, findResult) == 1044, "LMI_LIBRARY layout");

typedef struct LMI_ENTRY_INFO {
  uint32_t time;   // low half of the record's time
  uint32_t size;   // payload bytes, comment not counted
  char16_t* name;  // inside the node; valid until the next call
} LMI_ENTRY_INFO;

#ifdef __cplusplus
extern "C" {
#endif

ZRAPI LMI_LIBRARY* LMI_OpenLibrary(MEM_POOL* pool, char16_t* path, int mode, int bufferSize);
ZRAPI int LMI_CloseLibrary(LMI_LIBRARY* library);
ZRAPI int LMI_CreateLibrary(MEM_POOL* pool, char16_t* path, const char16_t* comment);
// 0 current generation, 1 the older single-byte generation, -1 neither.
ZRAPI int LMI_GetZRLBinaryType(MEM_POOL* pool, const char16_t* path);

ZRAPI int LMI_OpenEntry(LMI_LIBRARY* library, char16_t* name, int mode, char16_t* comment);
// Bytes delivered, fewer than asked only at the end; or a code.
ZRAPI int32_t LMI_ReadEntry(LMI_LIBRARY* library, void* buffer, int32_t size);
// The size, or a code.
ZRAPI int32_t LMI_WriteEntry(LMI_LIBRARY* library, const void* buffer, int32_t size);
ZRAPI int LMI_CloseEntry(LMI_LIBRARY* library);
ZRAPI int LMI_DeleteEntry(LMI_LIBRARY* library, char16_t* name);
ZRAPI int LMI_EntryExists(LMI_LIBRARY* library, char16_t* name);
ZRAPI int LMI_EntryInformation(LMI_LIBRARY* library, char16_t* name, LMI_ENTRY_INFO* info);
// Without a target library this renames within the source.
ZRAPI int LMI_MoveEntry(MEM_POOL* pool, char16_t* name, char16_t* newName, char16_t* sourcePath,
                        char16_t* targetPath);

// Source-control versions kept per entry name.
ZRAPI int LMI_SetEntryVersion(MEM_POOL* pool, char16_t* path, char16_t* name, const char16_t* version);
// The out buffer must hold the stored version text; it is empty on failure.
ZRAPI int LMI_GetEntryVersion(MEM_POOL* pool, char16_t* path, char16_t* name, char16_t* version);

#ifdef __cplusplus
}
#endif

#endif
