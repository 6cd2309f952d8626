// Helpers for the heap tests: captured report lines and in-use counts.
#ifndef ZR_TESTS_HEAP_TEST_SUPPORT_H
#define ZR_TESTS_HEAP_TEST_SUPPORT_H

#include <string>
#include <vector>

#include "frame/szrheap_internal.h"
#include "zrheap.h"

namespace zr::heap::testing {

// Collects the heap's report lines while alive.
class CapturedLog {
 public:
  CapturedLog() {
    lines().clear();
    ZrHeap_log(nullptr, &CapturedLog::append);
  }
  ~CapturedLog() { ZrHeap_log(nullptr, nullptr); }
  const std::vector<std::string>& get() const { return lines(); }
  bool contains(const std::string& text) const {
    for (const std::string& l : lines())
      if (l.find(text) != std::string::npos) return true;
    return false;
  }

 private:
  static std::vector<std::string>& lines() {
    static std::vector<std::string> all;
    return all;
  }
  static void append(const char* line) { lines().push_back(line); }
};

inline long usedBlocks(int index) { return static_cast<long>(indexTotals(index).usedCount); }
inline long usedBlocksOfSize(size_t n) { return usedBlocks(sizeIndexOf(n)); }

// Writes fatal reports to standard error, where death tests look for them.
inline void reportToStderr() { ZrHeap_log(stderr, nullptr); }

}  // namespace zr::heap::testing

#endif
