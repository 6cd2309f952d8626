// vm.h - address space: reserve, commit and decommit ranges of pages.
#ifndef ZR_PLATFORM_VM_H
#define ZR_PLATFORM_VM_H

#include <cstddef>
#include <cstdint>

namespace zr::platform {

// Reserves address space that faults on access until committed; null on failure.
void* reserveAddressSpace(size_t bytes);
// Makes a reserved range readable and writable.
bool commitPages(void* address, size_t bytes);
// Returns a range's memory to the system; touching it afterwards faults.
bool decommitPages(void* address, size_t bytes);

size_t pageSize();
int processorCount();

struct MemoryStatus {
  uint64_t totalBytes;
  uint64_t availableBytes;
};
// Total and available memory of the machine; zeros when unknown.
MemoryStatus memoryStatus();

}  // namespace zr::platform

#endif
