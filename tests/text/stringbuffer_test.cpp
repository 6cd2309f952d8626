// The string buffer's growth and its spill to a file when the heap refuses
// memory, and the growable block's growth rules.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "ostextfile.h"
#include "shbuffer.h"
#include "text/stringbuffer.h"

namespace {

TEST(StringBuffer, GrowsByAtLeastAQuarter) {
  SH_STRINGBUFFER sb = {};
  ASSERT_EQ(sh_stringbuffer_appendstring(&sb, u"hello"), 1);
  EXPECT_EQ(sb.capacity, 5u + 512u);  // text length + 512 on an empty buffer
  EXPECT_EQ(sb.length, 5u);
  std::u16string big(4000, u'x');
  sh_stringbuffer_appendstring(&sb, big.c_str());
  EXPECT_EQ(sb.capacity, 517u + 4000u + 512u);  // a quarter of 517 is below 512
  std::u16string more(5000, u'y');
  sh_stringbuffer_appendstring(&sb, more.c_str());
  EXPECT_EQ(sb.capacity, 11286u);  // 5029 + 5000 + a quarter of 5029
  EXPECT_EQ(std::u16string(sb.text), u"hello" + big + more);
  EXPECT_EQ(sh_stringbuffer_appendchar(&sb, u'!'), 9006u);
  EXPECT_EQ(sb.text[9005], u'!');
  EXPECT_EQ(sb.text[9006], 0);
  sh_stringbuffer_delete(&sb);
  EXPECT_EQ(sb.text, nullptr);
}

TEST(StringBuffer, CharacterAppendsGrowBy501) {
  SH_STRINGBUFFER sb = {};
  for (int i = 0; i < 600; ++i) sh_stringbuffer_appendchar(&sb, static_cast<char16_t>(u'a' + i % 26));
  EXPECT_EQ(sb.capacity, 1002u);
  EXPECT_EQ(sb.length, 600u);
  sh_stringbuffer_reset(&sb);
  EXPECT_EQ(sb.capacity, 0u);
}

TEST(StringBuffer, AppendingAnUnspilledBufferCostsNoFile) {
  SH_STRINGBUFFER a = {}, b = {};
  sh_stringbuffer_appendstring(&a, u"left ");
  sh_stringbuffer_appendstring(&b, u"right");
  ASSERT_EQ(sh_stringbuffer_appendbuffer(&a, &b), 1);
  EXPECT_EQ(a.spillPath, nullptr);
  EXPECT_EQ(std::u16string(a.text), u"left right");
  sh_stringbuffer_delete(&a);
  sh_stringbuffer_delete(&b);
}

#if !defined(__SANITIZE_ADDRESS__)
// Pieces with line ends of every kind and text outside ASCII, so that the
// round trip through the file would show any change.
std::u16string piece(int i) {
  std::u16string p = u"piece " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)) + u" \u00e9\u4e2d\r\n";
  p += i % 3 ? u"lf\n" : u"cr\r";
  return p + std::u16string(100000, static_cast<char16_t>(0x0400 + i % 200));
}

// Compares a buffer's whole content with a head text and pieces 0..n-1,
// piece by piece, so that the check itself needs little memory.
bool contentIs(SH_STRINGBUFFER* buffer, const std::u16string& head, int n) {
  char path[] = "/tmp/zrsbXXXXXX";
  int fd = mkstemp(path);
  bool ok = zr::text::StringBufferWriteTo(buffer, fd, OSTF_UTF16);
  lseek(fd, 0, SEEK_SET);
  FILE* f = fdopen(fd, "rb");
  auto next = [f]() -> int {
    char16_t unit;
    return std::fread(&unit, 2, 1, f) == 1 ? unit : -1;
  };
  ok = ok && next() == 0xFEFF;
  for (char16_t c : head) ok = ok && next() == c;
  for (int i = 0; i < n && ok; ++i)
    for (char16_t c : piece(i)) ok = ok && next() == c;
  ok = ok && next() == -1;
  std::fclose(f);
  unlink(path);
  return ok;
}

// In a child process with a small address space, the heap soon refuses the
// buffer's growth: the text so far goes to the spill file and later appends
// start a new memory part. Everything must come back, in order.
void spillUnderMemoryLimit() {
  long pages = 0;
  FILE* f = std::fopen("/proc/self/statm", "r");
  if (!f || std::fscanf(f, "%ld", &pages) != 1) _exit(3);
  std::fclose(f);
  rlimit limit{static_cast<rlim_t>(pages) * 4096 + (24u << 20), 0};
  limit.rlim_max = limit.rlim_cur;
  if (setrlimit(RLIMIT_AS, &limit) != 0) _exit(4);

  const int pieces = 100;
  SH_STRINGBUFFER sb = {};
  bool spilled = false;
  for (int i = 0; i < pieces; ++i) {
    if (sh_stringbuffer_appendstring(&sb, piece(i).c_str()) != 1) _exit(5);
    spilled = spilled || sb.spillPath;
  }
  if (!spilled) _exit(6);
  if (!contentIs(&sb, u"", pieces)) _exit(7);
  SH_STRINGBUFFER tail = {};
  sh_stringbuffer_appendstring(&tail, u"the end");
  if (sh_stringbuffer_appendbuffer(&tail, &sb) != 1) _exit(8);  // a spilled source goes file to file
  if (!contentIs(&tail, u"the end", pieces)) _exit(9);
  sh_stringbuffer_delete(&tail);
  sh_stringbuffer_delete(&sb);
  _exit(0);
}

TEST(StringBuffer, SpillsToAFileWhenTheHeapRefusesAndKeepsEverything) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(spillUnderMemoryLimit(), ::testing::ExitedWithCode(0), "");
}
#endif

TEST(GrowableBlock, GrowthRules) {
  zrstg_handle* h = zrstg_begin(0);
  SH_GRWBLK* g = sh_new_grwblk(h, 40, sizeof(int), nullptr);
  int one = 1;
  EXPECT_EQ(sh_append_to_grwblk(h, g, &one, 1, nullptr), 1u);
  EXPECT_EQ(g->capacity, 40u);
  int many[100];
  for (int i = 0; i < 100; ++i) many[i] = i;
  // 100 items with 39 free: ((100 - 39) / 40 + 1) steps more.
  EXPECT_EQ(sh_append_to_grwblk(h, g, many, 100, nullptr), 101u);
  EXPECT_EQ(g->capacity, 120u);
  int seven = 7;
  sh_set_grwblk_item(h, g, 200, &seven, nullptr);
  EXPECT_EQ(g->capacity, 240u);
  EXPECT_EQ(g->count, 201u);
  EXPECT_EQ(sh_add_to_grwblk(h, g, &one, nullptr), 201u);
  uint32_t count = 0;
  int* items = static_cast<int*>(sh_grwblk_close(h, g, &count));
  EXPECT_EQ(count, 202u);
  EXPECT_EQ(items[0], 1);
  EXPECT_EQ(items[100], 99);
  EXPECT_EQ(items[200], 7);

  SH_GRWBLK* fresh = sh_new_grwblk(h, 40, 8, nullptr);
  sh_set_grwblk_item(h, fresh, 100, "12345678", nullptr);
  EXPECT_EQ(fresh->capacity, 140u);
  EXPECT_EQ(fresh->count, 101u);
  sh_grwblk_delete(h, fresh);

  SH_GRWBLK* empty = sh_new_grwblk(h, 10, 4, nullptr);
  EXPECT_EQ(sh_grwblk_close(h, empty, &count), nullptr);
  EXPECT_EQ(count, 0u);
  zrstg_end(h);
}

}  // namespace
