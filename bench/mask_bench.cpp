// Compile cost of typical display masks: each is compiled once per column,
// so a compile should stay within a few microseconds.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "shformat.h"

namespace {

enum Kind { Numeric, DateTime, String };

struct Mask {
  Kind kind;
  const char16_t* text;
};

constexpr Mask kMasks[] = {
    {Numeric, u"#,##0.00;(#,##0.00)"},
    {Numeric, u"0%"},
    {Numeric, u"0.00%"},
    {Numeric, u"0.00E+00"},
    {Numeric, u"[currency]"},
    {Numeric, u"$#,##0.00;[RED]($#,##0.00)"},
    {Numeric, u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"??_);_(@_)"},
    {Numeric, u"###-##-####"},
    {Numeric, u"[General]"},
    {Numeric, u"#,##0;-#,##0;0;[blue]0"},
    {DateTime, u"mm/dd/yyyy"},
    {DateTime, u"mmm d, yyyy"},
    {DateTime, u"hh:mm AM/PM"},
    {DateTime, u"yyyy-mm-dd hh:mm:ss.ffffff"},
    {DateTime, u"[shortdate] [time]"},
    {DateTime, u"dddd, mmmm d, yyyy"},
    {DateTime, u"[longdate]"},
    {String, u"@@@-@@"},
    {String, u"(@@@) @@@-@@@@"},
    {String, u"[general]"},
};

int compile(const Mask& m, uint16_t* units, int capacity) {
  switch (m.kind) {
    case Numeric: return shformatCmplNumericMask(units, m.text, capacity);
    case DateTime: return shformatCmplDateTimeMask(units, m.text, capacity);
    default: return shformatCmplStringMask(units, m.text, capacity);
  }
}

// All twenty masks per iteration: the time per mask is a twentieth.
void BM_CompileTwentyMasks(benchmark::State& state) {
  uint16_t units[256];
  for (auto _ : state) {
    for (const Mask& m : kMasks) benchmark::DoNotOptimize(compile(m, units, 256));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t(std::size(kMasks)));
}
BENCHMARK(BM_CompileTwentyMasks);

void BM_CompileOne(benchmark::State& state) {
  const Mask& m = kMasks[state.range(0)];
  uint16_t units[256];
  for (auto _ : state) benchmark::DoNotOptimize(compile(m, units, 256));
}
BENCHMARK(BM_CompileOne)->DenseRange(0, int(std::size(kMasks)) - 1);

void BM_CompileWithCulture(benchmark::State& state) {
  uint16_t units[256];
  const char16_t* culture = u"sCurrency=EUR\tsThousand=.\tsDecimal=,\tiCurrency=3\tiNegCurr=8\tsShortDate=dd.mm.yyyy";
  for (auto _ : state) {
    benchmark::DoNotOptimize(shformatCmplNumericMaskWeb(units, u"[currency]", 256, culture));
    benchmark::DoNotOptimize(shformatCmplDateTimeMaskWeb(units, u"[shortdate]", 256, culture));
  }
}
BENCHMARK(BM_CompileWithCulture);

}  // namespace

BENCHMARK_MAIN();
