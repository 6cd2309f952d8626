// Kernel object classes: each create form asks the platform for the object
// and keeps the outcome in the status; a missing object raises
// CZR_KernelFailure, as a constructor has no other way to fail.
#include <mutex>
#include <new>

#include "platform/waitable.h"
#include "zrheap.h"
#include "zrkernel.h"

namespace pf = zr::platform;

static_assert(ZR_WAIT_TIMEOUT == pf::kWaitTimeout && ZR_WAIT_FAILED == pf::kWaitFailed);
static_assert(ZR_MAXIMUM_WAIT_OBJECTS == pf::kMaximumWaitObjects);
static_assert(sizeof(std::recursive_mutex) <= sizeof(ZR_CRITICAL_SECTION) &&
              alignof(std::recursive_mutex) <= alignof(ZR_CRITICAL_SECTION));

namespace {

void* heapNew(size_t size) {
  void* block = ZrHeap_malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  return block;
}

std::recursive_mutex& sectionOf(ZR_CRITICAL_SECTION* section) {
  return *std::launder(reinterpret_cast<std::recursive_mutex*>(section->opaque));
}

}  // namespace

CZR_KernelFailure::CZR_KernelFailure(uint32_t status) : m_status(status) {}
uint32_t CZR_KernelFailure::GetStatus() const { return m_status; }

CZR_Kernel::CZR_Kernel() : m_handle(nullptr), m_status(pf::kErrorInvalidHandle) {}
CZR_Kernel::~CZR_Kernel() {
  if (m_handle) pf::closeHandle(m_handle);
}
void* CZR_Kernel::GetHandle() { return m_handle; }
uint32_t CZR_Kernel::GetStatus() { return m_status; }
uint32_t CZR_Kernel::Wait(uint32_t milliseconds) {
  return m_handle ? pf::waitForOne(m_handle, milliseconds) : ZR_WAIT_FAILED;
}
void* CZR_Kernel::operator new(size_t size) { return heapNew(size); }
void CZR_Kernel::operator delete(void* block) { ZrHeap_free(block); }

void CZR_Kernel::TakeCreated(void* handle, uint32_t status) {
  m_status = status;
  if (!handle) throw CZR_KernelFailure(status);
  m_handle = handle;
}

CZR_Event::CZR_Event(int manualReset, int initialState, const char16_t* name, void*) {
  uint32_t status = 0;
  void* handle = pf::createEvent(manualReset != 0, initialState != 0, name, &status);
  TakeCreated(handle, status);
}
CZR_Event::CZR_Event(const char16_t* name, int, uint32_t) {
  m_handle = pf::openEvent(name, &m_status);
}
CZR_Event::~CZR_Event() = default;
int CZR_Event::Set() { return pf::setEvent(m_handle); }
int CZR_Event::Reset() { return pf::resetEvent(m_handle); }

CZR_Mutex::CZR_Mutex(int initialOwner, const char16_t* name, void*) {
  uint32_t status = 0;
  void* handle = pf::createMutex(initialOwner != 0, name, &status);
  TakeCreated(handle, status);
}
CZR_Mutex::CZR_Mutex(const char16_t* name, int, uint32_t) {
  m_handle = pf::openMutex(name, &m_status);
}
CZR_Mutex::~CZR_Mutex() = default;
int CZR_Mutex::Release() {
  uint32_t status = 0;
  return pf::releaseMutex(m_handle, &status);
}

CZR_Semaphore::CZR_Semaphore(int32_t initialCount, int32_t maximumCount, const char16_t* name, void*) {
  uint32_t status = 0;
  void* handle = pf::createSemaphore(initialCount, maximumCount, name, &status);
  TakeCreated(handle, status);
}
CZR_Semaphore::CZR_Semaphore(const char16_t* name, int, uint32_t) {
  m_handle = pf::openSemaphore(name, &m_status);
}
CZR_Semaphore::~CZR_Semaphore() = default;
int CZR_Semaphore::Release(int32_t count, int32_t* previous) {
  uint32_t status = 0;
  return pf::releaseSemaphore(m_handle, count, previous, &status);
}

CZR_ThreadHandler::CZR_ThreadHandler() = default;
CZR_ThreadHandler::~CZR_ThreadHandler() = default;
void* CZR_ThreadHandler::operator new(size_t size) { return heapNew(size); }
void CZR_ThreadHandler::operator delete(void* block) { ZrHeap_free(block); }

static uint32_t runHandler(void* handler) { return static_cast<CZR_ThreadHandler*>(handler)->Run(); }

CZR_Thread::CZR_Thread(CZR_ThreadHandler* handler, uint32_t creationFlags, void*, uint32_t stackSize)
    : m_threadId(0), m_handler(handler) {
  m_handle = pf::createThread(runHandler, handler, (creationFlags & ZR_CREATE_SUSPENDED) != 0, stackSize,
                              &m_threadId, &m_status);
}
CZR_Thread::~CZR_Thread() = default;
uint32_t CZR_Thread::Resume() { return pf::resumeThread(m_handle); }
uint32_t CZR_Thread::GetThreadId() { return m_threadId; }
CZR_ThreadHandler* CZR_Thread::GetHandler() { return m_handler; }

CZR_CritSec::CZR_CritSec() { new (m_section.opaque) std::recursive_mutex; }
CZR_CritSec::~CZR_CritSec() { sectionOf(&m_section).~recursive_mutex(); }
void CZR_CritSec::Enter() { sectionOf(&m_section).lock(); }
void CZR_CritSec::Leave() { sectionOf(&m_section).unlock(); }
ZR_CRITICAL_SECTION* CZR_CritSec::GetSection() { return &m_section; }
void* CZR_CritSec::operator new(size_t size) { return heapNew(size); }
void CZR_CritSec::operator delete(void* block) { ZrHeap_free(block); }

ZR_ScopedLock::ZR_ScopedLock(void* mutexHandle)
    : m_mutexHandle(mutexHandle), m_section(nullptr), m_mutex(nullptr), m_critSec(nullptr) {
  pf::waitForOne(mutexHandle, ZR_INFINITE);
}
ZR_ScopedLock::ZR_ScopedLock(ZR_CRITICAL_SECTION* section)
    : m_mutexHandle(nullptr), m_section(section), m_mutex(nullptr), m_critSec(nullptr) {
  sectionOf(section).lock();
}
ZR_ScopedLock::ZR_ScopedLock(CZR_Mutex* mutex)
    : m_mutexHandle(nullptr), m_section(nullptr), m_mutex(mutex), m_critSec(nullptr) {
  mutex->Wait(ZR_INFINITE);
}
ZR_ScopedLock::ZR_ScopedLock(CZR_CritSec* critSec)
    : m_mutexHandle(nullptr), m_section(nullptr), m_mutex(nullptr), m_critSec(critSec) {
  critSec->Enter();
}
ZR_ScopedLock::~ZR_ScopedLock() {
  uint32_t status = 0;
  if (m_mutexHandle) {
    pf::releaseMutex(m_mutexHandle, &status);
  } else if (m_section) {
    sectionOf(m_section).unlock();
  } else if (m_mutex) {
    m_mutex->Release();
  } else if (m_critSec) {
    m_critSec->Leave();
  }
}

CZR_WaitableCollection::CZR_WaitableCollection() : m_handles(), m_count(0) {}
CZR_WaitableCollection::~CZR_WaitableCollection() = default;
int CZR_WaitableCollection::Add(CZR_WaitableObject* object) {
  if (m_count == ZR_MAXIMUM_WAIT_OBJECTS) return 0;
  m_handles[m_count++] = object->GetHandle();
  return 1;
}
uint32_t CZR_WaitableCollection::GetCount() { return m_count; }
uint32_t CZR_WaitableCollection::WaitAny(uint32_t milliseconds) {
  return m_count ? pf::waitForMany(m_count, m_handles, false, milliseconds) : ZR_WAIT_FAILED;
}
uint32_t CZR_WaitableCollection::WaitAll(uint32_t milliseconds) {
  return m_count ? pf::waitForMany(m_count, m_handles, true, milliseconds) : ZR_WAIT_FAILED;
}
void* CZR_WaitableCollection::operator new(size_t size) { return heapNew(size); }
void CZR_WaitableCollection::operator delete(void* block) { ZrHeap_free(block); }

CZR_KernelAutoPtr::CZR_KernelAutoPtr(CZR_Kernel* object) : m_object(object) {}
CZR_KernelAutoPtr::CZR_KernelAutoPtr(CZR_KernelAutoPtr& other) : m_object(other.Detach()) {}
CZR_KernelAutoPtr& CZR_KernelAutoPtr::operator=(CZR_KernelAutoPtr& other) {
  if (&other != this) Reset(other.Detach());
  return *this;
}
CZR_KernelAutoPtr::~CZR_KernelAutoPtr() { delete m_object; }
CZR_Kernel* CZR_KernelAutoPtr::Get() const { return m_object; }
CZR_Kernel* CZR_KernelAutoPtr::Detach() {
  CZR_Kernel* object = m_object;
  m_object = nullptr;
  return object;
}
void CZR_KernelAutoPtr::Reset(CZR_Kernel* object) {
  if (object == m_object) return;
  delete m_object;
  m_object = object;
}
void* CZR_KernelAutoPtr::operator new(size_t size) { return heapNew(size); }
void CZR_KernelAutoPtr::operator delete(void* block) { ZrHeap_free(block); }

CZR_ThreadAutoPtr::CZR_ThreadAutoPtr(CZR_Thread* thread) : CZR_KernelAutoPtr(thread) {}
CZR_ThreadAutoPtr::CZR_ThreadAutoPtr(CZR_ThreadAutoPtr& other) : CZR_KernelAutoPtr(other) {}
CZR_ThreadAutoPtr& CZR_ThreadAutoPtr::operator=(CZR_ThreadAutoPtr& other) {
  CZR_KernelAutoPtr::operator=(other);
  return *this;
}
CZR_ThreadAutoPtr::~CZR_ThreadAutoPtr() = default;
CZR_Thread* CZR_ThreadAutoPtr::GetThread() const { return static_cast<CZR_Thread*>(m_object); }
