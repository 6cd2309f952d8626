// system.h - threads, time, environment and the debugger.
#ifndef ZR_PLATFORM_SYSTEM_H
#define ZR_PLATFORM_SYSTEM_H

#include <cstdint>

namespace zr::platform {

// Kernel id of the calling thread (cached per thread: it is asked often).
uint32_t currentThreadId();
void yieldThread();

// The local wall-clock time, with its milliseconds as microseconds.
struct LocalTime {
  int year, month, day, hour, minute, second, microsecond;  // month 1-12
};
LocalTime localTime();

// Value of an environment variable, or null.
const char* environmentValue(const char* name);

// Stops in the debugger when one is attached; returns otherwise.
void debugBreak();

}  // namespace zr::platform

#endif
