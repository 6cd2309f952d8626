// The growable block: an array of fixed-size items in a storage pool,
// growing by a fixed step of items.
#include <cstring>

#include "shbuffer.h"

namespace {

void growTo(zrstg_handle* storage, SH_GRWBLK* record, uint32_t capacity, zrstg_subpool* subpool) {
  record->capacity = capacity;
  record->block = zrstg_realc(storage, record->block, size_t{record->itemSize} * capacity, subpool);
}

char* itemAt(SH_GRWBLK* record, uint32_t index) {
  return static_cast<char*>(record->block) + size_t{record->itemSize} * index;
}

}  // namespace

ZRAPI void sh_grwblk_init(SH_GRWBLK* record, uint32_t step, uint32_t itemSize) {
  record->block = nullptr;
  record->step = step;
  record->capacity = record->count = 0;
  record->itemSize = itemSize;
}

ZRAPI SH_GRWBLK* sh_new_grwblk(zrstg_handle* storage, uint32_t step, uint32_t itemSize, zrstg_subpool* subpool) {
  auto* record = static_cast<SH_GRWBLK*>(zrstg_alc(storage, sizeof(SH_GRWBLK), subpool));
  sh_grwblk_init(record, step, itemSize);
  return record;
}

ZRAPI uint32_t sh_add_to_grwblk(zrstg_handle* storage, SH_GRWBLK* record, const void* item, zrstg_subpool* subpool) {
  if (record->count >= record->capacity) growTo(storage, record, record->capacity + record->step, subpool);
  std::memcpy(itemAt(record, record->count), item, record->itemSize);
  return record->count++;
}

ZRAPI uint32_t sh_append_to_grwblk(zrstg_handle* storage, SH_GRWBLK* record, const void* items, uint32_t count,
                                   zrstg_subpool* subpool) {
  uint32_t room = record->capacity - record->count;
  if (count > room) {
    uint32_t steps = (count - room) / record->step + 1;
    growTo(storage, record, record->capacity + steps * record->step, subpool);
  }
  std::memcpy(itemAt(record, record->count), items, size_t{record->itemSize} * count);
  record->count += count;
  return record->count;
}

ZRAPI SH_GRWBLK* sh_set_grwblk_item(zrstg_handle* storage, SH_GRWBLK* record, uint32_t index, const void* item,
                                    zrstg_subpool* subpool) {
  if (index >= record->capacity) growTo(storage, record, index + record->step, subpool);
  std::memcpy(itemAt(record, index), item, record->itemSize);
  if (index >= record->count) record->count = index + 1;
  return record;
}

ZRAPI void* sh_grwblk_close(zrstg_handle* storage, SH_GRWBLK* record, uint32_t* count) {
  void* block = record->block;
  if (count) *count = record->count;
  zrstg_fee(storage, record);
  return block;
}

ZRAPI void sh_grwblk_delete(zrstg_handle* storage, SH_GRWBLK* record) {
  if (record->block) zrstg_fee(storage, record->block);
  zrstg_fee(storage, record);
}
