// The "HA" form. ASCII stands as itself; a run of other units stands as
// "$$HEX<n>$$", four hexadecimal digits a unit (low byte first) and
// "$$ENDHEX$$". Blanks and line ends between non-ASCII words stay inside the
// run so that a phrase is one run.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ostextfile.h"
#include "text/codepage.h"
#include "text/pool_block.h"

using namespace zr::text;

namespace {

constexpr char kRunStart[] = "$$HEX";
constexpr size_t kRunStartBytes = 5;
constexpr size_t kRunFrameBytes = 17;  // "$$HEX" + "$$" + "$$ENDHEX$$"
constexpr size_t kShortestRun = 22;

bool isAscii(char16_t c) { return c < 0x80; }

// Whether the unit at i keeps a hexadecimal run going.
bool staysInRun(const char16_t* text, int32_t units, int32_t i) {
  auto at = [&](int32_t k) -> char16_t { return k < units ? text[k] : 0; };
  char16_t c = text[i];
  if (!isAscii(c) || c == u' ' || c == u'\t') return true;
  if (c == u'\r') return at(i + 1) == u'\n' ? !isAscii(at(i + 2)) : !isAscii(at(i + 1));
  if (c == u'\n') return !isAscii(at(i + 1));
  return false;
}

// "%8x" of a word with blanks made "0" in the first `zeroed` places.
void hexWord(uint32_t word, int zeroed, char digits[9]) {
  std::snprintf(digits, 9, "%8x", word);
  for (int k = 0; k < zeroed; ++k) {
    if (digits[k] == ' ') digits[k] = '0';
  }
}

void appendHexRun(std::string& out, const char16_t* text, int32_t units, int32_t start, int32_t end) {
  int32_t n = end - start;
  out += kRunStart;
  char count[12];
  std::snprintf(count, sizeof count, "%d", n);
  out += count;
  out += "$$";
  char digits[9];
  int32_t i = start;
  for (; i + 1 < end; i += 2) {
    hexWord(text[i] | static_cast<uint32_t>(text[i + 1]) << 16, 8, digits);
    for (int pair = 3; pair >= 0; --pair) out.append(digits + 2 * pair, 2);
  }
  if (i < end) {
    // The last unit goes as the low half of the word it starts, so a unit
    // below 0x1000 at the end of the text keeps blanks among its digits.
    uint32_t following = end < units ? text[end] : 0;
    hexWord(text[i] | following << 16, 4, digits);
    out.append(digits + 6, 2);
    out.append(digits + 4, 2);
  }
  out += "$$ENDHEX$$";
}

// The word of 2 * pairs digits given low byte first, read back by strtoul.
uint32_t readDigits(const char* digits, int pairs) {
  char reversed[9];
  for (int k = 0; k < pairs; ++k) std::memcpy(reversed + 2 * k, digits + 2 * (pairs - 1 - k), 2);
  reversed[2 * pairs] = 0;
  return static_cast<uint32_t>(std::strtoul(reversed, nullptr, 16));
}

char16_t widenByte(const char* p) {
  auto b = static_cast<unsigned char>(*p);
  if (b < 0x80) return b;
  char16_t c;
  return mbToWc(&c, p, 1) > 0 ? c : b;
}

}  // namespace

ZRAPI char* HexAscii_Encrypt(const char16_t* text, int32_t units, int32_t* byteLength, MEM_POOL* pool) {
  if (byteLength) *byteLength = 0;
  if (!text || units <= 0) return nullptr;
  std::string out;
  out.reserve(static_cast<size_t>(units) + kShortestRun);
  int32_t i = 0;
  while (i < units) {
    int32_t start = i;
    if (isAscii(text[i])) {
      while (i < units && isAscii(text[i])) out += static_cast<char>(text[i++]);
    } else {
      while (i < units && staysInRun(text, units, i)) ++i;
      appendHexRun(out, text, units, start, i);
    }
  }
  auto* result = static_cast<char*>(poolAlloc(pool, out.size() + 1));
  if (!result) return nullptr;
  std::memcpy(result, out.c_str(), out.size() + 1);
  if (byteLength) *byteLength = static_cast<int32_t>(out.size());
  return result;
}

ZRAPI char16_t* HexAscii_Decrypt(const char* bytes, int32_t byteLength, int32_t* units, int32_t* bytesUndone,
                                 MEM_POOL* pool) {
  if (units) *units = 0;
  if (bytesUndone) *bytesUndone = 0;
  if (!bytes || byteLength <= 0) return nullptr;
  size_t n = static_cast<size_t>(byteLength);
  auto* out = static_cast<char16_t*>(poolAlloc(pool, (n + 1) * sizeof(char16_t)));
  if (!out) return nullptr;
  size_t count = 0, i = 0;
  while (i < n) {
    size_t left = n - i;
    size_t compared = left < kRunStartBytes ? left : kRunStartBytes;
    if (std::memcmp(bytes + i, kRunStart, compared) != 0) {
      out[count++] = widenByte(bytes + i++);
      continue;
    }
    if (left < kShortestRun) break;
    const char* number = bytes + i + kRunStartBytes;
    const char* dollar = static_cast<const char*>(std::memchr(number, '$', n - i - kRunStartBytes));
    if (!dollar) break;
    size_t digitsOfCount = static_cast<size_t>(dollar - number);
    uint64_t runUnits = 0;
    for (const char* p = number; p < dollar && *p >= '0' && *p <= '9' && runUnits <= n; ++p) {
      runUnits = runUnits * 10 + static_cast<uint64_t>(*p - '0');
    }
    if (runUnits > n || digitsOfCount + 4 * runUnits + kRunFrameBytes > left) break;
    const char* digits = dollar + 2;
    uint64_t k = 0;
    for (; k + 1 < runUnits; k += 2, digits += 8) {
      uint32_t word = readDigits(digits, 4);
      out[count++] = static_cast<char16_t>(word & 0xFFFF);
      out[count++] = static_cast<char16_t>(word >> 16);
    }
    if (k < runUnits) {
      out[count++] = static_cast<char16_t>(readDigits(digits, 2));
      digits += 4;
    }
    // The closing mark is skipped unread.
    i = static_cast<size_t>(digits - bytes) + 10;
  }
  if (bytesUndone) *bytesUndone = static_cast<int32_t>(n - i);
  if (count == 0) {
    ZrHeap_free(out);
    return nullptr;
  }
  out[count] = 0;
  if (units) *units = static_cast<int32_t>(count);
  return out;
}
