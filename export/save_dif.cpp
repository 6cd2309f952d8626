// DIF: a header of TABLE, VECTORS, TUPLES, a LABEL per column and DATA, then
// each row as BOT and one pair of lines per cell, through the text writer.
#include <cstdio>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"

namespace zr::save {
namespace {

std::u16string number(long value) {
  char digits[24];
  int n = std::snprintf(digits, sizeof digits, "%ld", value);
  return std::u16string(digits, digits + n);
}

class DifSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t encoding) override {
    encoding_ = encoding;
    ZR_SAVE_STATE* s = osSaveBegin32(pool, allocFlags, name, rows, columns, saveFlags, encoding);
    if (!s) return nullptr;
    std::u16string head = u"TABLE\r\n0,1\r\n\"" + std::u16string(s->baseName) + u"\"\r\n";
    head += u"VECTORS\r\n0," + number(columns) + u"\r\n\"\"\r\n";
    head += u"TUPLES\r\n0," + number(rows) + u"\r\n\"\"\r\n";
    if (!put(s, head, encoding_)) {
      abandon(s);
      return nullptr;
    }
    return s;
  }

  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s || !storeColumn(s, name, width, type)) return 0;
    std::u16string text = u"LABEL\r\n" + number(s->currentColumn + 1) + u",1\r\n\"";
    text += s->columns[s->currentColumn].name;
    text += u"\"\r\n";
    if (nextColumn(s)) text += u"DATA\r\n0,0\r\n\"\"\r\n";
    return put(s, text, encoding_) ? 1 : 0;
  }

  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    std::u16string text;
    if (s->currentColumn == 0) text = u"-1,0\r\nBOT\r\n";
    uint8_t type = s->columns[s->currentColumn].type;
    char16_t cell[kValueUnits];
    if (type == ZR_COL_STRING) {
      text.append(u"1,0\r\n\"").append(value ? static_cast<const char16_t*>(value) : u"").append(u"\"\r\n");
    } else if (type == ZR_COL_DATETIME || type == ZR_COL_DATE || type == ZR_COL_TIME) {
      text.append(u"1,0\r\n\"").append(cell, formatValue(s, type, value, timeSeparator(), cell)).append(u"\"\r\n");
    } else if (type == ZR_COL_DOUBLE || type == ZR_COL_DECIMAL) {
      std::u16string_view shown = value ? std::u16string_view(cell, formatValue(s, type, value, {}, cell)) : u"0.0";
      text.append(u"0,").append(shown).append(u"\r\nV\r\n");
    }
    nextCell(s);
    return put(s, text, encoding_) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if (!put(s, u"-1,0\r\nEOD\r\n", encoding_)) {
      abandon(s);
      return 0;
    }
    return finish(s, encoding_, false);
  }

 private:
  uint32_t encoding_ = 0;
};

}  // namespace

IZR_SaveFileType* newSaveDif() { return makeSaveObject<DifSave>(); }

}  // namespace zr::save
