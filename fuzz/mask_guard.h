// mask_guard.h - the output checks the mask compiler targets share: guard
// units behind the capacity, a documented error number, and a terminated
// result whenever the compiler reports success.
#ifndef FUZZ_MASK_GUARD_H
#define FUZZ_MASK_GUARD_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "shformat.h"

class GuardedMask {
 public:
  explicit GuardedMask(int capacity) : capacity_(size_t(capacity)), units_(capacity_ + 8, kGuard) {}

  uint16_t* data() { return units_.data(); }

  void check(int error) const {
    if (error < 0 || error > SHFORMAT_BAD_FRACTION) std::abort();
    for (size_t i = capacity_; i < units_.size(); ++i)
      if (units_[i] != kGuard) std::abort();
    if (error == SHFORMAT_OK) {
      size_t n = 0;
      while (n < capacity_ && units_[n]) ++n;
      if (n == capacity_) std::abort();  // a valid result is terminated inside the buffer
    }
  }

 private:
  static constexpr uint16_t kGuard = 0xA5A5;
  size_t capacity_;
  std::vector<uint16_t> units_;
};

#endif
