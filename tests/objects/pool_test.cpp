// The growable pool: threads made on demand, refusal at the maximum, surplus
// threads leaving after an idle period, and ending more than 64 threads.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "tests/objects/thread_support.h"
#include "zrkernel.h"

namespace {

using zrtest::threadCount;
using zrtest::threadCountBecomes;

// Work whose slot 1 blocks on a gate (if any) and counts its runs.
struct GatedWork {
  virtual void Unused() {}
  virtual int32_t Perform() {
    if (gate) gate->Wait(ZR_INFINITE);
    ++runs;
    return 0;
  }
  CZR_Event* gate = nullptr;
  std::atomic<int> runs{0};
};

TEST(GrowableThreadPool, MinimumZeroGrowsOnDemandAndRefusesAtMaximum) {
  const int before = threadCount();
  CZR_Event gate(1, 0);
  GatedWork work;
  work.gate = &gate;
  CZR_DispatchRecord record{&work};
  {
    CZR_GrowableThreadPool pool(0, 3, 10000);
    EXPECT_EQ(pool.GetThreadCount(), 0);
    EXPECT_EQ(threadCount(), before) << "no thread before the first dispatch";
    for (int i = 0; i < 3; ++i) EXPECT_EQ(pool.Dispatch(record), 1);
    EXPECT_EQ(pool.GetThreadCount(), 3);
    EXPECT_EQ(pool.Dispatch(record), 0) << "all threads busy at the maximum: refused, not queued";
    EXPECT_EQ(threadCount(), before + 3);
    gate.Set();
    while (work.runs.load() < 3) std::this_thread::yield();
    // Idle threads take new work without growing the pool.
    for (int i = 0; i < 3; ++i) EXPECT_EQ(pool.Dispatch(record), 1);
    while (work.runs.load() < 6) std::this_thread::yield();
    EXPECT_EQ(pool.GetThreadCount(), 3);
  }
  EXPECT_TRUE(threadCountBecomes(before));
  EXPECT_EQ(work.runs.load(), 6);
}

TEST(GrowableThreadPool, SurplusThreadsLeaveAfterAnIdlePeriod) {
  const int before = threadCount();
  CZR_Event gate(1, 0);
  GatedWork work;
  work.gate = &gate;
  CZR_DispatchRecord record{&work};
  CZR_GrowableThreadPool pool(2, 6, 100);
  EXPECT_TRUE(threadCountBecomes(before + 2));
  int accepted = 0;
  for (int i = 0; i < 6; ++i) accepted += pool.Dispatch(record);
  EXPECT_EQ(accepted, 6);
  EXPECT_EQ(pool.GetThreadCount(), 6);
  gate.Set();
  auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(threadCountBecomes(before + 2));
  auto took = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(pool.GetThreadCount(), 2) << "the minimum stays";
  EXPECT_GE(took, std::chrono::milliseconds(90)) << "a thread leaves only after an idle period";
  std::this_thread::sleep_for(std::chrono::milliseconds(250));
  EXPECT_EQ(threadCount(), before + 2);
}

TEST(GrowableThreadPool, EveryAcceptedRecordRunsOnce) {
  const int before = threadCount();
  GatedWork work;
  CZR_DispatchRecord record{&work};
  int accepted = 0;
  {
    CZR_GrowableThreadPool pool(4, 8, 100);
    std::thread producers[2];
    std::atomic<int> counted{0};
    for (auto& p : producers) {
      p = std::thread([&] {
        for (int i = 0; i < 5000; ++i) counted += pool.Dispatch(record);
      });
    }
    for (auto& p : producers) p.join();
    accepted = counted.load();
    while (work.runs.load() < accepted) std::this_thread::yield();
  }
  EXPECT_GT(accepted, 0);
  EXPECT_EQ(work.runs.load(), accepted);
  EXPECT_TRUE(threadCountBecomes(before));
}

TEST(GrowableThreadPool, EndingWaitsForMoreThan64ThreadsInBatches) {
  const int before = threadCount();
  auto pool = std::make_unique<CZR_GrowableThreadPool>(150, 150, 60000);
  EXPECT_EQ(pool->GetThreadCount(), 150);
  EXPECT_TRUE(threadCountBecomes(before + 150));
  pool.reset();
  EXPECT_TRUE(threadCountBecomes(before));
}

}  // namespace
