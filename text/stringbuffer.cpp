// The string buffer: text grows on the heap by at least a quarter; when the
// heap refuses, the text so far goes to a temporary file in UTF-16 and the
// buffer starts a new memory part.
#include "text/stringbuffer.h"

#include <cstring>

#include "ostextfile.h"
#include "platform/file.h"
#include "zrheap.h"

namespace zr::text {
namespace {

constexpr size_t kPathBytes = 512;
constexpr int32_t kReadPiece = 64000;

uint32_t lengthOf(const char16_t* text) {
  uint32_t n = 0;
  while (text[n]) ++n;
  return n;
}

// A private storage handle for the file calls, ended on every path.
struct PrivateStorage {
  zrstg_handle* handle = zrstg_begin(0);
  ~PrivateStorage() {
    if (handle) zrstg_end(handle);
  }
  MEM_POOL* pool() const { return handle ? handle->pool : nullptr; }
};

bool makeSpillPath(SH_STRINGBUFFER* buffer) {
  std::u16string name = platform::createTempFile(u"ZR");
  if (name.empty() || (name.size() + 1) * sizeof(char16_t) > kPathBytes) return false;
  buffer->spillPath = static_cast<char16_t*>(ZrHeap_malloc(kPathBytes));
  if (!buffer->spillPath) return false;
  std::memcpy(buffer->spillPath, name.c_str(), (name.size() + 1) * sizeof(char16_t));
  return true;
}

// Opens the spill file for appending.
int openForAppend(const char16_t* path) {
  int fd = platform::openFile(path, platform::OpenMode::Write);
  if (fd >= 0) platform::seekFile(fd, 0, platform::SeekFrom::End);
  return fd;
}

bool writeUnits(MEM_POOL* pool, int fd, const char16_t* text, uint32_t n, uint32_t encoding) {
  int32_t written = 0;
  return osTextFileWrite32(pool, fd, text, static_cast<int32_t>(n), &written, OSTF_CRLF, encoding) != 0;
}

// Moves the memory part, then the extra text, to the spill file. The memory
// part's block is not freed here: it belongs to the caller.
bool spill(SH_STRINGBUFFER* buffer, const char16_t* extra, uint32_t extraLength) {
  PrivateStorage storage;
  if (!buffer->spillPath && !makeSpillPath(buffer)) return false;
  int fd = openForAppend(buffer->spillPath);
  if (fd < 0) return false;
  bool ok = (!buffer->text || writeUnits(storage.pool(), fd, buffer->text, buffer->length, OSTF_UTF16)) &&
            (!extra || writeUnits(storage.pool(), fd, extra, extraLength, OSTF_UTF16));
  platform::closeFile(fd);
  if (ok) {
    buffer->text = nullptr;
    buffer->capacity = buffer->length = 0;
  }
  return ok;
}

}  // namespace

void stringBufferAppend(SH_STRINGBUFFER* buffer, const char16_t* text, uint32_t n) {
  char16_t* old = buffer->text;
  if (static_cast<int64_t>(buffer->capacity) - buffer->length <= n) {
    uint32_t quarter = buffer->capacity * 25 / 100;
    buffer->capacity += n + (quarter > 512 ? quarter : 512);
    buffer->text = static_cast<char16_t*>(ZrHeap_realloc(old, size_t{buffer->capacity} * 2));
    if (!buffer->text) {
      buffer->text = old;
      if (spill(buffer, text, n)) return;
      ZrHeap_free(old);
      buffer->text = nullptr;
      throw kSpillFailed;
    }
  }
  std::memcpy(buffer->text + buffer->length, text, size_t{n} * sizeof(char16_t));
  buffer->length += n;
  buffer->text[buffer->length] = 0;
}

bool StringBufferWriteTo(SH_STRINGBUFFER* buffer, int file, uint32_t encoding) {
  if (file < 0) return true;
  PrivateStorage storage;
  bool ok = true;
  if (buffer->spillPath) {
    int fd = platform::openFile(buffer->spillPath, platform::OpenMode::Read);
    if (fd < 0) return false;
    auto* piece = static_cast<char16_t*>(ZrHeap_malloc((kReadPiece + 1) * sizeof(char16_t)));
    // The file holds the buffer's own text: its line ends come back as they went.
    uint32_t found = OSTF_KEEP_LINE_ENDS;
    for (;;) {
      int32_t n = osTextFileRead32(storage.pool(), 0, fd, &piece, kReadPiece, 1, &found, 0);
      if (n < 0) ok = false;
      if (n <= 0) break;
      if (!writeUnits(storage.pool(), file, piece, static_cast<uint32_t>(n), encoding)) {
        ok = false;
        break;
      }
    }
    ZrHeap_free(piece);
    platform::closeFile(fd);
  }
  if (ok && buffer->text) ok = writeUnits(storage.pool(), file, buffer->text, buffer->length, encoding);
  return ok;
}

}  // namespace zr::text

using namespace zr::text;
namespace platform = zr::platform;

ZRAPI int sh_stringbuffer_appendstring(SH_STRINGBUFFER* buffer, const char16_t* text) {
  try {
    stringBufferAppend(buffer, text, lengthOf(text));
    return 1;
  } catch (int) {
    return 0;
  }
}

ZRAPI uint32_t sh_stringbuffer_appendchar(SH_STRINGBUFFER* buffer, char16_t character) {
  if (buffer->capacity - buffer->length < 2) {
    auto* grown = static_cast<char16_t*>(ZrHeap_realloc(buffer->text, (size_t{buffer->capacity} + 501) * 2));
    if (!grown) {
      // Rather than write through a null block, take the path that can spill.
      const char16_t one[2] = {character, 0};
      sh_stringbuffer_appendstring(buffer, one);
      return buffer->length;
    }
    buffer->text = grown;
    buffer->capacity += 501;
  }
  buffer->text[buffer->length++] = character;
  buffer->text[buffer->length] = 0;
  return buffer->length;
}

ZRAPI int sh_stringbuffer_appendbuffer(SH_STRINGBUFFER* buffer, SH_STRINGBUFFER* source) {
  try {
    if (!source->spillPath) {
      if (source->text) stringBufferAppend(buffer, source->text, source->length);
      return 1;
    }
    if (!spill(buffer, nullptr, 0)) return 0;
    int fd = openForAppend(buffer->spillPath);
    if (fd < 0) return 0;
    bool ok = StringBufferWriteTo(source, fd, OSTF_UTF16);
    platform::closeFile(fd);
    return ok ? 1 : 0;
  } catch (int) {
    return 0;
  }
}

ZRAPI void sh_stringbuffer_reset(SH_STRINGBUFFER* buffer) {
  ZrHeap_free(buffer->text);
  std::memset(buffer, 0, sizeof *buffer);
}

ZRAPI void sh_stringbuffer_delete(SH_STRINGBUFFER* buffer) {
  ZrHeap_free(buffer->text);
  if (buffer->spillPath) {
    platform::removeFile(buffer->spillPath);
    ZrHeap_free(buffer->spillPath);
  }
  std::memset(buffer, 0, sizeof *buffer);
}
