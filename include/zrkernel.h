// zrkernel.h - thin classes over the kernel objects (events, mutexes,
// semaphores, threads, critical sections), guarded queues and a growable
// thread pool. Plain C++ classes, exported for sibling libraries.
//
// Example:
//   CZR_Event ready(1, 0);                 // manual reset, clear
//   CZR_WaitableCollection both;
//   both.Add(&ready); both.Add(&stop);
//   if (both.WaitAny(100) == ZR_WAIT_OBJECT_0) ...
//
// Wait results: ZR_WAIT_OBJECT_0 + i for the object that was signalled,
// ZR_WAIT_ABANDONED_0 + i for a mutex whose owner ended while holding it,
// ZR_WAIT_TIMEOUT, ZR_WAIT_FAILED. Status values are kernel error numbers:
// 183 when a named create found an existing object, 6 before any creation.
#ifndef ZRKERNEL_H
#define ZRKERNEL_H

#include "zrdefs.h"

#define ZR_WAIT_OBJECT_0 0x00000000u
#define ZR_WAIT_ABANDONED_0 0x00000080u
#define ZR_WAIT_TIMEOUT 258u
#define ZR_WAIT_FAILED 0xFFFFFFFFu
#define ZR_INFINITE 0xFFFFFFFFu
#define ZR_MAXIMUM_WAIT_OBJECTS 64
#define ZR_CREATE_SUSPENDED 4u
#define ZR_ERROR_ALREADY_EXISTS 183u

#ifdef __cplusplus
#include <cstddef>

// Raised by the create forms of CZR_Event, CZR_Mutex and CZR_Semaphore when
// the kernel object cannot be made; carries the kernel's error number.
class ZR_EXPORT_CLASS CZR_KernelFailure {
 public:
  explicit CZR_KernelFailure(uint32_t status);
  uint32_t GetStatus() const;

 private:
  uint32_t m_status;
};

// Storage of one recursive critical section.
struct ZR_CRITICAL_SECTION {
  alignas(8) unsigned char opaque[48];
};

class ZR_EXPORT_CLASS CZR_WaitableObject {
 public:
  virtual void* GetHandle() = 0;
  virtual uint32_t GetStatus() = 0;
};

class ZR_EXPORT_CLASS CZR_Kernel : public CZR_WaitableObject {
 public:
  CZR_Kernel();
  void* GetHandle() override;
  uint32_t GetStatus() override;
  virtual ~CZR_Kernel();
  // Waits for this object alone; the result as a collection's wait gives it.
  uint32_t Wait(uint32_t milliseconds);

  static void* operator new(size_t size);
  static void operator delete(void* block);
  CZR_Kernel(const CZR_Kernel&) = delete;
  CZR_Kernel& operator=(const CZR_Kernel&) = delete;

 protected:
  // Keeps a create call's outcome; a missing object raises CZR_KernelFailure.
  void TakeCreated(void* handle, uint32_t status);
  void* m_handle;
  uint32_t m_status;
};

class ZR_EXPORT_CLASS CZR_Event : public CZR_Kernel {
 public:
  CZR_Event(int manualReset = 0, int initialState = 0, const char16_t* name = nullptr,
            void* security = nullptr);
  CZR_Event(const char16_t* name, int inherit, uint32_t access);
  ~CZR_Event() override;
  int Set();
  int Reset();
};

class ZR_EXPORT_CLASS CZR_Mutex : public CZR_Kernel {
 public:
  explicit CZR_Mutex(int initialOwner = 0, const char16_t* name = nullptr, void* security = nullptr);
  CZR_Mutex(const char16_t* name, int inherit, uint32_t access);
  ~CZR_Mutex() override;
  int Release();
};

class ZR_EXPORT_CLASS CZR_Semaphore : public CZR_Kernel {
 public:
  CZR_Semaphore(int32_t initialCount, int32_t maximumCount, const char16_t* name = nullptr,
                void* security = nullptr);
  CZR_Semaphore(const char16_t* name, int inherit, uint32_t access);
  ~CZR_Semaphore() override;
  // Adds count; the count before goes to *previous when given.
  int Release(int32_t count = 1, int32_t* previous = nullptr);
};

class ZR_EXPORT_CLASS CZR_ThreadHandler {
 public:
  CZR_ThreadHandler();
  virtual ~CZR_ThreadHandler();
  virtual uint32_t Run() = 0;

  static void* operator new(size_t size);
  static void operator delete(void* block);
};

// A thread running handler->Run(). ZR_CREATE_SUSPENDED holds it until Resume.
// A handle that could not be made stays null and the status keeps the error.
class ZR_EXPORT_CLASS CZR_Thread : public CZR_Kernel {
 public:
  explicit CZR_Thread(CZR_ThreadHandler* handler, uint32_t creationFlags = 0,
                      void* security = nullptr, uint32_t stackSize = 0);
  ~CZR_Thread() override;
  // The suspend count before, or ZR_WAIT_FAILED.
  uint32_t Resume();
  uint32_t GetThreadId();
  CZR_ThreadHandler* GetHandler();

 private:
  uint32_t m_threadId;
  CZR_ThreadHandler* m_handler;
};

class ZR_EXPORT_CLASS CZR_CritSec {
 public:
  CZR_CritSec();
  virtual ~CZR_CritSec();
  void Enter();
  void Leave();
  ZR_CRITICAL_SECTION* GetSection();

  static void* operator new(size_t size);
  static void operator delete(void* block);
  CZR_CritSec(const CZR_CritSec&) = delete;
  CZR_CritSec& operator=(const CZR_CritSec&) = delete;

 private:
  ZR_CRITICAL_SECTION m_section;
};

// Holds one lock for a scope, with no time limit; exactly one field is set.
class ZR_EXPORT_CLASS ZR_ScopedLock {
 public:
  explicit ZR_ScopedLock(void* mutexHandle);
  explicit ZR_ScopedLock(ZR_CRITICAL_SECTION* section);
  explicit ZR_ScopedLock(CZR_Mutex* mutex);
  explicit ZR_ScopedLock(CZR_CritSec* critSec);
  ~ZR_ScopedLock();
  ZR_ScopedLock(const ZR_ScopedLock&) = delete;
  ZR_ScopedLock& operator=(const ZR_ScopedLock&) = delete;

 private:
  void* m_mutexHandle;
  ZR_CRITICAL_SECTION* m_section;
  CZR_Mutex* m_mutex;
  CZR_CritSec* m_critSec;
};

class ZR_EXPORT_CLASS CZR_WaitableCollection {
 public:
  CZR_WaitableCollection();
  virtual ~CZR_WaitableCollection();
  // False when the collection already holds ZR_MAXIMUM_WAIT_OBJECTS.
  int Add(CZR_WaitableObject* object);
  uint32_t GetCount();
  // ZR_WAIT_FAILED when the collection is empty.
  uint32_t WaitAny(uint32_t milliseconds);
  uint32_t WaitAll(uint32_t milliseconds);

  static void* operator new(size_t size);
  static void operator delete(void* block);

 private:
  void* m_handles[ZR_MAXIMUM_WAIT_OBJECTS];
  uint32_t m_count;
};

// Owns one kernel object; copying hands the object over.
class ZR_EXPORT_CLASS CZR_KernelAutoPtr {
 public:
  explicit CZR_KernelAutoPtr(CZR_Kernel* object = nullptr);
  CZR_KernelAutoPtr(CZR_KernelAutoPtr& other);
  CZR_KernelAutoPtr& operator=(CZR_KernelAutoPtr& other);
  virtual ~CZR_KernelAutoPtr();
  CZR_Kernel* Get() const;
  // Gives up ownership without deleting.
  CZR_Kernel* Detach();
  void Reset(CZR_Kernel* object);

  static void* operator new(size_t size);
  static void operator delete(void* block);

 protected:
  CZR_Kernel* m_object;
};

class ZR_EXPORT_CLASS CZR_ThreadAutoPtr : public CZR_KernelAutoPtr {
 public:
  explicit CZR_ThreadAutoPtr(CZR_Thread* thread = nullptr);
  CZR_ThreadAutoPtr(CZR_ThreadAutoPtr& other);
  CZR_ThreadAutoPtr& operator=(CZR_ThreadAutoPtr& other);
  ~CZR_ThreadAutoPtr() override;
  CZR_Thread* GetThread() const;
};

// One unit of pool work: the work object's slot-1 operation runs it.
struct ZR_EXPORT_CLASS CZR_DispatchRecord {
  void* work;
  int32_t Run() const;
};

// Queue nodes; the sentinel answers both operations with nothing.
class ZR_EXPORT_CLASS CZR_ThreadListNode {
 public:
  CZR_ThreadListNode();
  virtual int SetValue(CZR_ThreadAutoPtr& value);
  virtual CZR_ThreadAutoPtr* GetValue();
  CZR_ThreadListNode* m_next;
  CZR_ThreadListNode* m_previous;
};

class ZR_EXPORT_CLASS CZR_DispatchRecordListNode {
 public:
  CZR_DispatchRecordListNode();
  virtual int SetValue(CZR_DispatchRecord& value);
  virtual CZR_DispatchRecord* GetValue();
  CZR_DispatchRecordListNode* m_next;
  CZR_DispatchRecordListNode* m_previous;
};

// Guarded queues usable from any thread. Take waits up to the time limit for
// an item, or returns 0 as soon as the optional second object is signalled.
class ZR_EXPORT_CLASS CZR_Thread_LList {
 public:
  CZR_Thread_LList();
  ~CZR_Thread_LList();
  int Add(CZR_ThreadAutoPtr& value);  // takes the thread over
  int Take(CZR_ThreadAutoPtr& value, uint32_t milliseconds, CZR_WaitableObject* other = nullptr);
  int Remove(CZR_Thread* value);  // deletes the thread when found
  CZR_Thread_LList(const CZR_Thread_LList&) = delete;
  CZR_Thread_LList& operator=(const CZR_Thread_LList&) = delete;

 private:
  CZR_ThreadListNode m_sentinel;
  CZR_CritSec m_section;
  CZR_Event m_notEmpty;
  uint32_t m_lastWait;
};

class ZR_EXPORT_CLASS CZR_DispatchRecord_LList {
 public:
  CZR_DispatchRecord_LList();
  ~CZR_DispatchRecord_LList();
  int Add(CZR_DispatchRecord& value);
  int Take(CZR_DispatchRecord& value, uint32_t milliseconds, CZR_WaitableObject* other = nullptr);
  int Remove(const CZR_DispatchRecord& value);
  CZR_DispatchRecord_LList(const CZR_DispatchRecord_LList&) = delete;
  CZR_DispatchRecord_LList& operator=(const CZR_DispatchRecord_LList&) = delete;

 private:
  CZR_DispatchRecordListNode m_sentinel;
  CZR_CritSec m_section;
  CZR_Event m_notEmpty;
  uint32_t m_lastWait;
};

class ZR_EXPORT_CLASS CZR_ThreadPool {
 public:
  CZR_ThreadPool();
  virtual ~CZR_ThreadPool();
  // 1 when the work was queued, 0 when refused.
  virtual int Dispatch(CZR_DispatchRecord& record) = 0;

  static void* operator new(size_t size);
  static void operator delete(void* block);
};

// Keeps at least `minimum` threads, grows on demand up to `maximum`, and lets
// surplus threads leave after `idleTime` milliseconds without work. Dispatch
// refuses work (0) when every thread is busy and no more may be made.
class ZR_EXPORT_CLASS CZR_GrowableThreadPool : public CZR_ThreadPool, public CZR_ThreadHandler {
 public:
  CZR_GrowableThreadPool(int32_t minimum, int32_t maximum, uint32_t idleTime);
  ~CZR_GrowableThreadPool() override;
  int Dispatch(CZR_DispatchRecord& record) override;
  uint32_t Run() override;
  int32_t GetThreadCount();

  static void* operator new(size_t size);
  static void operator delete(void* block);

 private:
  struct ThreadMapRow {
    int32_t used;
    uint32_t threadId;
    CZR_Thread* thread;
  };
  CZR_Thread* StartThread();
  void LeavePool();

  CZR_CritSec m_section;
  CZR_Event m_stop;
  uint32_t m_idleTime;
  ThreadMapRow* m_threadMap;
  CZR_DispatchRecord_LList m_work;
  CZR_Semaphore m_workSemaphore;
  int32_t m_minimum;
  int32_t m_maximum;
  int32_t m_threadCount;
  CZR_Thread_LList m_threads;
  CZR_Semaphore m_idle;
};

#endif  // __cplusplus

#endif
