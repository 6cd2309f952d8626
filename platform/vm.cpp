#include "platform/vm.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace zr::platform {

void* reserveAddressSpace(size_t bytes) {
  void* p = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}

bool commitPages(void* address, size_t bytes) {
  return bytes == 0 || mprotect(address, bytes, PROT_READ | PROT_WRITE) == 0;
}

bool decommitPages(void* address, size_t bytes) {
  if (bytes == 0) return true;
  // MADV_DONTNEED drops the pages; PROT_NONE makes any later touch fault.
  return madvise(address, bytes, MADV_DONTNEED) == 0 && mprotect(address, bytes, PROT_NONE) == 0;
}

size_t pageSize() {
  static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

int processorCount() {
  long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n < 1 ? 1 : static_cast<int>(n);
}

MemoryStatus memoryStatus() {
  MemoryStatus status{0, 0};
  FILE* f = std::fopen("/proc/meminfo", "r");
  if (!f) return status;
  char line[256];
  while (std::fgets(line, sizeof line, f)) {
    unsigned long long kb = 0;
    if (std::sscanf(line, "MemTotal: %llu kB", &kb) == 1) status.totalBytes = kb * 1024;
    if (std::sscanf(line, "MemAvailable: %llu kB", &kb) == 1) status.availableBytes = kb * 1024;
  }
  std::fclose(f);
  return status;
}

}  // namespace zr::platform
