// waitable.h - kernel objects: events, mutexes, semaphores and threads behind
// one waitable record, with waits for one, any or all of up to 64 of them.
//
// A handle is the record's address. Results follow the kernel convention the
// callers were written for: 0+i signalled, 0x80+i abandoned mutex, 258 time-out,
// 0xFFFFFFFF failure. Status values are the kernel's error numbers.
#ifndef ZR_PLATFORM_WAITABLE_H
#define ZR_PLATFORM_WAITABLE_H

#include <cstdint>

namespace zr::platform {

constexpr uint32_t kWaitObject0 = 0;
constexpr uint32_t kWaitAbandoned0 = 0x80;
constexpr uint32_t kWaitTimeout = 258;
constexpr uint32_t kWaitFailed = 0xFFFFFFFFu;
constexpr uint32_t kInfinite = 0xFFFFFFFFu;
constexpr uint32_t kMaximumWaitObjects = 64;

constexpr uint32_t kErrorFileNotFound = 2;
constexpr uint32_t kErrorInvalidHandle = 6;
constexpr uint32_t kErrorNotEnoughMemory = 8;
constexpr uint32_t kErrorInvalidParameter = 87;
constexpr uint32_t kErrorAlreadyExists = 183;
constexpr uint32_t kErrorNotOwner = 288;
constexpr uint32_t kErrorTooManyPosts = 298;

using Handle = void*;

// Create forms. A name (UTF-16, may be null) makes the object findable in this
// process; creating a name that exists gives that object and status 183, or
// null and status 6 when it is of another kind. Status 0 otherwise.
Handle createEvent(bool manualReset, bool initialState, const char16_t* name, uint32_t* status);
Handle createMutex(bool initialOwner, const char16_t* name, uint32_t* status);
Handle createSemaphore(int32_t initial, int32_t maximum, const char16_t* name, uint32_t* status);
// Open forms: an existing named object of that kind, or null and status 2.
Handle openEvent(const char16_t* name, uint32_t* status);
Handle openMutex(const char16_t* name, uint32_t* status);
Handle openSemaphore(const char16_t* name, uint32_t* status);

bool setEvent(Handle event);
bool resetEvent(Handle event);
// Fails with status 288 unless the calling thread owns the mutex.
bool releaseMutex(Handle mutex, uint32_t* status);
// Fails with status 298 when the count would pass the maximum.
bool releaseSemaphore(Handle semaphore, int32_t count, int32_t* previous, uint32_t* status);

// Starts a thread running entry(argument). A suspended thread waits at a gate
// until resumeThread opens it; the id (the kernel thread id) is known at once.
// stackSize 0 takes the default. The handle is signalled when the thread ends.
using ThreadEntry = uint32_t (*)(void* argument);
Handle createThread(ThreadEntry entry, void* argument, bool suspended, uint32_t stackSize,
                    uint32_t* threadId, uint32_t* status);
// Lowers the suspend count; returns the count before, or 0xFFFFFFFF.
uint32_t resumeThread(Handle thread);

uint32_t waitForOne(Handle object, uint32_t milliseconds);
// waitAll takes every object at once or none of them.
uint32_t waitForMany(uint32_t count, const Handle* objects, bool waitAll, uint32_t milliseconds);

// Gives up this handle's reference; the object lives while a handle, a name
// lookup or (for a thread) the running thread holds it.
bool closeHandle(Handle object);

}  // namespace zr::platform

#endif
