// The report switches a caller sets at run time: the check interval, full
// source paths, and how many user bytes a dump shows.
#include <gtest/gtest.h>

#include <string>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

// Writes where the sanitizer would stop the test before the heap can look.
__attribute__((no_sanitize("address"))) void scribble(char* at) { *at ^= 0x55; }

TEST(HeapReportSwitches, CheckIntervalSkipsAllButEveryNthWalk) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        testing::reportToStderr();
        ZrHeap_debugOn();
        char* p = static_cast<char*>(ZrHeap__alloc(16, "Guarded", "alloc", "free", "g.cpp", 1, nullptr));
        scribble(p + 16);
        ZrHeap_setCheckInterval(3);
        ZrHeap_checkAll();
        ZrHeap_checkAll();
        std::fputs("two walks skipped\n", stderr);
        ZrHeap_checkAll();
      },
      "two walks skipped\n(.|\n)*check: invalid guard suffix");
}

class HeapDebugDump : public ::testing::Test {
 protected:
  void SetUp() override { ZrHeap_debugOn(); }
  void TearDown() override {
    ZrHeap_debugOff();
    ZrHeap_showFullPath(0);
    ZrHeap_showBufferMaximumBytes(200);
  }
  // The dump's line for the block and the rows of user bytes under it.
  static std::string dumpOf(void* u) {
    testing::CapturedLog log;
    ZrHeap_dump(1);
    char address[32];
    std::snprintf(address, sizeof address, "%p  ", u);
    std::string out;
    for (const std::string& line : log.get()) {
      const bool blockLine = line.rfind("0x", 0) == 0 && line[line.find_first_of(" :")] == ' ';
      if (!out.empty() && (blockLine || line[0] == '_')) break;
      if (!out.empty() || line.rfind(address, 0) == 0) out += line + "\n";
    }
    return out;
  }
};

TEST_F(HeapDebugDump, FullPathSwitch) {
  void* p = ZrHeap__alloc(4, "Item", "alloc", "free", "c:\\src\\item.cpp", 9, nullptr);
  EXPECT_NE(dumpOf(p).find("file item.cpp, line 9"), std::string::npos) << dumpOf(p);
  ZrHeap_showFullPath(1);
  EXPECT_NE(dumpOf(p).find("file c:\\src\\item.cpp, line 9"), std::string::npos) << dumpOf(p);
  ZrHeap_showFullPath(0);
  EXPECT_NE(dumpOf(p).find("file item.cpp, line 9"), std::string::npos) << dumpOf(p);
  ZrHeap_free(p);
}

TEST_F(HeapDebugDump, BufferMaximumCutsTheUserBytes) {
  auto* p = static_cast<char*>(ZrHeap__alloc(50, "Text", "alloc", "free", "t.cpp", 1, nullptr));
  for (int i = 0; i < 50; ++i) p[i] = static_cast<char>('A' + i % 26);
  ZrHeap_showBufferMaximumBytes(20);
  std::string cut = dumpOf(p);
  EXPECT_NE(cut.find("ABCDEFGHIJKLMNOPQRST"), std::string::npos) << cut;
  EXPECT_EQ(cut.find("UVWXYZ"), std::string::npos) << cut;
  EXPECT_NE(cut.find("... [30 bytes omitted]"), std::string::npos) << cut;
  ZrHeap_showBufferMaximumBytes(200);
  std::string whole = dumpOf(p);
  EXPECT_NE(whole.find("UVWXYZABCDEFGHIJKLMN"), std::string::npos) << whole;
  EXPECT_EQ(whole.find("omitted"), std::string::npos) << whole;
  ZrHeap_free(p);
}

}  // namespace
}  // namespace zr::heap
