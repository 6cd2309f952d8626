// SYLK: an ID and a bounds record, one C record per cell (the row number on
// a row's first cell only), and E; texts in the process code page.
#include <cstdio>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"

namespace zr::save {
namespace {

// The record head of a cell, rows and columns counted from 1.
std::string cellHead(long row, int column, bool firstInRow) {
  char head[48];
  int n = firstInRow ? std::snprintf(head, sizeof head, "C;Y%ld;X%d;K", row, column)
                     : std::snprintf(head, sizeof head, "C;X%d;K", column);
  return std::string(head, static_cast<size_t>(n));
}

// Built by appending: GCC 12 at -O3 misreports a string prefixed with operator+ (PR 105329).
std::string quotedCell(std::u16string_view text) {
  std::string cell = "\"";
  cell += codePageBytes(text);
  cell += "\"\r\n";
  return cell;
}

class SylkSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t) override {
    ZR_SAVE_STATE* s = beginBytes(pool, allocFlags, name, rows, columns, saveFlags);
    if (!s) return nullptr;
    char head[64];
    int n = std::snprintf(head, sizeof head, "ID;PZR\r\nB;Y%ld;X%d\r\n", static_cast<long>(rows), columns);
    if (!putBytes(s, head, static_cast<size_t>(n))) {
      abandon(s);
      return nullptr;
    }
    return s;
  }

  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s || !storeColumn(s, name, width, type)) return 0;
    int column = s->currentColumn;
    nextColumn(s);
    if (!(s->saveFlags & ZR_SAVE_HEADING)) return 1;
    std::string text = cellHead(1, column + 1, column == 0) + quotedCell(s->columns[column].name);
    return putBytes(s, text.data(), text.size()) ? 1 : 0;
  }

  // A null or untyped cell still gets its record: the first cell of a row
  // carries the row number for the rest.
  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    int column = s->currentColumn;
    long row = static_cast<long>(s->rowNumber) + 1 + (s->saveFlags & ZR_SAVE_HEADING ? 1 : 0);
    std::string text = cellHead(row, column + 1, column == 0);
    uint8_t type = s->columns[column].type;
    char16_t cell[kValueUnits];
    if (type == ZR_COL_DOUBLE || type == ZR_COL_DECIMAL) {
      text += value ? codePageBytes({cell, formatValue(s, type, value, {}, cell)}) : "0.0";
      text += "\r\n";
    } else if (type == ZR_COL_STRING) {
      text += quotedCell(value ? static_cast<const char16_t*>(value) : u"");
    } else {
      text += quotedCell({cell, formatValue(s, type, value, timeSeparator(), cell)});
    }
    nextCell(s);
    return putBytes(s, text.data(), text.size()) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if (!putBytes(s, "E\r\n", 3)) {
      abandon(s);
      return 0;
    }
    return finish(s, 0, true);
  }
};

}  // namespace

IZR_SaveFileType* newSaveSylk() { return makeSaveObject<SylkSave>(); }

}  // namespace zr::save
