// The entry calls: open, read, write, close, delete, existence, information
// and moving.
#include <cstring>

#include "library/lib_engine.h"
#include "library/lmi_names.h"
#include "zrstr.h"

using namespace zr::library;

namespace {

bool entryOpen(const LMI_LIBRARY* lib) { return lib->entry != nullptr; }

bool sameIgnoringCase(const char16_t* a, const char16_t* b) {
  auto fold = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; };
  while (*a && fold(*a) == fold(*b)) ++a, ++b;
  return fold(*a) == fold(*b);
}

void fill(LMI_ENTRY_INFO* info, const uint8_t* record) {
  const uint32_t size = recSize(record), comment = 2u * recCommentUnits(record);
  info->time = recTimeLow(record);
  info->size = size > comment ? size - comment : 0;
  info->name = const_cast<char16_t*>(recName(record));
}

}  // namespace

ZRAPI int LMI_OpenEntry(LMI_LIBRARY* lib, char16_t* name, int mode, char16_t* comment) {
  if (!lib) return LMI_ERR_HANDLE;
  if (entryOpen(lib)) return LMI_ERR_ENTRY_OPEN;
  if (!name || !*name) return LMI_ERR_NAME;
  if (mode != LMI_ENTRY_READ && mode != LMI_ENTRY_WRITE) return LMI_ERR_MODE;
  if (lib->openMode == LMI_LIBRARY_WRITE && mode == LMI_ENTRY_READ) return LMI_ERR_NOT_READ;
  if (lib->openMode == LMI_LIBRARY_READ && mode == LMI_ENTRY_WRITE) return LMI_ERR_NOT_WRITE;
  foldAscii(name);
  int rc = mode == LMI_ENTRY_READ ? openEntryForRead(lib, name) : openEntryForWrite(lib, name);
  if (rc < 0) {
    lib->entry = nullptr;
    lib->entryMode = 0;
    return rc;
  }
  if (mode == LMI_ENTRY_READ) return 0;
  if (comment && *comment) {
    size_t units = 0;
    for (; comment[units] && units < 255; ++units) lib->comment[units] = comment[units];
    lib->comment[units] = 0;
    zrstg_str_trim(lib->comment, 1);
  }
  int32_t units = 0;
  while (lib->comment[units]) ++units;
  uint32_t written = 0;
  if (units > 0 && LMI_WriteEntry(lib, lib->comment, units * 2) == units * 2) written = uint32_t(units);
  setRecCommentUnits(lib->entry, written);
  return 0;
}

ZRAPI int32_t LMI_ReadEntry(LMI_LIBRARY* lib, void* buffer, int32_t size) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!buffer) return LMI_ERR_BUFFER;
  if (size <= 0) return LMI_ERR_SIZE;
  if (lib->entryMode != LMI_ENTRY_READ) return LMI_ERR_NOT_READ;
  return int32_t(pullBytes(lib, static_cast<uint8_t*>(buffer), uint64_t(size)));
}

ZRAPI int32_t LMI_WriteEntry(LMI_LIBRARY* lib, const void* buffer, int32_t size) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!buffer) return LMI_ERR_BUFFER;
  if (size <= 0) return LMI_ERR_SIZE;
  if (lib->entryMode != LMI_ENTRY_WRITE) return LMI_ERR_NOT_WRITE;
  const int rc = pushBytes(lib, static_cast<const uint8_t*>(buffer), uint32_t(size));
  return rc < 0 ? rc : size;
}

ZRAPI int LMI_CloseEntry(LMI_LIBRARY* lib) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!lib->entryMode) return LMI_ERR_NOT_OPEN;
  return closeEntry(lib);
}

ZRAPI int LMI_DeleteEntry(LMI_LIBRARY* lib, char16_t* name) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!name || !*name) return LMI_ERR_NAME;
  if (lib->openMode == LMI_LIBRARY_READ) return LMI_ERR_NOT_WRITE;
  if (entryOpen(lib)) return LMI_ERR_ENTRY_OPEN;
  foldAscii(name);
  const int rc = deleteEntry(lib, name, false);
  lib->entry = nullptr;
  if (rc == 0) syncFile(lib);
  return rc;
}

ZRAPI int LMI_EntryExists(LMI_LIBRARY* lib, char16_t* name) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!name) return LMI_ERR_NAME;
  foldAscii(name);
  const int rc = search(lib, name);
  lib->entry = nullptr;
  lib->entryMode = 0;
  lib->lastWritten = 0;
  return rc == kFound ? 0 : rc < 0 ? rc : LMI_ERR_NOT_FOUND;
}

ZRAPI int LMI_EntryInformation(LMI_LIBRARY* lib, char16_t* name, LMI_ENTRY_INFO* info) {
  if (!lib) return LMI_ERR_HANDLE;
  if (!name) return LMI_ERR_NAME;
  if (!info) return LMI_ERR_INFO;
  foldAscii(name);
  if (lib->entryMode) {
    if (!sameIgnoringCase(recName(lib->entry), name)) return LMI_ERR_ENTRY_OPEN;
    fill(info, lib->entry);
    return 0;
  }
  const int rc = search(lib, name);
  if (rc == kFound) fill(info, lib->entry);
  lib->entry = nullptr;
  return rc == kFound ? 0 : rc < 0 ? rc : LMI_ERR_NOT_FOUND;
}

namespace {

// Copies one entry between two open libraries, keeping its comment and time.
int copyEntry(LMI_LIBRARY* source, LMI_LIBRARY* target, char16_t* name, char16_t* newName) {
  int rc = LMI_OpenEntry(source, name, LMI_ENTRY_READ, nullptr);
  if (rc < 0) return rc;
  char16_t comment[256];
  std::memcpy(comment, source->comment, sizeof comment);
  uint8_t time[8];
  std::memcpy(time, source->entry + offsetof(EntryRecord, timeLow), sizeof time);
  rc = LMI_OpenEntry(target, newName ? newName : name, LMI_ENTRY_WRITE, comment);
  if (rc < 0) {
    LMI_CloseEntry(source);
    return rc;
  }
  std::memcpy(target->entry + offsetof(EntryRecord, timeLow), time, sizeof time);
  uint8_t piece[4096];
  for (int32_t got = int32_t(sizeof piece); got == int32_t(sizeof piece);) {
    got = LMI_ReadEntry(source, piece, sizeof piece);
    if (got < 0) rc = got;
    else if (got > 0 && LMI_WriteEntry(target, piece, got) != got) rc = LMI_ERR_FILE;
    if (rc < 0) break;
  }
  const int closedTarget = LMI_CloseEntry(target);
  const int closedSource = LMI_CloseEntry(source);
  return rc ? rc : closedTarget ? closedTarget : closedSource;
}

}  // namespace

ZRAPI int LMI_MoveEntry(MEM_POOL* pool, char16_t* name, char16_t* newName, char16_t* sourcePath,
                        char16_t* targetPath) {
  if (!name || !sourcePath || (!newName && !targetPath)) return LMI_ERR_NAME;
  if (!pool) return LMI_ERR_POOL;
  foldAscii(name);
  if (targetPath && resolvePath(targetPath) == resolvePath(sourcePath)) return LMI_ERR_NAME;
  if (newName) foldAscii(newName);
  LMI_LIBRARY* source = LMI_OpenLibrary(pool, sourcePath, LMI_LIBRARY_READWRITE, 0);
  if (!source) return LMI_ERR_FILE;
  int rc = 0;
  if (!targetPath) {
    rc = renameEntry(source, name, newName);
    source->entry = nullptr;
    if (rc == 0) syncFile(source);
  } else {
    LMI_LIBRARY* target = LMI_OpenLibrary(pool, targetPath, LMI_LIBRARY_READWRITE, 0);
    if (!target) {
      LMI_CloseLibrary(source);
      return LMI_ERR_FILE;
    }
    rc = copyEntry(source, target, name, newName);
    if (rc == 0) rc = LMI_DeleteEntry(source, name);
    const int closed = LMI_CloseLibrary(target);
    if (rc == 0) rc = closed;
  }
  const int closed = LMI_CloseLibrary(source);
  return rc ? rc : closed;
}
