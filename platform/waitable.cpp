// Kernel objects over one process-wide mutex. Every state change and every
// readiness test happens under it, which is what makes a wait for all objects
// take them at once or not at all; each waiter sleeps on its own condition
// variable, and a signal wakes only the waiters of the object it changed.
#include "platform/waitable.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

namespace zr::platform {
namespace {

enum class Kind : uint8_t { Event, Mutex, Semaphore, Thread };

struct Waiter {
  std::condition_variable wake;
};

constexpr uint32_t kRecordMagic = 0x57414954;  // "WAIT"

struct Record {
  uint32_t magic = kRecordMagic;
  Kind kind;
  uint32_t references = 1;
  std::u16string name;
  std::vector<Waiter*> waiters;
  // Event: set. Thread: ended.
  bool manualReset = false;
  bool signalled = false;
  // Mutex.
  uint32_t owner = 0;
  uint32_t recursion = 0;
  bool abandoned = false;
  // Semaphore.
  int32_t count = 0;
  int32_t maximum = 0;
  // Thread: the start gate.
  uint32_t suspendCount = 0;
  bool started = false;
  std::condition_variable gate;

  explicit Record(Kind k) : kind(k) {}
};

// Never destroyed: threads may still end (and give up mutexes) during exit.
std::mutex& globalLock() {
  static std::mutex* lock = new std::mutex;
  return *lock;
}
std::unordered_map<std::u16string, Record*>& nameTable() {
  static auto* table = new std::unordered_map<std::u16string, Record*>;
  return *table;
}

uint32_t threadId() {
  static thread_local uint32_t id = static_cast<uint32_t>(syscall(SYS_gettid));
  return id;
}

void wakeWaiters(Record* r) {
  for (Waiter* w : r->waiters) w->wake.notify_one();
}

void dropReference(Record* r) {
  if (--r->references != 0) return;
  if (!r->name.empty()) nameTable().erase(r->name);
  r->magic = 0;
  delete r;
}

// The mutexes a thread owns, so that they are abandoned when it ends.
struct OwnedMutexes {
  std::vector<Record*> held;
  void abandonAll() {
    if (held.empty()) return;
    std::lock_guard<std::mutex> lock(globalLock());
    for (Record* r : held) {
      r->owner = 0;
      r->recursion = 0;
      r->abandoned = true;
      wakeWaiters(r);
      dropReference(r);
    }
    held.clear();
  }
  ~OwnedMutexes() { abandonAll(); }
};
thread_local OwnedMutexes ownedMutexes;

Record* recordOf(Handle h) {
  auto* r = static_cast<Record*>(h);
  return (r && r->magic == kRecordMagic) ? r : nullptr;
}

bool isReady(const Record* r, uint32_t me) {
  switch (r->kind) {
    case Kind::Event:
    case Kind::Thread:
      return r->signalled;
    case Kind::Mutex:
      return r->owner == 0 || r->owner == me;
    case Kind::Semaphore:
      return r->count > 0;
  }
  return false;
}

// Takes a ready object; true when it was a mutex left by a thread that ended.
bool acquire(Record* r, uint32_t me) {
  switch (r->kind) {
    case Kind::Event:
      if (!r->manualReset) r->signalled = false;
      return false;
    case Kind::Thread:
      return false;
    case Kind::Mutex: {
      if (r->owner == 0) {
        r->owner = me;
        ++r->references;  // an owned mutex outlives its handles until released
        ownedMutexes.held.push_back(r);
      }
      ++r->recursion;
      bool abandoned = r->abandoned;
      r->abandoned = false;
      return abandoned;
    }
    case Kind::Semaphore:
      --r->count;
      return false;
  }
  return false;
}

Handle makeNamed(Kind kind, const char16_t* name, uint32_t* status, Record* fresh) {
  std::lock_guard<std::mutex> lock(globalLock());
  if (name && *name) {
    auto& table = nameTable();
    auto it = table.find(name);
    if (it != table.end()) {
      delete fresh;
      if (it->second->kind != kind) {
        *status = kErrorInvalidHandle;
        return nullptr;
      }
      ++it->second->references;
      *status = kErrorAlreadyExists;
      return it->second;
    }
    fresh->name = name;
    table.emplace(fresh->name, fresh);
  }
  *status = 0;
  return fresh;
}

Handle openNamed(Kind kind, const char16_t* name, uint32_t* status) {
  std::lock_guard<std::mutex> lock(globalLock());
  if (!name || !*name) {
    *status = kErrorInvalidParameter;
    return nullptr;
  }
  auto it = nameTable().find(name);
  if (it == nameTable().end() || it->second->kind != kind) {
    *status = kErrorFileNotFound;
    return nullptr;
  }
  ++it->second->references;
  *status = 0;
  return it->second;
}

struct ThreadStart {
  ThreadEntry entry;
  void* argument;
  Record* record;
  uint32_t id = 0;
};

void* threadMain(void* raw) {
  auto* start = static_cast<ThreadStart*>(raw);
  ThreadEntry entry = start->entry;
  void* argument = start->argument;
  Record* r = start->record;
  {
    std::unique_lock<std::mutex> lock(globalLock());
    start->id = threadId();  // the creator frees `start` once it sees the id
    r->started = true;
    r->gate.notify_all();
    r->gate.wait(lock, [r] { return r->suspendCount == 0; });
  }
  entry(argument);
  // Mutexes are abandoned before the thread counts as ended, so that a
  // waiter that saw the end also sees them abandoned.
  ownedMutexes.abandonAll();
  std::lock_guard<std::mutex> lock(globalLock());
  r->signalled = true;
  wakeWaiters(r);
  dropReference(r);
  return nullptr;
}

}  // namespace

Handle createEvent(bool manualReset, bool initialState, const char16_t* name, uint32_t* status) {
  auto* r = new (std::nothrow) Record(Kind::Event);
  if (!r) return *status = kErrorNotEnoughMemory, nullptr;
  r->manualReset = manualReset;
  r->signalled = initialState;
  return makeNamed(Kind::Event, name, status, r);
}

Handle createMutex(bool initialOwner, const char16_t* name, uint32_t* status) {
  auto* r = new (std::nothrow) Record(Kind::Mutex);
  if (!r) return *status = kErrorNotEnoughMemory, nullptr;
  Handle h = makeNamed(Kind::Mutex, name, status, r);
  // An existing mutex is not taken by a create call that found it.
  if (h == r && initialOwner) {
    std::lock_guard<std::mutex> lock(globalLock());
    acquire(r, threadId());
  }
  return h;
}

Handle createSemaphore(int32_t initial, int32_t maximum, const char16_t* name, uint32_t* status) {
  if (maximum <= 0 || initial < 0 || initial > maximum) {
    *status = kErrorInvalidParameter;
    return nullptr;
  }
  auto* r = new (std::nothrow) Record(Kind::Semaphore);
  if (!r) return *status = kErrorNotEnoughMemory, nullptr;
  r->count = initial;
  r->maximum = maximum;
  return makeNamed(Kind::Semaphore, name, status, r);
}

Handle openEvent(const char16_t* name, uint32_t* status) { return openNamed(Kind::Event, name, status); }
Handle openMutex(const char16_t* name, uint32_t* status) { return openNamed(Kind::Mutex, name, status); }
Handle openSemaphore(const char16_t* name, uint32_t* status) {
  return openNamed(Kind::Semaphore, name, status);
}

bool setEvent(Handle event) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(event);
  if (!r || r->kind != Kind::Event) return false;
  r->signalled = true;
  wakeWaiters(r);
  return true;
}

bool resetEvent(Handle event) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(event);
  if (!r || r->kind != Kind::Event) return false;
  r->signalled = false;
  return true;
}

bool releaseMutex(Handle mutex, uint32_t* status) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(mutex);
  if (!r || r->kind != Kind::Mutex) return *status = kErrorInvalidHandle, false;
  uint32_t me = threadId();
  if (r->owner != me) return *status = kErrorNotOwner, false;
  *status = 0;
  if (--r->recursion != 0) return true;
  r->owner = 0;
  auto& held = ownedMutexes.held;
  held.erase(std::find(held.begin(), held.end(), r));
  wakeWaiters(r);
  dropReference(r);
  return true;
}

bool releaseSemaphore(Handle semaphore, int32_t count, int32_t* previous, uint32_t* status) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(semaphore);
  if (!r || r->kind != Kind::Semaphore) return *status = kErrorInvalidHandle, false;
  if (count <= 0) return *status = kErrorInvalidParameter, false;
  if (count > r->maximum - r->count) return *status = kErrorTooManyPosts, false;
  if (previous) *previous = r->count;
  r->count += count;
  *status = 0;
  wakeWaiters(r);
  return true;
}

Handle createThread(ThreadEntry entry, void* argument, bool suspended, uint32_t stackSize,
                    uint32_t* threadIdOut, uint32_t* status) {
  auto* r = new (std::nothrow) Record(Kind::Thread);
  if (!r) return *status = kErrorNotEnoughMemory, nullptr;
  r->references = 2;  // the handle and the running thread
  r->suspendCount = suspended ? 1 : 0;
  ThreadStart start{entry, argument, r};

  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  if (stackSize) {
    size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_t size = std::max<size_t>(stackSize, PTHREAD_STACK_MIN);
    pthread_attr_setstacksize(&attr, (size + page - 1) / page * page);
  }
  pthread_t thread;
  int rc = pthread_create(&thread, &attr, threadMain, &start);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    delete r;
    *status = rc == EAGAIN ? kErrorNotEnoughMemory : kErrorInvalidParameter;
    return nullptr;
  }
  std::unique_lock<std::mutex> lock(globalLock());
  r->gate.wait(lock, [r] { return r->started; });
  if (threadIdOut) *threadIdOut = start.id;
  *status = 0;
  return r;
}

uint32_t resumeThread(Handle thread) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(thread);
  if (!r || r->kind != Kind::Thread) return kWaitFailed;
  uint32_t before = r->suspendCount;
  if (before > 0 && --r->suspendCount == 0) r->gate.notify_all();
  return before;
}

uint32_t waitForOne(Handle object, uint32_t milliseconds) {
  return waitForMany(1, &object, false, milliseconds);
}

uint32_t waitForMany(uint32_t count, const Handle* objects, bool waitAll, uint32_t milliseconds) {
  if (count == 0 || count > kMaximumWaitObjects || !objects) return kWaitFailed;
  const uint32_t me = threadId();
  std::unique_lock<std::mutex> lock(globalLock());
  Record* records[kMaximumWaitObjects];
  for (uint32_t i = 0; i < count; ++i) {
    records[i] = recordOf(objects[i]);
    if (!records[i]) return kWaitFailed;
    if (waitAll && std::find(records, records + i, records[i]) != records + i) return kWaitFailed;
  }

  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  Waiter waiter;
  bool listed = false;
  auto unlist = [&] {
    if (!listed) return;
    for (uint32_t i = 0; i < count; ++i) {
      auto& w = records[i]->waiters;
      w.erase(std::find(w.begin(), w.end(), &waiter));
    }
  };
  for (;;) {
    uint32_t result = kWaitTimeout;
    if (waitAll) {
      if (std::all_of(records, records + count, [me](Record* r) { return isReady(r, me); })) {
        result = kWaitObject0;
        for (uint32_t i = 0; i < count; ++i) {
          if (acquire(records[i], me) && result == kWaitObject0) result = kWaitAbandoned0 + i;
        }
      }
    } else {
      for (uint32_t i = 0; i < count; ++i) {
        if (isReady(records[i], me)) {
          result = acquire(records[i], me) ? kWaitAbandoned0 + i : kWaitObject0 + i;
          break;
        }
      }
    }
    if (result != kWaitTimeout || milliseconds == 0) {
      unlist();
      return result;
    }
    if (!listed) {
      for (uint32_t i = 0; i < count; ++i) records[i]->waiters.push_back(&waiter);
      listed = true;
    }
    if (milliseconds == kInfinite) {
      waiter.wake.wait(lock);
    } else if (waiter.wake.wait_until(lock, deadline) == std::cv_status::timeout) {
      milliseconds = 0;  // one last look, then time out
    }
  }
}

bool closeHandle(Handle object) {
  std::lock_guard<std::mutex> lock(globalLock());
  Record* r = recordOf(object);
  if (!r) return false;
  dropReference(r);
  return true;
}

}  // namespace zr::platform
