// Helpers for the interface object tests: reference counts read through
// AddRef and Release, text of strings, and an owning pointer.
#ifndef ZR_TESTS_OBJECTS_OBJECT_TEST_UTIL_H
#define ZR_TESTS_OBJECTS_OBJECT_TEST_UTIL_H

#include <string>

#include "zrobj.h"

namespace zr::test {

// The count as it stands, without changing it.
inline uint32_t refs(IUnknown* object) {
  object->AddRef();
  return object->Release();
}

inline std::u16string text(IZR_String* s) {
  const char16_t* t = nullptr;
  s->GetText(&t);
  return t ? t : u"";
}

inline uint32_t length(IZR_String* s) {
  uint32_t n = 0;
  s->GetLength(&n);
  return n;
}

// Holds one reference and gives it back.
template <class T>
class Ref {
 public:
  Ref() = default;
  explicit Ref(T* p) : p_(p) {}
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() {
    if (p_) p_->Release();
  }
  T** put() { return &p_; }
  T* get() const { return p_; }
  T* operator->() const { return p_; }

 private:
  T* p_ = nullptr;
};

inline IZR_String* newString(const char16_t* t) {
  IZR_String* s = nullptr;
  CreateString(t, &s);
  return s;
}

}  // namespace zr::test

#endif
