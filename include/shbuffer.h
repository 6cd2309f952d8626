// shbuffer.h - the string buffer, which collects text of any length and moves
// it to a temporary file when memory runs out, and the growable block of
// fixed-size items in a storage pool.
//
// Example:
//   SH_STRINGBUFFER sb = {0};
//   sh_stringbuffer_appendstring(&sb, u"row 1\n");
//   sh_stringbuffer_appendchar(&sb, u'!');
//   sh_stringbuffer_delete(&sb);
#ifndef SHBUFFER_H
#define SHBUFFER_H

#include "zrstg.h"

// All zero when empty. The whole content is the spill file, then the text.
typedef struct SH_STRINGBUFFER {
  char16_t* text;      // the memory part, on the heap; null when empty or just spilled
  uint32_t capacity;   // characters allocated
  uint32_t length;     // characters in the memory part
  char16_t* spillPath; // the temporary file (a 512-byte heap block), null until the first spill
} SH_STRINGBUFFER;

typedef struct SH_GRWBLK {
  void* block;        // the items; null until the first add
  uint32_t step;      // items to grow by, never 0
  uint32_t capacity;  // items allocated
  uint32_t count;     // items in use
  uint32_t itemSize;  // bytes per item
} SH_GRWBLK;

// The appends return 1, or 0 when memory ran out and the spill to a file
// failed too: the memory part is then lost, and the buffer is empty but for
// what an earlier spill wrote.
ZRAPI int sh_stringbuffer_appendstring(SH_STRINGBUFFER* buffer, const char16_t* text);
// Returns the new length of the memory part.
ZRAPI uint32_t sh_stringbuffer_appendchar(SH_STRINGBUFFER* buffer, char16_t character);
ZRAPI int sh_stringbuffer_appendbuffer(SH_STRINGBUFFER* buffer, SH_STRINGBUFFER* source);
// Frees the text and clears the record; a spill file and its path block stay behind.
ZRAPI void sh_stringbuffer_reset(SH_STRINGBUFFER* buffer);
// Frees the text, deletes the spill file and frees its path.
ZRAPI void sh_stringbuffer_delete(SH_STRINGBUFFER* buffer);

ZRAPI void sh_grwblk_init(SH_GRWBLK* record, uint32_t step, uint32_t itemSize);
ZRAPI SH_GRWBLK* sh_new_grwblk(zrstg_handle* storage, uint32_t step, uint32_t itemSize, zrstg_subpool* subpool);
ZRAPI uint32_t sh_add_to_grwblk(zrstg_handle* storage, SH_GRWBLK* record, const void* item, zrstg_subpool* subpool);
ZRAPI uint32_t sh_append_to_grwblk(zrstg_handle* storage, SH_GRWBLK* record, const void* items, uint32_t count,
                                   zrstg_subpool* subpool);
ZRAPI SH_GRWBLK* sh_set_grwblk_item(zrstg_handle* storage, SH_GRWBLK* record, uint32_t index, const void* item,
                                    zrstg_subpool* subpool);
// Frees the record; the caller keeps the block (null if nothing was added).
ZRAPI void* sh_grwblk_close(zrstg_handle* storage, SH_GRWBLK* record, uint32_t* count);
ZRAPI void sh_grwblk_delete(zrstg_handle* storage, SH_GRWBLK* record);

#endif
