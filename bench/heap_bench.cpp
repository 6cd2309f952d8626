// The heap against glibc malloc, mimalloc and jemalloc on the same small-block
// workloads, and freeing a parent with its children against one by one.
//
// Linking mimalloc or jemalloc can replace the process's malloc, so each peer
// is called through its own entry points: glibc's __libc_malloc/__libc_free,
// mi_malloc/mi_free, jemalloc's mallocx/dallocx.
#include <benchmark/benchmark.h>

#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "zrheap.h"

#if ZR_BENCH_MIMALLOC
#include <mimalloc.h>
#endif
#if ZR_BENCH_JEMALLOC
#include <jemalloc/jemalloc.h>
#endif

extern "C" void* __libc_malloc(size_t);
extern "C" void __libc_free(void*);

namespace {

struct ZrHeap {
  static void* alloc(size_t n) { return ZrHeap_malloc(n); }
  static void release(void* p) { ZrHeap_free(p); }
};
struct Glibc {
  static void* alloc(size_t n) { return __libc_malloc(n); }
  static void release(void* p) { __libc_free(p); }
};
#if ZR_BENCH_MIMALLOC
struct Mimalloc {
  static void* alloc(size_t n) { return mi_malloc(n); }
  static void release(void* p) { mi_free(p); }
};
#endif
#if ZR_BENCH_JEMALLOC
struct Jemalloc {
  static void* alloc(size_t n) { return mallocx(n, 0); }
  static void release(void* p) { dallocx(p, 0); }
};
#endif

// Sizes from 8 to 6144 bytes, most of them small, as a program's records are.
const std::vector<size_t>& mixedSizes() {
  static const std::vector<size_t> sizes = [] {
    std::mt19937 rng(42);
    std::vector<size_t> v(4096);
    for (size_t& n : v) n = rng() % 4 == 0 ? 8 + rng() % 6137 : 8 + rng() % 248;
    return v;
  }();
  return sizes;
}

// Batches of 64 allocations, then 64 frees, over the mixed sizes.
template <typename A>
void SmallPairs(benchmark::State& state) {
  const auto& sizes = mixedSizes();
  void* live[64];
  size_t k = static_cast<size_t>(state.thread_index()) * 977;
  for (auto _ : state) {
    for (void*& p : live) {
      p = A::alloc(sizes[k++ % sizes.size()]);
      *static_cast<char*>(p) = 1;
    }
    for (void* p : live) A::release(p);
  }
  state.SetItemsProcessed(state.iterations() * 64);
}

// One thread allocates, another frees what it receives. Batches travel
// through a single-producer, single-consumer ring, so that the allocators'
// cross-thread frees, not a queue's lock, are what is measured.
template <typename A>
void ProducerConsumer(benchmark::State& state) {
  const auto& sizes = mixedSizes();
  constexpr size_t kBatch = 256, kRing = 64;
  std::vector<std::vector<void*>> ring(kRing, std::vector<void*>(kBatch));
  std::atomic<size_t> produced{0}, consumed{0};
  std::atomic<bool> done{false};
  std::thread consumer([&] {
    for (size_t next = 0;; ++next) {
      while (produced.load(std::memory_order_acquire) == next) {
        if (done.load(std::memory_order_acquire) && produced.load(std::memory_order_acquire) == next) return;
        std::this_thread::yield();
      }
      for (void* p : ring[next % kRing]) A::release(p);
      consumed.store(next + 1, std::memory_order_release);
    }
  });
  size_t k = 0, n = 0;
  for (auto _ : state) {
    while (n - consumed.load(std::memory_order_acquire) >= kRing) std::this_thread::yield();
    for (void*& p : ring[n % kRing]) p = A::alloc(sizes[k++ % sizes.size()]);
    produced.store(++n, std::memory_order_release);
  }
  done.store(true, std::memory_order_release);
  consumer.join();
  state.SetItemsProcessed(state.iterations() * kBatch);
}

constexpr int kChildren = 100000;

// Only the frees are timed: one parent's free against 100,000 single frees.
void FreeParentWithChildren(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    void* parent = ZrHeap_malloc(64);
    for (int i = 0; i < kChildren; ++i)
      ZrHeap__alloc(static_cast<size_t>(16 + i % 200), "Child", "alloc", "free", "bench", 0, parent);
    state.ResumeTiming();
    ZrHeap_free(parent);
  }
  state.SetItemsProcessed(state.iterations() * kChildren);
}

template <typename A>
void FreeChildrenOneByOne(benchmark::State& state) {
  std::vector<void*> children(kChildren);
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < kChildren; ++i) children[static_cast<size_t>(i)] = A::alloc(static_cast<size_t>(16 + i % 200));
    state.ResumeTiming();
    for (void* p : children) A::release(p);
  }
  state.SetItemsProcessed(state.iterations() * kChildren);
}

#define ZR_HEAP_BENCHMARKS(A)                                   \
  BENCHMARK_TEMPLATE(SmallPairs, A);                            \
  BENCHMARK_TEMPLATE(SmallPairs, A)->Threads(2)->UseRealTime(); \
  BENCHMARK_TEMPLATE(ProducerConsumer, A)->UseRealTime();       \
  BENCHMARK_TEMPLATE(FreeChildrenOneByOne, A)->Unit(benchmark::kMillisecond);

ZR_HEAP_BENCHMARKS(ZrHeap)
ZR_HEAP_BENCHMARKS(Glibc)
#if ZR_BENCH_MIMALLOC
ZR_HEAP_BENCHMARKS(Mimalloc)
#endif
#if ZR_BENCH_JEMALLOC
ZR_HEAP_BENCHMARKS(Jemalloc)
#endif
BENCHMARK(FreeParentWithChildren)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
