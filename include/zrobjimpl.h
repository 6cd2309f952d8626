// zrobjimpl.h - the exported classes behind the interfaces of zrobj.h, for
// C++ callers that derive from them or need their layout. Objects are made
// by the Create* functions of zrobj.h; each lives in a heap block and frees
// itself on its last Release.
//
// Fields stand in a fixed order behind the table pointers, one table per
// interface in the order of the bases.
#ifndef ZROBJIMPL_H
#define ZROBJIMPL_H

#include "zrobj.h"

#ifdef __cplusplus
#include <atomic>

// Heap placement shared by every class: new gives null when the heap is out
// of memory, and delete gives the block back.
#define ZR_HEAP_OBJECT                                   \
  static void* operator new(size_t size) noexcept;       \
  static void operator delete(void* block) noexcept

class ZR_EXPORT_CLASS CZR_BlobImpl final : public IZR_Blob, public IZR_ConvString {
 public:
  ZR_HEAP_OBJECT;
  // Takes the heap block data of size bytes.
  CZR_BlobImpl(uint8_t* data, uint32_t size);
  ~CZR_BlobImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT GetSize(uint32_t* size) override;
  HRESULT GetData(const uint8_t** data) override;
  HRESULT SubBlob(uint32_t offset, uint32_t count, IZR_Blob** out) override;
  HRESULT InsertBytes(uint32_t offset, const uint8_t* bytes, uint32_t count, IZR_Blob** out) override;
  HRESULT InsertBlob(uint32_t offset, IZR_Blob* other, IZR_Blob** out) override;
  HRESULT AsString(IZR_String** out) override;

 private:
  uint8_t* data_;
  std::atomic<uint32_t> refs_;
  uint32_t size_;
};

class ZR_EXPORT_CLASS CZR_StringImpl final : public IZR_String, public IZR_ConvBlob {
 public:
  ZR_HEAP_OBJECT;
  // Takes the heap block text, which may be null; length counts the
  // terminator.
  CZR_StringImpl(char16_t* text, uint32_t length);
  ~CZR_StringImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Compare(IZR_String* other, int32_t* result) override;
  HRESULT CompareNoCase(IZR_String* other, int32_t* result) override;
  HRESULT GetText(const char16_t** text) override;
  HRESULT GetLength(uint32_t* length) override;
  HRESULT GetChar(uint32_t index, char16_t* character) override;
  HRESULT SubString(uint32_t start, uint32_t count, IZR_String** out) override;
  HRESULT Concat(IZR_String* other, IZR_String** out) override;
  HRESULT ToUpper(IZR_String** out) override;
  HRESULT ToLower(IZR_String** out) override;
  HRESULT Trim(char16_t character, int32_t side, IZR_String** out) override;
  HRESULT Find(uint32_t start, IZR_String* sought, uint32_t* position) override;
  HRESULT AsBlob(IZR_Blob** out) override;

 private:
  char16_t* text_;
  std::atomic<uint32_t> refs_;
  uint32_t length_;
};

class ZR_EXPORT_CLASS CZR_StringBufferImpl final : public IZR_StringBuffer,
                                                   public IZR_ConvBlob,
                                                   public IZR_ConvString {
 public:
  ZR_HEAP_OBJECT;
  CZR_StringBufferImpl(char16_t* text, uint32_t length);
  ~CZR_StringBufferImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Clone(IZR_StringBuffer** out) override;
  HRESULT GetText(const char16_t** text) override;
  HRESULT GetLength(uint32_t* length) override;
  HRESULT Compare(IZR_StringBuffer* other, int32_t* result) override;
  HRESULT CompareNoCase(IZR_StringBuffer* other, int32_t* result) override;
  HRESULT GetChar(uint32_t index, char16_t* character) override;
  HRESULT SetChar(uint32_t index, char16_t character) override;
  HRESULT SubString(uint32_t start, uint32_t count, IZR_String** out) override;
  HRESULT Append(IZR_String* text) override;
  HRESULT Insert(uint32_t position, IZR_String* text) override;
  HRESULT Remove(uint32_t position, uint32_t count) override;
  HRESULT Replace(uint32_t position, uint32_t count, IZR_String* text) override;
  HRESULT ToUpper() override;
  HRESULT ToLower() override;
  HRESULT Trim(char16_t character, int32_t side) override;
  HRESULT Find(uint32_t start, IZR_String* sought, uint32_t* position) override;
  HRESULT SetText(const char16_t* text) override;
  HRESULT SetFromString(IZR_String* text) override;
  HRESULT AsBlob(IZR_Blob** out) override;
  HRESULT AsString(IZR_String** out) override;

 private:
  // Puts text in place of the old one, with a new length unless keepLength.
  void swapText(char16_t* text, uint32_t length, bool keepLength);

  char16_t* text_;
  std::atomic<uint32_t> refs_;
  uint32_t length_;
};

class ZR_EXPORT_CLASS CZR_ObjectFactory final : public IZR_ObjectFactory {
 public:
  ZR_HEAP_OBJECT;
  CZR_ObjectFactory();
  ~CZR_ObjectFactory();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT CreateString(const char16_t* text, IZR_String** out) override;
  HRESULT CreateList(IZR_List** out) override;

 private:
  std::atomic<uint32_t> refs_;
};

class ZR_EXPORT_CLASS CZR_EnumUnknownImpl final : public IEnumUnknown {
 public:
  ZR_HEAP_OBJECT;
  // Takes the heap array items of count pointers, each holding a reference.
  CZR_EnumUnknownImpl(IUnknown** items, uint32_t count);
  ~CZR_EnumUnknownImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Next(uint32_t count, IUnknown** items, uint32_t* fetched) override;
  HRESULT Skip(uint32_t count) override;
  HRESULT Reset() override;
  HRESULT Clone(IEnumUnknown** out) override;

 private:
  std::atomic<uint32_t> refs_;
  uint32_t position_;
  uint32_t count_;
  IUnknown** items_;
};

class ZR_EXPORT_CLASS CZR_DecimalImpl final : public IZR_Decimal, public IZR_ConvString {
 public:
  ZR_HEAP_OBJECT;
  explicit CZR_DecimalImpl(const SH_DEC& value);
  ~CZR_DecimalImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Compare(IZR_Decimal* other, int32_t* result) override;
  HRESULT ToDouble(double* value) override;
  HRESULT Negate(IZR_Decimal** out) override;
  HRESULT Round(IZR_Decimal** out, int32_t places) override;
  HRESULT Truncate(IZR_Decimal** out, int32_t places) override;
  HRESULT Abs(IZR_Decimal** out) override;
  HRESULT GetValue(const SH_DEC** value) override;
  HRESULT Add(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT Sub(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT Mult(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT Div(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT Mod(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT Exp(IZR_Decimal* other, IZR_Decimal** out) override;
  HRESULT AsString(IZR_String** out) override;

 private:
  std::atomic<uint32_t> refs_;
  SH_DEC value_;
};

// Which parts a date-time object was made with.
enum ZR_DATETIME_KIND { ZR_KIND_DATETIME = 1, ZR_KIND_DATE = 2, ZR_KIND_TIME = 3 };

class ZR_EXPORT_CLASS CZR_DateTimeImpl final : public IZR_DateTime,
                                               public IZR_Date,
                                               public IZR_Time,
                                               public IZR_ConvString {
 public:
  ZR_HEAP_OBJECT;
  CZR_DateTimeImpl(const SH_TIME& value, ZR_DATETIME_KIND kind);
  ~CZR_DateTimeImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Compare(IZR_DateTime* other, int32_t* result) override;
  HRESULT Difference(IZR_DateTime* other, int32_t* days, int32_t* seconds) override;
  HRESULT Compare(IZR_Date* other, int32_t* result) override;
  HRESULT Difference(IZR_Date* other, int32_t* days) override;
  HRESULT Compare(IZR_Time* other, int32_t* result) override;
  HRESULT Difference(IZR_Time* other, int32_t* seconds) override;
  HRESULT GetYear(int32_t* year) override;
  HRESULT GetMonth(int32_t* month) override;
  HRESULT GetDay(int32_t* day) override;
  HRESULT GetDayOfWeek(int32_t* dayOfWeek) override;
  HRESULT GetHour(int32_t* hour) override;
  HRESULT GetMinute(int32_t* minute) override;
  HRESULT GetSecond(int32_t* second) override;
  HRESULT GetMicrosecond(int32_t* microsecond) override;
  HRESULT AsDate(IZR_Date** out) override;
  HRESULT AsTime(IZR_Time** out) override;
  HRESULT AsString(IZR_String** out) override;
  const SH_TIME& value() const;

 private:
  std::atomic<uint32_t> refs_;
  SH_TIME value_;
  ZR_DATETIME_KIND kind_;
};

class ZR_EXPORT_CLASS CZR_DynamicVectorImpl final : public IZR_DynamicVector {
 public:
  ZR_HEAP_OBJECT;
  // Takes the zeroed heap array items of capacity places.
  CZR_DynamicVectorImpl(IUnknown** items, uint32_t capacity);
  ~CZR_DynamicVectorImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT GetSize(uint32_t* capacity) override;
  HRESULT SetSize(uint32_t size) override;
  HRESULT GetAt(uint32_t index, IUnknown** item) override;
  HRESULT SetAt(uint32_t index, IUnknown* item) override;
  HRESULT IsEmpty(int* empty) override;
  HRESULT Clone(IZR_DynamicVector** out) override;

 private:
  IUnknown** items_;
  std::atomic<uint32_t> refs_;
  uint32_t capacity_;
};

// A node of CZR_ListImpl: the item holds a reference.
struct ZR_LIST_NODE {
  IUnknown* item;
  ZR_LIST_NODE* next;
  ZR_LIST_NODE* previous;
};

class ZR_EXPORT_CLASS CZR_ListImpl final : public IZR_List {
 public:
  ZR_HEAP_OBJECT;
  CZR_ListImpl();
  ~CZR_ListImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT AddTail(IUnknown* item) override;
  HRESULT AddHead(IUnknown* item) override;
  HRESULT RemoveHead(IUnknown** item) override;
  HRESULT RemoveTail(IUnknown** item) override;
  HRESULT InsertAfter(IUnknown* existing, IUnknown* item) override;
  HRESULT InsertBefore(IUnknown* existing, IUnknown* item) override;
  HRESULT GetNext(IUnknown* item, IUnknown** next) override;
  HRESULT GetPrevious(IUnknown* item, IUnknown** previous) override;
  HRESULT Remove(IUnknown* item) override;
  HRESULT Contains(IUnknown* item) override;
  HRESULT Enumerate(IEnumUnknown** out) override;
  HRESULT GetCount(uint32_t* count) override;
  HRESULT IsEmpty(int* empty) override;
  HRESULT RemoveAll() override;
  HRESULT Clone(IZR_List** out) override;

 private:
  ZR_LIST_NODE* find(IUnknown* item) const;
  // Links a new node for item between previous and next (either may be null).
  HRESULT link(IUnknown* item, ZR_LIST_NODE* previous, ZR_LIST_NODE* next);
  // Unlinks and frees node; gives back its item's reference.
  IUnknown* unlink(ZR_LIST_NODE* node);

  ZR_LIST_NODE* first_;
  ZR_LIST_NODE* last_;
  std::atomic<uint32_t> refs_;
  uint32_t count_;
};

// An entry of CZR_DictionaryImpl, chained per bucket. A string key holds a
// reference to its IZR_String; a number key has a null string.
struct ZR_DICT_ENTRY {
  uint32_t number;
  IZR_String* text;
  IUnknown* item;
  ZR_DICT_ENTRY* next;
  ZR_DICT_ENTRY* previous;
};

class ZR_EXPORT_CLASS CZR_DictionaryImpl final : public IZR_UlongDictionary, public IZR_StringDictionary {
 public:
  ZR_HEAP_OBJECT;
  // Takes the zeroed heap array buckets of bucketCount chains.
  CZR_DictionaryImpl(ZR_DICT_ENTRY** buckets, uint32_t bucketCount, uint32_t flags);
  ~CZR_DictionaryImpl();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT Add(uint32_t key, IUnknown* item) override;
  HRESULT RemoveItem(uint32_t key, IUnknown* item) override;
  HRESULT RemoveKey(uint32_t key) override;
  HRESULT Get(uint32_t key, IUnknown** item) override;
  HRESULT GetAll(uint32_t key, IEnumUnknown** out) override;
  HRESULT Add(IZR_String* key, IUnknown* item) override;
  HRESULT RemoveItem(IZR_String* key, IUnknown* item) override;
  HRESULT RemoveKey(IZR_String* key) override;
  HRESULT Get(IZR_String* key, IUnknown** item) override;
  HRESULT GetByText(const char16_t* key, IUnknown** item) override;
  HRESULT GetAll(IZR_String* key, IEnumUnknown** out) override;
  HRESULT GetAllByText(const char16_t* key, IEnumUnknown** out) override;
  HRESULT EnumerateKeys(IEnumUnknown** out) override;
  HRESULT EnumerateItems(IEnumUnknown** out) override;
  HRESULT GetCount(uint32_t* count) override;
  HRESULT IsEmpty(int* empty) override;
  HRESULT RemoveAll() override;
  HRESULT Clone(IZR_UlongDictionary** out) override;
  HRESULT Clone(IZR_StringDictionary** out) override;
  HRESULT TestFlag(uint32_t flag) override;

 private:
  uint32_t bucketOf(uint32_t key) const;
  uint32_t bucketOf(const char16_t* key) const;
  bool matches(const ZR_DICT_ENTRY* entry, const char16_t* key) const;
  HRESULT append(uint32_t bucket, uint32_t number, IZR_String* text, IUnknown* item);
  void erase(uint32_t bucket, ZR_DICT_ENTRY* entry);
  HRESULT removeText(const char16_t* key, IUnknown* item, bool allOfKey);
  HRESULT getAllText(const char16_t* key, IEnumUnknown** out);
  HRESULT cloneInto(CZR_DictionaryImpl** out);

  ZR_DICT_ENTRY** buckets_;
  uint32_t bucketCount_;
  uint32_t flags_;
  std::atomic<uint32_t> refs_;
  uint32_t count_;
  int caseSensitive_;
  int uniqueKeys_;
};

class ZR_EXPORT_CLASS CZR_PropertySet final : public IZR_PropertySet {
 public:
  ZR_HEAP_OBJECT;
  // Takes the reference of values.
  explicit CZR_PropertySet(IZR_StringDictionary* values);
  ~CZR_PropertySet();
  HRESULT QueryInterface(const ZR_GUID& iid, void** out) override;
  uint32_t AddRef() override;
  uint32_t Release() override;
  HRESULT GetString(const char16_t* name, IZR_String** value) override;
  HRESULT SetString(const char16_t* name, IZR_String* value) override;
  HRESULT GetLong(const char16_t* name, int32_t* value) override;
  HRESULT SetLong(const char16_t* name, int32_t value) override;
  HRESULT GetObject(const char16_t* name, IUnknown** value) override;
  HRESULT SetObject(const char16_t* name, IUnknown* value) override;
  HRESULT Remove(const char16_t* name) override;
  HRESULT Enumerate(IEnumUnknown** out) override;

 private:
  IZR_StringDictionary* values_;
  std::atomic<uint32_t> refs_;
};

#undef ZR_HEAP_OBJECT

#endif
#endif
