// Exported files read back by independent programs: LibreOffice, gnumeric's
// ssconvert, Python's csv and xml modules, dbfread, SQLite and SheetJS.
// scripts/setup.sh installs them all; a missing one fails the test.
#include <sys/wait.h>

#include <cstdio>
#include <cstring>

#include "tests/export/export_test_util.h"

namespace {

using namespace exporttest;

// What a reader should see in a cell.
struct Want {
  enum Kind { Null, Text, Number, Date } kind = Null;
  std::u16string text;
  double number = 0;
};

Want wnull() { return {}; }
Want wtext(std::u16string t) { return {Want::Text, std::move(t)}; }
Want wnum(double d) { return {Want::Number, {}, d}; }
Want wdate(std::u16string iso) { return {Want::Date, std::move(iso)}; }

using Rows = std::vector<std::vector<Want>>;

std::string jsonText(std::u16string_view text) {
  std::string out = "\"";
  for (char16_t c : text) {
    if (c >= 0x20 && c < 0x7F && c != u'"' && c != u'\\') {
      out += static_cast<char>(c);
    } else {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(c));
      out += escape;
    }
  }
  return out + "\"";
}

std::string json(const Rows& rows, const std::string& fields = "") {
  std::string out = "{\"rows\": [";
  for (size_t r = 0; r < rows.size(); ++r) {
    out += r ? ",\n[" : "[";
    for (size_t c = 0; c < rows[r].size(); ++c) {
      const Want& w = rows[r][c];
      if (c) out += ", ";
      char number[40];
      switch (w.kind) {
        case Want::Null: out += "null"; break;
        case Want::Text: out += jsonText(w.text); break;
        case Want::Number:
          std::snprintf(number, sizeof number, "%.17g", w.number);
          out += number;
          break;
        case Want::Date: out += "{\"date\": " + jsonText(w.text) + "}"; break;
      }
    }
    out += "]";
  }
  out += "]";
  if (!fields.empty()) out += ", \"fields\": " + fields;
  return out + "}";
}

struct Finished {
  int status = -1;
  std::string output;
};

Finished run(const std::string& command) {
  Finished r;
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return r;
  char chunk[4096];
  for (size_t n; (n = fread(chunk, 1, sizeof chunk, pipe)) > 0;) r.output.append(chunk, n);
  int status = pclose(pipe);
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

// Mixed values as every classic reader knows them: text, numbers, a date
// column, a time column and a row of nulls.
const Grid kMixed = {{{u"name", 12, ZR_COL_STRING},
                      {u"price", 0, ZR_COL_DOUBLE},
                      {u"amount", 2, ZR_COL_DECIMAL},
                      {u"day", 0, ZR_COL_DATE},
                      {u"at", 0, ZR_COL_TIME}},
                     {{str(u"apple"), num(1.5), dec(u"12.34"), when(2026, 11, 25), clock(12, 30, 15)},
                      {str(u"pear, ripe"), num(-2.25), dec(u"-7"), when(1999, 1, 2), clock(1, 2, 3)},
                      {null(), null(), null(), null(), null()}}};

// kMixed as a reader sees it. Null numbers are written as zeros by every
// format but Lotus; a time keeps the bare separator outside dBase.
Rows mixedRows(int format, bool names) {
  bool dbase = format == ZR_SAVE_DBASE3 || format == ZR_SAVE_DBASE2;
  Want zero = format == ZR_SAVE_WK1 ? wnull() : wnum(0);
  Rows rows;
  if (names) rows.push_back({wtext(u"name"), wtext(u"price"), wtext(u"amount"), wtext(u"day"), wtext(u"at")});
  rows.push_back({wtext(u"apple"), wnum(1.5), wnum(12.34), wdate(u"2026-11-25"),
                  wtext(dbase ? u"12:30:15" : u"12:30:15:")});
  rows.push_back({wtext(u"pear, ripe"), wnum(-2.25), wnum(-7), wdate(u"1999-01-02"),
                  wtext(dbase ? u"01:02:03" : u"01:02:03:")});
  rows.push_back({wnull(), zero, zero, wnull(), wnull()});
  return rows;
}

class Readers : public ExportTest {
 protected:
  // Writes the expected grid beside the file and runs a reader on both.
  void check(const std::string& reader, const std::string& file, const Rows& rows, const std::string& fields = "") {
    SCOPED_TRACE(reader + " " + file);
    std::string expected = file + "." + reader + ".json";
    std::ofstream(expected) << json(rows, fields);
    std::string command = reader == "sheetjs"
                              ? "node " ZR_READERS_DIR "/check_sheetjs.js " ZR_NODE_MODULES " '" + file + "' '" +
                                    expected + "'"
                              : "/usr/bin/python3 " ZR_READERS_DIR "/check_grid.py " + reader + " '" + file + "' '" +
                                    expected + "'";
    Finished r = run(command);
    EXPECT_EQ(r.status, 0) << r.output;
  }
};

TEST_F(Readers, SpreadsheetProgramsReadTheClassicFormats) {
  struct Format {
    int number;
    const char* file;
    const char* gnumericImporter;
    uint32_t flags;
  } formats[] = {{ZR_SAVE_DBASE3, "g_dbf.dbf", "Gnumeric_xbase:xbase", 0},
                 {ZR_SAVE_DIF, "g_dif.dif", "Gnumeric_dif:dif", 0},
                 {ZR_SAVE_SYLK, "g_slk.slk", "Gnumeric_sylk:sylk", ZR_SAVE_HEADING},
                 {ZR_SAVE_WK1, "g_wk1.wk1", "Gnumeric_lotus:lotus", ZR_SAVE_HEADING}};
  std::string files;
  for (const Format& f : formats) {
    ASSERT_TRUE(save(f.number, path(f.file), kMixed, f.flags, OSTF_ANSI).ok()) << f.file;
    files += " '" + path(f.file) + "'";
  }
  // LibreOffice takes a while to start: one call converts every file.
  Finished lo = run("soffice -env:UserInstallation=file://" + dir + "/profile --headless --convert-to fods --outdir '" +
               dir + "/lo'" + files);
  ASSERT_EQ(lo.status, 0) << lo.output;
  for (const Format& f : formats) {
    std::string stem = std::string(f.file).substr(0, 5);
    Rows rows = mixedRows(f.number, f.flags & ZR_SAVE_HEADING);
    Rows withFields = rows;
    if (f.number == ZR_SAVE_DBASE3) {
      withFields.insert(withFields.begin(), {wtext(u"NAME,C,12"), wtext(u"PRICE,N,16,0"), wtext(u"AMOUNT,N,17,2"),
                                             wtext(u"DAY,D"), wtext(u"AT,C,8")});
      rows.insert(rows.begin(), {wtext(u"NAME"), wtext(u"PRICE"), wtext(u"AMOUNT"), wtext(u"DAY"), wtext(u"AT")});
    }
    check("fods", dir + "/lo/" + stem + ".fods", withFields);
    std::string converted = path(stem + ".gnumeric");
    Finished gnumeric = run(std::string("ssconvert -I ") + f.gnumericImporter + " -T Gnumeric_XmlIO:sax '" +
                       path(f.file) + "' '" + converted + "'");
    ASSERT_EQ(gnumeric.status, 0) << gnumeric.output;
    check("gnumeric", converted, rows);
  }
}

TEST_F(Readers, DbfreadSeesFieldsAndCodePageText) {
  Grid g = kMixed;
  g.columns.push_back({u"longcolumnname", 0, ZR_COL_STRING});
  g.rows[0].push_back(str(u"café 中"));
  g.rows[1].push_back(str(std::u16string(300, u'z')));
  g.rows[2].push_back(null());
  std::string file = path("table.dbf");
  ASSERT_TRUE(save(ZR_SAVE_DBASE3, file, g).ok());
  Rows rows = mixedRows(ZR_SAVE_DBASE3, false);
  rows[0].push_back(wtext(u"café ?"));
  rows[1].push_back(wtext(std::u16string(255, u'z')));
  check("dbf", file, rows,
        R"([["NAME", "C", 12, 0], ["PRICE", "N", 16, 0], ["AMOUNT", "N", 17, 2], ["DAY", "D", 8, 0],)"
        R"( ["AT", "C", 8, 0], ["LONGCOLUMN", "C", 255, 0]])");
}

TEST_F(Readers, SheetJsReadsDbaseTwoAndLotusText) {
  std::string file = path("table.db2");
  ASSERT_TRUE(save(ZR_SAVE_DBASE2, file, kMixed).ok());
  Rows rows = mixedRows(ZR_SAVE_DBASE2, false);
  rows.insert(rows.begin(), {wtext(u"NAME"), wtext(u"PRICE"), wtext(u"AMOUNT"), wtext(u"DAY"), wtext(u"AT")});
  rows[1][3] = wtext(u"2026/11/25");
  rows[2][3] = wtext(u"1999/01/02");
  check("sheetjs", file, rows);

  Grid lotus = {{{u"text", 0, ZR_COL_STRING}}, {{str(u"café")}, {str(std::u16string(300, u'é'))}}};
  file = path("text.wk1");
  ASSERT_TRUE(save(ZR_SAVE_WK1, file, lotus).ok());
  check("sheetjs", file, {{wtext(u"café")}, {wtext(std::u16string(239, u'é'))}});
}

TEST_F(Readers, SqliteRunsTheSqlExport) {
  Grid g = {{{u"name", 12, ZR_COL_STRING},
             {u"price", 0, ZR_COL_DOUBLE},
             {u"day", 0, ZR_COL_DATE},
             {u"amount", 2, ZR_COL_DECIMAL}},
            {{str(u"it's é"), num(1.5), str(u"'2026-11-25'"), dec(u"12.5")}, {null(), null(), null(), null()}}};
  std::string file = path("grid.sql");
  ASSERT_TRUE(save(ZR_SAVE_SQL, file, g, 0, OSTF_UTF8_MARK).ok());
  check("sqlite", file,
        {{wtext(u"it's é"), wnum(1.5), wtext(u"2026-11-25"), wnum(12.5)}, {wnull(), wnull(), wnull(), wnull()}});
}

TEST_F(Readers, PythonReadsManyRowsOfCsvTextAndXml) {
  Grid g = {{{u"text", 0, ZR_COL_STRING}, {u"n", 0, ZR_COL_DOUBLE}, {u"day", 0, ZR_COL_DATE}}, {}};
  const std::u16string samples[] = {u"plain", u"a, b", u"line\nbreak", u"say \"hi\", then go", u"é ü ß",
                                    u"中文 😀 𝄞", u"", u"tab\there"};
  Rows plain;
  for (int i = 0; i < 30000; ++i) {
    std::u16string text = samples[i % 8] + u" #" + std::u16string(1, char16_t(u'0' + i % 10));
    double n = i + 0.5;
    char shown[32];
    std::snprintf(shown, sizeof shown, "%.1f", n);
    g.rows.push_back({str(text), num(n), when(2000 + i % 30, 1 + i % 12, 1 + i % 28)});
    char day[16];
    std::snprintf(day, sizeof day, "%04d-%02d-%02d", 2000 + i % 30, 1 + i % 12, 1 + i % 28);
    plain.push_back({wtext(text), wtext(std::u16string(shown, shown + std::strlen(shown))),
                     wtext(std::u16string(day, day + 10))});
  }
  for (uint32_t encoding : {uint32_t{OSTF_UTF8_MARK}, uint32_t{OSTF_UTF16}}) {
    std::string csv = path("many.csv");
    ASSERT_TRUE(save(ZR_SAVE_CSV, csv, g, 0, encoding).ok());
    check("csv", csv, plain);
    std::string text = path("many.txt");
    ASSERT_TRUE(save(ZR_SAVE_TEXT, text, g, 0, encoding).ok());
    check("tsv", text, plain);
  }
  std::string xml = path("grid.xml");
  ASSERT_TRUE(save(ZR_SAVE_XML, xml, g).ok());
  check("xml", xml, plain);
}

}  // namespace
