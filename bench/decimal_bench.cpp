// 30-digit decimal arithmetic and text conversion against peer decimal
// libraries, each case on the same pair of 30-digit operands.
#include <cstdint>

// Intel's decimal128 as libbidgcc000 takes it: by value, with the rounding
// mode and a flags pointer on every call.
struct BidU128 {
  uint64_t w[2];
};

#ifdef ZR_BENCH_INTEL_BID_MODULE
// This file built alone as a shared module around Intel's library. Intel's
// __bid128_* functions carry the names of libgcc's routines behind
// _Decimal128 but take other arguments: linked into the benchmark itself,
// GCC's decimal operators would call Intel's code and crash. The module
// keeps those names to itself and exports only these wrappers.
extern "C" {
BidU128 __bid128_add(BidU128, BidU128, unsigned, unsigned*);
BidU128 __bid128_mul(BidU128, BidU128, unsigned, unsigned*);
BidU128 __bid128_div(BidU128, BidU128, unsigned, unsigned*);
int __bid128_quiet_less(BidU128, BidU128, unsigned*);
BidU128 __bid128_from_string(char*, unsigned, unsigned*);
void __bid128_to_string(char*, BidU128, unsigned*);

#define ZR_BID_EXPORT __attribute__((visibility("default")))
ZR_BID_EXPORT BidU128 zrBenchBidAdd(BidU128 a, BidU128 b, unsigned r, unsigned* f) { return __bid128_add(a, b, r, f); }
ZR_BID_EXPORT BidU128 zrBenchBidMul(BidU128 a, BidU128 b, unsigned r, unsigned* f) { return __bid128_mul(a, b, r, f); }
ZR_BID_EXPORT BidU128 zrBenchBidDiv(BidU128 a, BidU128 b, unsigned r, unsigned* f) { return __bid128_div(a, b, r, f); }
ZR_BID_EXPORT int zrBenchBidLess(BidU128 a, BidU128 b, unsigned* f) { return __bid128_quiet_less(a, b, f); }
ZR_BID_EXPORT BidU128 zrBenchBidFromString(char* s, unsigned r, unsigned* f) { return __bid128_from_string(s, r, f); }
ZR_BID_EXPORT void zrBenchBidToString(char* s, BidU128 a, unsigned* f) { __bid128_to_string(s, a, f); }
}
#else

#include <benchmark/benchmark.h>

#include <cstring>

#include "shdec.h"

namespace {

const char kA[] = "123456789012345678901234.567891";
const char kB[] = "987654.321098765432109876543211";
const char16_t kWideA[] = u"123456789012345678901234.567891";

SH_DEC parse(const char16_t* text) {
  SH_DEC d;
  shAsciiToDec(&d, text);
  return d;
}

template <PSH_DEC (*Op)(PSH_DEC, const SH_DEC*, const SH_DEC*)>
void Zr(benchmark::State& state) {
  SH_DEC a = parse(kWideA), b = parse(u"987654.321098765432109876543211"), r;
  for (auto _ : state) {
    benchmark::DoNotOptimize(&a);
    Op(&r, &a, &b);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(Zr<shAddDec>)->Name("add/zr");
BENCHMARK(Zr<shMultDec>)->Name("multiply/zr");
BENCHMARK(Zr<shDivDec>)->Name("divide/zr");

void ZrCompare(benchmark::State& state) {
  SH_DEC a = parse(kWideA), b = parse(u"123456789012345678901234.567892");
  for (auto _ : state) {
    benchmark::DoNotOptimize(&a);
    benchmark::DoNotOptimize(shCompareDec(&a, &b));
  }
}
BENCHMARK(ZrCompare)->Name("compare/zr");

void ZrFromText(benchmark::State& state) {
  SH_DEC r;
  for (auto _ : state) benchmark::DoNotOptimize(shAsciiToDec(&r, kWideA));
}
BENCHMARK(ZrFromText)->Name("from_text/zr");

void ZrToText(benchmark::State& state) {
  SH_DEC a = parse(kWideA);
  char16_t text[40];
  for (auto _ : state) {
    benchmark::DoNotOptimize(&a);
    benchmark::DoNotOptimize(shDecToAscii(text, &a));
  }
}
BENCHMARK(ZrToText)->Name("to_text/zr");

}  // namespace

#ifdef ZR_BENCH_DECNUMBER
#define DECNUMDIGITS 30
#include <decNumber.h>

namespace {

decContext decContext30() {
  decContext ctx;
  decContextDefault(&ctx, DEC_INIT_BASE);
  ctx.digits = 30;
  ctx.round = DEC_ROUND_HALF_UP;
  ctx.traps = 0;
  return ctx;
}

template <decNumber* (*Op)(decNumber*, const decNumber*, const decNumber*, decContext*)>
void DecNumber(benchmark::State& state) {
  decContext ctx = decContext30();
  decNumber a, b, r;
  decNumberFromString(&a, kA, &ctx);
  decNumberFromString(&b, kB, &ctx);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&a);
    Op(&r, &a, &b, &ctx);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK(DecNumber<decNumberAdd>)->Name("add/decNumber");
BENCHMARK(DecNumber<decNumberMultiply>)->Name("multiply/decNumber");
BENCHMARK(DecNumber<decNumberDivide>)->Name("divide/decNumber");
BENCHMARK(DecNumber<decNumberCompare>)->Name("compare/decNumber");

void DecNumberFromText(benchmark::State& state) {
  decContext ctx = decContext30();
  decNumber r;
  for (auto _ : state) benchmark::DoNotOptimize(decNumberFromString(&r, kA, &ctx));
}
BENCHMARK(DecNumberFromText)->Name("from_text/decNumber");

void DecNumberToText(benchmark::State& state) {
  decContext ctx = decContext30();
  decNumber a;
  decNumberFromString(&a, kA, &ctx);
  char text[64];
  for (auto _ : state) {
    benchmark::DoNotOptimize(&a);
    benchmark::DoNotOptimize(decNumberToString(&a, text));
  }
}
BENCHMARK(DecNumberToText)->Name("to_text/decNumber");

}  // namespace
#endif

#ifdef ZR_BENCH_INTEL_BID
// The Intel peer runs through these wrappers; see the module below.
extern "C" {
BidU128 zrBenchBidAdd(BidU128, BidU128, unsigned, unsigned*);
BidU128 zrBenchBidMul(BidU128, BidU128, unsigned, unsigned*);
BidU128 zrBenchBidDiv(BidU128, BidU128, unsigned, unsigned*);
int zrBenchBidLess(BidU128, BidU128, unsigned*);
BidU128 zrBenchBidFromString(char*, unsigned, unsigned*);
void zrBenchBidToString(char*, BidU128, unsigned*);
}

namespace {

constexpr unsigned kHalfUp = 4;  // BID_ROUNDING_TIES_AWAY

BidU128 bid(const char* text) {
  unsigned flags = 0;
  return zrBenchBidFromString(const_cast<char*>(text), kHalfUp, &flags);
}

template <BidU128 (*Op)(BidU128, BidU128, unsigned, unsigned*)>
void IntelBid(benchmark::State& state) {
  BidU128 a = bid(kA), b = bid(kB);
  unsigned flags = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(Op(a, b, kHalfUp, &flags));
  }
}
BENCHMARK(IntelBid<zrBenchBidAdd>)->Name("add/intel_bid128");
BENCHMARK(IntelBid<zrBenchBidMul>)->Name("multiply/intel_bid128");
BENCHMARK(IntelBid<zrBenchBidDiv>)->Name("divide/intel_bid128");

void IntelBidCompare(benchmark::State& state) {
  BidU128 a = bid(kA), b = bid(kB);
  unsigned flags = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(zrBenchBidLess(a, b, &flags));
  }
}
BENCHMARK(IntelBidCompare)->Name("compare/intel_bid128");

void IntelBidFromText(benchmark::State& state) {
  char text[sizeof kA];
  std::memcpy(text, kA, sizeof kA);
  unsigned flags = 0;
  for (auto _ : state) benchmark::DoNotOptimize(zrBenchBidFromString(text, kHalfUp, &flags));
}
BENCHMARK(IntelBidFromText)->Name("from_text/intel_bid128");

void IntelBidToText(benchmark::State& state) {
  BidU128 a = bid(kA);
  char text[64];
  unsigned flags = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    zrBenchBidToString(text, a, &flags);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(IntelBidToText)->Name("to_text/intel_bid128");

}  // namespace
#endif

#ifdef ZR_BENCH_DECIMAL128
#include <decimal/decimal>

namespace {

using std::decimal::decimal128;

// kA and kB as coefficient and exponent, built from two halves each.
decimal128 gccA() {
  return (std::decimal::make_decimal128(123456789012345LL, 15) + std::decimal::make_decimal128(678901234567891LL, 0)) /
         decimal128(1000000);
}
decimal128 gccB() {
  return (std::decimal::make_decimal128(987654321098765LL, 15) + std::decimal::make_decimal128(432109876543211LL, 0)) /
         std::decimal::make_decimal128(1LL, 24);
}

template <typename Op>
void Gcc128(benchmark::State& state, Op op) {
  decimal128 a = gccA(), b = gccB();
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    auto r = op(a, b);
    benchmark::DoNotOptimize(r);
  }
}
BENCHMARK_CAPTURE(Gcc128, add, [](decimal128 a, decimal128 b) { return a + b; })->Name("add/gcc_decimal128");
BENCHMARK_CAPTURE(Gcc128, multiply, [](decimal128 a, decimal128 b) { return a * b; })->Name("multiply/gcc_decimal128");
BENCHMARK_CAPTURE(Gcc128, divide, [](decimal128 a, decimal128 b) { return a / b; })->Name("divide/gcc_decimal128");
BENCHMARK_CAPTURE(Gcc128, compare, [](decimal128 a, decimal128 b) { return a < b; })->Name("compare/gcc_decimal128");

}  // namespace
#endif

BENCHMARK_MAIN();

#endif
