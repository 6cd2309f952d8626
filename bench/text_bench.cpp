// UTF-8 to UTF-16 and back, and the text file reader on a 100 MB file,
// against ICU's converters and iconv on the same text: mixed scripts and
// plain ASCII.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "ostextfile.h"
#include "zrstg.h"
#include "zrstr.h"

#ifdef ZR_BENCH_ICU
#include <unicode/ucnv.h>
#endif
#ifdef ZR_BENCH_ICONV
#include <iconv.h>
#endif

namespace {

std::u16string repeatToOneMegabyte(std::initializer_list<const char16_t*> pieces) {
  std::u16string t;
  while (t.size() < (1u << 20)) {
    for (const char16_t* p : pieces) t += p;
  }
  return t;
}

// Mostly ASCII with accented Latin, Cyrillic and CJK, as exported grids are.
const std::u16string& mixedUtf16() {
  static const std::u16string text = repeatToOneMegabyte(
      {u"Customer order 10042, shipped 2024-05-01; ", u"Gr\u00FC\u00DFe aus M\u00FCnchen, ",
       u"\x041C\x043E\x0441\x043A\x0432\x0430 \x0446\x0435\x043D\x0442\x0440, ", u"\x6771\x4EAC\x90FD\x6E2F\x533A, ",
       u"total 1,234.56 EUR\r\n"});
  return text;
}

// Plain ASCII, as source code, logs and most identifiers are.
const std::u16string& asciiUtf16() {
  static const std::u16string text =
      repeatToOneMegabyte({u"Customer order 10042, shipped 2024-05-01; total 1,234.56 EUR\r\n"});
  return text;
}

using Sample16 = const std::u16string& (*)();

const std::string& utf8Of(Sample16 sample) {
  static std::string mixed, ascii;
  std::string& t = sample == asciiUtf16 ? ascii : mixed;
  if (t.empty()) {
    zrstg_handle* h = zrstg_begin(0);
    t = unistr2UTF8(sample().c_str(), h);
    zrstg_end(h);
  }
  return t;
}

void setBytes(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// Each conversion runs on both samples: name/mixed and name/ascii.
#define ZR_TEXT_BENCH(fn)                                  \
  BENCHMARK_CAPTURE(fn, mixed, Sample16(mixedUtf16)); \
  BENCHMARK_CAPTURE(fn, ascii, Sample16(asciiUtf16))

void BM_Utf8ToUtf16_UTF82unistr(benchmark::State& state, Sample16 sample) {
  const std::string& in = utf8Of(sample);
  for (auto _ : state) {
    char16_t* out = UTF82unistr(in.c_str(), nullptr, nullptr, 0, 0);
    benchmark::DoNotOptimize(out);
    ZrHeap_free(out);
  }
  setBytes(state, in.size());
}
ZR_TEXT_BENCH(BM_Utf8ToUtf16_UTF82unistr);

void BM_Utf8ToUtf16_zrstg_UTF8toUCS2(benchmark::State& state, Sample16 sample) {
  const std::string& in = utf8Of(sample);
  std::vector<char16_t> out(in.size() + 1);
  for (auto _ : state) benchmark::DoNotOptimize(zrstg_UTF8toUCS2(out.data(), in.c_str(), 0));
  setBytes(state, in.size());
}
ZR_TEXT_BENCH(BM_Utf8ToUtf16_zrstg_UTF8toUCS2);

void BM_Utf16ToUtf8_unistr2UTF8(benchmark::State& state, Sample16 sample) {
  const std::u16string& in = sample();
  for (auto _ : state) {
    char* out = unistr2UTF8(in.c_str(), nullptr);
    benchmark::DoNotOptimize(out);
    ZrHeap_free(out);
  }
  setBytes(state, in.size() * 2);
}
ZR_TEXT_BENCH(BM_Utf16ToUtf8_unistr2UTF8);

void BM_Utf16ToUtf8_zrstg_UCS2toUTF8(benchmark::State& state, Sample16 sample) {
  const std::u16string& in = sample();
  std::vector<char> out(in.size() * 3 + 1);
  for (auto _ : state) benchmark::DoNotOptimize(zrstg_UCS2toUTF8(out.data(), in.c_str(), 0));
  setBytes(state, in.size() * 2);
}
ZR_TEXT_BENCH(BM_Utf16ToUtf8_zrstg_UCS2toUTF8);

#ifdef ZR_BENCH_ICU
UConverter* icuUtf8() {
  static UConverter* cnv = [] {
    UErrorCode status = U_ZERO_ERROR;
    return ucnv_open("UTF-8", &status);
  }();
  return cnv;
}

void BM_Utf8ToUtf16_IcuUcnv(benchmark::State& state, Sample16 sample) {
  const std::string& in = utf8Of(sample);
  std::vector<UChar> out(in.size() + 1);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_toUChars(icuUtf8(), out.data(), static_cast<int32_t>(out.size()), in.data(),
                                           static_cast<int32_t>(in.size()), &status));
  }
  setBytes(state, in.size());
}
ZR_TEXT_BENCH(BM_Utf8ToUtf16_IcuUcnv);

void BM_Utf16ToUtf8_IcuUcnv(benchmark::State& state, Sample16 sample) {
  const std::u16string& in = sample();
  std::vector<char> out(in.size() * 3 + 1);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_fromUChars(icuUtf8(), out.data(), static_cast<int32_t>(out.size()),
                                             reinterpret_cast<const UChar*>(in.data()),
                                             static_cast<int32_t>(in.size()), &status));
  }
  setBytes(state, in.size() * 2);
}
ZR_TEXT_BENCH(BM_Utf16ToUtf8_IcuUcnv);
#endif

#ifdef ZR_BENCH_ICONV
size_t iconvAll(iconv_t cd, const char* in, size_t inBytes, char* out, size_t outBytes) {
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  char* src = const_cast<char*>(in);
  char* dst = out;
  iconv(cd, &src, &inBytes, &dst, &outBytes);
  return static_cast<size_t>(dst - out);
}

void BM_Utf8ToUtf16_Iconv(benchmark::State& state, Sample16 sample) {
  const std::string& in = utf8Of(sample);
  std::vector<char> out(in.size() * 2 + 2);
  iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
  for (auto _ : state) benchmark::DoNotOptimize(iconvAll(cd, in.data(), in.size(), out.data(), out.size()));
  iconv_close(cd);
  setBytes(state, in.size());
}
ZR_TEXT_BENCH(BM_Utf8ToUtf16_Iconv);

void BM_Utf16ToUtf8_Iconv(benchmark::State& state, Sample16 sample) {
  const std::u16string& in = sample();
  std::vector<char> out(in.size() * 3 + 1);
  iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        iconvAll(cd, reinterpret_cast<const char*>(in.data()), in.size() * 2, out.data(), out.size()));
  }
  iconv_close(cd);
  setBytes(state, in.size() * 2);
}
ZR_TEXT_BENCH(BM_Utf16ToUtf8_Iconv);
#endif

// The 100 MB file: UTF-8 with its mark, CR LF line ends.
const std::string& bigFile() {
  static const std::string path = [] {
    std::string name = "/tmp/zr_text_bench_100mb.txt";
    FILE* f = std::fopen(name.c_str(), "wb");
    std::fwrite("\xEF\xBB\xBF", 1, 3, f);
    const std::string& chunk = utf8Of(mixedUtf16);
    for (size_t written = 0; written < (100u << 20); written += chunk.size()) std::fwrite(chunk.data(), 1, chunk.size(), f);
    std::fclose(f);
    return name;
  }();
  return path;
}

constexpr size_t kReadUnits = 1 << 16;

size_t fileSize(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY);
  size_t size = static_cast<size_t>(lseek(fd, 0, SEEK_END));
  close(fd);
  return size;
}

void BM_ReadFile_osTextFileRead32(benchmark::State& state) {
  const std::string& path = bigFile();
  zrstg_handle* h = zrstg_begin(0);
  for (auto _ : state) {
    int fd = open(path.c_str(), O_RDONLY);
    auto* buf = static_cast<char16_t*>(zrstg_alc(h, (kReadUnits + 1) * 2, nullptr));
    uint32_t encoding = 0;
    int64_t total = 0;
    int32_t n;
    while ((n = osTextFileRead32(h->pool, 0, fd, &buf, kReadUnits, 1, &encoding, 0)) > 0) total += n;
    benchmark::DoNotOptimize(total);
    zrstg_fee(h, buf);
    close(fd);
  }
  zrstg_end(h);
  setBytes(state, fileSize(path));
}
BENCHMARK(BM_ReadFile_osTextFileRead32)->Unit(benchmark::kMillisecond)->Iterations(3);

#ifdef ZR_BENCH_ICU
void BM_ReadFile_IcuUcnv(benchmark::State& state) {
  const std::string& path = bigFile();
  std::vector<char> bytes(kReadUnits);
  std::vector<UChar> units(kReadUnits + 1);
  for (auto _ : state) {
    int fd = open(path.c_str(), O_RDONLY);
    UErrorCode status = U_ZERO_ERROR;
    UConverter* cnv = ucnv_open("UTF-8", &status);
    int64_t total = 0;
    ssize_t got;
    while ((got = read(fd, bytes.data(), bytes.size())) > 0) {
      const char* src = bytes.data();
      UChar* dst = units.data();
      ucnv_toUnicode(cnv, &dst, units.data() + units.size(), &src, bytes.data() + got, nullptr, false, &status);
      total += dst - units.data();
    }
    benchmark::DoNotOptimize(total);
    ucnv_close(cnv);
    close(fd);
  }
  setBytes(state, fileSize(path));
}
BENCHMARK(BM_ReadFile_IcuUcnv)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif

#ifdef ZR_BENCH_ICONV
void BM_ReadFile_Iconv(benchmark::State& state) {
  const std::string& path = bigFile();
  std::vector<char> bytes(kReadUnits);
  std::vector<char> units(kReadUnits * 2 + 2);
  for (auto _ : state) {
    int fd = open(path.c_str(), O_RDONLY);
    iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
    int64_t total = 0;
    size_t carry = 0;
    ssize_t got;
    while ((got = read(fd, bytes.data() + carry, bytes.size() - carry)) > 0) {
      char* src = bytes.data();
      size_t left = carry + static_cast<size_t>(got);
      char* dst = units.data();
      size_t room = units.size();
      iconv(cd, &src, &left, &dst, &room);
      total += (dst - units.data()) / 2;
      std::memmove(bytes.data(), src, left);
      carry = left;
    }
    benchmark::DoNotOptimize(total);
    iconv_close(cd);
    close(fd);
  }
  setBytes(state, fileSize(path));
}
BENCHMARK(BM_ReadFile_Iconv)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif

}  // namespace

BENCHMARK_MAIN();
