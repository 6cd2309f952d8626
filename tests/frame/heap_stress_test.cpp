// Many threads allocating and freeing across slots, trees and pools, with
// every block's content checked before it goes back.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "tests/frame/heap_test_support.h"

namespace zr::heap {
namespace {

struct Live {
  unsigned char* p;
  size_t n;
  unsigned char tag;
};

void fill(const Live& b) { std::memset(b.p, b.tag, b.n); }
bool intact(const Live& b) {
  for (size_t i = 0; i < b.n; ++i)
    if (b.p[i] != b.tag) return false;
  return true;
}

size_t randomSize(std::mt19937& rng) {
  unsigned r = rng() % 100;
  if (r < 70) return rng() % 256;
  if (r < 97) return rng() % 6145;
  return 6145 + rng() % 60000;
}

TEST(HeapStress, ThreadsAllocateFreeAdoptAndShareBlocks) {
  const int threads = 8;
  const int rounds = 6000;
  std::atomic<int> corrupt{0};
  std::mutex queueLock;
  std::deque<Live> handoff;  // blocks made on one thread and freed on another

  auto worker = [&](int id) {
    std::mt19937 rng(1234 + id);
    std::vector<Live> live;
    MemoryPool* pool = ZrHeap_allocPool(nullptr);
    for (int round = 0; round < rounds; ++round) {
      unsigned action = rng() % 10;
      if (action < 5 || live.empty()) {
        size_t n = randomSize(rng);
        Live b{static_cast<unsigned char*>(ZrHeap_malloc(n)), n, static_cast<unsigned char>(id * 31 + round)};
        fill(b);
        live.push_back(b);
      } else if (action < 8) {
        size_t k = rng() % live.size();
        if (!intact(live[k])) ++corrupt;
        if (rng() % 2) {
          ZrHeap_free(live[k].p);
        } else {
          std::lock_guard<std::mutex> g(queueLock);
          handoff.push_back(live[k]);
        }
        live[k] = live.back();
        live.pop_back();
      } else if (action == 8) {
        // A small tree, freed through its root.
        void* root = ZrHeap_malloc(32);
        for (int c = 0; c < 20; ++c) {
          size_t n = randomSize(rng);
          auto* kid = static_cast<unsigned char*>(ZrHeap__alloc(n, "Kid", "alloc", "free", "s.cpp", 1, root));
          std::memset(kid, 0x5A, n);
        }
        ZrHeap_free(root);
      } else {
        for (int c = 0; c < 50; ++c) {
          size_t n = rng() % 2000;
          auto* sub = static_cast<unsigned char*>(ZrHeap_allocFromPool(n, nullptr, pool));
          std::memset(sub, 0x6B, n);
          if (c % 3 == 0) ZrHeap_free(sub);
        }
      }
      std::unique_lock<std::mutex> g(queueLock);
      if (!handoff.empty() && rng() % 2) {
        Live b = handoff.front();
        handoff.pop_front();
        g.unlock();
        if (!intact(b)) ++corrupt;
        ZrHeap_free(b.p);
      }
    }
    for (const Live& b : live) {
      if (!intact(b)) ++corrupt;
      ZrHeap_free(b.p);
    }
    ZrHeap_freePool(pool);
  };

  std::vector<std::thread> pool;
  for (int t = 0; t < threads; ++t) pool.emplace_back(worker, t);
  for (auto& t : pool) t.join();
  for (const Live& b : handoff) {
    if (!intact(b)) ++corrupt;
    ZrHeap_free(b.p);
  }
  EXPECT_EQ(corrupt.load(), 0);

  // The summary still adds up: no small byte is lost or counted twice.
  testing::CapturedLog log;
  ZrHeap_dump(2);
  EXPECT_TRUE(log.contains("in small blocks: "));
  EXPECT_FALSE(log.contains("discrepancy"));
}

}  // namespace
}  // namespace zr::heap
