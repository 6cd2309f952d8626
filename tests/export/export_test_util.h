// export_test_util.h - grids as test data, saved through the four slots,
// and the files they leave behind.
#ifndef TESTS_EXPORT_EXPORT_TEST_UTIL_H
#define TESTS_EXPORT_EXPORT_TEST_UTIL_H

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "shdec.h"
#include "shdt.h"
#include "shformat.h"
#include "values/intl_source.h"
#include "values/intl_settings.h"
#include "zrheap.h"
#include "zrsave.h"

namespace exporttest {

struct Cell {
  enum Kind { Null, Text, Number, Time, Decimal } kind = Null;
  std::u16string text;
  double number = 0;
  SH_TIME time = {};
  SH_DEC decimal = {};

  const void* pointer() const {
    switch (kind) {
      case Text: return text.c_str();
      case Number: return &number;
      case Time: return &time;
      case Decimal: return &decimal;
      default: return nullptr;
    }
  }
};

inline Cell make(Cell::Kind kind) {
  Cell c;
  c.kind = kind;
  return c;
}
inline Cell null() { return {}; }
inline Cell str(std::u16string t) {
  Cell c = make(Cell::Text);
  c.text = std::move(t);
  return c;
}
inline Cell num(double d) {
  Cell c = make(Cell::Number);
  c.number = d;
  return c;
}
inline Cell dec(const char16_t* text) {
  Cell c = make(Cell::Decimal);
  shAsciiToDec(&c.decimal, text);
  return c;
}
// Year, month and day as written; hour 255 or year -32767 leave a part out.
inline Cell when(int year, int month, int day, int hour = 255, int minute = 0, int second = 0, int micro = 0) {
  Cell c = make(Cell::Time);
  c.time.year = static_cast<int16_t>(year == SH_TIME_NO_DATE ? year : year - 1900);
  c.time.month = static_cast<uint8_t>(month - 1);
  c.time.day = static_cast<uint8_t>(day);
  c.time.hour = static_cast<uint8_t>(hour);
  c.time.minute = static_cast<uint8_t>(minute);
  c.time.second = static_cast<uint8_t>(second);
  c.time.microsecond = micro;
  return c;
}
inline Cell clock(int hour, int minute, int second, int micro = 0) {
  return when(SH_TIME_NO_DATE, 1, 1, hour, minute, second, micro);
}

struct Column {
  std::u16string name;
  uint32_t width;
  uint8_t type;
};

struct Grid {
  std::vector<Column> columns;
  std::vector<std::vector<Cell>> rows;
};

// Every call's result, so a test can say which step failed.
struct Outcome {
  bool begun = false;
  int columns = 1;  // all AddColumn results and-ed
  int values = 1;
  int end = 0;
  bool ok() const { return begun && columns && values && end; }
};

inline Outcome save(int format, const std::string& path, const Grid& g, uint32_t flags = 0, uint32_t encoding = 0,
                    int32_t rowCount = -1) {
  Outcome out;
  IZR_SaveFileType* type = CreateFileType(format);
  if (!type) return out;
  std::u16string name(path.begin(), path.end());
  int32_t rows = rowCount >= 0 ? rowCount : static_cast<int32_t>(g.rows.size());
  ZR_SAVE_STATE* s = type->Begin(nullptr, 0, path.empty() ? nullptr : name.c_str(), rows,
                                 static_cast<int32_t>(g.columns.size()), flags, encoding);
  out.begun = s != nullptr;
  if (s) {
    for (const Column& c : g.columns) out.columns &= type->AddColumn(s, c.name.c_str(), c.width, c.type) ? 1 : 0;
    for (const auto& row : g.rows)
      for (const Cell& c : row) out.values &= type->WriteValue(s, c.pointer()) ? 1 : 0;
    out.end = type->End(s);
  }
  ZrHeap_free(type);
  return out;
}

inline std::string fileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream all;
  all << in.rdbuf();
  return all.str();
}

// UTF-16LE bytes of a text, as the text formats write it.
inline std::string utf16le(std::u16string_view text) {
  std::string out;
  for (char16_t c : text) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

// A fresh folder per test, and fixed international settings so that masks
// and separators don't follow the machine.
class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/zrexportXXXXXX";
    dir = mkdtemp(pattern);
    settings({});
  }
  void TearDown() override {
    std::filesystem::remove_all(dir);
    zr::intl::loadSettings(nullptr, nullptr);
  }

  // The test settings, with any keys overridden.
  static void settings(std::vector<std::pair<std::u16string, std::u16string>> keys) {
    zr::intl::KeyTable table;
    table.set(u"sShortDate", u"yyyy-mm-dd");
    table.set(u"sTime", u":");
    table.set(u"sDecimal", u".");
    table.set(u"sThousand", u",");
    for (auto& [key, value] : keys) table.set(key, value);
    zr::intl::loadSettings(&table, nullptr);
  }

  std::string path(const std::string& name) const { return dir + "/" + name; }

  std::string dir;
};

}  // namespace exporttest

#endif
