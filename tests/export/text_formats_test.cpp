// Text, CSV, clipboard, SQL and XML exports, byte for byte, and the state
// and writer beneath them.
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/export/export_test_util.h"
#include "platform/clipboard.h"

namespace {

using namespace exporttest;

struct TextCase {
  const char* label;
  int format;
  uint32_t flags;
  Grid grid;
  std::u16string expected;  // the text after the UTF-16 mark
};

const Grid kQuoting = {{{u"a,b", 9, ZR_COL_STRING}, {u"c", 9, ZR_COL_STRING}},
                       {{str(u"a,b"), str(u"q\"x")}, {str(u"\"lead"), str(u"tab\tx")}, {str(u"cr\rx"), str(u"lf\nx")}}};

const Grid kValues = {{{u"d", 0, ZR_COL_DOUBLE},
                       {u"dt", 0, ZR_COL_DATETIME},
                       {u"day", 0, ZR_COL_DATE},
                       {u"t", 0, ZR_COL_TIME},
                       {u"m", 2, ZR_COL_DECIMAL},
                       {u"odd", 0, 9}},
                      {{num(1.5), when(2026, 11, 25, 12, 30, 15), when(2026, 11, 25), clock(9, 5, 7, 500000),
                        dec(u"12.34"), num(3)},
                       {num(-0.25), when(1999, 1, 2, 23, 59, 58, 120), when(1999, 1, 2), clock(12, 30, 15),
                        dec(u"-7"), str(u"x")},
                       {null(), null(), null(), null(), null(), null()}}};

std::vector<TextCase> textCases() {
  return {
      {"text quoting", ZR_SAVE_TEXT, ZR_SAVE_HEADING, kQuoting,
       u"a,b\tc\r\na,b\tq\"x\r\n\"\"\"lead\"\t\"tab\tx\"\r\n\"cr\rx\"\t\"lf\nx\"\r\n"},
      {"csv quoting", ZR_SAVE_CSV, ZR_SAVE_HEADING, kQuoting,
       u"a,b,c\r\n\"a,b\",q\"x\r\n\"lead,tab\tx\r\ncr\rx,\"lf\nx\"\r\n"},
      {"text values", ZR_SAVE_TEXT, 0, kValues,
       u"1.5\t2026-11-25 12:30:15.\t2026-11-25\t09:05:07.5\t12.34\t\r\n"
       u"-0.25\t1999-01-02 23:59:58.00012\t1999-01-02\t12:30:15.\t-7\t\r\n\t\t\t\t\t\r\n"},
      {"csv values", ZR_SAVE_CSV, 0, kValues,
       u"1.5,2026-11-25 12:30:15:,2026-11-25,09:05:07:5,12.34,\r\n"
       u"-0.25,1999-01-02 23:59:58:00012,1999-01-02,12:30:15:,-7,\r\n,,,,,\r\n"},
      {"format 14 is text", 14, 0, {{{u"a", 1, ZR_COL_STRING}, {u"b", 1, ZR_COL_STRING}}, {{str(u"x"), null()}}},
       u"x\t\r\n"},
      {"unknown format is text", 99, ZR_SAVE_HEADING, {{{u"a", 1, ZR_COL_STRING}}, {}}, u"a\r\n"},
      {"sql", ZR_SAVE_SQL, ZR_SAVE_HEADING,
       {{{u"name", 10, ZR_COL_STRING},
         {u"price", 0, ZR_COL_DOUBLE},
         {u"at", 0, ZR_COL_DATETIME},
         {u"day", 0, ZR_COL_DATE},
         {u"t", 0, ZR_COL_TIME},
         {u"amount", 2, ZR_COL_DECIMAL}},
        {{str(u"it's"), num(1.5), str(u"'2026-11-25 12:30:15'"), str(u"'2026-11-25'"), str(u"'12:30:15'"),
          dec(u"12.34")},
         {null(), null(), null(), null(), null(), null()}}},
       u"CREATE TABLE my data (\r\n\tname char(10),\r\n\tprice float,\r\n\tat datetime,\r\n\tday date,\r\n\tt time,"
       u"\r\n\tamount decimal(16, 2));"
       u"\r\nINSERT INTO my data VALUES (\r\n\t'it''s',\r\n\t1.5,\r\n\t'2026-11-25 12:30:15',\r\n\t'2026-11-25',"
       u"\r\n\t'12:30:15',\r\n\t12.34);"
       u"\r\nINSERT INTO my data VALUES (\r\n\tNULL,\r\n\tNULL,\r\n\tNULL,\r\n\tNULL,\r\n\tNULL,\r\n\tNULL);\r\n"},
      {"xml", ZR_SAVE_XML, ZR_SAVE_HEADING,
       {{{u"name", 10, ZR_COL_STRING}, {u"(None)", 10, ZR_COL_STRING}, {u"n", 0, ZR_COL_DOUBLE},
         {u"t", 0, ZR_COL_TIME}},
        {{str(u"a&amp;b & <c> \"q\" 'x'"), null(), num(2.5), clock(1, 2, 3, 40)}}},
       u"<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>\r\n<my_data>\r\n\t<my_data_row>\r\n"
       u"\t\t<name>a&amp;b &amp; &lt;c&gt; &quot;q&quot; 'x'</name>\r\n\t\t<column></column>\r\n"
       u"\t\t<n>2.5</n>\r\n\t\t<t>01:02:03:00004</t>\r\n\t</my_data_row>\r\n</my_data>\r\n"},
  };
}

class TextFormats : public ExportTest {};

TEST_F(TextFormats, ByteExactFiles) {
  for (const TextCase& c : textCases()) {
    SCOPED_TRACE(c.label);
    std::string file = path("my data.old.txt");
    ASSERT_TRUE(save(c.format, file, c.grid, c.flags).ok());
    EXPECT_EQ(fileBytes(file), "\xFF\xFE" + utf16le(c.expected));
  }
}

TEST_F(TextFormats, EncodingsAndTheFractionSeparator) {
  settings({{u"sDecimal", u","}, {u"sTime", u"."}});
  Grid g = {{{u"t", 0, ZR_COL_TIME}, {u"s", 0, ZR_COL_STRING}}, {{clock(12, 30, 15, 500000), str(u"é😀")}}};
  std::string file = path("enc.txt");
  ASSERT_TRUE(save(ZR_SAVE_TEXT, file, g, 0, OSTF_UTF8_MARK).ok());
  EXPECT_EQ(fileBytes(file), "\xEF\xBB\xBF" "12.30.15,5\t\xC3\xA9\xF0\x9F\x98\x80\r\n");
  ASSERT_TRUE(save(ZR_SAVE_CSV, file, {g.columns, {{g.rows[0][0], str(u"é")}}}, 0, OSTF_ANSI).ok());
  EXPECT_EQ(fileBytes(file), "12.30.15.5,\xE9\r\n");
}

TEST_F(TextFormats, CodePageOutputFailsRatherThanCutsText) {
  Grid g = {{{u"s", 0, ZR_COL_STRING}}, {{str(u"fine")}, {str(u"中文")}, {str(u"after")}}};
  std::string file = path("ansi.csv");
  Outcome out = save(ZR_SAVE_CSV, file, g, 0, OSTF_ANSI);
  EXPECT_TRUE(out.begun);
  EXPECT_EQ(out.end, 0);
  EXPECT_EQ(fileBytes(file), "");
}

TEST_F(TextFormats, ClipboardHoldsTheTextFormWithoutMark) {
  Grid g = kQuoting;
  std::string file = path("clip.txt");
  ASSERT_TRUE(save(ZR_SAVE_TEXT, file, g, ZR_SAVE_HEADING).ok());
  ASSERT_TRUE(save(ZR_SAVE_CLIPBOARD, "", g, ZR_SAVE_HEADING).ok());
  auto* text = static_cast<const char16_t*>(zr::platform::clipboardData(zr::platform::kClipboardUnicodeText));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ("\xFF\xFE" + utf16le(text), fileBytes(file));

  ASSERT_TRUE(save(ZR_SAVE_CLIPBOARD, "", {g.columns, {}}).ok());
  EXPECT_EQ(zr::platform::clipboardData(zr::platform::kClipboardUnicodeText), nullptr);
}

TEST_F(TextFormats, SlotsAreReachedByNumber) {
  IZR_SaveFileType* object = CreateFileType(ZR_SAVE_CSV);
  ASSERT_NE(object, nullptr);
  void* self = object;
  const IZR_SaveFileTypeVtbl* slots = *reinterpret_cast<const IZR_SaveFileTypeVtbl* const*>(object);
  std::string file = path("slots.csv");
  std::u16string name(file.begin(), file.end());
  ZR_SAVE_STATE* s = slots->Begin(self, nullptr, 0, name.c_str(), 1, 2, ZR_SAVE_HEADING, OSTF_ANSI);
  ASSERT_NE(s, nullptr);
  EXPECT_TRUE(slots->AddColumn(self, s, u"a", 4, ZR_COL_STRING) && slots->AddColumn(self, s, u"b", 0, ZR_COL_DOUBLE));
  double two = 2;
  EXPECT_TRUE(slots->WriteValue(self, s, u"x") && slots->WriteValue(self, s, &two));
  EXPECT_EQ(s->rowNumber, 1);
  EXPECT_EQ(s->totalWidth, 4u);
  EXPECT_EQ(slots->End(self, s), 1);
  ZrHeap_free(object);
  EXPECT_EQ(fileBytes(file), "a,b\r\nx,2\r\n");
  for (int workbook : {1, 11, 13, 16, 17}) EXPECT_EQ(CreateFileType(workbook), nullptr) << workbook;
}

TEST_F(TextFormats, BaseNamesAndLimitsOfTheState) {
  struct {
    std::u16string name;
    std::u16string base;
  } cases[] = {{u"C:\\data\\my data.old.txt", u"my data"},
               {u"dir.v1/file", u"dir"},
               {u"/tmp/a.b/plain", u"a"},
               {u"x:grid", u"grid"},
               {u"trailing.", u"trailing"},
               {std::u16string(300, u'n') + u".csv", std::u16string(191, u'n')}};
  for (const auto& c : cases) {
    ZR_SAVE_STATE* s = InitDataExporter(nullptr, 0, c.name.c_str(), 0, 1, 0, 0, 0, nullptr);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(std::u16string(s->baseName), c.base);
    EXPECT_EQ(s->file.kind, 0u) << "no file is opened";
    osSaveEnd(s);
  }
  EXPECT_EQ(osSaveBegin32(nullptr, 0, nullptr, 0, -1, 0, 0), nullptr);
  EXPECT_EQ(osSaveBegin32(nullptr, 0, nullptr, 0, (1 << 20) + 1, 0, 0), nullptr);
  ZR_SAVE_STATE* web = osSaveBegin32Web(nullptr, 0, nullptr, 0, 1, 0, 0, u"sShortDate=dd.mm.yyyy");
  ASSERT_NE(web, nullptr);
  char16_t text[64];
  SH_TIME t = when(2026, 11, 25).time;
  shformatDateTime(text, 63, web->dateMask, &t, 0);
  EXPECT_EQ(std::u16string(text), u"25.11.2026");
  osSaveEnd(web);
}

TEST_F(TextFormats, UnopenableFilesGiveNoState) {
  Grid g = {{{u"a", 5, ZR_COL_STRING}}, {}};
  for (int format : {2, 3, 4, 5, 7, 8, 9, 10, 12}) {
    EXPECT_FALSE(save(format, dir + "/missing/x.out", g).begun) << format;
  }
  // A file another writer holds is not shared.
  std::string file = path("held.txt");
  std::u16string name(file.begin(), file.end());
  ZR_SAVE_FILE held = {};
  ASSERT_EQ(osFileOpenNew32(nullptr, 0, &held, name.c_str(), 0), 1);
  EXPECT_FALSE(save(ZR_SAVE_TEXT, file, g).begun);
  EXPECT_EQ(osFileClose32(&held, 1, 0), 1);
  EXPECT_TRUE(save(ZR_SAVE_TEXT, file, g).begun);
}

// A full device fails the write that flushes and every write after it.
TEST_F(TextFormats, FailedWritesStayFailed) {
  IZR_SaveFileType* type = CreateFileType(ZR_SAVE_CSV);
  ZR_SAVE_STATE* s = type->Begin(nullptr, 0, u"/dev/full", 0, 1, 0, OSTF_UTF8_MARK);
  ASSERT_NE(s, nullptr);
  ASSERT_TRUE(type->AddColumn(s, u"a", 10, ZR_COL_STRING));
  int firstFailure = -1;
  for (int i = 0; i < 5000; ++i) {
    int ok = type->WriteValue(s, u"some text to fill the buffer");
    if (!ok && firstFailure < 0) firstFailure = i;
    if (firstFailure >= 0) {
      EXPECT_EQ(ok, 0) << i;
    }
  }
  EXPECT_GT(firstFailure, 100) << "buffered until the first flush";
  EXPECT_EQ(type->End(s), 0);
  ZrHeap_free(type);
}

// A surrogate pair cut by the buffer's end is written whole by the next flush.
TEST_F(TextFormats, WriterKeepsSurrogatePairsWhole) {
  std::string file = path("pairs.txt");
  std::u16string name(file.begin(), file.end());
  for (uint32_t size : {0u, 7u, 10u}) {
    SCOPED_TRACE(size);
    ZR_SAVE_FILE f = {};
    ASSERT_EQ(osFileOpenNew32(nullptr, 0, &f, name.c_str(), size), 1);
    std::u16string text = std::u16string(size ? 3 : 8141, u'a') + u"😀b";
    std::u16string all;
    for (int i = 0; i < 5; ++i) {
      ASSERT_EQ(osFileWrite32(&f, text.data(), text.size() * 2, OSTF_UTF8_MARK), text.size() * 2);
      all += text;
    }
    EXPECT_EQ(osFileWrite32(&f, nullptr, 0, OSTF_UTF8_MARK), 1u);
    EXPECT_EQ(osFileClose32(&f, 1, OSTF_UTF8_MARK), 1);
    std::string expected = "\xEF\xBB\xBF";
    for (int i = 0; i < 5; ++i) expected += std::string(size ? 3 : 8141, 'a') + "\xF0\x9F\x98\x80" "b";
    EXPECT_EQ(fileBytes(file), expected);
  }
  // The byte form writes what it is given, with no mark.
  ZR_SAVE_FILE f = {};
  ASSERT_EQ(osFileOpenNew(nullptr, 0, &f, name.c_str(), 3), 1);
  EXPECT_EQ(osFileWrite(&f, "\x00\x01\x02\x03\x04", 5, 0), 5u);
  EXPECT_EQ(osFileClose(&f, 1, 0), 1);
  EXPECT_EQ(fileBytes(file), std::string("\x00\x01\x02\x03\x04", 5));
  EXPECT_EQ(osFileWrite(&f, "x", 1, 0), 0u) << "closed";
}

}  // namespace
