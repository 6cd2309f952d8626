#include "platform/system.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace zr::platform {

uint32_t currentThreadId() {
  static thread_local uint32_t id = static_cast<uint32_t>(syscall(SYS_gettid));
  return id;
}

void yieldThread() { sched_yield(); }

LocalTime localTime() {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  tm parts{};
  localtime_r(&ts.tv_sec, &parts);
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
          parts.tm_sec, static_cast<int>(ts.tv_nsec / 1000000) * 1000};
}

const char* environmentValue(const char* name) { return std::getenv(name); }

static bool debuggerAttached() {
  FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return false;
  char line[256];
  long tracer = 0;
  while (std::fgets(line, sizeof line, f)) {
    if (std::sscanf(line, "TracerPid: %ld", &tracer) == 1) break;
  }
  std::fclose(f);
  return tracer != 0;
}

void debugBreak() {
  if (debuggerAttached()) std::raise(SIGTRAP);
}

}  // namespace zr::platform
