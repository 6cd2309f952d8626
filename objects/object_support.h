// object_support.h - what every interface object shares: identifier
// comparison, the reference count, heap placement, and text blocks with one
// spare unit.
#ifndef ZR_OBJECTS_OBJECT_SUPPORT_H
#define ZR_OBJECTS_OBJECT_SUPPORT_H

#include <atomic>
#include <cstring>

#include "zrheap.h"
#include "zrobjimpl.h"

namespace zr::objects {

inline bool sameGuid(const ZR_GUID& a, const ZR_GUID& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

inline uint32_t addRef(std::atomic<uint32_t>& refs) { return refs.fetch_add(1, std::memory_order_relaxed) + 1; }

// Deletes object when the count reaches 0; the acquire side makes every
// other thread's writes visible to the destructor.
template <class T>
uint32_t release(T* object, std::atomic<uint32_t>& refs) {
  uint32_t count = refs.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (count == 0) delete object;
  return count;
}

// Stores interface in out with a reference, or null and E_NOINTERFACE.
inline HRESULT answer(IUnknown* interface, void** out) {
  *out = interface;
  if (!interface) return E_NOINTERFACE;
  interface->AddRef();
  return S_OK;
}

// A heap block for count characters, their terminator and one spare zero
// behind it, so that reading the unit after the terminator stays inside the
// block. Both zeros are written.
char16_t* allocText(uint32_t count);
// A copy of text (null gives null) with its length counting the terminator.
char16_t* copyText(const char16_t* text, uint32_t* length);
uint32_t textLength(const char16_t* text);

// Makers that take the heap blocks they are given (freed on failure).
HRESULT adoptString(char16_t* text, IZR_String** out);
HRESULT adoptBlob(uint8_t* data, uint32_t size, IZR_Blob** out);
// An enumerator over count items, each referenced anew.
HRESULT enumerate(IUnknown* const* items, uint32_t count, IEnumUnknown** out);

}  // namespace zr::objects

#define ZR_DEFINE_HEAP_OBJECT(Class)                                               \
  void* Class::operator new(size_t size) noexcept { return ZrHeap_malloc(size); } \
  void Class::operator delete(void* block) noexcept { ZrHeap_free(block); }

#endif
