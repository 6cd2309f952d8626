// The hash table and the list sort against the standard containers on the
// same keys and pointers.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "shlist.h"

namespace {

const std::vector<std::u16string>& keys() {
  static const std::vector<std::u16string> k = [] {
    std::mt19937 rng(3);
    std::vector<std::u16string> v(20000);
    for (auto& s : v) {
      s.resize(6 + rng() % 12);
      for (auto& c : s) c = static_cast<char16_t>(u'a' + rng() % 26);
    }
    return v;
  }();
  return k;
}

void HashInsertLookup_shhash(benchmark::State& state) {
  const auto& k = keys();
  for (auto _ : state) {
    zrstg_handle* h = zrstg_begin(0);
    SHHASH* t = shhash_new(8191, nullptr, 0, 0, h, nullptr);
    for (const auto& s : k) shhash_insert(t, const_cast<char16_t*>(s.c_str()));
    size_t hits = 0;
    for (const auto& s : k) hits += shhash_search_unique(t, s.c_str()) != nullptr;
    benchmark::DoNotOptimize(hits);
    zrstg_end(h);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(k.size()) * 2);
}

void HashInsertLookup_unordered_map(benchmark::State& state) {
  const auto& k = keys();
  for (auto _ : state) {
    std::unordered_map<std::u16string_view, const char16_t*> t;
    t.reserve(8191);
    for (const auto& s : k) t.emplace(s, s.c_str());
    size_t hits = 0;
    for (const auto& s : k) hits += t.find(s) != t.end();
    benchmark::DoNotOptimize(hits);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(k.size()) * 2);
}

int byText(const void* a, const void* b) {
  const auto* x = static_cast<const char16_t*>(a);
  const auto* y = static_cast<const char16_t*>(b);
  while (*x && *x == *y) ++x, ++y;
  return static_cast<int>(*x) - static_cast<int>(*y);
}

void ListSort_shlist(benchmark::State& state) {
  const auto& k = keys();
  zrstg_handle* h = zrstg_begin(0);
  SHLIST* list = shlist_new(h, nullptr);
  for (const auto& s : k) shlist_insert(list, const_cast<char16_t*>(s.c_str()));
  for (auto _ : state) {
    void** sorted = shlist_sort_param(
        list, nullptr, [](void*, const void* a, const void* b) { return byText(a, b); }, 0);
    benchmark::DoNotOptimize(sorted);
    zrstg_fee(h, sorted);
  }
  zrstg_end(h);
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(k.size()));
}

void ListSort_std_sort(benchmark::State& state) {
  const auto& k = keys();
  std::vector<const char16_t*> base;
  for (const auto& s : k) base.push_back(s.c_str());
  for (auto _ : state) {
    std::vector<const char16_t*> v = base;
    std::sort(v.begin(), v.end(), [](const char16_t* a, const char16_t* b) { return byText(a, b) < 0; });
    benchmark::DoNotOptimize(v.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(k.size()));
}

BENCHMARK(HashInsertLookup_shhash)->Unit(benchmark::kMillisecond);
BENCHMARK(HashInsertLookup_unordered_map)->Unit(benchmark::kMillisecond);
BENCHMARK(ListSort_shlist)->Unit(benchmark::kMillisecond);
BENCHMARK(ListSort_std_sort)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
