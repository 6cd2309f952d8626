// Random operands over the whole range against decNumber, each result
// compared byte for byte with the reference record.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/values/dec_reference.h"

namespace {

using namespace zr::dec::test;

constexpr int kPairs = 100000;

template <typename LibOp, typename RefOp>
void runBinary(uint32_t seed, LibOp lib, RefOp ref, bool divides = false) {
  Operands gen(seed);
  Reference reference;
  int mismatches = 0;
  for (int i = 0; i < kPairs; ++i) {
    SH_DEC a = gen.next(), b = gen.next(), got;
    while (divides && Reference::wrapsInDivision(b)) b = gen.next();
    lib(&got, &a, &b);
    SH_DEC want = (reference.*ref)(a, b);
    if (std::memcmp(&got, &want, sizeof got) != 0 && ++mismatches <= 5)
      ADD_FAILURE() << describe(a) << " , " << describe(b) << " gave " << describe(got) << " want "
                    << describe(want);
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(DecDifferential, Add) { runBinary(1, shAddDec, &Reference::add); }
TEST(DecDifferential, Subtract) { runBinary(2, shSubDec, &Reference::sub); }
TEST(DecDifferential, Multiply) { runBinary(3, shMultDec, &Reference::mul); }
TEST(DecDifferential, Divide) { runBinary(4, shDivDec, &Reference::div, true); }
TEST(DecDifferential, Modulo) { runBinary(5, shModDec, &Reference::mod, true); }

TEST(DecDifferential, CompareAndRound) {
  Operands gen(6);
  Reference reference;
  std::mt19937 rng(7);
  int mismatches = 0;
  for (int i = 0; i < kPairs; ++i) {
    SH_DEC a = gen.next(), b = gen.next();
    if (shCompareDec(&a, &b) != reference.compare(a, b) && ++mismatches <= 5)
      ADD_FAILURE() << describe(a) << " <=> " << describe(b);
    int places = std::uniform_int_distribution<int>(0, 30)(rng);
    SH_DEC got = a, want = reference.round(a, places);
    shRoundDec(&got, &a, int16_t(places));
    if (std::memcmp(&got, &want, sizeof got) != 0 && ++mismatches <= 5)
      ADD_FAILURE() << describe(a) << " to " << places << " gave " << describe(got) << " want " << describe(want);
  }
  EXPECT_EQ(mismatches, 0);
}

}  // namespace
