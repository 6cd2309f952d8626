// lib_check.h - a read-only consistency walk over a whole library.
#ifndef ZR_LIBRARY_LIB_CHECK_H
#define ZR_LIBRARY_LIB_CHECK_H

#include <string>
#include <vector>

#include "library/lib_engine.h"

namespace zr::library {

struct CheckResult {
  std::vector<std::string> problems;
  uint64_t blocks = 0;  // whole blocks in the file
  uint64_t used = 0;    // marked in the map
  uint64_t free = 0;
  uint32_t nodes = 0;
  uint32_t entries = 0;
};

// 0, or a code when the file could not be read at all.
int checkLibrary(LMI_LIBRARY* lib, CheckResult* out);

}  // namespace zr::library

#endif
