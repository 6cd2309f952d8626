// Threads sharing slots, pools, trees and debug blocks. Each phase ends with
// every block freed, and the dump's in-use counts per size index must then
// be what they were before: a lost or doubly listed block shows there.
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

// Few slots for many threads, so that threads take slots over from each
// other whatever the machine's processor count.
class SharedSlots {
 public:
  explicit SharedSlots(int maxSlot) : saved_(heap().mpMaxSlot) { heap().mpMaxSlot = maxSlot; }
  ~SharedSlots() { heap().mpMaxSlot = saved_; }

 private:
  int saved_;
};

template <typename Body>
void onThreads(int n, Body body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < n; ++t) threads.emplace_back(body, t);
  for (auto& t : threads) t.join();
}

struct Tagged {
  unsigned char* p;
  size_t n;
  unsigned char tag;
  bool intact() const {
    for (size_t i = 0; i < n; ++i)
      if (p[i] != tag) return false;
    return true;
  }
};

// Threads cut from one pool past its threshold, where a buffer that fills up
// moves to a smaller class's list or to the full list.
void sharedPoolRounds(int threads, int rounds) {
  std::atomic<int> overlapping{0};
  for (int round = 0; round < rounds; ++round) {
    MemoryPool* pool = ZrHeap_allocPool(nullptr);
    for (int i = 0; i < 2048; ++i) ZrHeap_allocFromPool(128, nullptr, pool);
    ASSERT_GE(ZrHeap_poolSize(pool), heap().poolThreshold);
    onThreads(threads, [&](int id) {
      unsigned s = static_cast<unsigned>(id + round) * 7 + 1;
      const auto tag = static_cast<unsigned char>(id + 1);
      std::vector<Tagged> mine;
      for (int i = 0; i < 600; ++i) {
        s = s * 1103515245u + 12345u;
        size_t n = 1 + (s >> 8) % 2000;
        auto* p = static_cast<unsigned char*>(ZrHeap_allocFromPool(n, nullptr, pool));
        std::memset(p, tag, n);
        mine.push_back({p, n, tag});
        if (i % 5 == 0) {
          ZrHeap_free(mine[i / 2].p);
          mine[i / 2].n = 0;
        }
      }
      for (const Tagged& b : mine)
        if (!b.intact()) ++overlapping;
    });
    ZrHeap_freePool(pool);
  }
  EXPECT_EQ(overlapping.load(), 0);
}

TEST(HeapStress, PoolSharedByThreadsPastItsThreshold) {
  SharedSlots slots(1);
  const auto before = testing::inUseByIndex();
  sharedPoolRounds(2, 100);
  EXPECT_EQ(testing::inUseByIndex(), before);
  sharedPoolRounds(4, 100);
  EXPECT_EQ(testing::inUseByIndex(), before);
}

// Trees made on one thread are freed, or adopted and then freed, on another.
TEST(HeapStress, TreesChangeThreadsBeforeTheyAreFreed) {
  SharedSlots slots(1);
  const auto before = testing::inUseByIndex();
  std::mutex lock;
  std::deque<void*> trees;
  std::atomic<int> building{2};
  std::atomic<int> lost{0};
  onThreads(4, [&](int id) {
    std::mt19937 rng(77 + id);
    if (id < 2) {
      for (int t = 0; t < 400; ++t) {
        void* root = ZrHeap_malloc(rng() % 300);
        for (int c = 0; c < 16; ++c) {
          size_t n = c % 8 == 7 ? 9000 + rng() % 30000 : rng() % 700;
          void* child = ZrHeap__alloc(n, "Kid", "alloc", "free", "s.cpp", 1, root);
          std::memset(child, 0x5A, n);
        }
        std::lock_guard<std::mutex> g(lock);
        trees.push_back(root);
      }
      --building;
      return;
    }
    void* holder = ZrHeap_malloc(64);
    for (;;) {
      void* root = nullptr;
      {
        std::lock_guard<std::mutex> g(lock);
        if (!trees.empty()) {
          root = trees.front();
          trees.pop_front();
        }
      }
      if (!root) {
        if (building.load() == 0) break;
        std::this_thread::yield();
        continue;
      }
      if (rng() % 2) {
        ZrHeap_adopt(root, holder);  // its children follow it into holder's list
        if (ZrHeap_parent(root) != holder) ++lost;
        if (rng() % 4 == 0) {
          ZrHeap_free(holder);
          holder = ZrHeap_malloc(64);
        }
      } else {
        ZrHeap_free(root);
      }
    }
    ZrHeap_free(holder);
  });
  EXPECT_EQ(lost.load(), 0);
  EXPECT_EQ(testing::inUseByIndex(), before);
}

// Large debug blocks grow and shrink in place while other threads allocate
// with checking on and check every block in a loop.
void debugReallocsUnderChecks(int reallocThreads, int rounds) {
  ZrHeap_debugOn();
  std::atomic<bool> done{false};
  std::vector<std::thread> checkers;
  // Each check takes every lock: the checkers give way between checks so
  // that the reallocating threads get on.
  checkers.emplace_back([&] {
    while (!done.load()) {
      ZrHeap_checkAll();
      std::this_thread::yield();
    }
  });
  checkers.emplace_back([&] {
    ZrHeap_checkOn();
    while (!done.load()) {
      ZrHeap_free(ZrHeap_malloc(40));
      std::this_thread::yield();
    }
    ZrHeap_checkOff();
  });
  onThreads(reallocThreads, [&](int) {
    void* p = ZrHeap_malloc(139000);
    for (int i = 0; i < rounds; ++i) {
      void* q = ZrHeap_realloc(p, 86000);
      ASSERT_EQ(q, p) << "86,000 stays in the block of 139,000";
      q = ZrHeap_realloc(p, 139000);
      ASSERT_EQ(q, p);
    }
    ZrHeap_free(p);
  });
  done = true;
  for (auto& t : checkers) t.join();
  ZrHeap_debugOff();
}

TEST(HeapStress, DebugBlocksShrinkInPlaceWhileAllAreChecked) {
  const auto before = testing::inUseByIndex();
  debugReallocsUnderChecks(1, 3000);
  debugReallocsUnderChecks(3, 1000);
  EXPECT_EQ(testing::inUseByIndex(), before);
}

// Everything at once: plain and pool blocks, trees, and blocks that change
// threads through a queue, with every block's content checked before it goes.
TEST(HeapStress, ThreadsAllocateFreeAdoptAndShareBlocks) {
  SharedSlots slots(1);
  const auto before = testing::inUseByIndex();
  std::atomic<int> corrupt{0};
  std::mutex queueLock;
  std::deque<Tagged> handoff;
  auto randomSize = [](std::mt19937& rng) -> size_t {
    unsigned r = rng() % 100;
    if (r < 70) return rng() % 256;
    if (r < 97) return rng() % 6145;
    return 6145 + rng() % 60000;
  };
  onThreads(6, [&](int id) {
    std::mt19937 rng(1234 + id);
    std::vector<Tagged> live;
    MemoryPool* pool = ZrHeap_allocPool(nullptr);
    for (int round = 0; round < 3000; ++round) {
      unsigned action = rng() % 10;
      if (action < 5 || live.empty()) {
        size_t n = randomSize(rng);
        Tagged b{static_cast<unsigned char*>(ZrHeap_malloc(n)), n, static_cast<unsigned char>(id * 31 + round)};
        std::memset(b.p, b.tag, n);
        live.push_back(b);
      } else if (action < 8) {
        size_t k = rng() % live.size();
        if (!live[k].intact()) ++corrupt;
        if (rng() % 2) {
          ZrHeap_free(live[k].p);
        } else {
          std::lock_guard<std::mutex> g(queueLock);
          handoff.push_back(live[k]);
        }
        live[k] = live.back();
        live.pop_back();
      } else if (action == 8) {
        void* root = ZrHeap_malloc(32);
        for (int c = 0; c < 20; ++c) {
          size_t n = randomSize(rng);
          std::memset(ZrHeap__alloc(n, "Kid", "alloc", "free", "s.cpp", 1, root), 0x5A, n);
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
        Tagged b = handoff.front();
        handoff.pop_front();
        g.unlock();
        if (!b.intact()) ++corrupt;
        ZrHeap_free(b.p);
      }
    }
    for (const Tagged& b : live) {
      if (!b.intact()) ++corrupt;
      ZrHeap_free(b.p);
    }
    ZrHeap_freePool(pool);
  });
  for (const Tagged& b : handoff) {
    if (!b.intact()) ++corrupt;
    ZrHeap_free(b.p);
  }
  EXPECT_EQ(corrupt.load(), 0);
  EXPECT_EQ(testing::inUseByIndex(), before);
}

}  // namespace
}  // namespace zr::heap
