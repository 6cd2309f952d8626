// The text file readers: encoding detection at the start of a file, then one
// buffer of text per call in the detected form.
#include <cctype>
#include <cstring>
#include <vector>

#include "ostextfile.h"
#include "platform/file.h"
#include "text/codepage.h"
#include "text/pool_block.h"
#include "text/utf8_codec.h"
#include "zrstr.h"

using namespace zr::text;
namespace platform = zr::platform;

namespace {

constexpr char kExportKeyword[] = "$zrexportheader$";
constexpr size_t kKeywordBytes = 16;
constexpr int kLongestRunFactor = 6;

// What tells the two readers apart.
struct ReaderForm {
  bool detectsHexAscii;   // "HA" is a mark, and "U8" needs the keyword
  bool ansiWhole;         // ANSI with embedded zeros, no split character kept back
  bool nulToBlank;
  int loneCr;
};

// One read buffer per thread, kept between calls: readers run in loops.
unsigned char* scratch(size_t bytes) {
  static thread_local std::vector<unsigned char> buffer;
  if (buffer.size() < bytes) buffer.resize(bytes);
  return buffer.data();
}

bool rewind(int fd, int64_t position) { return platform::seekFile(fd, position, platform::SeekFrom::Begin) >= 0; }

bool stepBack(int fd, size_t bytes) {
  return bytes == 0 || platform::seekFile(fd, -static_cast<int64_t>(bytes), platform::SeekFrom::Current) >= 0;
}

bool keywordFollows(int fd) {
  char word[kKeywordBytes];
  if (platform::readFile(fd, word, kKeywordBytes) != static_cast<std::ptrdiff_t>(kKeywordBytes)) return false;
  for (size_t i = 0; i < kKeywordBytes; ++i) {
    if (std::tolower(static_cast<unsigned char>(word[i])) != kExportKeyword[i]) return false;
  }
  return true;
}

// Reads the mark at the start of the file and leaves the file where the text
// begins. Returns false when a read fails.
bool detectEncoding(int fd, uint32_t* encoding, const ReaderForm& form) {
  *encoding &= OSTF_KEEP_LINE_ENDS;
  unsigned char mark[3];
  std::ptrdiff_t got = platform::readFile(fd, mark, 2);
  if (got < 0) return false;
  uint32_t found = OSTF_ANSI;
  int64_t start = 0;
  if (got == 2) {
    if (mark[0] == 0xFF && mark[1] == 0xFE) {
      found = OSTF_UTF16, start = 2;
    } else if (mark[0] == 0xFE && mark[1] == 0xFF) {
      found = OSTF_UTF16 | OSTF_SWAPPED, start = 2;
    } else if (mark[0] == 0xEF && mark[1] == 0xBB) {
      if (platform::readFile(fd, mark + 2, 1) == 1 && mark[2] == 0xBF) found = OSTF_UTF8_MARK, start = 3;
    } else if (mark[0] == 'U' && mark[1] == '8') {
      if (!form.detectsHexAscii || keywordFollows(fd)) found = OSTF_UTF8_U8, start = 2;
    } else if (form.detectsHexAscii && mark[0] == 'H' && mark[1] == 'A') {
      if (keywordFollows(fd)) found = OSTF_HEXASCII, start = 2;
    } else if (mark[0] == 0 && mark[1] != 0) {
      found = OSTF_ANSI | OSTF_SWAPPED;
    }
  }
  *encoding |= found;
  return rewind(fd, start);
}

// The caller's block when it holds units + 1, otherwise a new one in its place.
char16_t* ensureRoom(MEM_POOL* pool, uint32_t allocFlags, char16_t** buffer, size_t units) {
  size_t bytes = (units + 1) * sizeof(char16_t);
  if (*buffer && ZrHeap_size(*buffer) >= bytes) return *buffer;
  auto* grown = static_cast<char16_t*>(poolAlloc(pool, bytes, allocFlags));
  if (!grown) return nullptr;
  if (*buffer) ZrHeap_free(*buffer);
  *buffer = grown;
  return grown;
}

int32_t readAnsi(int fd, MEM_POOL* pool, uint32_t allocFlags, char16_t** buffer, size_t wanted,
                 const ReaderForm& form) {
  char* bytes = reinterpret_cast<char*>(scratch(wanted));
  std::ptrdiff_t got = platform::readFile(fd, bytes, wanted);
  if (got < 0) return -1;
  size_t n = static_cast<size_t>(got);
  if (!ensureRoom(pool, allocFlags, buffer, n)) return -1;
  if (form.ansiWhole) return zrstg_ansitostr_with_zero(*buffer, bytes, static_cast<int32_t>(n));
  if (form.nulToBlank) {
    for (size_t i = 0; i < n; ++i) {
      if (!bytes[i]) bytes[i] = ' ';
    }
  }
  // Up to the first NUL, as mbstowcs sees the text; a character that won't
  // convert, or is split by the buffer's end, stays in the file.
  size_t text = strnlen(bytes, n);
  size_t used = 0;
  size_t units = bytesToUnitsPrefix(bytes, text, *buffer, n, &used);
  if (used < text && !stepBack(fd, n - used)) return -1;
  return static_cast<int32_t>(units);
}

int32_t readUtf8(int fd, MEM_POOL* pool, uint32_t allocFlags, char16_t** buffer, size_t wanted) {
  unsigned char* bytes = scratch(wanted);
  std::ptrdiff_t got = platform::readFile(fd, bytes, wanted);
  if (got < 0) return -1;
  size_t n = static_cast<size_t>(got);
  if (!ensureRoom(pool, allocFlags, buffer, n)) return -1;
  bool atEnd = n < wanted;
  size_t tail = 0;
  size_t units = lenientDecodeUtf8(bytes, n, *buffer, atEnd ? nullptr : &tail);
  if (!stepBack(fd, tail)) return -1;
  return static_cast<int32_t>(units);
}

int32_t readHexAscii(int fd, MEM_POOL* pool, char16_t** buffer, size_t wanted) {
  int64_t start = platform::seekFile(fd, 0, platform::SeekFrom::Current);
  if (start < 0) return -1;
  for (int factor = 1; factor <= kLongestRunFactor; ++factor) {
    size_t size = wanted * static_cast<size_t>(factor);
    char* bytes = reinterpret_cast<char*>(scratch(size));
    std::ptrdiff_t got = platform::readFile(fd, bytes, size);
    if (got < 0) return -1;
    if (got == 0) return 0;
    int32_t units = 0, undone = 0;
    char16_t* text = HexAscii_Decrypt(bytes, static_cast<int32_t>(got), &units, &undone, pool);
    bool allUndone = undone == got;
    if (allUndone && factor < kLongestRunFactor && static_cast<size_t>(got) == size) {
      if (!rewind(fd, start)) return -1;
      continue;
    }
    if (!stepBack(fd, static_cast<size_t>(undone))) {
      ZrHeap_free(text);
      return -1;
    }
    if (!text) return 0;
    size_t room = *buffer ? ZrHeap_size(*buffer) / sizeof(char16_t) : 0;
    if (room > static_cast<size_t>(units)) {
      std::memcpy(*buffer, text, (static_cast<size_t>(units) + 1) * sizeof(char16_t));
      ZrHeap_free(text);
    } else {
      if (*buffer) ZrHeap_free(*buffer);
      *buffer = text;
    }
    return units;
  }
  return 0;
}

int32_t readUtf16(int fd, MEM_POOL* pool, uint32_t allocFlags, char16_t** buffer, size_t wanted) {
  if (!ensureRoom(pool, allocFlags, buffer, wanted)) return -1;
  std::ptrdiff_t got = platform::readFile(fd, *buffer, wanted * sizeof(char16_t));
  if (got < 0) return -1;
  return static_cast<int32_t>(got / 2);
}

void swapUnits(char16_t* text, size_t units) {
  for (size_t i = 0; i < units; ++i) text[i] = static_cast<char16_t>((text[i] << 8) | (text[i] >> 8));
}

// Bare LFs (and with loneCr bare CRs) become CR LF; a new block is made only
// when the text grows.
int32_t turnLineEnds(MEM_POOL* pool, uint32_t allocFlags, char16_t** buffer, int32_t units, int loneCr) {
  int32_t grown = osConvTextLen(*buffer, units, 0, OSTF_CRLF, loneCr);
  if (grown <= units) return units;
  auto* converted = static_cast<char16_t*>(poolAlloc(pool, (static_cast<size_t>(grown) + 1) * sizeof(char16_t), allocFlags));
  if (!converted) return -1;
  osConvText(*buffer, units, converted, grown + 1, 0, OSTF_CRLF, loneCr);
  if (ZrHeap_size(*buffer) >= (static_cast<size_t>(grown) + 1) * sizeof(char16_t)) {
    std::memcpy(*buffer, converted, (static_cast<size_t>(grown) + 1) * sizeof(char16_t));
    ZrHeap_free(converted);
  } else {
    ZrHeap_free(*buffer);
    *buffer = converted;
  }
  return grown;
}

int32_t readText(MEM_POOL* pool, uint32_t allocFlags, int fd, char16_t** buffer, int32_t wanted, int mode,
                 uint32_t* encoding, const ReaderForm& form) {
  if (mode == 0) mode = OSTF_CRLF;
  if (mode != OSTF_CRLF) return 0;
  if (!buffer || !encoding || wanted < 0) return -1;
  int64_t position = platform::seekFile(fd, 0, platform::SeekFrom::Current);
  if (position < 0) return -1;
  if (position == 0 && !detectEncoding(fd, encoding, form)) return -1;
  uint32_t flags = *encoding;
  size_t n = static_cast<size_t>(wanted);
  int32_t units;
  if (flags & OSTF_ANSI) units = readAnsi(fd, pool, allocFlags, buffer, n, form);
  else if (flags & (OSTF_UTF8_MARK | OSTF_UTF8_U8)) units = readUtf8(fd, pool, allocFlags, buffer, n);
  else if (flags & OSTF_HEXASCII) units = readHexAscii(fd, pool, buffer, n);
  else units = readUtf16(fd, pool, allocFlags, buffer, n);
  if (units <= 0) {
    if (units == 0 && *buffer) (*buffer)[0] = 0;
    return units;
  }
  if (flags & OSTF_SWAPPED) swapUnits(*buffer, static_cast<size_t>(units));
  (*buffer)[units] = 0;
  if (!(flags & OSTF_KEEP_LINE_ENDS)) units = turnLineEnds(pool, allocFlags, buffer, units, form.loneCr);
  return units;
}

}  // namespace

ZRAPI int32_t osTextFileRead(MEM_POOL* pool, uint32_t allocFlags, int file, char16_t** buffer, int32_t units,
                             int mode, uint32_t* encoding, int loneCrToCrLf) {
  ReaderForm form{false, true, false, loneCrToCrLf};
  return readText(pool, allocFlags, file, buffer, units, mode, encoding, form);
}

ZRAPI int32_t osTextFileRead32(MEM_POOL* pool, uint32_t allocFlags, int handle, char16_t** buffer,
                               int32_t units, int mode, uint32_t* encoding, int nulToBlank) {
  ReaderForm form{true, false, nulToBlank != 0, 0};
  return readText(pool, allocFlags, handle, buffer, units, mode, encoding, form);
}
