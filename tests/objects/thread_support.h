// Helpers for tests that count the process's threads.
#ifndef TESTS_OBJECTS_THREAD_SUPPORT_H
#define TESTS_OBJECTS_THREAD_SUPPORT_H

#include <dirent.h>

#include <chrono>
#include <thread>

namespace zrtest {

inline int threadCount() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/task")) {
    while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
  }
  return n;
}

// A thread that has signalled its end may still be listed for a moment.
inline bool threadCountBecomes(int expected, std::chrono::milliseconds limit = std::chrono::seconds(5)) {
  auto end = std::chrono::steady_clock::now() + limit;
  while (threadCount() != expected) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace zrtest

#endif
