// Creating, opening and closing libraries.
#include <cstring>
#include <string>

#include "frame/mem_pool.h"
#include "library/lib_engine.h"
#include "library/lmi_names.h"
#include "platform/file.h"

using namespace zr::library;
namespace platform = zr::platform;

namespace {

constexpr unsigned kBusyWaitMs = 5000;

bool largeNodeVersion(const uint8_t* header) {
  static const char16_t* const kLarge[] = {u"0200", u"0300", u"0301", u"0400", u"0500", u"0600", u"0700"};
  for (const char16_t* version : kLarge) {
    if (std::memcmp(header + offsetof(HeaderBlock, version), version, 4) == 0) return true;
  }
  return false;
}

void release(LMI_LIBRARY* lib) {
  dropView(lib);
  for (void* block : {static_cast<void*>(lib->secondMap), static_cast<void*>(lib->secondNode),
                      static_cast<void*>(lib->ioBuffer), static_cast<void*>(lib->header)}) {
    if (block) zr::frame::MemFreePtr(block);
  }
  zr::frame::MemFreePtr(lib);
}

LMI_LIBRARY* failOpen(LMI_LIBRARY* lib) {
  platform::closeFile(lib->file);
  release(lib);
  return nullptr;
}

int libraryType(const std::u16string& path) {
  const size_t dot = path.rfind(u'.');
  if (dot == std::u16string::npos) return 0;
  std::u16string ext = path.substr(dot);
  foldAscii(ext.data());
  return ext == u".zrl" ? 1 : ext == u".zrd" ? 2 : ext == u".tmp" ? 3 : 0;
}

}  // namespace

ZRAPI LMI_LIBRARY* LMI_OpenLibrary(MEM_POOL* pool, char16_t* path, int mode, int bufferSize) {
  if (!pool || !path || bufferSize < 0 || (bufferSize >= 1 && bufferSize < int(kBlock)) || mode < 1 || mode > 3)
    return nullptr;
  const std::u16string name = resolvePath(path);
  const auto access = mode == LMI_LIBRARY_READ ? platform::OpenMode::Read : platform::OpenMode::ReadWrite;
  int fd = platform::openFile(name.c_str(), access);
  if (fd < 0 && mode != LMI_LIBRARY_READ && platform::fileExists(name.c_str())) {
    // Another program may hold the file for a moment.
    platform::sleepMilliseconds(kBusyWaitMs);
    fd = platform::openFile(name.c_str(), access);
  }
  if (fd < 0) return nullptr;
  if (bufferSize > kMaxBuffer) bufferSize = kMaxBuffer;
  auto* lib = static_cast<LMI_LIBRARY*>(zr::frame::MemAllocPtr(pool, kHandleBytes, zr::frame::kMemZeroInit));
  if (!lib) {
    platform::closeFile(fd);
    return nullptr;
  }
  lib->file = fd;
  lib->pool = pool;
  physicalSize(lib);
  lib->header = static_cast<uint8_t*>(zr::frame::MemAllocPtr(pool, kImageBytes, zr::frame::kMemZeroInit));
  if (!lib->header) return failOpen(lib);
  size_t got = 0;
  constexpr size_t kFirstRead = kRootAt + kSmallNode;
  if (readAt(lib, lib->baseOffset, lib->header, kFirstRead, &got) < 0 || got < kFirstRead) return failOpen(lib);
  if (std::memcmp(lib->header + offsetof(HeaderBlock, product), u"Zarvanecraft", sizeof(u"Zarvanecraft")) != 0)
    return failOpen(lib);
  const bool large = largeNodeVersion(lib->header);
  lib->nodeSize = int32_t(large ? kLargeNode : kSmallNode);
  lib->nodeFree = lib->nodeSize - int32_t(kNodeHead);
  lib->firstData = int32_t(kRootAt) + lib->nodeSize;
  if (large) {
    const size_t rest = kLargeNode - kSmallNode;
    if (readAt(lib, lib->baseOffset + kFirstRead, lib->header + kFirstRead, rest, &got) < 0 || got < rest)
      return failOpen(lib);
  }
  lib->rootMap = lib->header + kMapAt;
  lib->rootNode = lib->header + kRootAt;
  lib->currentMap = lib->rootMap;
  lib->currentNode = lib->rootNode;
  if (!nodeIsSound(lib, lib->rootNode)) return failOpen(lib);
  lib->openMode = mode;
  lib->bufferSize = bufferSize ? bufferSize : kDefaultBuffer;
  lib->bufferBlocks = lib->bufferSize / int32_t(kBlock);
  const size_t listAt = (size_t(lib->bufferSize) + 7) & ~size_t(7);
  const size_t listBytes = size_t(lib->bufferSize) / 128 & ~size_t(3);
  lib->ioBuffer = static_cast<uint8_t*>(zr::frame::MemAllocPtr(pool, listAt + listBytes, 0));
  if (!lib->ioBuffer) return failOpen(lib);
  lib->blockList = reinterpret_cast<uint32_t*>(lib->ioBuffer + listAt);
  return lib;
}

ZRAPI int LMI_CloseLibrary(LMI_LIBRARY* lib) {
  if (!lib) return LMI_ERR_HANDLE;
  const int entryMode = lib->entryMode;
  int rc = 0;
  if (entryMode) rc = closeEntry(lib);
  if (rc == 0 && entryMode != LMI_ENTRY_READ) rc = trim(lib);
  if (rc != 0 || lib->keepOpen) return rc;
  if (lib->openMode != LMI_LIBRARY_READ) syncFile(lib);
  if (platform::closeFile(lib->file) != 0) return LMI_ERR_FILE;
  release(lib);
  return 0;
}

ZRAPI int LMI_CreateLibrary(MEM_POOL* pool, char16_t* path, const char16_t* comment) {
  if (!path) return LMI_ERR_NAME;
  if (!pool) return LMI_ERR_POOL;
  std::u16string name = resolvePath(path);
  if (name.find(u'.') == std::u16string::npos) name += u".zrl";
  const int type = libraryType(name);
  if (!type) return LMI_ERR_NAME;
  if (platform::fileExists(name.c_str())) return LMI_ERR_EXISTS;
  const int fd = platform::createNewFile(name.c_str());
  if (fd < 0) return LMI_ERR_FILE;
  uint8_t image[kImageBytes];
  buildHeader(image, comment, uint16_t(type), timeNow());
  buildRootNode(image + kRootAt);
  if (platform::writeFileAt(fd, image, kRootAt, 0) != kRootAt ||
      platform::writeFileAt(fd, image + kRootAt, kLargeNode, kRootAt) != kLargeNode) {
    platform::closeFile(fd);
    platform::removeFile(name.c_str());
    return LMI_ERR_CREATE;
  }
  platform::syncFileData(fd);
  return platform::closeFile(fd) == 0 ? 0 : LMI_ERR_FILE;
}

ZRAPI int LMI_GetZRLBinaryType(MEM_POOL*, const char16_t* path) {
  if (!path) return -1;
  const int fd = platform::openFile(resolvePath(path).c_str(), platform::OpenMode::Read);
  if (fd < 0) return -1;
  uint8_t head[6] = {};
  const std::ptrdiff_t got = platform::readFileAt(fd, head, sizeof head, 0);
  platform::closeFile(fd);
  if (got != sizeof head || std::memcmp(head, "HDR*Z", 5) != 0) return -1;
  return head[5] == 0 ? 0 : head[5] == 'a' ? 1 : -1;
}
