// The environment switches, each read by a fresh process at heap start-up,
// and the exact report lines of a known heap.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string runProbe(const std::string& environment, const std::string& args) {
  std::string command = "env -i " + environment + " " + HEAP_PROBE + " " + args + " 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
  pclose(pipe);
  return out;
}

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(HeapEnvironment, DefaultsWhenUnset) {
  std::string out = runProbe("", "settings");
  EXPECT_TRUE(has(out, "flags=32\n")) << out;  // only the guard suffix check
  EXPECT_TRUE(has(out, "poolThreshold=262144\n")) << out;
  EXPECT_TRUE(has(out, "memLowThreshold=0\n")) << out;
  EXPECT_TRUE(has(out, "reserved=2064384\n")) << out;
  EXPECT_TRUE(has(out, "allocFill=-1 freeFill=-1\n")) << out;
  EXPECT_TRUE(has(out, "checkInterval=1\n")) << out;
  EXPECT_TRUE(has(out, "mpMaxIndex=19 ")) << out;
  EXPECT_TRUE(has(out, "printSizeIndex=-1 poolCheck=0\n")) << out;
  // 0x1F8000 bytes: roots of 1544192, 364544, 139264 and 12288, one page left.
  EXPECT_TRUE(has(out, "waste=4096/1\n")) << out;
}

TEST(HeapEnvironment, TrueWordsAndSizeWords) {
  std::string out = runProbe(
      "ZR_HEAP_DEBUG=True ZR_HEAP_CHECK=t ZR_HEAP_TRACE=yes ZR_HEAP_SHOW_FULL_PATH=TRUE "
      "ZR_HEAP_CHECK_GUARD_SUFFIX=false ZR_HEAP_POOL_CHECK=t ZR_POOL_THRESHOLD=64k "
      "ZR_MEMLOW_WARNING_THRESHOLD=1m ZR_HEAP_SIZE=1M",
      "settings");
  EXPECT_TRUE(has(out, "flags=19\n")) << out;  // debug, check, full path; trace "yes" is off
  EXPECT_TRUE(has(out, "poolThreshold=65536\n")) << out;
  EXPECT_TRUE(has(out, "memLowThreshold=1048576\n")) << out;
  EXPECT_TRUE(has(out, "reserved=1048576\n")) << out;
  EXPECT_TRUE(has(out, "poolCheck=1\n")) << out;
}

TEST(HeapEnvironment, InvalidSizeWordsCountAsUnset) {
  std::string out = runProbe("ZR_POOL_THRESHOLD=64kb ZR_HEAP_SIZE=12X ZR_MEMLOW_WARNING_THRESHOLD=k", "settings");
  EXPECT_TRUE(has(out, "poolThreshold=262144\n")) << out;
  EXPECT_TRUE(has(out, "reserved=2064384\n")) << out;
  EXPECT_TRUE(has(out, "memLowThreshold=0\n")) << out;
}

TEST(HeapEnvironment, NumbersAndCaps) {
  std::string out = runProbe(
      "ZR_HEAP_ALLOC_INIT=171 ZR_HEAP_FREE_FILL=205 ZR_HEAP_CHECK_INTERVAL=5 ZR_HEAP_MP_MAX_SIZE=100 "
      "ZR_HEAP_MP_MAX_SLOT=99 ZR_HEAP_PRINT_SIZEINDEX=3",
      "settings");
  EXPECT_TRUE(has(out, "allocFill=171 freeFill=205\n")) << out;
  EXPECT_TRUE(has(out, "checkInterval=5\n")) << out;
  EXPECT_TRUE(has(out, "mpMaxIndex=8 mpMaxSlot=31\n")) << out;  // 100 -> class 128
  EXPECT_TRUE(has(out, "printSizeIndex=3 ")) << out;
  out = runProbe("ZR_HEAP_MP_MAX_SIZE=100000", "settings");
  EXPECT_TRUE(has(out, "mpMaxIndex=19 ")) << out;  // capped to the last small class
}

TEST(HeapEnvironment, FillPatternsApplyWhileDebugIsOn) {
  std::string out = runProbe("ZR_HEAP_DEBUG=t ZR_HEAP_ALLOC_INIT=171 ZR_HEAP_FREE_FILL=205", "fill");
  EXPECT_TRUE(has(out, "alloc fill AB AB\n")) << out;
  EXPECT_TRUE(has(out, "free fill CD CD\n")) << out;
  out = runProbe("ZR_HEAP_ALLOC_INIT=171 ZR_HEAP_FREE_FILL=205", "fill");
  EXPECT_FALSE(has(out, "alloc fill AB")) << out;
  EXPECT_FALSE(has(out, "free fill CD")) << out;
}

TEST(HeapEnvironment, CheckIntervalWalksEveryNthCall) {
  std::string out = runProbe("ZR_HEAP_DEBUG=t ZR_HEAP_CHECK_INTERVAL=5", "check 9");
  // Calls 1 to 4 pass over the broken block; the fifth walks and reports it.
  EXPECT_TRUE(has(out, "call 5\n")) << out;
  EXPECT_FALSE(has(out, "call 6\n")) << out;
  EXPECT_TRUE(has(out, "check: invalid guard suffix (address: ")) << out;
  // Without the guard suffix switch the same corruption goes unseen.
  out = runProbe("ZR_HEAP_DEBUG=t ZR_HEAP_CHECK_GUARD_SUFFIX=f", "check 3");
  EXPECT_TRUE(has(out, "call 3\n")) << out;
  EXPECT_FALSE(has(out, "invalid guard")) << out;
}

TEST(HeapEnvironment, TraceAndPrintSizeIndex) {
  std::string out = runProbe("ZR_HEAP_DEBUG=t ZR_HEAP_TRACE=t ZR_HEAP_PRINT_SIZEINDEX=5", "trace");
  // Labels "alloc" and "free" show the block's own alloc and free names.
  EXPECT_TRUE(has(out, "  make Traced (size 40, file t.cpp, line 5)\n")) << out;
  EXPECT_TRUE(has(out, "  unmake Traced (size 40, file t.cpp, line 5)\n")) << out;
  EXPECT_TRUE(has(out, "allocVM(2064384)\n")) << out;
  EXPECT_TRUE(has(out, "  initBuddySystem (heap size 2064384)\n")) << out;
  EXPECT_TRUE(has(out, "  buddy split (size 139264 -> 86016:53248 @ ")) << out;
  EXPECT_TRUE(has(out, "\na0x")) << out;  // 40 bytes: class 48, index 5
  EXPECT_TRUE(has(out, "\nf0x")) << out;
}

TEST(HeapEnvironment, LowMemoryWarningFiresOncePerNewLow) {
  std::string out = runProbe("ZR_HEAP_LOGFILENAME=/dev/stdout ZR_MEMLOW_WARNING_THRESHOLD=100000G", "settings");
  size_t first = out.find("ZR HEAP WARNING: Available virtual memory at low level\nTotal Virtual Memory = ");
  ASSERT_NE(first, std::string::npos) << out;
  EXPECT_TRUE(has(out, "\nAvailable Virtual Memory = ")) << out;
  EXPECT_TRUE(has(out, "ZR Heap Summary:")) << out;
  EXPECT_TRUE(has(out, "memLowThreshold=107374182400000\n")) << out;
}

TEST(HeapEnvironment, LogFileOverwriteAndAppend) {
  std::string path = ::testing::TempDir() + "zrheap_log.txt";
  std::remove(path.c_str());
  runProbe("ZR_HEAP_LOGFILENAME=" + path + " ZR_HEAP_DEBUG=t ZR_HEAP_CHECK_INTERVAL=1", "check 1");
  runProbe("ZR_HEAP_LOGFILENAME=" + path + " ZR_HEAP_LOGFILE_OVERWRITE=false ZR_HEAP_DEBUG=t", "check 1");
  FILE* f = std::fopen(path.c_str(), "r");
  ASSERT_NE(f, nullptr);
  std::string text;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  std::fclose(f);
  std::remove(path.c_str());
  size_t first = text.find("ZR Heap Manager Error:");
  ASSERT_NE(first, std::string::npos) << text;
  EXPECT_NE(text.find("ZR Heap Manager Error:", first + 1), std::string::npos) << "second run appends";
}

TEST(HeapEnvironment, DumpOfAKnownHeap) {
  if (sizeof(void*) != 8) GTEST_SKIP() << "block costs below are those of 64-bit headers";
  std::string out = runProbe("ZR_HEAP_DEBUG=t", "dump");
  const char* expected[] = {
      "ZR Heap Manager - Memory Dump:\n",
      "  parent Alpha (size 10, file alpha.cpp, line 11)\n",
      "   30313233343536373839                     0123456789          \n",
      "ZR Heap Summary:\n",
      "#blocks  #blocks  #blocks  #bytes     #bytes     #bytes     size index | range\n",
      "free     in use   total    free       in use     total\n",
      "0        1        1        0          160        160        01 | 9..12\n",
      "1        1        2        56         56         112        03 | 17..24\n",
      "0        1        1        0          12288      12288      21 | 8049..12144\n",
      "1        0        1        32768      0          32768      23 | 20337..32624\n",
      "1        0        1        86016      0          86016      25 | 53105..85872\n",
      "1        0        1        364544     0          364544     28 | 225137..364400\n",
      "1        0        1        1544192    0          1544192    31 | 954225..1544048\n",
      "1        0        1        20208      0          20208      unused small blocks\n",
      "1        0        1        4096       0          4096       buddy system waste\n",
      "6        3        9        2051880    12504      2064384    VM size: 2064384\n",
      "committed bytes: 32768 (total)\n",
      "in small blocks: 20208 (unused), 56 (free), 216 (in use)\n",
      "in large blocks: 12288 (in use)\n",
      "permanent bytes: 0\n",
  };
  size_t at = 0;
  for (const char* line : expected) {
    size_t found = out.find(line, at);
    ASSERT_NE(found, std::string::npos) << "missing in order: " << line << "\n" << out;
    at = found;
  }
  EXPECT_FALSE(has(out, "discrepancy")) << out;
}

}  // namespace
