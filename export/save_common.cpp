#include "export/save_common.h"

#include <cstdio>
#include <cstring>

#include "export/save_output.h"
#include "shformat.h"
#include "text/codepage.h"
#include "text/pool_block.h"
#include "values/intl_settings.h"
#include "zrheap.h"

namespace zr::save {
namespace {

// The formatting calls stop at these capacities and cut what is longer.
constexpr int kNumberUnits = 30;
constexpr int kDateTimeUnits = 299;

size_t appendFraction(char16_t* out, size_t n, std::u16string_view separator, int32_t microseconds) {
  for (char16_t c : separator) out[n++] = c;
  char digits[16];
  int count = std::snprintf(digits, sizeof digits, "%6.6ld", static_cast<long>(microseconds));
  while (count > 0 && digits[count - 1] == '0') --count;
  for (int i = 0; i < count; ++i) out[n++] = static_cast<char16_t>(digits[i]);
  return n;
}

}  // namespace

std::u16string_view timeSeparator() { return intl::settings().timeSeparator; }

std::u16string_view decimalSeparator() { return {&intl::settings().decimal, 1}; }

size_t formatValue(const ZR_SAVE_STATE* s, uint8_t type, const void* value, std::u16string_view fraction,
                   char16_t* out) {
  out[0] = 0;
  if (!value) return 0;
  const auto* time = static_cast<const SH_TIME*>(value);
  switch (type) {
    case ZR_COL_DOUBLE:
      shformatDouble(out, kNumberUnits, s->generalMask, *static_cast<const double*>(value), SHFORMAT_VALUE);
      break;
    case ZR_COL_DECIMAL:
      shformatDecimal(out, kNumberUnits, s->generalMask, static_cast<const SH_DEC*>(value), SHFORMAT_VALUE);
      break;
    case ZR_COL_DATETIME:
      shformatDateTime(out, kDateTimeUnits, s->dateTimeMask, time, SHFORMAT_VALUE);
      break;
    case ZR_COL_DATE:
      shformatDateTime(out, kDateTimeUnits, s->dateMask, time, SHFORMAT_VALUE);
      break;
    case ZR_COL_TIME:
      shformatDateTime(out, kDateTimeUnits, s->timeMask, time, SHFORMAT_VALUE);
      break;
    default:
      return 0;
  }
  size_t n = unitLength(out);
  if (n > 0 && (type == ZR_COL_DATETIME || type == ZR_COL_TIME)) n = appendFraction(out, n, fraction, time->microsecond);
  return n;
}

bool storeColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) {
  ZR_SAVE_COLUMN& c = s->columns[s->currentColumn];
  size_t units = unitLength(name);
  auto* copy = static_cast<char16_t*>(text::poolAlloc(s->pool, (units + 1) * sizeof(char16_t), s->allocFlags));
  if (!copy) return false;
  if (units) std::memcpy(copy, name, units * sizeof(char16_t));
  copy[units] = 0;
  ZrHeap_free(c.name);
  c.name = copy;
  c.width = width;
  c.type = type;
  s->totalWidth += width;
  return true;
}

bool nextColumn(ZR_SAVE_STATE* s) {
  if (++s->currentColumn < s->columnCount) return false;
  s->currentColumn = 0;
  return true;
}

bool nextCell(ZR_SAVE_STATE* s) {
  if (++s->currentColumn < s->columnCount) return false;
  s->currentColumn = 0;
  ++s->rowNumber;
  return true;
}

bool put(ZR_SAVE_STATE* s, std::u16string_view text, uint32_t encoding) {
  if (text.empty()) return !s->file.failed;
  uint32_t bytes = static_cast<uint32_t>(text.size() * sizeof(char16_t));
  return osFileWrite32(&s->file, text.data(), bytes, encoding) == bytes;
}

bool putBytes(ZR_SAVE_STATE* s, const void* data, size_t bytes) {
  if (bytes == 0) return !s->file.failed;
  return osFileWrite(&s->file, data, static_cast<uint32_t>(bytes), 0) == bytes;
}

ZR_SAVE_STATE* beginBytes(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                          uint32_t saveFlags) {
  ZR_SAVE_STATE* s = osSaveBegin32(pool, allocFlags, name, rows, columns, saveFlags | ZR_SAVE_NO_FILE, 0);
  if (!s) return nullptr;
  s->saveFlags = saveFlags;
  if (name && !(saveFlags & ZR_SAVE_NO_FILE) && !osFileOpenNew(pool, allocFlags, &s->file, name, 0)) {
    osSaveEnd(s);
    return nullptr;
  }
  return s;
}

void abandon(ZR_SAVE_STATE* s) {
  osFileClose32(&s->file, 0, 0);
  osSaveEnd(s);
}

std::string codePageBytes(std::u16string_view text) {
  // Up to four bytes a unit covers every code page the converters offer.
  std::string out(text.size() * 4, '\0');
  size_t n = text::unitsToBytes(text.data(), text.size(), out.data(), out.size());
  if (n != text::kConvertError) {
    out.resize(n);
    return out;
  }
  out.clear();
  char bytes[8];
  for (size_t i = 0; i < text.size();) {
    size_t units = i + 1 < text.size() && text[i] >= 0xD800 && text[i] <= 0xDBFF && text[i + 1] >= 0xDC00 &&
                           text[i + 1] <= 0xDFFF
                       ? 2
                       : 1;
    n = text::unitsToBytes(text.data() + i, units, bytes, sizeof bytes);
    if (n == text::kConvertError) out += '?';
    else out.append(bytes, n);
    i += units;
  }
  return out;
}

int finish(ZR_SAVE_STATE* s, uint32_t encoding, bool bytes) {
  if (!s) return 0;
  bool flush = !s->file.failed;
  int ok = bytes ? osFileClose(&s->file, flush, 0) : osFileClose32(&s->file, flush, encoding);
  osSaveEnd(s);
  return ok ? 1 : 0;
}

}  // namespace zr::save
