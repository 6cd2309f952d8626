// A pool that keeps a minimum of threads, grows one thread per Dispatch that
// finds none idle, refuses work at its maximum, and lets a surplus thread go
// after one idle period.
#include <cstring>
#include <new>

#include "platform/system.h"
#include "zrheap.h"
#include "zrkernel.h"

CZR_ThreadPool::CZR_ThreadPool() = default;
CZR_ThreadPool::~CZR_ThreadPool() = default;
void* CZR_ThreadPool::operator new(size_t size) {
  void* block = ZrHeap_malloc(size);
  if (!block) throw std::bad_alloc();
  return block;
}
void CZR_ThreadPool::operator delete(void* block) { ZrHeap_free(block); }
void* CZR_GrowableThreadPool::operator new(size_t size) { return CZR_ThreadPool::operator new(size); }
void CZR_GrowableThreadPool::operator delete(void* block) { ZrHeap_free(block); }

// Semaphores need a positive maximum even for a pool that may hold no thread.
static int32_t semaphoreMaximum(int32_t maximum) { return maximum > 0 ? maximum : 1; }

CZR_GrowableThreadPool::CZR_GrowableThreadPool(int32_t minimum, int32_t maximum, uint32_t idleTime)
    : m_stop(1, 0),
      m_idleTime(idleTime),
      m_threadMap(nullptr),
      m_workSemaphore(0, semaphoreMaximum(maximum)),
      m_minimum(minimum),
      m_maximum(maximum),
      m_threadCount(0),
      m_idle(0, semaphoreMaximum(maximum)) {
  size_t rows = static_cast<size_t>(semaphoreMaximum(maximum));
  m_threadMap = static_cast<ThreadMapRow*>(ZrHeap_malloc(rows * sizeof(ThreadMapRow)));
  if (!m_threadMap) throw std::bad_alloc();
  std::memset(static_cast<void*>(m_threadMap), 0, rows * sizeof(ThreadMapRow));
  bool allStarted = true;
  {
    ZR_ScopedLock lock(&m_section);
    while (m_threadCount < m_minimum) {
      if (!StartThread()) {
        allStarted = false;
        break;
      }
      ++m_threadCount;
    }
  }
  if (allStarted && m_threadCount > 0) m_idle.Release(m_threadCount);
}

// Under the section: makes a suspended thread, lists and maps it, then lets
// it run, so that it always finds itself in the map.
CZR_Thread* CZR_GrowableThreadPool::StartThread() {
  CZR_Thread* thread;
  try {
    thread = new CZR_Thread(this, ZR_CREATE_SUSPENDED);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  if (!thread->GetHandle()) {
    delete thread;
    return nullptr;
  }
  CZR_ThreadAutoPtr owner(thread);
  if (!m_threads.Add(owner)) {
    // Unmapped, the thread leaves as soon as it runs.
    owner.Detach();
    thread->Resume();
    delete thread;
    return nullptr;
  }
  for (int32_t i = 0; i < m_maximum; ++i) {
    if (m_threadMap[i].used) continue;
    m_threadMap[i] = {1, thread->GetThreadId(), thread};
    break;
  }
  thread->Resume();
  return thread;
}

CZR_GrowableThreadPool::~CZR_GrowableThreadPool() {
  CZR_Thread_LList leaving;
  {
    ZR_ScopedLock lock(&m_section);
    CZR_ThreadAutoPtr thread;
    while (m_threads.Take(thread, 0)) leaving.Add(thread);
    m_stop.Set();
  }
  // One wait covers at most 64 objects, so the threads end in batches.
  for (;;) {
    CZR_ThreadAutoPtr batch[ZR_MAXIMUM_WAIT_OBJECTS];
    CZR_WaitableCollection handles;
    uint32_t n = 0;
    while (n < ZR_MAXIMUM_WAIT_OBJECTS && leaving.Take(batch[n], 0)) handles.Add(batch[n++].GetThread());
    if (n == 0) break;
    handles.WaitAll(ZR_INFINITE);
  }
  ZrHeap_free(m_threadMap);
}

int CZR_GrowableThreadPool::Dispatch(CZR_DispatchRecord& record) {
  if (m_idle.Wait(0) != ZR_WAIT_OBJECT_0) {
    ZR_ScopedLock lock(&m_section);
    if (m_threadCount >= m_maximum || !StartThread()) return 0;
    ++m_threadCount;
  }
  ZR_ScopedLock lock(&m_section);
  // A thread made for refused work stays as a surplus thread for one idle period.
  if (!m_work.Add(record)) return 0;
  m_workSemaphore.Release(1);
  return 1;
}

int32_t CZR_GrowableThreadPool::GetThreadCount() {
  ZR_ScopedLock lock(&m_section);
  return m_threadCount;
}

// Under the section: the calling worker gives up its row, its list entry and
// its thread object.
void CZR_GrowableThreadPool::LeavePool() {
  uint32_t me = zr::platform::currentThreadId();
  for (int32_t i = 0; i < m_maximum; ++i) {
    ThreadMapRow& row = m_threadMap[i];
    if (!row.used || row.threadId != me) continue;
    CZR_Thread* thread = row.thread;
    row = {0, 0, nullptr};
    m_threads.Remove(thread);
    return;
  }
}

uint32_t CZR_GrowableThreadPool::Run() {
  {
    ZR_ScopedLock lock(&m_section);
    uint32_t me = zr::platform::currentThreadId();
    bool mapped = false;
    for (int32_t i = 0; i < m_maximum && !mapped; ++i) mapped = m_threadMap[i].used && m_threadMap[i].threadId == me;
    if (!mapped) return 0;
  }
  CZR_WaitableCollection events;
  events.Add(&m_stop);
  events.Add(&m_workSemaphore);
  for (;;) {
    uint32_t result = events.WaitAny(m_idleTime);
    if (result == ZR_WAIT_OBJECT_0) return 0;
    if (result == ZR_WAIT_OBJECT_0 + 1) {
      CZR_DispatchRecord record{};
      if (m_work.Take(record, 0)) record.Run();
      m_idle.Release(1);
      continue;
    }
    ZR_ScopedLock lock(&m_section);
    // A failed wait leaves whatever the count, so the pool does not spin.
    if (result == ZR_WAIT_TIMEOUT && m_threadCount <= m_minimum) continue;
    --m_threadCount;
    LeavePool();
    return 0;
  }
}
