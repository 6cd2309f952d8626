// File access for the engine. A failed read or write asks the user whether
// to retry; nobody answering means cancel, so an unattended full disk fails
// instead of looping.
#include <atomic>
#include <cstring>
#include <ctime>

#include "library/lib_engine.h"
#include "platform/dialog.h"
#include "platform/file.h"

namespace zr::library {
namespace {

constexpr unsigned kRetryCancel = 0x5;
constexpr unsigned kErrorIcon = 0x10;
constexpr unsigned kSecondButtonDefault = 0x100;
constexpr int kRetry = 4;

std::atomic<bool> g_sync{true};

bool askRetry(const char16_t* text) {
  platform::messageBeep(kErrorIcon);
  return platform::messageBox(nullptr, text, u"Library Manager", kRetryCancel | kErrorIcon | kSecondButtonDefault) ==
         kRetry;
}

}  // namespace

const char16_t kFormatVersion[4] = {u'0', u'6', u'0', u'0'};

void setRecTime(uint8_t* r, int64_t seconds) {
  const uint64_t t = static_cast<uint64_t>(seconds);
  store32(r + offsetof(EntryRecord, timeLow), uint32_t(t));
  store32(r + offsetof(EntryRecord, timeHigh), uint32_t(t >> 32));
}

size_t nameUnits(const char16_t* name) {
  size_t n = 0;
  while (name[n]) ++n;
  return n;
}

int compareNames(const char16_t* a, const char16_t* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a < *b ? -1 : *a > *b ? 1 : 0;
}

int64_t timeNow() { return static_cast<int64_t>(std::time(nullptr)); }

void dropView(LMI_LIBRARY* lib) {
  EngineState& s = state(lib);
  platform::unmapFile(s.view, s.viewBytes);
  s.view = nullptr;
  s.viewBytes = 0;
}

namespace {

// Serves a read from the view, mapping the file again when it has grown
// past it. False when the bytes lie beyond the file.
bool readFromView(LMI_LIBRARY* lib, uint64_t offset, void* data, size_t size) {
  EngineState& s = state(lib);
  if (offset + size > s.viewBytes) {
    const uint64_t now = physicalSize(lib);
    if (offset + size > now) return false;
    dropView(lib);
    if (!(s.view = platform::mapFileForReading(lib->file, now))) return false;
    s.viewBytes = now;
  }
  std::memcpy(data, s.view + offset, size);
  return true;
}

}  // namespace

int readAt(LMI_LIBRARY* lib, uint64_t offset, void* data, size_t size, size_t* got) {
  if (readFromView(lib, offset, data, size)) {
    *got = size;
    return 0;
  }
  for (;;) {
    std::ptrdiff_t n = platform::readFileAt(lib->file, data, size, offset);
    if (n >= 0) {
      *got = static_cast<size_t>(n);
      return 0;
    }
    if (!askRetry(u"Fatal disk error. Retry?")) return LMI_ERR_FILE;
  }
}

int writeAt(LMI_LIBRARY* lib, uint64_t offset, const void* data, size_t size) {
  for (;;) {
    std::ptrdiff_t n = platform::writeFileAt(lib->file, data, size, offset);
    if (n == static_cast<std::ptrdiff_t>(size)) {
      if (offset + size > state(lib).fileSize) state(lib).fileSize = offset + size;
      return 0;
    }
    if (n < 0) {
      if (!askRetry(u"Fatal disk error. Retry?")) return LMI_ERR_FILE;
      continue;
    }
    // A short write leaves part of the data behind: cut it off before retrying.
    if (!askRetry(u"Out of space on disk. Retry?")) return LMI_ERR_DISK_FULL;
    const int64_t now = platform::fileSize(lib->file);
    if (now >= n && static_cast<uint64_t>(now) == offset + static_cast<uint64_t>(n))
      platform::truncateFile(lib->file, static_cast<uint64_t>(now - n));
  }
}

int truncateFile(LMI_LIBRARY* lib, uint64_t size) {
  // Pages of the view past the new end would fault.
  dropView(lib);
  while (!platform::truncateFile(lib->file, size)) {
    if (!askRetry(u"Fatal disk error. Retry?")) return LMI_ERR_FILE;
  }
  state(lib).fileSize = size;
  return 0;
}

uint64_t physicalSize(LMI_LIBRARY* lib) {
  const int64_t size = platform::fileSize(lib->file);
  state(lib).fileSize = size < 0 ? 0 : static_cast<uint64_t>(size);
  return state(lib).fileSize;
}

void syncFile(LMI_LIBRARY* lib) {
  if (g_sync.load(std::memory_order_relaxed)) platform::syncFileData(lib->file);
}

void setSyncEnabled(bool on) { g_sync.store(on); }

bool badBlockOffset(LMI_LIBRARY* lib, uint32_t offset, uint32_t bytes) {
  const uint64_t low = uint64_t(lib->baseOffset) + uint64_t(lib->firstData);
  if (offset < low || (offset - lib->baseOffset) % kBlock != 0) return true;
  if (offset + uint64_t(bytes) <= state(lib).fileSize) return false;
  // Another handle may have grown the file since we last looked.
  return offset + uint64_t(bytes) > physicalSize(lib);
}

}  // namespace zr::library
