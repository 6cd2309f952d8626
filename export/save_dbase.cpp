// dBase II and III tables: a header with one descriptor per column, then
// fixed-width records of code-page text, each behind a blank.
#include <unicode/uchar.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"
#include "shformat.h"
#include "platform/system.h"
#include "values/intl_settings.h"

namespace zr::save {
namespace {

struct Version {
  uint8_t number;
  int32_t maxRows;
  int32_t maxColumns;
  uint32_t maxRecordWidth;
};

constexpr Version kDbase2 = {2, 65535, 32, 1000};
constexpr Version kDbase3 = {3, 1000000000, 128, 4000};
constexpr uint32_t kMaxCharWidth = 255;
constexpr uint32_t kNumberWidth = 16;
constexpr size_t kNameBytes = 10;
constexpr size_t kDbase2Slots = 32;

void putU16(std::string& out, uint32_t value) {
  out += static_cast<char>(value & 0xFF);
  out += static_cast<char>((value >> 8) & 0xFF);
}

void putU32(std::string& out, uint32_t value) {
  putU16(out, value & 0xFFFF);
  putU16(out, value >> 16);
}

bool isNumber(uint8_t type) { return type == ZR_COL_DOUBLE || type == ZR_COL_DECIMAL; }
bool isDate(uint8_t type) { return type == ZR_COL_DATETIME || type == ZR_COL_DATE; }

// The field's width from the column's type and the width given, which is
// the scale for decimals.
uint32_t fieldWidth(const Version& v, uint8_t type, uint32_t given) {
  if (type == ZR_COL_DOUBLE) return kNumberWidth;
  if (type == ZR_COL_DECIMAL) return v.number == 3 && given != 0 ? kNumberWidth + 1 : kNumberWidth;
  if (isDate(type)) return v.number == 3 ? 8 : 10;
  if (type == ZR_COL_TIME) return 8;
  return given == 0 || given > kMaxCharWidth ? kMaxCharWidth : given;
}

// Upper case, at most ten bytes, zero-filled to eleven.
std::string fieldName(const char16_t* name) {
  std::u16string upper(name);
  for (char16_t& c : upper) c = static_cast<char16_t>(u_toupper(c));
  std::string bytes = codePageBytes(upper).substr(0, kNameBytes);
  bytes.resize(kNameBytes + 1, '\0');
  return bytes;
}

// Exactly width bytes: the text cut, padded with blanks on the side given.
std::string fitted(const std::string& text, uint32_t width, bool right) {
  if (text.size() >= width) return text.substr(0, width);
  std::string pad(width - text.size(), ' ');
  return right ? pad + text : text + pad;
}

std::string printed(const char* format, int a, int b, int c) {
  char text[48];
  int n = std::snprintf(text, sizeof text, format, a, b, c);
  return std::string(text, static_cast<size_t>(n));
}

template <const Version& V>
class DbaseSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t) override {
    if (rows < 0 || rows > V.maxRows || columns < 1 || columns > V.maxColumns) return nullptr;
    ZR_SAVE_STATE* s = beginBytes(pool, allocFlags, name, rows, columns, saveFlags);
    if (!s) return nullptr;
    platform::LocalTime today = platform::localTime();
    std::string head(1, static_cast<char>(V.number));
    if constexpr (V.number == 3) {
      head += static_cast<char>(today.year % 100);
      head += static_cast<char>(today.month);
      head += static_cast<char>(today.day);
      putU32(head, static_cast<uint32_t>(rows));
      putU16(head, 32 * static_cast<uint32_t>(columns) + 33);
    } else {
      putU16(head, static_cast<uint32_t>(rows));
      head += static_cast<char>(today.month);
      head += static_cast<char>(today.day);
      head += static_cast<char>(today.year & 0xFF);
    }
    if (!putBytes(s, head.data(), head.size())) {
      abandon(s);
      return nullptr;
    }
    return s;
  }

  // Collects the columns; the last one writes the rest of the header, or
  // fails when the record would be wider than the format allows.
  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s || !storeColumn(s, name, width, type)) return 0;
    // totalWidth counts the field widths here, not the widths given.
    s->totalWidth += fieldWidth(V, type, width) - width;
    if (!nextColumn(s)) return 1;
    if (s->totalWidth > V.maxRecordWidth) return 0;
    std::string header;
    putU16(header, s->totalWidth + 1);
    if constexpr (V.number == 3) header.append(20, '\0');
    for (int32_t i = 0; i < s->columnCount; ++i) header += descriptor(s->columns[i]);
    header += '\r';
    if constexpr (V.number == 2) header.append((kDbase2Slots - static_cast<size_t>(s->columnCount)) * 16, '\0');
    return putBytes(s, header.data(), header.size()) ? 1 : 0;
  }

  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    const ZR_SAVE_COLUMN& c = s->columns[s->currentColumn];
    std::string field = s->currentColumn == 0 ? " " : "";
    field += fitted(fieldText(s, c, value), fieldWidth(V, c.type, c.width), isNumber(c.type));
    nextCell(s);
    return putBytes(s, field.data(), field.size()) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if (!putBytes(s, "\x1A", 1)) {
      abandon(s);
      return 0;
    }
    return finish(s, 0, true);
  }

 private:
  static std::string descriptor(const ZR_SAVE_COLUMN& c) {
    std::string d = fieldName(c.name);
    d += isNumber(c.type) ? 'N' : V.number == 3 && isDate(c.type) ? 'D' : 'C';
    uint8_t width = static_cast<uint8_t>(fieldWidth(V, c.type, c.width));
    if constexpr (V.number == 3) {
      d.append(4, '\0');
      d += static_cast<char>(width);
      // A scale beyond the places a 17-wide field can show means nothing.
      d += static_cast<char>(c.type == ZR_COL_DECIMAL ? std::min<uint32_t>(c.width, 15) : 0);
      d.append(14, '\0');
    } else {
      d += static_cast<char>(width);
      d.append(3, '\0');
    }
    return d;
  }

  // The field's text before fitting: numbers never blank, dates and times
  // blank when null or without that part.
  static std::string fieldText(const ZR_SAVE_STATE* s, const ZR_SAVE_COLUMN& c, const void* value) {
    int width = static_cast<int>(fieldWidth(V, c.type, c.width));
    char16_t text[kValueUnits];
    const auto* t = static_cast<const SH_TIME*>(value);
    switch (c.type) {
      case ZR_COL_STRING: {
        std::u16string_view given(value ? static_cast<const char16_t*>(value) : u"");
        return codePageBytes(given.substr(0, c.width == 0 ? kMaxCharWidth : std::min(c.width, kMaxCharWidth)));
      }
      case ZR_COL_DOUBLE:
        shformatDouble(text, width, s->generalMask, value ? *static_cast<const double*>(value) : 0.0, SHFORMAT_VALUE);
        return codePageBytes(text);
      case ZR_COL_DECIMAL: {
        if (!value) return "0.0";
        shformatDecimal(text, width, s->generalMask, static_cast<const SH_DEC*>(value), SHFORMAT_VALUE);
        std::string number = codePageBytes(text);
        if (intl::settings().decimal == u',') std::replace(number.begin(), number.end(), ',', '.');
        return number;
      }
      case ZR_COL_DATETIME:
      case ZR_COL_DATE:
        if (!t || t->year == SH_TIME_NO_DATE) return {};
        return printed(V.number == 3 ? "%04.4d%02.2d%02.2d" : "%04.4d/%02.2d/%02.2d", t->year + 1900, t->month + 1,
                       t->day);
      case ZR_COL_TIME:
        if (!t || t->hour == SH_TIME_NO_TIME) return {};
        return printed("%02.2d:%02.2d:%02.2d", t->hour, t->minute, t->second);
      default:
        return {};
    }
  }
};

}  // namespace

IZR_SaveFileType* newSaveDbase2() { return makeSaveObject<DbaseSave<kDbase2>>(); }
IZR_SaveFileType* newSaveDbase3() { return makeSaveObject<DbaseSave<kDbase3>>(); }

}  // namespace zr::save
