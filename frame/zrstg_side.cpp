// The two stores outside the pools: shareable memory and the temporary-file
// store.
#include <cstring>

#include "platform/file.h"
#include "zrstg.h"

namespace {

// Shareable memory has no counterpart here, so the "global handle" is the heap
// block itself, and its first word points back at it as the reference's did.
struct DdeBlock {
  ZR_HGLOBAL handle;
};

}  // namespace

ZRAPI void* zrstg_dde_alloc(uint16_t size) {
  auto* block = static_cast<DdeBlock*>(ZrHeap_malloc(size + sizeof(DdeBlock)));
  if (!block) return nullptr;
  block->handle = block;
  return block + 1;
}

ZRAPI void zrstg_dde_free(void* block) {
  if (!block) return;
  ZrHeap_free(zrstg_dde_get_handle(block));
}

ZRAPI ZR_HGLOBAL zrstg_dde_get_handle(void* block) { return (static_cast<DdeBlock*>(block) - 1)->handle; }

ZRAPI void* zrstg_dde_lock(ZR_HGLOBAL handle) { return handle ? static_cast<DdeBlock*>(handle) + 1 : nullptr; }

ZRAPI void zrstg_dde_unlock(ZR_HGLOBAL) {}

ZRAPI zrfstg_store* zrfstg_begin(zrstg_handle* handle, zrstg_subpool* subpool) {
  auto* store = static_cast<zrfstg_store*>(zrstg_alc(handle, sizeof(zrfstg_store), nullptr));
  if (!store) return nullptr;
  std::u16string name = zr::platform::createTempFile(u"ZRTP");
  size_t bytes = (name.size() + 1) * sizeof(char16_t);
  store->path = static_cast<char16_t*>(zrstg_alc(handle, bytes, nullptr));
  if (store->path) std::memcpy(store->path, name.c_str(), bytes);
  store->handle = handle;
  store->subpool = subpool;
  store->nextOffset = 0;
  return store;
}

// Writes from the start of the file every time: only the last record stands.
ZRAPI uint32_t zrfstg_alloc(zrfstg_store* store, const void* data, uint32_t size) {
  int fd = zr::platform::openFile(store->path, zr::platform::OpenMode::ReadWrite);
  if (fd < 0) return 0;
  bool complete = zr::platform::writeFile(fd, &size, sizeof size) == static_cast<std::ptrdiff_t>(sizeof size) &&
                  zr::platform::writeFile(fd, data, size) == static_cast<std::ptrdiff_t>(size);
  zr::platform::closeFile(fd);
  if (!complete) return 0;
  uint32_t offset = store->nextOffset;
  store->nextOffset += size + sizeof size;
  return offset;
}

ZRAPI void* zrfstg_get(zrfstg_store* store, uint32_t offset) {
  int fd = zr::platform::openFile(store->path, zr::platform::OpenMode::Read);
  if (fd < 0) return nullptr;
  void* data = nullptr;
  uint32_t size = 0;
  if (zr::platform::seekFile(fd, offset, zr::platform::SeekFrom::Begin) >= 0 &&
      zr::platform::readFile(fd, &size, sizeof size) == static_cast<std::ptrdiff_t>(sizeof size)) {
    data = zrstg_alc(store->handle, size, store->subpool);
    if (data && zr::platform::readFile(fd, data, size) != static_cast<std::ptrdiff_t>(size)) {
      zrstg_fee(store->handle, data);
      data = nullptr;
    }
  }
  zr::platform::closeFile(fd);
  return data;
}

ZRAPI int zrfstg_end(zrfstg_store* store) {
  if (!store) return 1;
  zr::platform::removeFile(store->path);
  zrstg_fee(store->handle, store->path);
  zrstg_fee(store->handle, store);
  return 1;
}
