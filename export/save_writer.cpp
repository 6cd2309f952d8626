// The buffered file writer under every export: a text form that converts at
// each flush, a byte form, an unbuffered text form and the memory text of
// the clipboard class.
#include <algorithm>
#include <cstring>
#include <string>

#include "export/save_output.h"
#include "platform/exclusive_file.h"
#include "platform/file.h"
#include "text/codepage.h"
#include "text/pool_block.h"
#include "text/utf8_codec.h"
#include "zrheap.h"

namespace zr::save {
namespace {

constexpr uint32_t kUtf8Encodings = OSTF_UTF8_MARK | OSTF_UTF8_U8;
constexpr uint32_t kByteEncodings = kUtf8Encodings | OSTF_HEXASCII;

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }

bool writeAll(int fd, const void* data, size_t bytes) {
  return platform::writeFile(fd, data, bytes) == static_cast<std::ptrdiff_t>(bytes);
}

// Exported files are read by other programs, so UTF-8 goes out well-formed:
// pairs joined, a lone surrogate as U+FFFD. (The text file writer encodes
// unit by unit, which only the library's own reader takes back.)
bool writeUtf8(int fd, const char16_t* text, size_t units, uint32_t encoding) {
  if (platform::seekFile(fd, 0, platform::SeekFrom::Current) == 0) {
    bool marked = encoding & OSTF_UTF8_MARK ? writeAll(fd, "\xEF\xBB\xBF", 3) : writeAll(fd, "U8", 2);
    if (!marked) return false;
  }
  std::string bytes(units * 3, '\0');
  return writeAll(fd, bytes.data(), text::strictEncodeUtf8(text, units, bytes.data()));
}

// osTextFileWrite32 sends out the part of a code-page text that converts
// and calls that success; here the whole text converts or the write fails.
bool writeText(int fd, const char16_t* text, size_t units, uint32_t encoding) {
  if (encoding & kUtf8Encodings) return writeUtf8(fd, text, units, encoding);
  bool codePage = (encoding & OSTF_ANSI) && !(encoding & kByteEncodings);
  size_t expected = 0;
  if (codePage) {
    expected = text::unitsToBytes(text, units, nullptr, 0);
    if (expected == text::kConvertError) return false;
  }
  int32_t written = 0;
  if (!osTextFileWrite32(nullptr, fd, text, static_cast<int32_t>(units), &written, 0, encoding)) return false;
  return !codePage || static_cast<size_t>(written) == expected;
}

bool fail(ZR_SAVE_FILE* file) {
  file->failed = 1;
  return false;
}

// Sends the buffer out. Short of the last flush, a high surrogate at the end
// (and an odd byte) stays for the next, so the low half meets its partner.
bool flush(ZR_SAVE_FILE* file, uint32_t encoding, bool last) {
  auto* bytes = static_cast<char*>(file->buffer);
  if (file->kind == kOutputBytes) {
    if (file->used && !writeAll(file->handle, bytes, file->used)) return fail(file);
    file->used = 0;
    return true;
  }
  size_t units = file->used / 2;
  auto* text = static_cast<char16_t*>(file->buffer);
  if (!last && units > 0 && isHighSurrogate(text[units - 1])) --units;
  if (units && !writeText(file->handle, text, units, encoding)) return fail(file);
  size_t keep = last ? 0 : file->used - units * 2;
  std::memmove(bytes, bytes + units * 2, keep);
  file->used = static_cast<uint32_t>(keep);
  return true;
}

uint32_t appendMemory(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount) {
  uint32_t units = byteCount / 2;
  size_t room = file->capacity - size_t{file->used} * 2;
  if (room <= byteCount) {
    size_t grown = file->capacity + std::max<size_t>(size_t{units} * 4, 4000);
    if (grown > UINT32_MAX) return fail(file), 0;
    void* block = ZrHeap_realloc(file->buffer, grown);
    if (!block) return fail(file), 0;
    file->buffer = block;
    file->capacity = static_cast<uint32_t>(grown);
  }
  std::memcpy(static_cast<char16_t*>(file->buffer) + file->used, data, size_t{units} * 2);
  file->used += units;
  return byteCount;
}

uint32_t write(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount, uint32_t encoding, bool asText) {
  if (!file || file->failed || file->kind == kOutputNone) return 0;
  if (file->kind == kOutputMemory) return data ? appendMemory(file, data, byteCount) : 1;
  if (file->kind == kOutputRaw) {
    if (!data) return 1;
    bool ok = asText ? writeText(file->handle, static_cast<const char16_t*>(data), byteCount / 2, file->encoding)
                     : writeAll(file->handle, data, byteCount);
    return ok ? byteCount : (fail(file), 0);
  }
  if (!data) return flush(file, encoding, false) ? 1 : 0;
  const char* from = static_cast<const char*>(data);
  for (uint32_t left = byteCount; left > 0;) {
    if (file->used == file->capacity && !flush(file, encoding, false)) return 0;
    uint32_t n = std::min(left, file->capacity - file->used);
    std::memcpy(static_cast<char*>(file->buffer) + file->used, from, n);
    file->used += n;
    from += n;
    left -= n;
  }
  return byteCount;
}

int open(MEM_POOL* pool, uint32_t allocFlags, ZR_SAVE_FILE* file, const char16_t* name, uint32_t bufferSize,
         OutputKind kind) {
  if (!file) return 0;
  file->handle = -1;
  file->kind = kOutputNone;
  uint32_t size = bufferSize ? bufferSize : kDefaultBufferBytes;
  // The text form holds a surrogate pair and an odd byte back at a flush.
  if (kind == kOutputText) size = std::max<uint32_t>(size & ~1u, 8);
  int fd = platform::createExclusiveFile(name);
  if (fd < 0) return 0;
  void* buffer = text::poolAlloc(pool, size, allocFlags & ~frame::kMemZeroInit);
  if (!buffer) {
    platform::closeFile(fd);
    return 0;
  }
  file->buffer = buffer;
  file->capacity = size;
  file->used = 0;
  file->handle = fd;
  file->failed = 0;
  file->kind = kind;
  return 1;
}

int close(ZR_SAVE_FILE* file, int flushFirst, uint32_t encoding) {
  if (!file) return 0;
  bool ok = true;
  if (file->kind == kOutputText || file->kind == kOutputBytes) {
    if (flushFirst) ok = !file->failed && flush(file, encoding, true);
  } else if (file->kind == kOutputRaw) {
    ok = !file->failed;
  }
  if (file->handle >= 0) platform::closeFile(file->handle);
  if (file->buffer) ZrHeap_free(file->buffer);
  file->buffer = nullptr;
  file->capacity = file->used = 0;
  file->handle = -1;
  file->kind = kOutputNone;
  return flushFirst && ok ? flushFirst : 0;
}

}  // namespace

int openRaw(ZR_SAVE_FILE* file, const char16_t* name, uint32_t encoding) {
  file->handle = platform::createExclusiveFile(name);
  if (file->handle < 0) return 0;
  file->buffer = nullptr;
  file->capacity = file->used = 0;
  file->encoding = encoding;
  file->failed = 0;
  file->kind = kOutputRaw;
  return 1;
}

void openMemory(ZR_SAVE_FILE* file) {
  file->buffer = nullptr;
  file->capacity = file->used = 0;
  file->handle = -1;
  file->failed = 0;
  file->kind = kOutputMemory;
}

char16_t* takeMemory(ZR_SAVE_FILE* file, uint32_t* units) {
  auto* text = static_cast<char16_t*>(file->buffer);
  *units = file->used;
  file->buffer = nullptr;
  file->capacity = file->used = 0;
  file->kind = kOutputNone;
  return text;
}

}  // namespace zr::save

using namespace zr::save;

ZRAPI int osFileOpenNew32(MEM_POOL* pool, uint32_t allocFlags, ZR_SAVE_FILE* file, const char16_t* name,
                          uint32_t bufferSize) {
  return open(pool, allocFlags, file, name, bufferSize, kOutputText);
}

ZRAPI uint32_t osFileWrite32(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount, uint32_t encoding) {
  return write(file, data, byteCount, encoding, true);
}

ZRAPI int osFileClose32(ZR_SAVE_FILE* file, int flushFirst, uint32_t encoding) {
  return close(file, flushFirst, encoding);
}

ZRAPI int osFileOpenNew(MEM_POOL* pool, uint32_t allocFlags, ZR_SAVE_FILE* file, const char16_t* name,
                        uint32_t bufferSize) {
  return open(pool, allocFlags, file, name, bufferSize, kOutputBytes);
}

ZRAPI uint32_t osFileWrite(ZR_SAVE_FILE* file, const void* data, uint32_t byteCount, uint32_t) {
  return write(file, data, byteCount, 0, false);
}

ZRAPI int osFileClose(ZR_SAVE_FILE* file, int flushFirst, uint32_t) { return close(file, flushFirst, 0); }
