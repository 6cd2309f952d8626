// SQL: a CREATE TABLE for the columns and one INSERT per row. Date and time
// cells come as the caller's text and go out as they stand.
#include <cstdio>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"

namespace zr::save {
namespace {

constexpr std::u16string_view kLineStart = u"\r\n\t";

std::u16string number(uint32_t value) {
  char digits[12];
  int n = std::snprintf(digits, sizeof digits, "%u", value);
  return std::u16string(digits, digits + n);
}

std::u16string columnType(const ZR_SAVE_COLUMN& c) {
  switch (c.type) {
    case ZR_COL_STRING: return u" char(" + number(c.width) + u")";
    case ZR_COL_DOUBLE: return u" float";
    case ZR_COL_DATETIME: return u" datetime";
    case ZR_COL_DATE: return u" date";
    case ZR_COL_TIME: return u" time";
    case ZR_COL_DECIMAL: return u" decimal(16, " + number(c.width) + u")";
    default: return {};
  }
}

// Single quotes, inner ones doubled.
std::u16string quoted(std::u16string_view text) {
  std::u16string out(1, u'\'');
  for (char16_t c : text) {
    out += c;
    if (c == u'\'') out += c;
  }
  out += u'\'';
  return out;
}

class SqlSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t encoding) override {
    encoding_ = encoding;
    ZR_SAVE_STATE* s = osSaveBegin32(pool, allocFlags, name, rows, columns, saveFlags, encoding);
    if (s && !put(s, u"CREATE TABLE " + std::u16string(s->baseName) + u" (", encoding_)) {
      osFileClose32(&s->file, 0, encoding_);
      osSaveEnd(s);
      return nullptr;
    }
    return s;
  }

  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s || !storeColumn(s, name, width, type)) return 0;
    const ZR_SAVE_COLUMN& c = s->columns[s->currentColumn];
    std::u16string text(kLineStart);
    text += c.name;
    text += columnType(c);
    text += nextColumn(s) ? u");" : u",";
    return put(s, text, encoding_) ? 1 : 0;
  }

  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    std::u16string text;
    if (s->currentColumn == 0) text = u"\r\nINSERT INTO " + std::u16string(s->baseName) + u" VALUES (\r\n\t";
    else text = u",\r\n\t";
    uint8_t type = s->columns[s->currentColumn].type;
    const auto* wide = static_cast<const char16_t*>(value);
    if (!value) {
      text += u"NULL";
    } else if (type == ZR_COL_STRING) {
      text += quoted(wide);
    } else if (type == ZR_COL_DATETIME || type == ZR_COL_DATE || type == ZR_COL_TIME) {
      text += wide;
    } else {
      char16_t number[kValueUnits];
      text.append(number, formatValue(s, type, value, timeSeparator(), number));
    }
    if (nextCell(s)) text += u");";
    return put(s, text, encoding_) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if (put(s, u"\r\n", encoding_)) return finish(s, encoding_, false);
    osFileClose32(&s->file, 0, encoding_);
    osSaveEnd(s);
    return 0;
  }

 private:
  uint32_t encoding_ = 0;
};

}  // namespace

IZR_SaveFileType* newSaveSql() { return makeSaveObject<SqlSave>(); }

}  // namespace zr::save
