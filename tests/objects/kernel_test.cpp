// Kernel objects: wait results, reset modes, wait-all atomicity, names,
// abandonment, suspended threads and the guarded queues.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "zrkernel.h"

namespace {

TEST(KernelObjects, WaitResultsOfEventsAndCollections) {
  CZR_Event manual(1, 0), autoReset(0, 1);
  EXPECT_EQ(manual.GetStatus(), 0u);
  EXPECT_EQ(manual.Wait(20), ZR_WAIT_TIMEOUT);
  EXPECT_EQ(autoReset.Wait(0), ZR_WAIT_OBJECT_0);
  EXPECT_EQ(autoReset.Wait(0), ZR_WAIT_TIMEOUT) << "an auto-reset event clears when taken";

  CZR_WaitableCollection both;
  EXPECT_EQ(both.WaitAny(0), ZR_WAIT_FAILED) << "an empty collection cannot be waited for";
  both.Add(&autoReset);
  both.Add(&manual);
  manual.Set();
  EXPECT_EQ(both.WaitAny(0), ZR_WAIT_OBJECT_0 + 1);
  EXPECT_EQ(both.WaitAll(0), ZR_WAIT_TIMEOUT);
  EXPECT_EQ(autoReset.Wait(0), ZR_WAIT_TIMEOUT) << "a failed wait-all takes nothing";
  autoReset.Set();
  EXPECT_EQ(both.WaitAll(0), ZR_WAIT_OBJECT_0);
  EXPECT_EQ(manual.Wait(0), ZR_WAIT_OBJECT_0) << "a manual-reset event stays set";
  manual.Reset();
  EXPECT_EQ(manual.Wait(0), ZR_WAIT_TIMEOUT);

  CZR_WaitableCollection full;
  std::vector<CZR_Event*> events;
  for (int i = 0; i < ZR_MAXIMUM_WAIT_OBJECTS; ++i) {
    events.push_back(new CZR_Event(1, i == 63));
    EXPECT_TRUE(full.Add(events.back()));
  }
  EXPECT_FALSE(full.Add(&manual)) << "a sixty-fifth object is refused";
  EXPECT_EQ(full.WaitAny(0), ZR_WAIT_OBJECT_0 + 63);
  for (CZR_Event* e : events) delete e;
}

TEST(KernelObjects, AutoResetWakesOneWaiterPerSetManualWakesAll) {
  constexpr int kWaiters = 8;
  CZR_Event autoReset(0, 0), manual(1, 0);
  std::atomic<int> woken{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kWaiters; ++i) {
    threads.emplace_back([&] {
      if (autoReset.Wait(10000) == ZR_WAIT_OBJECT_0) ++woken;
    });
  }
  for (int set = 1; set <= kWaiters; ++set) {
    autoReset.Set();  // the previous set has been taken: none is lost
    while (woken.load() < set) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_EQ(woken.load(), set) << "one set woke more than one waiter";
  }
  for (auto& t : threads) t.join();

  std::atomic<int> released{0};
  threads.clear();
  for (int i = 0; i < kWaiters; ++i) {
    threads.emplace_back([&] { released += manual.Wait(10000) == ZR_WAIT_OBJECT_0; });
  }
  manual.Set();
  for (auto& t : threads) t.join();
  EXPECT_EQ(released.load(), kWaiters);
}

TEST(KernelObjects, WaitAllTakesEverythingAtOnceOrNothing) {
  CZR_Event event(0, 0);
  CZR_Semaphore semaphore(0, 1);
  for (int round = 0; round < 50; ++round) {
    std::atomic<int> winners{0}, timeouts{0};
    auto racer = [&] {
      CZR_WaitableCollection both;
      both.Add(&event);
      both.Add(&semaphore);
      uint32_t r = both.WaitAll(30);
      winners += r == ZR_WAIT_OBJECT_0;
      timeouts += r == ZR_WAIT_TIMEOUT;
    };
    std::thread a(racer), b(racer);
    event.Set();
    semaphore.Release(1);
    a.join();
    b.join();
    ASSERT_EQ(winners.load(), 1) << "round " << round;
    ASSERT_EQ(timeouts.load(), 1);
    ASSERT_EQ(event.Wait(0), ZR_WAIT_TIMEOUT);
    ASSERT_EQ(semaphore.Wait(0), ZR_WAIT_TIMEOUT);
  }

  // A waiter for all does not hold the semaphore while the event is clear.
  std::thread all([&] {
    CZR_WaitableCollection both;
    both.Add(&event);
    both.Add(&semaphore);
    EXPECT_EQ(both.WaitAll(300), ZR_WAIT_TIMEOUT);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  semaphore.Release(1);
  EXPECT_EQ(semaphore.Wait(1000), ZR_WAIT_OBJECT_0);
  all.join();
}

TEST(KernelObjects, NamedObjectsAreSharedInTheProcess) {
  CZR_Event first(1, 0, u"zr.test.named");
  EXPECT_EQ(first.GetStatus(), 0u);
  CZR_Event second(0, 0, u"zr.test.named");
  EXPECT_EQ(second.GetStatus(), ZR_ERROR_ALREADY_EXISTS);
  EXPECT_EQ(second.GetHandle(), first.GetHandle());
  CZR_Event opened(u"zr.test.named", 0, 0u);
  EXPECT_EQ(opened.GetStatus(), 0u);
  first.Set();
  EXPECT_EQ(opened.Wait(0), ZR_WAIT_OBJECT_0) << "the existing manual-reset event, not a new one";
  EXPECT_EQ(opened.Wait(0), ZR_WAIT_OBJECT_0);

  CZR_Event missing(u"zr.test.none", 0, 0u);
  EXPECT_EQ(missing.GetHandle(), nullptr);
  EXPECT_EQ(missing.GetStatus(), 2u);
  try {
    CZR_Mutex clash(0, u"zr.test.named");
    ADD_FAILURE() << "a mutex under an event's name was made";
  } catch (const CZR_KernelFailure& failure) {
    EXPECT_EQ(failure.GetStatus(), 6u);
  }
  try {
    CZR_Semaphore bad(2, 1);
    ADD_FAILURE() << "a count above the maximum was accepted";
  } catch (const CZR_KernelFailure& failure) {
    EXPECT_EQ(failure.GetStatus(), 87u);
  }
}

TEST(KernelObjects, NameOutlivesFirstHandleUntilTheLastCloses) {
  auto* first = new CZR_Semaphore(1, 5, u"zr.test.sem");
  CZR_Semaphore second(u"zr.test.sem", 0, 0u);
  delete first;
  int32_t previous = -1;
  EXPECT_TRUE(second.Release(2, &previous));
  EXPECT_EQ(previous, 1);
  EXPECT_FALSE(second.Release(3)) << "past the maximum";
  EXPECT_TRUE(second.Release(2, &previous));
  EXPECT_EQ(previous, 3);
}

TEST(KernelObjects, MutexRecursionOwnershipAndAbandonment) {
  CZR_Mutex mutex(1);
  EXPECT_EQ(mutex.Wait(0), ZR_WAIT_OBJECT_0) << "the owner takes it again";
  std::thread other([&] {
    EXPECT_EQ(mutex.Wait(0), ZR_WAIT_TIMEOUT);
    EXPECT_FALSE(mutex.Release()) << "only the owner releases";
  });
  other.join();
  EXPECT_TRUE(mutex.Release());
  EXPECT_TRUE(mutex.Release());
  EXPECT_FALSE(mutex.Release());

  std::thread owner([&] { EXPECT_EQ(mutex.Wait(0), ZR_WAIT_OBJECT_0); });
  owner.join();
  CZR_Event other2(1, 0);
  CZR_WaitableCollection both;
  both.Add(&other2);
  both.Add(&mutex);
  EXPECT_EQ(both.WaitAny(1000), ZR_WAIT_ABANDONED_0 + 1);
  EXPECT_EQ(mutex.Wait(0), ZR_WAIT_OBJECT_0) << "abandonment is reported once";
  mutex.Release();
  mutex.Release();
}

struct Recorder : CZR_ThreadHandler {
  std::atomic<uint32_t> ranOn{0};
  CZR_Mutex* mutex = nullptr;
  uint32_t Run() override {
    ranOn = static_cast<uint32_t>(syscall(SYS_gettid));
    if (mutex) mutex->Wait(ZR_INFINITE);
    return 0;
  }
};

TEST(KernelObjects, SuspendedThreadRunsOnResumeAndSignalsAtExit) {
  Recorder recorder;
  CZR_Mutex mutex;
  recorder.mutex = &mutex;
  CZR_Thread thread(&recorder, ZR_CREATE_SUSPENDED, nullptr, 64 * 1024);
  ASSERT_NE(thread.GetHandle(), nullptr);
  EXPECT_EQ(thread.GetStatus(), 0u);
  EXPECT_NE(thread.GetThreadId(), 0u) << "the id is known before the thread runs";
  EXPECT_EQ(thread.Wait(30), ZR_WAIT_TIMEOUT);
  EXPECT_EQ(recorder.ranOn.load(), 0u);
  EXPECT_EQ(thread.Resume(), 1u);
  EXPECT_EQ(thread.Wait(5000), ZR_WAIT_OBJECT_0);
  EXPECT_EQ(recorder.ranOn.load(), thread.GetThreadId());
  EXPECT_EQ(thread.Resume(), 0u);
  EXPECT_EQ(mutex.Wait(0), ZR_WAIT_ABANDONED_0) << "the thread ended holding the mutex";
  mutex.Release();
}

TEST(KernelObjects, ScopedLocksExcludeEachOther) {
  CZR_Mutex mutex;
  CZR_CritSec section;
  long counts[2] = {0, 0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        {
          ZR_ScopedLock lock(&mutex);
          ++counts[0];
        }
        ZR_ScopedLock lock(&section);
        ZR_ScopedLock again(section.GetSection());  // critical sections are recursive
        ++counts[1];
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(counts[0], 8000);
  EXPECT_EQ(counts[1], 8000);
  EXPECT_EQ(mutex.Wait(0), ZR_WAIT_OBJECT_0) << "every scoped lock released the mutex";
  mutex.Release();
}

struct Work {
  virtual void Unused() {}
  virtual int32_t Perform() { return id; }
  int32_t id = 0;
};

TEST(GuardedQueue, FifoRemoveAndStopObject) {
  CZR_DispatchRecord_LList queue;
  Work works[4];
  for (int i = 0; i < 4; ++i) {
    works[i].id = 10 + i;
    CZR_DispatchRecord r{&works[i]};
    ASSERT_TRUE(queue.Add(r));
  }
  EXPECT_TRUE(queue.Remove(CZR_DispatchRecord{&works[1]}));
  EXPECT_FALSE(queue.Remove(CZR_DispatchRecord{&works[1]}));
  CZR_DispatchRecord out{};
  std::vector<int32_t> order;
  while (queue.Take(out, 0)) order.push_back(out.Run());
  EXPECT_EQ(order, (std::vector<int32_t>{10, 12, 13})) << "slot 1 of each work object, in order";

  CZR_Event stop(1, 0);
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    stop.Set();
  });
  EXPECT_FALSE(queue.Take(out, 5000, &stop)) << "the second object ends the wait";
  stopper.join();
  EXPECT_FALSE(queue.Take(out, 10));

  CZR_Thread_LList threads;
  Recorder recorder;
  CZR_ThreadAutoPtr a(new CZR_Thread(&recorder)), b(new CZR_Thread(&recorder));
  CZR_Thread* second = b.GetThread();
  EXPECT_TRUE(threads.Add(a));
  EXPECT_EQ(a.Get(), nullptr) << "the list owns the thread now";
  EXPECT_TRUE(threads.Add(b));
  EXPECT_TRUE(threads.Remove(second));
  CZR_ThreadAutoPtr taken;
  EXPECT_TRUE(threads.Take(taken, 0));
  EXPECT_EQ(taken.GetThread()->Wait(5000), ZR_WAIT_OBJECT_0);
  EXPECT_FALSE(threads.Take(taken, 0));
}

}  // namespace
