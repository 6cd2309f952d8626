// Compiled with -m32 only: the public records keep their documented layout.
#include <cstddef>

#include "lmi.h"
#include "ostextfile.h"
#include "shbuffer.h"
#include "shdec.h"
#include "shdt.h"
#include "shformat.h"
#include "shintl.h"
#include "shlist.h"
#include "shmi.h"
#include "zrheap.h"
#include "zrobj.h"
#include "zrsave.h"
#include "zrstg.h"
#include "zrstr.h"

static_assert(sizeof(void*) == 4, "compile this check with -m32");

static_assert(sizeof(HeapTypeInfo) == 20);
static_assert(sizeof(ZrHeapBlockHeader) == 64);
static_assert(offsetof(ZrHeapBlockHeader, guardPrefix) == 64 - 64);
static_assert(offsetof(ZrHeapBlockHeader, typeName) == 64 - 60);
static_assert(offsetof(ZrHeapBlockHeader, line) == 64 - 44);
static_assert(offsetof(ZrHeapBlockHeader, debugPrevious) == 64 - 40);
static_assert(offsetof(ZrHeapBlockHeader, buddyBlock) == 64 - 32);
static_assert(offsetof(ZrHeapBlockHeader, currentSize) == 64 - 28);
static_assert(offsetof(ZrHeapBlockHeader, maximumSize) == 64 - 24);
static_assert(offsetof(ZrHeapBlockHeader, previousLink) == 64 - 16);
static_assert(offsetof(ZrHeapBlockHeader, nextLink) == 64 - 12);
static_assert(offsetof(ZrHeapBlockHeader, blockWord) == 64 - 8);
static_assert(offsetof(ZrHeapBlockHeader, parentLink) == 64 - 4);
static_assert(sizeof(BuddyBlock) == 44);
static_assert(offsetof(BuddyBlock, address) == 16);
static_assert(offsetof(BuddyBlock, freeNext) == 40);
static_assert(sizeof(PoolBuffer) == 24);
static_assert(sizeof(MemoryPool) == 384);
static_assert(offsetof(MemoryPool, activeBuffers) == 12);
static_assert(offsetof(MemoryPool, freeSubBlocks) == 12 + 31 * 4);
static_assert(offsetof(MemoryPool, locks) == 12 + 62 * 4);

static_assert(sizeof(SH_DEC) == 16);
static_assert(offsetof(SH_DEC, digits) == 0);
static_assert(offsetof(SH_DEC, flags) == 14);
static_assert(offsetof(SH_DEC, scale) == 15);
static_assert(sizeof(SH_OLDDEC) == 16);
static_assert(offsetof(SH_OLDDEC, scale) == 2);
static_assert(offsetof(SH_OLDDEC, digits) == 4);

static_assert(sizeof(MEM_POOL) == 44);
static_assert(offsetof(MEM_POOL, lock) == 4);
static_assert(offsetof(MEM_POOL, self) == 8);
static_assert(offsetof(MEM_POOL, fixedBlockSize) == 16);
static_assert(offsetof(MEM_POOL, smallBlockSize) == 18);
static_assert(offsetof(MEM_POOL, pageSize) == 20);
static_assert(offsetof(MEM_POOL, freeBytes) == 24);
static_assert(offsetof(MEM_POOL, ceiling) == 28);
static_assert(offsetof(MEM_POOL, flags) == 32);
static_assert(offsetof(MEM_POOL, userValue) == 40);
static_assert(sizeof(zrstg_handle) == 20);
static_assert(offsetof(zrstg_handle, pageSize) == 4);
static_assert(offsetof(zrstg_handle, poolFlags) == 8);
static_assert(offsetof(zrstg_handle, ring) == 16);
static_assert(sizeof(zrstg_subpool) == 16);
static_assert(offsetof(zrstg_subpool, pool) == 8);
static_assert(offsetof(zrstg_subpool, name) == 12);
static_assert(sizeof(zrstg_stat_info) == 24);
static_assert(sizeof(zrfstg_store) == 16);
static_assert(offsetof(zrfstg_store, path) == 8);
static_assert(offsetof(zrfstg_store, nextOffset) == 12);

static_assert(sizeof(SHLIST_NODE) == 12);
static_assert(sizeof(SHLIST) == 24);
static_assert(offsetof(SHLIST, count) == 20);
static_assert(sizeof(SHHASH) == 40);
static_assert(offsetof(SHHASH, size) == 20);
static_assert(offsetof(SHHASH, keyIsList) == 36);
static_assert(sizeof(SHHASH_STATS) == 20);
static_assert(sizeof(SHBINTAB_ENTRY) == 8);
static_assert(sizeof(SH_STRINGBUFFER) == 16);
static_assert(offsetof(SH_STRINGBUFFER, spillPath) == 12);
static_assert(sizeof(SH_GRWBLK) == 20);
static_assert(offsetof(SH_GRWBLK, itemSize) == 16);
static_assert(sizeof(SH_TIME) == 12);
static_assert(offsetof(SH_TIME, microsecond) == 0);
static_assert(offsetof(SH_TIME, year) == 4);
static_assert(offsetof(SH_TIME, month) == 6);
static_assert(offsetof(SH_TIME, day) == 7);
static_assert(offsetof(SH_TIME, hour) == 8);
static_assert(offsetof(SH_TIME, minute) == 9);
static_assert(offsetof(SH_TIME, second) == 10);
static_assert(offsetof(SH_TIME, reserved) == 11);
static_assert(sizeof(SH_SYSTEMTIME) == 16);
static_assert(offsetof(SH_SYSTEMTIME, month) == 2);
static_assert(offsetof(SH_SYSTEMTIME, dayOfWeek) == 4);
static_assert(offsetof(SH_SYSTEMTIME, day) == 6);
static_assert(offsetof(SH_SYSTEMTIME, hour) == 8);
static_assert(offsetof(SH_SYSTEMTIME, milliseconds) == 14);
static_assert(sizeof(SH_DT_NAMES) == 16);

static_assert(sizeof(ZR_SAVE_FILE) == 300);
static_assert(offsetof(ZR_SAVE_FILE, capacity) == 4);
static_assert(offsetof(ZR_SAVE_FILE, used) == 8);
static_assert(sizeof(ZR_SAVE_COLUMN) == 16);
static_assert(offsetof(ZR_SAVE_COLUMN, width) == 4);
static_assert(offsetof(ZR_SAVE_COLUMN, type) == 8);
static_assert(sizeof(ZR_SAVE_STATE) == 1044);
static_assert(offsetof(ZR_SAVE_STATE, allocFlags) == 4);
static_assert(offsetof(ZR_SAVE_STATE, rowCount) == 8);
static_assert(offsetof(ZR_SAVE_STATE, rowNumber) == 12);
static_assert(offsetof(ZR_SAVE_STATE, totalWidth) == 16);
static_assert(offsetof(ZR_SAVE_STATE, columnCount) == 20);
static_assert(offsetof(ZR_SAVE_STATE, currentColumn) == 24);
static_assert(offsetof(ZR_SAVE_STATE, saveFlags) == 28);
static_assert(offsetof(ZR_SAVE_STATE, baseName) == 32);
static_assert(offsetof(ZR_SAVE_STATE, generalMask) == 416);
static_assert(offsetof(ZR_SAVE_STATE, dateTimeMask) == 416 + 3 * 78);
static_assert(offsetof(ZR_SAVE_STATE, file) == 728);
static_assert(offsetof(ZR_SAVE_STATE, columns) == 1028);

static_assert(sizeof(LMI_LIBRARY) == 1164);
static_assert(offsetof(LMI_LIBRARY, lastBlock) == 20);
static_assert(offsetof(LMI_LIBRARY, comment) == 532);
static_assert(offsetof(LMI_LIBRARY, findResult) == 1044);
static_assert(offsetof(LMI_LIBRARY, file) == 1048);
static_assert(offsetof(LMI_LIBRARY, ioBuffer) == 1072);
static_assert(offsetof(LMI_LIBRARY, entry) == 1088);
static_assert(offsetof(LMI_LIBRARY, blockList) == 1120);
static_assert(offsetof(LMI_LIBRARY, pool) == 1124);
static_assert(offsetof(LMI_LIBRARY, pendingBlocks) == 1128);
static_assert(offsetof(LMI_LIBRARY, nextRead) == 1160);
static_assert(sizeof(LMI_ENTRY_INFO) == 12);

static_assert(sizeof(ZR_GUID) == 16);
static_assert(offsetof(ZR_GUID, Data2) == 4);
static_assert(offsetof(ZR_GUID, Data3) == 6);
static_assert(offsetof(ZR_GUID, Data4) == 8);
static_assert(sizeof(IZR_StringVtbl) == 14 * 4);
