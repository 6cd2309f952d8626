// Lotus worksheet: BOF and DIMENSIONS, a LABEL or NUMBER record per
// non-null cell, EOF. Records are a number, a length and the body, all
// little-endian.
#include <algorithm>
#include <cstring>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"
#include "shdec.h"

namespace zr::save {
namespace {

constexpr uint16_t kRecordBof = 0x0000;
constexpr uint16_t kRecordEof = 0x0001;
constexpr uint16_t kRecordDimensions = 0x0006;
constexpr uint16_t kRecordNumber = 0x000E;
constexpr uint16_t kRecordLabel = 0x000F;
constexpr char kGeneralFormat = 'q';
constexpr uint32_t kMaxLabelUnits = 239;
constexpr int32_t kMaxRow = 0xFFFF;

void putU16(std::string& out, uint32_t value) {
  out += static_cast<char>(value & 0xFF);
  out += static_cast<char>((value >> 8) & 0xFF);
}

void recordHead(std::string& out, uint16_t number, size_t length) {
  putU16(out, number);
  putU16(out, static_cast<uint32_t>(length));
}

void cellHead(std::string& out, uint16_t number, size_t bodyLength, int column, int row) {
  recordHead(out, number, 5 + bodyLength);
  out += kGeneralFormat;
  putU16(out, static_cast<uint32_t>(column));
  putU16(out, static_cast<uint32_t>(row));
}

std::string label(int column, int row, std::u16string_view text) {
  std::string bytes = codePageBytes(text.substr(0, kMaxLabelUnits));
  std::string out;
  cellHead(out, kRecordLabel, bytes.size() + 2, column, row);
  out += '\'';
  out += bytes;
  out += '\0';
  return out;
}

std::string number(int column, int row, double value) {
  std::string out;
  cellHead(out, kRecordNumber, 8, column, row);
  char bytes[8];
  std::memcpy(bytes, &value, 8);
  out.append(bytes, 8);
  return out;
}

class WkSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t) override {
    ZR_SAVE_STATE* s = beginBytes(pool, allocFlags, name, rows, columns, saveFlags);
    if (!s) return nullptr;
    std::string head;
    recordHead(head, kRecordBof, 2);
    putU16(head, 0x0406);
    recordHead(head, kRecordDimensions, 8);
    putU16(head, 0);
    putU16(head, 0);
    putU16(head, static_cast<uint32_t>(columns));
    putU16(head, static_cast<uint32_t>(rows));
    if (!putBytes(s, head.data(), head.size())) {
      abandon(s);
      return nullptr;
    }
    return s;
  }

  // The heading labels fill row 0, and data rows follow it.
  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s) return 0;
    width = std::min(width, kMaxLabelUnits);
    if (type == ZR_COL_STRING && width == 0) width = kMaxLabelUnits;
    if (!storeColumn(s, name, width, type)) return 0;
    int column = s->currentColumn;
    bool last = nextColumn(s);
    if (!(s->saveFlags & ZR_SAVE_HEADING)) return 1;
    std::string text = label(column, s->rowNumber, s->columns[column].name);
    if (last) ++s->rowNumber;
    return putBytes(s, text.data(), text.size()) ? 1 : 0;
  }

  // Null cells write nothing; past the last row a record can address, the
  // write fails rather than overwrite the top of the sheet.
  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s || s->rowNumber > kMaxRow) return 0;
    int column = s->currentColumn;
    int row = s->rowNumber;
    uint8_t type = s->columns[column].type;
    std::string text;
    if (value) {
      char16_t cell[kValueUnits];
      switch (type) {
        case ZR_COL_STRING: text = label(column, row, static_cast<const char16_t*>(value)); break;
        case ZR_COL_DOUBLE: text = number(column, row, *static_cast<const double*>(value)); break;
        case ZR_COL_DECIMAL: {
          double d = 0;
          shDecToDouble(&d, static_cast<const SH_DEC*>(value));
          text = number(column, row, d);
          break;
        }
        case ZR_COL_DATETIME:
        case ZR_COL_DATE:
        case ZR_COL_TIME: text = label(column, row, {cell, formatValue(s, type, value, timeSeparator(), cell)}); break;
        default: break;
      }
    }
    nextCell(s);
    return putBytes(s, text.data(), text.size()) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    std::string eof;
    recordHead(eof, kRecordEof, 0);
    if (!putBytes(s, eof.data(), eof.size())) {
      abandon(s);
      return 0;
    }
    return finish(s, 0, true);
  }
};

}  // namespace

IZR_SaveFileType* newSaveWk() { return makeSaveObject<WkSave>(); }

}  // namespace zr::save
