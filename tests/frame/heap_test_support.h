// Helpers for the heap tests: captured report lines and in-use counts.
#ifndef ZR_TESTS_HEAP_TEST_SUPPORT_H
#define ZR_TESTS_HEAP_TEST_SUPPORT_H

#include <cstdio>
#include <map>
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

// In-use blocks per size index, read from the dump's summary rows.
inline std::map<int, unsigned long> inUseByIndex() {
  CapturedLog log;
  ZrHeap_dump(2);
  std::map<int, unsigned long> used;
  for (const std::string& line : log.get()) {
    unsigned long counts[6];
    int index = 0, end = 0;
    if (std::sscanf(line.c_str(), "%lu %lu %lu %lu %lu %lu %d |%n", &counts[0], &counts[1], &counts[2], &counts[3],
                    &counts[4], &counts[5], &index, &end) == 7 &&
        end > 0 && counts[1])
      used[index] = counts[1];
  }
  return used;
}

// Writes fatal reports to standard error, where death tests look for them.
inline void reportToStderr() { ZrHeap_log(stderr, nullptr); }

}  // namespace zr::heap::testing

#endif
