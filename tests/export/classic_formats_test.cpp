// dBase II and III, DIF, SYLK and Lotus files byte for byte, with the
// width rules, null forms and limits of each.
#include <cstring>
#include <ctime>

#include "tests/export/export_test_util.h"

namespace {

using namespace exporttest;

std::string u16(uint32_t v) { return {static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)}; }
std::string u32(uint32_t v) { return u16(v & 0xFFFF) + u16(v >> 16); }
std::string right(const std::string& text, size_t width) { return std::string(width - text.size(), ' ') + text; }
std::string left(const std::string& text, size_t width) { return text + std::string(width - text.size(), ' '); }
std::string zeros(size_t n) { return std::string(n, '\0'); }

std::string name11(const std::string& name) { return name + zeros(11 - name.size()); }

std::string descriptor3(const std::string& name, char type, int width, int scale = 0) {
  return name11(name) + type + zeros(4) + static_cast<char>(width) + static_cast<char>(scale) + zeros(14);
}

std::string descriptor2(const std::string& name, char type, int width) {
  return name11(name) + type + static_cast<char>(width) + zeros(3);
}

std::tm today() {
  std::time_t now = std::time(nullptr);
  std::tm parts;
  localtime_r(&now, &parts);
  return parts;
}

// Dates and times of both versions, numbers wider than their field, null
// forms and a character the code page lacks.
const Grid kTable = {{{u"name", 5, ZR_COL_STRING},
                      {u"price", 3, ZR_COL_DOUBLE},
                      {u"amount", 2, ZR_COL_DECIMAL},
                      {u"day", 0, ZR_COL_DATE},
                      {u"at", 0, ZR_COL_TIME},
                      {u"when", 0, ZR_COL_DATETIME},
                      {u"longcolumnname", 300, ZR_COL_STRING}},
                     {{str(u"abcdefgh"), num(1.5), dec(u"12.34"), when(2026, 11, 25), clock(12, 30, 15),
                       when(1999, 1, 2, 23, 59, 58), str(u"é中x")},
                      {null(), null(), null(), null(), null(), null(), null()},
                      {str(u"ab"), num(-123456789012345678.0), dec(u"-7"), when(SH_TIME_NO_DATE, 1, 1, 1),
                       clock(0, 0, 1), when(2000, 2, 29), str(u"")}}};

class ClassicFormats : public ExportTest {};

TEST_F(ClassicFormats, DbaseThreeFile) {
  std::string file = path("table.dbf");
  ASSERT_TRUE(save(ZR_SAVE_DBASE3, file, kTable).ok());
  std::string bytes = fileBytes(file);
  std::tm now = today();
  std::string expected = "\x03" + std::string{char(now.tm_year % 100), char(now.tm_mon + 1), char(now.tm_mday)} +
                         u32(3) + u16(7 * 32 + 33) + u16(5 + 16 + 17 + 8 + 8 + 8 + 255 + 1) + zeros(20) +
                         descriptor3("NAME", 'C', 5) + descriptor3("PRICE", 'N', 16) +
                         descriptor3("AMOUNT", 'N', 17, 2) + descriptor3("DAY", 'D', 8) + descriptor3("AT", 'C', 8) +
                         descriptor3("WHEN", 'D', 8) + descriptor3("LONGCOLUMN", 'C', 255) + "\r";
  ASSERT_EQ(expected.size(), 257u);
  expected += " abcde" + right("1.5", 16) + right("12.34", 17) + "20261125" + "12:30:15" + "19990102" +
              left("\xE9?x", 255);
  expected += " " + std::string(5, ' ') + right("0", 16) + right("0.0", 17) + std::string(24, ' ') +
              std::string(255, ' ');
  // The formatter cuts the wide number at the field; the record stays aligned.
  expected += " ab   " + std::string("-1.2345678901234") + right("-7", 17) + std::string(8, ' ') + "00:00:01" +
              "20000229" + std::string(255, ' ');
  expected += "\x1A";
  EXPECT_EQ(bytes, expected);
}

TEST_F(ClassicFormats, DbaseTwoFile) {
  Grid g = kTable;
  g.columns.pop_back();
  for (auto& row : g.rows) row.pop_back();
  std::string file = path("table.db2");
  ASSERT_TRUE(save(ZR_SAVE_DBASE2, file, g).ok());
  std::tm now = today();
  std::string expected = "\x02" + u16(3) +
                         std::string{char(now.tm_mon + 1), char(now.tm_mday), char((now.tm_year + 1900) & 0xFF)} +
                         u16(5 + 16 + 16 + 10 + 8 + 10 + 1) + descriptor2("NAME", 'C', 5) +
                         descriptor2("PRICE", 'N', 16) + descriptor2("AMOUNT", 'N', 16) + descriptor2("DAY", 'C', 10) +
                         descriptor2("AT", 'C', 8) + descriptor2("WHEN", 'C', 10) + "\r" + zeros(26 * 16);
  ASSERT_EQ(expected.size(), 521u);
  expected += " abcde" + right("1.5", 16) + right("12.34", 16) + "2026/11/25" + "12:30:15" + "1999/01/02";
  expected += " " + std::string(5, ' ') + right("0", 16) + right("0.0", 16) + std::string(28, ' ');
  expected += " ab   " + std::string("-1.2345678901234") + right("-7", 16) + std::string(10, ' ') + "00:00:01" +
              "2000/02/29";
  expected += "\x1A";
  EXPECT_EQ(fileBytes(file), expected);
}

TEST_F(ClassicFormats, DbaseLimits) {
  auto columns = [](int n, uint32_t width) {
    Grid g;
    for (int i = 0; i < n; ++i) g.columns.push_back({u"c" + std::u16string(1, char16_t(u'a' + i % 26)), width, 1});
    return g;
  };
  std::string file = path("limits.dbf");
  EXPECT_FALSE(save(ZR_SAVE_DBASE2, file, columns(33, 1)).begun);
  EXPECT_TRUE(save(ZR_SAVE_DBASE2, file, columns(32, 1)).ok());
  EXPECT_FALSE(save(ZR_SAVE_DBASE3, file, columns(129, 1)).begun);
  EXPECT_TRUE(save(ZR_SAVE_DBASE3, file, columns(128, 1)).ok());
  EXPECT_FALSE(save(ZR_SAVE_DBASE2, file, columns(1, 1), 0, 0, 65536).begun);
  EXPECT_FALSE(save(ZR_SAVE_DBASE3, file, columns(1, 1), 0, 0, 1000000001).begun);
  EXPECT_FALSE(save(ZR_SAVE_DBASE3, file, columns(0, 1)).begun);

  // Only the column that completes a too-wide record fails.
  for (auto [format, count] : {std::pair{ZR_SAVE_DBASE2, 4}, std::pair{ZR_SAVE_DBASE3, 16}}) {
    IZR_SaveFileType* type = CreateFileType(format);
    ZR_SAVE_STATE* s = type->Begin(nullptr, 0, u"/dev/null", 0, count, 0, 0);
    ASSERT_NE(s, nullptr);
    for (int i = 0; i < count; ++i) EXPECT_EQ(type->AddColumn(s, u"c", i % 2 ? 0 : 999, 1), i == count - 1 ? 0 : 1);
    EXPECT_EQ(s->totalWidth, 255u * static_cast<uint32_t>(count));
    type->End(s);
    ZrHeap_free(type);
  }
}

TEST_F(ClassicFormats, DifFiles) {
  std::string file = path("grid.dif");
  Grid empty = {{{u"a", 1, ZR_COL_STRING}, {u"b", 0, ZR_COL_DOUBLE}}, {}};
  ASSERT_TRUE(save(ZR_SAVE_DIF, file, empty, 0, OSTF_ANSI).ok());
  const std::string head2 =
      "TABLE\r\n0,1\r\n\"grid\"\r\nVECTORS\r\n0,2\r\n\"\"\r\nTUPLES\r\n0,0\r\n\"\"\r\n"
      "LABEL\r\n1,1\r\n\"a\"\r\nLABEL\r\n2,1\r\n\"b\"\r\nDATA\r\n0,0\r\n\"\"\r\n";
  EXPECT_EQ(fileBytes(file), head2 + "-1,0\r\nEOD\r\n");

  Grid g = {{{u"s", 9, ZR_COL_STRING}, {u"n", 0, ZR_COL_DOUBLE}, {u"d", 0, ZR_COL_DATE}, {u"m", 1, ZR_COL_DECIMAL}},
            {{str(u"x \"q\""), num(1.5), when(2026, 11, 25), dec(u"2.5")}, {null(), null(), null(), null()}}};
  ASSERT_TRUE(save(ZR_SAVE_DIF, file, g).ok());
  std::u16string expected =
      u"TABLE\r\n0,1\r\n\"grid\"\r\nVECTORS\r\n0,4\r\n\"\"\r\nTUPLES\r\n0,2\r\n\"\"\r\n"
      u"LABEL\r\n1,1\r\n\"s\"\r\nLABEL\r\n2,1\r\n\"n\"\r\nLABEL\r\n3,1\r\n\"d\"\r\nLABEL\r\n4,1\r\n\"m\"\r\n"
      u"DATA\r\n0,0\r\n\"\"\r\n"
      u"-1,0\r\nBOT\r\n1,0\r\n\"x \"q\"\"\r\n0,1.5\r\nV\r\n1,0\r\n\"2026-11-25\"\r\n0,2.5\r\nV\r\n"
      u"-1,0\r\nBOT\r\n1,0\r\n\"\"\r\n0,0.0\r\nV\r\n1,0\r\n\"\"\r\n0,0.0\r\nV\r\n-1,0\r\nEOD\r\n";
  EXPECT_EQ(fileBytes(file), "\xFF\xFE" + utf16le(expected));
}

TEST_F(ClassicFormats, SylkNumbersRowsFromTheHeading) {
  Grid g = {{{u"a", 1, ZR_COL_STRING}, {u"b", 0, ZR_COL_DOUBLE}, {u"t", 0, ZR_COL_DATETIME}},
            {{str(u"x;é"), num(2), when(2026, 11, 25, 8, 0, 0, 250000)}, {null(), null(), null()}}};
  std::string file = path("grid.slk");
  const std::string rows =
      "C;X3;K\"2026-11-25 08:00:00:25\"\r\nC;Y3;X1;K\"\"\r\nC;X2;K0.0\r\nC;X3;K\"\"\r\nE\r\n";
  ASSERT_TRUE(save(ZR_SAVE_SYLK, file, g, ZR_SAVE_HEADING).ok());
  EXPECT_EQ(fileBytes(file), "ID;PZR\r\nB;Y2;X3\r\nC;Y1;X1;K\"a\"\r\nC;X2;K\"b\"\r\nC;X3;K\"t\"\r\n"
                             "C;Y2;X1;K\"x;\xE9\"\r\nC;X2;K2\r\n" +
                                 rows);
  ASSERT_TRUE(save(ZR_SAVE_SYLK, file, g).ok());
  const std::string plain = "ID;PZR\r\nB;Y2;X3\r\nC;Y1;X1;K\"x;\xE9\"\r\nC;X2;K2\r\n";
  EXPECT_EQ(fileBytes(file).substr(0, plain.size()), plain);
}

TEST_F(ClassicFormats, LotusRecords) {
  Grid g = {{{u"a", 0, ZR_COL_STRING}, {u"n", 0, ZR_COL_DOUBLE}, {u"t", 0, ZR_COL_TIME}, {u"m", 0, ZR_COL_DECIMAL}},
            {{str(std::u16string(300, u'x')), num(2.5), clock(12, 30, 15, 500000), dec(u"-0.5")},
             {null(), null(), null(), null()}}};
  std::string file = path("grid.wk1");
  ASSERT_TRUE(save(ZR_SAVE_WK1, file, g, ZR_SAVE_HEADING).ok());
  auto label = [](int col, int row, const std::string& text) {
    return u16(0x0F) + u16(static_cast<uint32_t>(text.size()) + 7) + "q" + u16(col) + u16(row) + "'" + text +
           std::string(1, '\0');
  };
  auto number = [](int col, int row, double v) {
    std::string bytes(8, '\0');
    std::memcpy(bytes.data(), &v, 8);
    return u16(0x0E) + u16(13) + "q" + u16(col) + u16(row) + bytes;
  };
  std::string expected = u16(0) + u16(2) + u16(0x0406) + u16(6) + u16(8) + u16(0) + u16(0) + u16(4) + u16(2) +
                         label(0, 0, "a") + label(1, 0, "n") + label(2, 0, "t") + label(3, 0, "m") +
                         label(0, 1, std::string(239, 'x')) + number(1, 1, 2.5) + label(2, 1, "12:30:15:5") +
                         number(3, 1, -0.5) + u16(1) + u16(0);
  EXPECT_EQ(fileBytes(file), expected);
  EXPECT_EQ(save(ZR_SAVE_WKS, file, g, ZR_SAVE_HEADING).ok(), true);
  EXPECT_EQ(fileBytes(file), expected);
}

TEST_F(ClassicFormats, LotusRowsEndAtTheLastAddressableRow) {
  IZR_SaveFileType* type = CreateFileType(ZR_SAVE_WK1);
  ZR_SAVE_STATE* s = type->Begin(nullptr, 0, u"/dev/null", 0, 1, 0, 0);
  ASSERT_NE(s, nullptr);
  ASSERT_TRUE(type->AddColumn(s, u"n", 0, ZR_COL_DOUBLE));
  double v = 1;
  int written = 0;
  while (written < 70000 && type->WriteValue(s, &v)) ++written;
  EXPECT_EQ(written, 65536);
  type->End(s);
  ZrHeap_free(type);
}

}  // namespace
