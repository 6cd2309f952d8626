// Formatting a million decimals, doubles and dates with a precompiled mask,
// against ICU's DecimalFormat and SimpleDateFormat on the same values and
// equivalent patterns. Items are values formatted, or texts parsed.
#include <benchmark/benchmark.h>
#include <unicode/decimfmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

#include "shdec.h"
#include "shdt.h"
#include "shformat.h"

namespace {

constexpr int kValues = 1000000;

// Amounts with cents, both signs, over several magnitudes.
const std::vector<double>& doubles() {
  static const std::vector<double> v = [] {
    std::vector<double> out;
    uint64_t x = 88172645463325252ull;
    for (int i = 0; i < kValues; ++i) {
      x ^= x << 13, x ^= x >> 7, x ^= x << 17;
      const double cents = double(int64_t(x % 200000000) - 100000000);
      out.push_back(cents / 100.0 * double(1 + (x >> 60)));
    }
    return out;
  }();
  return v;
}

const std::vector<SH_DEC>& decimals() {
  static const std::vector<SH_DEC> v = [] {
    std::vector<SH_DEC> out(kValues);
    for (int i = 0; i < kValues; ++i) shDoubleToDec(&out[size_t(i)], &doubles()[size_t(i)]);
    return out;
  }();
  return v;
}

const std::vector<SH_TIME>& dates() {
  static const std::vector<SH_TIME> v = [] {
    std::vector<SH_TIME> out(kValues);
    SH_TIME start;
    shdtBuildTime(&start, 1970, 1, 1, 0, 0, 0, 0);
    for (int i = 0; i < kValues; ++i) {
      shdtRelativeDate(&out[size_t(i)], &start, i % 30000);
      out[size_t(i)].hour = uint8_t(i % 24);
      out[size_t(i)].minute = uint8_t(i % 60);
      out[size_t(i)].second = uint8_t((i / 60) % 60);
    }
    return out;
  }();
  return v;
}

// The same display in both: grouped with two places, parenthesised when
// negative; a date with a time of day.
constexpr const char16_t* kNumberMask = u"#,##0.00;(#,##0.00)";
constexpr const char16_t* kDateMask = u"yyyy-mm-dd hh:mm:ss";
constexpr const char16_t* kIcuNumber = u"#,##0.00;(#,##0.00)";
constexpr const char16_t* kIcuDate = u"yyyy-MM-dd HH:mm:ss";

void BM_ZrDouble(benchmark::State& state) {
  uint16_t mask[64];
  shformatCmplNumericMask(mask, kNumberMask, 64);
  char16_t text[64];
  for (auto _ : state) {
    for (double v : doubles()) benchmark::DoNotOptimize(shformatDouble(text, 63, mask, v, 0));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_ZrDecimal(benchmark::State& state) {
  uint16_t mask[64];
  shformatCmplNumericMask(mask, kNumberMask, 64);
  char16_t text[64];
  for (auto _ : state) {
    for (const SH_DEC& v : decimals()) benchmark::DoNotOptimize(shformatDecimal(text, 63, mask, &v, 0));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_ZrDate(benchmark::State& state) {
  uint16_t mask[64];
  shformatCmplDateTimeMask(mask, kDateMask, 64);
  char16_t text[64];
  for (auto _ : state) {
    for (const SH_TIME& v : dates()) benchmark::DoNotOptimize(shformatDateTime(text, 63, mask, &v, 0));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

std::unique_ptr<icu::DecimalFormat> icuNumberFormat() {
  UErrorCode st = U_ZERO_ERROR;
  auto f = std::make_unique<icu::DecimalFormat>(icu::UnicodeString(kIcuNumber), st);
  f->setRoundingMode(icu::DecimalFormat::kRoundHalfUp);
  return U_SUCCESS(st) ? std::move(f) : nullptr;
}

void BM_IcuDouble(benchmark::State& state) {
  auto f = icuNumberFormat();
  if (!f) return state.SkipWithError("DecimalFormat");
  icu::UnicodeString text;
  for (auto _ : state) {
    for (double v : doubles()) {
      text.remove();
      benchmark::DoNotOptimize(f->format(v, text).length());
    }
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

// ICU's decimal input is text; the decimal's own text form is what a caller
// would hand it.
void BM_IcuDecimal(benchmark::State& state) {
  auto f = icuNumberFormat();
  if (!f) return state.SkipWithError("DecimalFormat");
  icu::UnicodeString text;
  char ascii[48];
  char16_t wide[48];
  for (auto _ : state) {
    for (const SH_DEC& v : decimals()) {
      shDecToAscii(wide, &v);
      int n = 0;
      for (; wide[n]; ++n) ascii[n] = char(wide[n]);
      UErrorCode st = U_ZERO_ERROR;
      icu::Formattable number(icu::StringPiece(ascii, n), st);
      text.remove();
      benchmark::DoNotOptimize(f->format(number, text, st).length());
    }
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

void BM_IcuDate(benchmark::State& state) {
  UErrorCode st = U_ZERO_ERROR;
  icu::SimpleDateFormat f(icu::UnicodeString(kIcuDate), icu::Locale::getUS(), st);
  if (U_FAILURE(st)) return state.SkipWithError("SimpleDateFormat");
  f.adoptTimeZone(icu::TimeZone::createTimeZone("UTC"));
  // The same instants as milliseconds since 1970.
  std::vector<UDate> instants;
  instants.reserve(kValues);
  SH_TIME epoch;
  shdtBuildTime(&epoch, 1970, 1, 1, 0, 0, 0, 0);
  for (const SH_TIME& t : dates())
    instants.push_back((double(shdtDiffDate(&t, &epoch)) * 86400.0 + t.hour * 3600 + t.minute * 60 + t.second) *
                       1000.0);
  icu::UnicodeString text;
  for (auto _ : state) {
    for (UDate d : instants) {
      text.remove();
      benchmark::DoNotOptimize(f.format(d, text).length());
    }
  }
  state.SetItemsProcessed(state.iterations() * kValues);
}

// Texts for the picture-directed parser in two locales, each parse reading
// its locale's pictures and names.
void BM_ZrParsePicture(benchmark::State& state) {
  struct Case {
    const char16_t* text;
    int mode;
    uint32_t lcid;
  };
  static const Case kCases[] = {
      {u"1/2/2003", SHDT_MODE_DATE, 0x409},
      {u"Friday, January 5, 2001", SHDT_MODE_DATE, 0x409},
      {u"1/2/2003 9:08:07 am", SHDT_MODE_DATETIME, 0x409},
      {u"31.12.2003 13:05:09", SHDT_MODE_DATETIME, 0x407},
  };
  SH_TIME t;
  for (auto _ : state)
    for (const Case& c : kCases) benchmark::DoNotOptimize(shdtParseStringExWithLcid(&t, c.text, c.mode, 1, c.lcid));
  state.SetItemsProcessed(state.iterations() * int64_t(std::size(kCases)));
}

BENCHMARK(BM_ZrDecimal)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IcuDecimal)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZrDouble)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IcuDouble)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZrDate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IcuDate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZrParsePicture)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
