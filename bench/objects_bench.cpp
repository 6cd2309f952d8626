// Interface objects against their standard peers: reference counting
// through the table against shared_ptr copies, string creation against
// make_shared, and the data blob's typed and block transfers against memcpy.
// A second thread stays alive throughout: with one thread libstdc++'s
// shared_ptr skips its atomics, which would not be a fair peer.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "shmi.h"
#include "zrheap.h"
#include "zrobj.h"

namespace {

// A thread that waits for the process to end.
struct Bystander {
  std::mutex m;
  std::condition_variable cv;
  bool done = false;
  std::thread t{[this] {
    std::unique_lock<std::mutex> lock(m);
    cv.wait(lock, [this] { return done; });
  }};
  ~Bystander() {
    {
      std::lock_guard<std::mutex> lock(m);
      done = true;
    }
    cv.notify_one();
    t.join();
  }
};

Bystander& bystander() {
  static Bystander b;
  return b;
}

IZR_String* sharedString() {
  static IZR_String* s = [] {
    IZR_String* made = nullptr;
    CreateString(u"shared", &made);
    return made;
  }();
  return s;
}

void RefCount_table(benchmark::State& state) {
  bystander();
  IUnknown* object = sharedString();
  for (auto _ : state) {
    object->AddRef();
    object->Release();
  }
}
BENCHMARK(RefCount_table)->Threads(1)->Threads(2);

void RefCount_sharedPtr(benchmark::State& state) {
  bystander();
  static auto peer = std::make_shared<std::u16string>(u"shared");
  for (auto _ : state) {
    std::shared_ptr<std::u16string> copy = peer;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(RefCount_sharedPtr)->Threads(1)->Threads(2);

const char16_t kSixteen[] = u"sixteen chars ok";

void CreateString16_table(benchmark::State& state) {
  bystander();
  for (auto _ : state) {
    IZR_String* s = nullptr;
    CreateString(kSixteen, &s);
    s->Release();
  }
}
BENCHMARK(CreateString16_table);

void CreateString16_makeShared(benchmark::State& state) {
  bystander();
  for (auto _ : state) {
    auto s = std::make_shared<std::u16string>(kSixteen);
    benchmark::DoNotOptimize(s);
  }
}
BENCHMARK(CreateString16_makeShared);

// Eight typed values per round, written and read back.
void TypedAddGet_blob(benchmark::State& state) {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  for (auto _ : state) {
    shmi_DataBlob_Reset(blob);
    for (int i = 0; i < 1000; ++i) {
      shmi_DataBlob_addLong(blob, i);
      shmi_DataBlob_addDouble(blob, i * 0.5);
      shmi_DataBlob_addShort(blob, int16_t(i));
      shmi_DataBlob_addByte(blob, uint8_t(i));
    }
    SH_MI_DATA_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
    int32_t l;
    double d;
    int16_t s;
    uint8_t b;
    for (int i = 0; i < 1000; ++i) {
      shmi_DataIter_GetLong(it, &l);
      shmi_DataIter_GetDouble(it, &d);
      shmi_DataIter_GetShort(it, &s);
      shmi_DataIter_GetByte(it, &b);
    }
    benchmark::DoNotOptimize(l + d + s + b);
    shmi_DataIter_Release(it);
  }
  state.SetItemsProcessed(state.iterations() * 8000);
  shmi_DataBlob_Release(blob);
}
BENCHMARK(TypedAddGet_blob);

constexpr size_t kMiB = 1 << 20;

void Bytes1MiB_blob(benchmark::State& state) {
  std::vector<uint8_t> in(kMiB, 7), out(kMiB);
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  for (auto _ : state) {
    shmi_DataBlob_Reset(blob);
    shmi_DataBlob_addBytes(blob, in.data(), kMiB);
    SH_MI_DATA_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
    shmi_DataIter_GetBytes(it, out.data(), kMiB);
    shmi_DataIter_Release(it);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(state.iterations() * 2 * int64_t(kMiB));
  shmi_DataBlob_Release(blob);
}
BENCHMARK(Bytes1MiB_blob);

void Bytes1MiB_memcpy(benchmark::State& state) {
  std::vector<uint8_t> in(kMiB, 7), middle(kMiB + 64), out(kMiB);
  for (auto _ : state) {
    std::memcpy(middle.data(), in.data(), kMiB);
    benchmark::ClobberMemory();
    std::memcpy(out.data(), middle.data(), kMiB);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(state.iterations() * 2 * int64_t(kMiB));
}
BENCHMARK(Bytes1MiB_memcpy);

}  // namespace

BENCHMARK_MAIN();
