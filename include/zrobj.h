// zrobj.h - reference-counted objects behind binary interfaces: strings,
// string buffers, blobs, decimals, date-times, and the collections (list,
// dynamic vector, dictionaries, property set) with their enumerator.
//
// Example:
//   IZR_String* s = NULL;
//   if (CreateString(u"hello", &s) == S_OK) {
//     uint32_t length;
//     s->GetLength(&length);     // 6: lengths count the terminator
//     s->Release();
//   }
//
// In C, each interface is a pointer to a table of functions that take the
// object first: s->lpVtbl->GetLength(s, &length). The slot order of every
// table is the contract; the C++ classes declare the same slots in the same
// order and have no virtual destructor, which would take two slots.
//
// Every object starts with one reference, held by its creator. Methods
// return S_OK or a failure below; a null out-parameter is E_INVALIDARG.
// Counts, lengths, indices and positions are 32-bit and, for text, count
// the terminator, so an empty string has length 1.
#ifndef ZROBJ_H
#define ZROBJ_H

#include <uchar.h>

#include "shdec.h"
#include "shdt.h"
#include "zrdefs.h"

typedef int32_t HRESULT;

#define S_OK ((HRESULT)0)
#define S_FALSE ((HRESULT)1)
#define E_NOTIMPL ((HRESULT)0x80004001u)
#define E_NOINTERFACE ((HRESULT)0x80004002u)
#define E_POINTER ((HRESULT)0x80004003u)
#define E_FAIL ((HRESULT)0x80004005u)
#define E_OUTOFMEMORY ((HRESULT)0x8007000Eu)
#define E_INVALIDARG ((HRESULT)0x80070057u)
// A decimal that does not convert, and a decimal operation that failed.
#define ZR_E_DEC_CONVERT ((HRESULT)0x80042C40u)
#define ZR_E_DEC_OPERATION ((HRESULT)0x80042C41u)
// Success with nothing to give: an empty place of a dynamic vector.
#define ZR_S_EMPTY_PLACE ((HRESULT)0x42CB1)

#define SUCCEEDED(hr) ((HRESULT)(hr) >= 0)
#define FAILED(hr) ((HRESULT)(hr) < 0)

// A 16-byte identifier in memory order, compared byte by byte.
typedef struct ZR_GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
} ZR_GUID;

ZR_STATIC_ASSERT(sizeof(ZR_GUID) == 16, "an identifier is 16 bytes");

// Dictionary flags.
#define ZR_DICT_NOCASE 0x1      // string keys compare without regard to case
#define ZR_DICT_UNIQUE_KEY 0x2  // a string key holds one item: Add replaces it

// The interface identifiers, as data in the library.
ZRAPI const ZR_GUID IID_IUnknown;
ZRAPI const ZR_GUID IID_IZR_String;
ZRAPI const ZR_GUID IID_IZR_StringBuffer;
ZRAPI const ZR_GUID IID_IZR_ConvBlob;
ZRAPI const ZR_GUID IID_IZR_ConvString;
ZRAPI const ZR_GUID IID_IZR_Blob;
ZRAPI const ZR_GUID IID_IZR_ObjectFactory;
ZRAPI const ZR_GUID IID_IZR_Decimal;
ZRAPI const ZR_GUID IID_IZR_DateTime;
ZRAPI const ZR_GUID IID_IZR_Date;
ZRAPI const ZR_GUID IID_IZR_Time;
ZRAPI const ZR_GUID IID_IZR_DynamicVector;
ZRAPI const ZR_GUID IID_IEnumUnknown;
ZRAPI const ZR_GUID IID_IZR_List;
ZRAPI const ZR_GUID IID_IZR_StringDictionary;
ZRAPI const ZR_GUID IID_IZR_UlongDictionary;
ZRAPI const ZR_GUID IID_IZR_PropertySet;

#ifdef __cplusplus
#define ZR_INTERFACE(name) class name;
#else
#define ZR_INTERFACE(name) typedef struct name name;
#endif
ZR_INTERFACE(IUnknown)
ZR_INTERFACE(IZR_ConvString)
ZR_INTERFACE(IZR_ConvBlob)
ZR_INTERFACE(IZR_Blob)
ZR_INTERFACE(IZR_String)
ZR_INTERFACE(IZR_StringBuffer)
ZR_INTERFACE(IZR_ObjectFactory)
ZR_INTERFACE(IEnumUnknown)
ZR_INTERFACE(IZR_Decimal)
ZR_INTERFACE(IZR_DateTime)
ZR_INTERFACE(IZR_Date)
ZR_INTERFACE(IZR_Time)
ZR_INTERFACE(IZR_DynamicVector)
ZR_INTERFACE(IZR_List)
ZR_INTERFACE(IZR_UlongDictionary)
ZR_INTERFACE(IZR_StringDictionary)
ZR_INTERFACE(IZR_PropertySet)
#undef ZR_INTERFACE

// Slots 0 to 2 of every table.
#define ZR_UNKNOWN_SLOTS(T)                                              \
  HRESULT (*QueryInterface)(T * self, const ZR_GUID* iid, void** out); \
  uint32_t (*AddRef)(T * self);                                          \
  uint32_t (*Release)(T * self);

// A table of n + 1 slots whose last is `last`.
#define ZR_ASSERT_SLOTS(T, last, n)                                                       \
  ZR_STATIC_ASSERT(offsetof(T, last) == (n) * sizeof(void*), #T " slot order");           \
  ZR_STATIC_ASSERT(sizeof(T) == ((n) + 1) * sizeof(void*), #T " has no slot after " #last)

typedef struct IUnknownVtbl {
  ZR_UNKNOWN_SLOTS(IUnknown)
} IUnknownVtbl;
ZR_ASSERT_SLOTS(IUnknownVtbl, Release, 2);

typedef struct IZR_ConvStringVtbl {
  ZR_UNKNOWN_SLOTS(IZR_ConvString)
  HRESULT (*AsString)(IZR_ConvString* self, IZR_String** out);
} IZR_ConvStringVtbl;
ZR_ASSERT_SLOTS(IZR_ConvStringVtbl, AsString, 3);

typedef struct IZR_ConvBlobVtbl {
  ZR_UNKNOWN_SLOTS(IZR_ConvBlob)
  HRESULT (*AsBlob)(IZR_ConvBlob* self, IZR_Blob** out);
} IZR_ConvBlobVtbl;
ZR_ASSERT_SLOTS(IZR_ConvBlobVtbl, AsBlob, 3);

// Immutable bytes: the methods that change a blob return a new one.
typedef struct IZR_BlobVtbl {
  ZR_UNKNOWN_SLOTS(IZR_Blob)
  HRESULT (*GetSize)(IZR_Blob* self, uint32_t* size);
  HRESULT (*GetData)(IZR_Blob* self, const uint8_t** data);  // valid while the blob lives
  HRESULT (*SubBlob)(IZR_Blob* self, uint32_t offset, uint32_t count, IZR_Blob** out);
  HRESULT (*InsertBytes)(IZR_Blob* self, uint32_t offset, const uint8_t* bytes, uint32_t count, IZR_Blob** out);
  HRESULT (*InsertBlob)(IZR_Blob* self, uint32_t offset, IZR_Blob* other, IZR_Blob** out);
} IZR_BlobVtbl;
ZR_ASSERT_SLOTS(IZR_BlobVtbl, InsertBlob, 7);

// Immutable text. Compare results are -1, 0 or 1; Find gives E_FAIL and
// position 0 when the text is not found. Trim's side is -1 for the start,
// 1 for the end and 0 for both.
typedef struct IZR_StringVtbl {
  ZR_UNKNOWN_SLOTS(IZR_String)
  HRESULT (*Compare)(IZR_String* self, IZR_String* other, int32_t* result);
  HRESULT (*CompareNoCase)(IZR_String* self, IZR_String* other, int32_t* result);
  HRESULT (*GetText)(IZR_String* self, const char16_t** text);
  HRESULT (*GetLength)(IZR_String* self, uint32_t* length);
  HRESULT (*GetChar)(IZR_String* self, uint32_t index, char16_t* character);
  HRESULT (*SubString)(IZR_String* self, uint32_t start, uint32_t count, IZR_String** out);
  HRESULT (*Concat)(IZR_String* self, IZR_String* other, IZR_String** out);
  HRESULT (*ToUpper)(IZR_String* self, IZR_String** out);
  HRESULT (*ToLower)(IZR_String* self, IZR_String** out);
  HRESULT (*Trim)(IZR_String* self, char16_t character, int32_t side, IZR_String** out);
  HRESULT (*Find)(IZR_String* self, uint32_t start, IZR_String* sought, uint32_t* position);
} IZR_StringVtbl;
ZR_ASSERT_SLOTS(IZR_StringVtbl, Find, 13);

// Changeable text, for one thread at a time. Trim keeps the length from
// before the trim until the next change that sets one.
typedef struct IZR_StringBufferVtbl {
  ZR_UNKNOWN_SLOTS(IZR_StringBuffer)
  HRESULT (*Clone)(IZR_StringBuffer* self, IZR_StringBuffer** out);
  HRESULT (*GetText)(IZR_StringBuffer* self, const char16_t** text);
  HRESULT (*GetLength)(IZR_StringBuffer* self, uint32_t* length);
  HRESULT (*Compare)(IZR_StringBuffer* self, IZR_StringBuffer* other, int32_t* result);
  HRESULT (*CompareNoCase)(IZR_StringBuffer* self, IZR_StringBuffer* other, int32_t* result);
  HRESULT (*GetChar)(IZR_StringBuffer* self, uint32_t index, char16_t* character);
  HRESULT (*SetChar)(IZR_StringBuffer* self, uint32_t index, char16_t character);
  HRESULT (*SubString)(IZR_StringBuffer* self, uint32_t start, uint32_t count, IZR_String** out);
  HRESULT (*Append)(IZR_StringBuffer* self, IZR_String* text);
  HRESULT (*Insert)(IZR_StringBuffer* self, uint32_t position, IZR_String* text);
  HRESULT (*Remove)(IZR_StringBuffer* self, uint32_t position, uint32_t count);
  HRESULT (*Replace)(IZR_StringBuffer* self, uint32_t position, uint32_t count, IZR_String* text);
  HRESULT (*ToUpper)(IZR_StringBuffer* self);
  HRESULT (*ToLower)(IZR_StringBuffer* self);
  HRESULT (*Trim)(IZR_StringBuffer* self, char16_t character, int32_t side);
  HRESULT (*Find)(IZR_StringBuffer* self, uint32_t start, IZR_String* sought, uint32_t* position);
  HRESULT (*SetText)(IZR_StringBuffer* self, const char16_t* text);
  HRESULT (*SetFromString)(IZR_StringBuffer* self, IZR_String* text);
} IZR_StringBufferVtbl;
ZR_ASSERT_SLOTS(IZR_StringBufferVtbl, SetFromString, 20);

// For a loaded component that does not link the Create* functions. Its
// QueryInterface leaves out untouched for an unknown identifier.
typedef struct IZR_ObjectFactoryVtbl {
  ZR_UNKNOWN_SLOTS(IZR_ObjectFactory)
  HRESULT (*CreateString)(IZR_ObjectFactory* self, const char16_t* text, IZR_String** out);
  HRESULT (*CreateList)(IZR_ObjectFactory* self, IZR_List** out);
} IZR_ObjectFactoryVtbl;
ZR_ASSERT_SLOTS(IZR_ObjectFactoryVtbl, CreateList, 4);

// Next with a null array or fetched takes a count of 1 only; at the end it
// returns S_FALSE. Skip returns S_FALSE when it reaches the end.
typedef struct IEnumUnknownVtbl {
  ZR_UNKNOWN_SLOTS(IEnumUnknown)
  HRESULT (*Next)(IEnumUnknown* self, uint32_t count, IUnknown** items, uint32_t* fetched);
  HRESULT (*Skip)(IEnumUnknown* self, uint32_t count);
  HRESULT (*Reset)(IEnumUnknown* self);
  HRESULT (*Clone)(IEnumUnknown* self, IEnumUnknown** out);
} IEnumUnknownVtbl;
ZR_ASSERT_SLOTS(IEnumUnknownVtbl, Clone, 6);

// An immutable decimal; the operations make new objects, with overflow and
// division by zero as flags in the new value. Places of 31 or more count as
// 30; negative places are E_INVALIDARG.
typedef struct IZR_DecimalVtbl {
  ZR_UNKNOWN_SLOTS(IZR_Decimal)
  HRESULT (*Compare)(IZR_Decimal* self, IZR_Decimal* other, int32_t* result);
  HRESULT (*ToDouble)(IZR_Decimal* self, double* value);
  HRESULT (*Negate)(IZR_Decimal* self, IZR_Decimal** out);
  HRESULT (*Round)(IZR_Decimal* self, IZR_Decimal** out, int32_t places);
  HRESULT (*Truncate)(IZR_Decimal* self, IZR_Decimal** out, int32_t places);
  HRESULT (*Abs)(IZR_Decimal* self, IZR_Decimal** out);
  HRESULT (*GetValue)(IZR_Decimal* self, const SH_DEC** value);
  HRESULT (*Add)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
  HRESULT (*Sub)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
  HRESULT (*Mult)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
  HRESULT (*Div)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
  HRESULT (*Mod)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
  HRESULT (*Exp)(IZR_Decimal* self, IZR_Decimal* other, IZR_Decimal** out);
} IZR_DecimalVtbl;
ZR_ASSERT_SLOTS(IZR_DecimalVtbl, Exp, 15);

// Three views of one immutable date-time. Parts come as written: the year
// in full, the month 1 to 12, the day of week 0 (Sunday) to 6. Difference
// gives days (date), seconds of the day (time), or both (date-time), each
// from other to self. A part the value lacks (a date of a time, say) is
// E_FAIL.
typedef struct IZR_DateTimeVtbl {
  ZR_UNKNOWN_SLOTS(IZR_DateTime)
  HRESULT (*Compare)(IZR_DateTime* self, IZR_DateTime* other, int32_t* result);
  HRESULT (*Difference)(IZR_DateTime* self, IZR_DateTime* other, int32_t* days, int32_t* seconds);
  HRESULT (*GetYear)(IZR_DateTime* self, int32_t* year);
  HRESULT (*GetMonth)(IZR_DateTime* self, int32_t* month);
  HRESULT (*GetDay)(IZR_DateTime* self, int32_t* day);
  HRESULT (*GetDayOfWeek)(IZR_DateTime* self, int32_t* dayOfWeek);
  HRESULT (*GetHour)(IZR_DateTime* self, int32_t* hour);
  HRESULT (*GetMinute)(IZR_DateTime* self, int32_t* minute);
  HRESULT (*GetSecond)(IZR_DateTime* self, int32_t* second);
  HRESULT (*GetMicrosecond)(IZR_DateTime* self, int32_t* microsecond);
  HRESULT (*AsDate)(IZR_DateTime* self, IZR_Date** out);
  HRESULT (*AsTime)(IZR_DateTime* self, IZR_Time** out);
} IZR_DateTimeVtbl;
ZR_ASSERT_SLOTS(IZR_DateTimeVtbl, AsTime, 14);

typedef struct IZR_DateVtbl {
  ZR_UNKNOWN_SLOTS(IZR_Date)
  HRESULT (*Compare)(IZR_Date* self, IZR_Date* other, int32_t* result);
  HRESULT (*Difference)(IZR_Date* self, IZR_Date* other, int32_t* days);
  HRESULT (*GetYear)(IZR_Date* self, int32_t* year);
  HRESULT (*GetMonth)(IZR_Date* self, int32_t* month);
  HRESULT (*GetDay)(IZR_Date* self, int32_t* day);
  HRESULT (*GetDayOfWeek)(IZR_Date* self, int32_t* dayOfWeek);
} IZR_DateVtbl;
ZR_ASSERT_SLOTS(IZR_DateVtbl, GetDayOfWeek, 8);

typedef struct IZR_TimeVtbl {
  ZR_UNKNOWN_SLOTS(IZR_Time)
  HRESULT (*Compare)(IZR_Time* self, IZR_Time* other, int32_t* result);
  HRESULT (*Difference)(IZR_Time* self, IZR_Time* other, int32_t* seconds);
  HRESULT (*GetHour)(IZR_Time* self, int32_t* hour);
  HRESULT (*GetMinute)(IZR_Time* self, int32_t* minute);
  HRESULT (*GetSecond)(IZR_Time* self, int32_t* second);
  HRESULT (*GetMicrosecond)(IZR_Time* self, int32_t* microsecond);
} IZR_TimeVtbl;
ZR_ASSERT_SLOTS(IZR_TimeVtbl, GetMicrosecond, 8);

// Places of IUnknown references. SetAt and GetAt take indices below the
// capacity; an index equal to it is not grown into.
typedef struct IZR_DynamicVectorVtbl {
  ZR_UNKNOWN_SLOTS(IZR_DynamicVector)
  HRESULT (*GetSize)(IZR_DynamicVector* self, uint32_t* capacity);
  HRESULT (*SetSize)(IZR_DynamicVector* self, uint32_t size);
  HRESULT (*GetAt)(IZR_DynamicVector* self, uint32_t index, IUnknown** item);
  HRESULT (*SetAt)(IZR_DynamicVector* self, uint32_t index, IUnknown* item);
  HRESULT (*IsEmpty)(IZR_DynamicVector* self, int* empty);
  HRESULT (*Clone)(IZR_DynamicVector* self, IZR_DynamicVector** out);
} IZR_DynamicVectorVtbl;
ZR_ASSERT_SLOTS(IZR_DynamicVectorVtbl, Clone, 8);

// Items are found by pointer, so pass the same interface pointer that was
// added. GetNext of the last item (GetPrevious of the first) returns S_OK
// and leaves out alone.
typedef struct IZR_ListVtbl {
  ZR_UNKNOWN_SLOTS(IZR_List)
  HRESULT (*AddTail)(IZR_List* self, IUnknown* item);
  HRESULT (*AddHead)(IZR_List* self, IUnknown* item);
  HRESULT (*RemoveHead)(IZR_List* self, IUnknown** item);
  HRESULT (*RemoveTail)(IZR_List* self, IUnknown** item);
  HRESULT (*InsertAfter)(IZR_List* self, IUnknown* existing, IUnknown* item);
  HRESULT (*InsertBefore)(IZR_List* self, IUnknown* existing, IUnknown* item);
  HRESULT (*GetNext)(IZR_List* self, IUnknown* item, IUnknown** next);
  HRESULT (*GetPrevious)(IZR_List* self, IUnknown* item, IUnknown** previous);
  HRESULT (*Remove)(IZR_List* self, IUnknown* item);
  HRESULT (*Contains)(IZR_List* self, IUnknown* item);
  HRESULT (*Enumerate)(IZR_List* self, IEnumUnknown** out);
  HRESULT (*GetCount)(IZR_List* self, uint32_t* count);
  HRESULT (*IsEmpty)(IZR_List* self, int* empty);
  HRESULT (*RemoveAll)(IZR_List* self);
  HRESULT (*Clone)(IZR_List* self, IZR_List** out);
} IZR_ListVtbl;
ZR_ASSERT_SLOTS(IZR_ListVtbl, Clone, 17);

// A key may hold several items; Get gives the oldest. Enumerations come in
// bucket order; keys are enumerated as IZR_String, numbers in base 10.
typedef struct IZR_UlongDictionaryVtbl {
  ZR_UNKNOWN_SLOTS(IZR_UlongDictionary)
  HRESULT (*Add)(IZR_UlongDictionary* self, uint32_t key, IUnknown* item);
  HRESULT (*RemoveItem)(IZR_UlongDictionary* self, uint32_t key, IUnknown* item);
  HRESULT (*RemoveKey)(IZR_UlongDictionary* self, uint32_t key);
  HRESULT (*Get)(IZR_UlongDictionary* self, uint32_t key, IUnknown** item);
  HRESULT (*GetAll)(IZR_UlongDictionary* self, uint32_t key, IEnumUnknown** out);
  HRESULT (*EnumerateKeys)(IZR_UlongDictionary* self, IEnumUnknown** out);
  HRESULT (*EnumerateItems)(IZR_UlongDictionary* self, IEnumUnknown** out);
  HRESULT (*GetCount)(IZR_UlongDictionary* self, uint32_t* count);
  HRESULT (*IsEmpty)(IZR_UlongDictionary* self, int* empty);
  HRESULT (*RemoveAll)(IZR_UlongDictionary* self);
  HRESULT (*Clone)(IZR_UlongDictionary* self, IZR_UlongDictionary** out);
  HRESULT (*TestFlag)(IZR_UlongDictionary* self, uint32_t flag);
} IZR_UlongDictionaryVtbl;
ZR_ASSERT_SLOTS(IZR_UlongDictionaryVtbl, TestFlag, 14);

typedef struct IZR_StringDictionaryVtbl {
  ZR_UNKNOWN_SLOTS(IZR_StringDictionary)
  HRESULT (*Add)(IZR_StringDictionary* self, IZR_String* key, IUnknown* item);
  HRESULT (*RemoveItem)(IZR_StringDictionary* self, IZR_String* key, IUnknown* item);
  HRESULT (*RemoveKey)(IZR_StringDictionary* self, IZR_String* key);
  HRESULT (*Get)(IZR_StringDictionary* self, IZR_String* key, IUnknown** item);
  HRESULT (*GetByText)(IZR_StringDictionary* self, const char16_t* key, IUnknown** item);
  HRESULT (*GetAll)(IZR_StringDictionary* self, IZR_String* key, IEnumUnknown** out);
  HRESULT (*GetAllByText)(IZR_StringDictionary* self, const char16_t* key, IEnumUnknown** out);
  HRESULT (*EnumerateKeys)(IZR_StringDictionary* self, IEnumUnknown** out);
  HRESULT (*EnumerateItems)(IZR_StringDictionary* self, IEnumUnknown** out);
  HRESULT (*GetCount)(IZR_StringDictionary* self, uint32_t* count);
  HRESULT (*IsEmpty)(IZR_StringDictionary* self, int* empty);
  HRESULT (*RemoveAll)(IZR_StringDictionary* self);
  HRESULT (*Clone)(IZR_StringDictionary* self, IZR_StringDictionary** out);
  HRESULT (*TestFlag)(IZR_StringDictionary* self, uint32_t flag);
} IZR_StringDictionaryVtbl;
ZR_ASSERT_SLOTS(IZR_StringDictionaryVtbl, TestFlag, 16);

// Typed values by name (names compare without regard to case, one value
// per name). A long is kept as its base-10 text; GetLong of a text that is
// not wholly a number is E_FAIL. Enumerate gives the names.
typedef struct IZR_PropertySetVtbl {
  ZR_UNKNOWN_SLOTS(IZR_PropertySet)
  HRESULT (*GetString)(IZR_PropertySet* self, const char16_t* name, IZR_String** value);
  HRESULT (*SetString)(IZR_PropertySet* self, const char16_t* name, IZR_String* value);
  HRESULT (*GetLong)(IZR_PropertySet* self, const char16_t* name, int32_t* value);
  HRESULT (*SetLong)(IZR_PropertySet* self, const char16_t* name, int32_t value);
  HRESULT (*GetObject)(IZR_PropertySet* self, const char16_t* name, IUnknown** value);
  HRESULT (*SetObject)(IZR_PropertySet* self, const char16_t* name, IUnknown* value);
  HRESULT (*Remove)(IZR_PropertySet* self, const char16_t* name);
  HRESULT (*Enumerate)(IZR_PropertySet* self, IEnumUnknown** out);
} IZR_PropertySetVtbl;
ZR_ASSERT_SLOTS(IZR_PropertySetVtbl, Enumerate, 10);

#undef ZR_UNKNOWN_SLOTS
#undef ZR_ASSERT_SLOTS

#ifdef __cplusplus
// The same tables as C++ interfaces; a class that implements several has one
// table pointer per interface, the first at its start.
class ZR_EXPORT_CLASS IUnknown {
 public:
  virtual HRESULT QueryInterface(const ZR_GUID& iid, void** out) = 0;
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;
};

class ZR_EXPORT_CLASS IZR_ConvString : public IUnknown {
 public:
  virtual HRESULT AsString(IZR_String** out) = 0;
};

class ZR_EXPORT_CLASS IZR_ConvBlob : public IUnknown {
 public:
  virtual HRESULT AsBlob(IZR_Blob** out) = 0;
};

class ZR_EXPORT_CLASS IZR_Blob : public IUnknown {
 public:
  virtual HRESULT GetSize(uint32_t* size) = 0;
  virtual HRESULT GetData(const uint8_t** data) = 0;
  virtual HRESULT SubBlob(uint32_t offset, uint32_t count, IZR_Blob** out) = 0;
  virtual HRESULT InsertBytes(uint32_t offset, const uint8_t* bytes, uint32_t count, IZR_Blob** out) = 0;
  virtual HRESULT InsertBlob(uint32_t offset, IZR_Blob* other, IZR_Blob** out) = 0;
};

class ZR_EXPORT_CLASS IZR_String : public IUnknown {
 public:
  virtual HRESULT Compare(IZR_String* other, int32_t* result) = 0;
  virtual HRESULT CompareNoCase(IZR_String* other, int32_t* result) = 0;
  virtual HRESULT GetText(const char16_t** text) = 0;
  virtual HRESULT GetLength(uint32_t* length) = 0;
  virtual HRESULT GetChar(uint32_t index, char16_t* character) = 0;
  virtual HRESULT SubString(uint32_t start, uint32_t count, IZR_String** out) = 0;
  virtual HRESULT Concat(IZR_String* other, IZR_String** out) = 0;
  virtual HRESULT ToUpper(IZR_String** out) = 0;
  virtual HRESULT ToLower(IZR_String** out) = 0;
  virtual HRESULT Trim(char16_t character, int32_t side, IZR_String** out) = 0;
  virtual HRESULT Find(uint32_t start, IZR_String* sought, uint32_t* position) = 0;
};

class ZR_EXPORT_CLASS IZR_StringBuffer : public IUnknown {
 public:
  virtual HRESULT Clone(IZR_StringBuffer** out) = 0;
  virtual HRESULT GetText(const char16_t** text) = 0;
  virtual HRESULT GetLength(uint32_t* length) = 0;
  virtual HRESULT Compare(IZR_StringBuffer* other, int32_t* result) = 0;
  virtual HRESULT CompareNoCase(IZR_StringBuffer* other, int32_t* result) = 0;
  virtual HRESULT GetChar(uint32_t index, char16_t* character) = 0;
  virtual HRESULT SetChar(uint32_t index, char16_t character) = 0;
  virtual HRESULT SubString(uint32_t start, uint32_t count, IZR_String** out) = 0;
  virtual HRESULT Append(IZR_String* text) = 0;
  virtual HRESULT Insert(uint32_t position, IZR_String* text) = 0;
  virtual HRESULT Remove(uint32_t position, uint32_t count) = 0;
  virtual HRESULT Replace(uint32_t position, uint32_t count, IZR_String* text) = 0;
  virtual HRESULT ToUpper() = 0;
  virtual HRESULT ToLower() = 0;
  virtual HRESULT Trim(char16_t character, int32_t side) = 0;
  virtual HRESULT Find(uint32_t start, IZR_String* sought, uint32_t* position) = 0;
  virtual HRESULT SetText(const char16_t* text) = 0;
  virtual HRESULT SetFromString(IZR_String* text) = 0;
};

class ZR_EXPORT_CLASS IZR_ObjectFactory : public IUnknown {
 public:
  virtual HRESULT CreateString(const char16_t* text, IZR_String** out) = 0;
  virtual HRESULT CreateList(IZR_List** out) = 0;
};

class ZR_EXPORT_CLASS IEnumUnknown : public IUnknown {
 public:
  virtual HRESULT Next(uint32_t count, IUnknown** items, uint32_t* fetched) = 0;
  virtual HRESULT Skip(uint32_t count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumUnknown** out) = 0;
};

class ZR_EXPORT_CLASS IZR_Decimal : public IUnknown {
 public:
  virtual HRESULT Compare(IZR_Decimal* other, int32_t* result) = 0;
  virtual HRESULT ToDouble(double* value) = 0;
  virtual HRESULT Negate(IZR_Decimal** out) = 0;
  virtual HRESULT Round(IZR_Decimal** out, int32_t places) = 0;
  virtual HRESULT Truncate(IZR_Decimal** out, int32_t places) = 0;
  virtual HRESULT Abs(IZR_Decimal** out) = 0;
  virtual HRESULT GetValue(const SH_DEC** value) = 0;
  virtual HRESULT Add(IZR_Decimal* other, IZR_Decimal** out) = 0;
  virtual HRESULT Sub(IZR_Decimal* other, IZR_Decimal** out) = 0;
  virtual HRESULT Mult(IZR_Decimal* other, IZR_Decimal** out) = 0;
  virtual HRESULT Div(IZR_Decimal* other, IZR_Decimal** out) = 0;
  virtual HRESULT Mod(IZR_Decimal* other, IZR_Decimal** out) = 0;
  virtual HRESULT Exp(IZR_Decimal* other, IZR_Decimal** out) = 0;
};

class ZR_EXPORT_CLASS IZR_DateTime : public IUnknown {
 public:
  virtual HRESULT Compare(IZR_DateTime* other, int32_t* result) = 0;
  virtual HRESULT Difference(IZR_DateTime* other, int32_t* days, int32_t* seconds) = 0;
  virtual HRESULT GetYear(int32_t* year) = 0;
  virtual HRESULT GetMonth(int32_t* month) = 0;
  virtual HRESULT GetDay(int32_t* day) = 0;
  virtual HRESULT GetDayOfWeek(int32_t* dayOfWeek) = 0;
  virtual HRESULT GetHour(int32_t* hour) = 0;
  virtual HRESULT GetMinute(int32_t* minute) = 0;
  virtual HRESULT GetSecond(int32_t* second) = 0;
  virtual HRESULT GetMicrosecond(int32_t* microsecond) = 0;
  virtual HRESULT AsDate(IZR_Date** out) = 0;
  virtual HRESULT AsTime(IZR_Time** out) = 0;
};

class ZR_EXPORT_CLASS IZR_Date : public IUnknown {
 public:
  virtual HRESULT Compare(IZR_Date* other, int32_t* result) = 0;
  virtual HRESULT Difference(IZR_Date* other, int32_t* days) = 0;
  virtual HRESULT GetYear(int32_t* year) = 0;
  virtual HRESULT GetMonth(int32_t* month) = 0;
  virtual HRESULT GetDay(int32_t* day) = 0;
  virtual HRESULT GetDayOfWeek(int32_t* dayOfWeek) = 0;
};

class ZR_EXPORT_CLASS IZR_Time : public IUnknown {
 public:
  virtual HRESULT Compare(IZR_Time* other, int32_t* result) = 0;
  virtual HRESULT Difference(IZR_Time* other, int32_t* seconds) = 0;
  virtual HRESULT GetHour(int32_t* hour) = 0;
  virtual HRESULT GetMinute(int32_t* minute) = 0;
  virtual HRESULT GetSecond(int32_t* second) = 0;
  virtual HRESULT GetMicrosecond(int32_t* microsecond) = 0;
};

class ZR_EXPORT_CLASS IZR_DynamicVector : public IUnknown {
 public:
  virtual HRESULT GetSize(uint32_t* capacity) = 0;
  virtual HRESULT SetSize(uint32_t size) = 0;
  virtual HRESULT GetAt(uint32_t index, IUnknown** item) = 0;
  virtual HRESULT SetAt(uint32_t index, IUnknown* item) = 0;
  virtual HRESULT IsEmpty(int* empty) = 0;
  virtual HRESULT Clone(IZR_DynamicVector** out) = 0;
};

class ZR_EXPORT_CLASS IZR_List : public IUnknown {
 public:
  virtual HRESULT AddTail(IUnknown* item) = 0;
  virtual HRESULT AddHead(IUnknown* item) = 0;
  virtual HRESULT RemoveHead(IUnknown** item) = 0;
  virtual HRESULT RemoveTail(IUnknown** item) = 0;
  virtual HRESULT InsertAfter(IUnknown* existing, IUnknown* item) = 0;
  virtual HRESULT InsertBefore(IUnknown* existing, IUnknown* item) = 0;
  virtual HRESULT GetNext(IUnknown* item, IUnknown** next) = 0;
  virtual HRESULT GetPrevious(IUnknown* item, IUnknown** previous) = 0;
  virtual HRESULT Remove(IUnknown* item) = 0;
  virtual HRESULT Contains(IUnknown* item) = 0;
  virtual HRESULT Enumerate(IEnumUnknown** out) = 0;
  virtual HRESULT GetCount(uint32_t* count) = 0;
  virtual HRESULT IsEmpty(int* empty) = 0;
  virtual HRESULT RemoveAll() = 0;
  virtual HRESULT Clone(IZR_List** out) = 0;
};

class ZR_EXPORT_CLASS IZR_UlongDictionary : public IUnknown {
 public:
  virtual HRESULT Add(uint32_t key, IUnknown* item) = 0;
  virtual HRESULT RemoveItem(uint32_t key, IUnknown* item) = 0;
  virtual HRESULT RemoveKey(uint32_t key) = 0;
  virtual HRESULT Get(uint32_t key, IUnknown** item) = 0;
  virtual HRESULT GetAll(uint32_t key, IEnumUnknown** out) = 0;
  virtual HRESULT EnumerateKeys(IEnumUnknown** out) = 0;
  virtual HRESULT EnumerateItems(IEnumUnknown** out) = 0;
  virtual HRESULT GetCount(uint32_t* count) = 0;
  virtual HRESULT IsEmpty(int* empty) = 0;
  virtual HRESULT RemoveAll() = 0;
  virtual HRESULT Clone(IZR_UlongDictionary** out) = 0;
  virtual HRESULT TestFlag(uint32_t flag) = 0;
};

class ZR_EXPORT_CLASS IZR_StringDictionary : public IUnknown {
 public:
  virtual HRESULT Add(IZR_String* key, IUnknown* item) = 0;
  virtual HRESULT RemoveItem(IZR_String* key, IUnknown* item) = 0;
  virtual HRESULT RemoveKey(IZR_String* key) = 0;
  virtual HRESULT Get(IZR_String* key, IUnknown** item) = 0;
  virtual HRESULT GetByText(const char16_t* key, IUnknown** item) = 0;
  virtual HRESULT GetAll(IZR_String* key, IEnumUnknown** out) = 0;
  virtual HRESULT GetAllByText(const char16_t* key, IEnumUnknown** out) = 0;
  virtual HRESULT EnumerateKeys(IEnumUnknown** out) = 0;
  virtual HRESULT EnumerateItems(IEnumUnknown** out) = 0;
  virtual HRESULT GetCount(uint32_t* count) = 0;
  virtual HRESULT IsEmpty(int* empty) = 0;
  virtual HRESULT RemoveAll() = 0;
  virtual HRESULT Clone(IZR_StringDictionary** out) = 0;
  virtual HRESULT TestFlag(uint32_t flag) = 0;
};

class ZR_EXPORT_CLASS IZR_PropertySet : public IUnknown {
 public:
  virtual HRESULT GetString(const char16_t* name, IZR_String** value) = 0;
  virtual HRESULT SetString(const char16_t* name, IZR_String* value) = 0;
  virtual HRESULT GetLong(const char16_t* name, int32_t* value) = 0;
  virtual HRESULT SetLong(const char16_t* name, int32_t value) = 0;
  virtual HRESULT GetObject(const char16_t* name, IUnknown** value) = 0;
  virtual HRESULT SetObject(const char16_t* name, IUnknown* value) = 0;
  virtual HRESULT Remove(const char16_t* name) = 0;
  virtual HRESULT Enumerate(IEnumUnknown** out) = 0;
};
#else
#define ZR_C_INTERFACE(name) \
  struct name {              \
    const struct name##Vtbl* lpVtbl; \
  };
ZR_C_INTERFACE(IUnknown)
ZR_C_INTERFACE(IZR_ConvString)
ZR_C_INTERFACE(IZR_ConvBlob)
ZR_C_INTERFACE(IZR_Blob)
ZR_C_INTERFACE(IZR_String)
ZR_C_INTERFACE(IZR_StringBuffer)
ZR_C_INTERFACE(IZR_ObjectFactory)
ZR_C_INTERFACE(IEnumUnknown)
ZR_C_INTERFACE(IZR_Decimal)
ZR_C_INTERFACE(IZR_DateTime)
ZR_C_INTERFACE(IZR_Date)
ZR_C_INTERFACE(IZR_Time)
ZR_C_INTERFACE(IZR_DynamicVector)
ZR_C_INTERFACE(IZR_List)
ZR_C_INTERFACE(IZR_UlongDictionary)
ZR_C_INTERFACE(IZR_StringDictionary)
ZR_C_INTERFACE(IZR_PropertySet)
#undef ZR_C_INTERFACE
#endif

// Makers. Each returns S_OK or E_OUTOFMEMORY (E_INVALIDARG for a null out)
// and gives the caller the one reference of the new object.
ZRAPI HRESULT CreateBlob(IZR_Blob** out);
// The bytes are not initialised.
ZRAPI HRESULT CreateBlobWithSize(uint32_t size, IZR_Blob** out);
ZRAPI HRESULT CreateBlobFromBytes(const uint8_t* bytes, uint32_t count, IZR_Blob** out);
// The characters without the terminator.
ZRAPI HRESULT CreateBlobFromLPTSTR(const char16_t* text, IZR_Blob** out);
// A null text makes a string with a null text and length 1.
ZRAPI HRESULT CreateString(const char16_t* text, IZR_String** out);
ZRAPI HRESULT CreateStringBuffer(IZR_StringBuffer** out);
ZRAPI HRESULT CreateStringBufferFromLPTSTR(const char16_t* text, IZR_StringBuffer** out);
// Takes a reference to each item and starts at the start position.
ZRAPI HRESULT CreateEnumUnknown(IUnknown** items, uint32_t count, uint32_t start, IEnumUnknown** out);
ZRAPI HRESULT ZR_CreateZRObjectFactory(IZR_ObjectFactory** out);

// Value 0 with two places.
ZRAPI HRESULT CreateDecimal(IZR_Decimal** out);
ZRAPI HRESULT CreateDecimalFromPSH_DEC(const SH_DEC* value, IZR_Decimal** out);
ZRAPI HRESULT CreateDecimalFromLong(int32_t value, IZR_Decimal** out);
ZRAPI HRESULT CreateDecimalFromDouble(double value, IZR_Decimal** out);
// E_INVALIDARG for a text that is not a number.
ZRAPI HRESULT CreateDecimalFromLPTSTR(const char16_t* text, IZR_Decimal** out);
ZRAPI HRESULT CopyDecimalToPSH_DEC(IZR_Decimal* decimal, SH_DEC* value);

// Texts go through the date parser; one that does not parse is E_INVALIDARG.
ZRAPI HRESULT CreateDateTimeFromLPTSTR(const char16_t* text, IZR_DateTime** out);
ZRAPI HRESULT CreateDateFromLPTSTR(const char16_t* text, IZR_Date** out);
ZRAPI HRESULT CreateTimeFromLPTSTR(const char16_t* text, IZR_Time** out);
ZRAPI HRESULT CreateDateTimeFromString(IZR_String* text, IZR_DateTime** out);
ZRAPI HRESULT CreateDateFromString(IZR_String* text, IZR_Date** out);
ZRAPI HRESULT CreateTimeFromString(IZR_String* text, IZR_Time** out);
ZRAPI HRESULT CreateDateTimeFromPSH_TIME(const SH_TIME* value, IZR_DateTime** out);
ZRAPI HRESULT CreateDateFromPSH_TIME(const SH_TIME* value, IZR_Date** out);
ZRAPI HRESULT CreateTimeFromPSH_TIME(const SH_TIME* value, IZR_Time** out);
ZRAPI HRESULT CopyDateTimeToPSH_TIME(IZR_DateTime* object, SH_TIME* value);
ZRAPI HRESULT CopyDateToPSH_TIME(IZR_Date* object, SH_TIME* value);
ZRAPI HRESULT CopyTimeToPSH_TIME(IZR_Time* object, SH_TIME* value);

ZRAPI HRESULT CreateList(IZR_List** out);
ZRAPI HRESULT CreateListFromArray(IUnknown** items, uint32_t count, IZR_List** out);
// Ten empty places.
ZRAPI HRESULT CreateDynamicVector(IZR_DynamicVector** out);
ZRAPI HRESULT CreateDynamicVectorWithSize(uint32_t size, IZR_DynamicVector** out);
ZRAPI HRESULT CreateDynamicVectorFromArray(IUnknown** items, uint32_t count, uint32_t capacity,
                                           IZR_DynamicVector** out);
// The expected size is 101 unless given; the bucket count is 1.2 times it
// and never changes.
ZRAPI HRESULT CreateStringDictionary(IZR_StringDictionary** out);
ZRAPI HRESULT CreateStringDictionaryWithSize(uint32_t expected, IZR_StringDictionary** out);
ZRAPI HRESULT CreateStringDictionaryWithFlags(uint32_t expected, uint32_t flags, IZR_StringDictionary** out);
ZRAPI HRESULT CreateUlongDictionary(IZR_UlongDictionary** out);
ZRAPI HRESULT CreateUlongDictionaryWithSize(uint32_t expected, IZR_UlongDictionary** out);
ZRAPI HRESULT CreateUlongDictionaryWithFlags(uint32_t expected, uint32_t flags, IZR_UlongDictionary** out);
ZRAPI HRESULT ZR_CreatePropertySet(IZR_PropertySet** out);

#endif
