// The state record every export carries from Begin to End.
#include <cstring>
#include <string>

#include "export/save_output.h"
#include "shformat.h"
#include "text/pool_block.h"
#include "zrheap.h"

namespace {

// Far beyond any grid, and small enough that the block size can't overflow.
constexpr int32_t kMaxColumns = 1 << 20;

bool isSeparator(char16_t c) { return c == u'\\' || c == u'/' || c == u':'; }

// From the last separator before the last "." up to the next ".". A dot in a
// directory of a name without one thus picks that directory's stem.
void copyBaseName(char16_t* out, const char16_t* name) {
  if (!name) return;
  size_t length = std::char_traits<char16_t>::length(name);
  if (length == 0) return;
  size_t from = length - 1;
  for (size_t i = length; i-- > 0;) {
    if (name[i] == u'.') {
      from = i;
      break;
    }
  }
  size_t start = from + 1;
  while (start > 0 && !isSeparator(name[start - 1])) --start;
  size_t n = 0;
  while (start + n < length && name[start + n] != u'.' && n + 1 < ZR_SAVE_BASE_NAME_UNITS) {
    out[n] = name[start + n];
    ++n;
  }
  out[n] = 0;
}

void compileMasks(ZR_SAVE_STATE* s, const char16_t* culture) {
  if (culture) {
    shformatCmplNumericMaskWeb(s->generalMask, u"[GENERAL]", ZR_SAVE_MASK_UNITS, culture);
    shformatCmplDateTimeMaskWeb(s->dateMask, u"[SHORTDATE]", ZR_SAVE_MASK_UNITS, culture);
    shformatCmplDateTimeMaskWeb(s->timeMask, u"[TIME]", ZR_SAVE_MASK_UNITS, culture);
    shformatCmplDateTimeMaskWeb(s->dateTimeMask, u"[SHORTDATE] [TIME]", ZR_SAVE_MASK_UNITS, culture);
  } else {
    shformatCmplNumericMask(s->generalMask, u"[GENERAL]", ZR_SAVE_MASK_UNITS);
    shformatCmplDateTimeMask(s->dateMask, u"[SHORTDATE]", ZR_SAVE_MASK_UNITS);
    shformatCmplDateTimeMask(s->timeMask, u"[TIME]", ZR_SAVE_MASK_UNITS);
    shformatCmplDateTimeMask(s->dateTimeMask, u"[SHORTDATE] [TIME]", ZR_SAVE_MASK_UNITS);
  }
}

ZR_SAVE_STATE* allocate(MEM_POOL* pool, uint32_t allocFlags, int32_t rows, int32_t columns, uint32_t saveFlags) {
  if (columns < 0 || columns > kMaxColumns) return nullptr;
  size_t extra = columns > 1 ? static_cast<size_t>(columns - 1) : 0;
  size_t size = sizeof(ZR_SAVE_STATE) + extra * sizeof(ZR_SAVE_COLUMN);
  auto* s = static_cast<ZR_SAVE_STATE*>(zr::text::poolAlloc(pool, size, allocFlags));
  if (!s) return nullptr;
  std::memset(s, 0, size);
  s->pool = pool;
  s->allocFlags = allocFlags;
  s->rowCount = rows;
  s->columnCount = columns;
  s->saveFlags = saveFlags;
  s->file.handle = -1;
  return s;
}

ZR_SAVE_STATE* begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                     uint32_t saveFlags, const char16_t* culture, bool openFile) {
  ZR_SAVE_STATE* s = allocate(pool, allocFlags, rows, columns, saveFlags);
  if (!s) return nullptr;
  if (openFile && name && !(saveFlags & ZR_SAVE_NO_FILE) && !osFileOpenNew32(pool, allocFlags, &s->file, name, 0)) {
    ZrHeap_free(s);
    return nullptr;
  }
  compileMasks(s, culture);
  copyBaseName(s->baseName, name);
  return s;
}

}  // namespace

ZRAPI ZR_SAVE_STATE* osSaveBegin32Web(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                      int32_t columns, uint32_t saveFlags, uint32_t, const char16_t* culture) {
  return begin(pool, allocFlags, name, rows, columns, saveFlags, culture, true);
}

ZRAPI ZR_SAVE_STATE* osSaveBegin32(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                   int32_t columns, uint32_t saveFlags, uint32_t encoding) {
  return osSaveBegin32Web(pool, allocFlags, name, rows, columns, saveFlags, encoding, nullptr);
}

ZRAPI ZR_SAVE_STATE* osSaveBegin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                 int32_t columns, uint32_t saveFlags, uint32_t encoding) {
  if (!(saveFlags & ZR_SAVE_RAW)) return osSaveBegin32(pool, allocFlags, name, rows, columns, saveFlags, encoding);
  ZR_SAVE_STATE* s = begin(pool, allocFlags, name, rows, columns, saveFlags, nullptr, false);
  if (s && !(saveFlags & ZR_SAVE_NO_FILE) && !zr::save::openRaw(&s->file, name, encoding)) {
    ZrHeap_free(s);
    return nullptr;
  }
  return s;
}

ZRAPI ZR_SAVE_STATE* InitDataExporter(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows,
                                      int32_t columns, uint32_t saveFlags, uint32_t, uint32_t,
                                      const char16_t* culture) {
  return begin(pool, allocFlags, name, rows, columns, saveFlags, culture, false);
}

ZRAPI void osSaveEnd(ZR_SAVE_STATE* state) {
  if (!state) return;
  osFileClose32(&state->file, 0, 0);
  int32_t n = state->columnCount > 0 ? state->columnCount : 1;
  for (int32_t i = 0; i < n; ++i) ZrHeap_free(state->columns[i].name);
  ZrHeap_free(state);
}
