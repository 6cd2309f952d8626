// CZR_DateTimeImpl: an immutable SH_TIME seen as a date-time, a date or a
// time. Each view compares the parts it has, from the year down.
#include "objects/object_support.h"
#include "shdt.h"

using namespace zr::objects;

namespace {

// Only this library makes date-time objects, so a view's pointer leads
// back to the class.
const SH_TIME* valueOf(IZR_DateTime* view) { return view ? &static_cast<CZR_DateTimeImpl*>(view)->value() : nullptr; }
const SH_TIME* valueOf(IZR_Date* view) { return view ? &static_cast<CZR_DateTimeImpl*>(view)->value() : nullptr; }
const SH_TIME* valueOf(IZR_Time* view) { return view ? &static_cast<CZR_DateTimeImpl*>(view)->value() : nullptr; }

int32_t compareParts(const SH_TIME& a, const SH_TIME& b, bool date, bool time) {
  auto order = [](int64_t x, int64_t y) { return int32_t((x > y) - (x < y)); };
  int32_t r = 0;
  if (date) {
    if (!r) r = order(a.year, b.year);
    if (!r) r = order(a.month, b.month);
    if (!r) r = order(a.day, b.day);
  }
  if (time) {
    if (!r) r = order(a.hour, b.hour);
    if (!r) r = order(a.minute, b.minute);
    if (!r) r = order(a.second, b.second);
    if (!r) r = order(a.microsecond, b.microsecond);
  }
  return r;
}

template <class View>
HRESULT make(const SH_TIME& value, ZR_DATETIME_KIND kind, View** out) {
  *out = nullptr;
  auto* object = new CZR_DateTimeImpl(value, kind);
  if (!object) return E_OUTOFMEMORY;
  *out = object;
  return S_OK;
}

template <class View>
HRESULT parse(const char16_t* text, ZR_DATETIME_KIND kind, View** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  SH_TIME value;
  int mode = kind == ZR_KIND_DATE ? SHDT_MODE_DATE : kind == ZR_KIND_TIME ? SHDT_MODE_TIME : SHDT_MODE_DATETIME;
  if (!text || shdtParse(&value, text, mode) != SHDT_OK) return E_INVALIDARG;
  return make(value, kind, out);
}

const char16_t* textOf(IZR_String* string) {
  const char16_t* text = nullptr;
  return string && string->GetText(&text) == S_OK ? text : nullptr;
}

template <class View>
HRESULT copyOut(View* view, SH_TIME* value) {
  const SH_TIME* own = valueOf(view);
  if (!own || !value) return E_INVALIDARG;
  *value = *own;
  return S_OK;
}

HRESULT part(int32_t* out, bool present, int32_t value) {
  if (!out) return E_INVALIDARG;
  if (!present) return E_FAIL;
  *out = value;
  return S_OK;
}

}  // namespace

ZRAPI HRESULT CreateDateTimeFromLPTSTR(const char16_t* text, IZR_DateTime** out) {
  return parse(text, ZR_KIND_DATETIME, out);
}
ZRAPI HRESULT CreateDateFromLPTSTR(const char16_t* text, IZR_Date** out) { return parse(text, ZR_KIND_DATE, out); }
ZRAPI HRESULT CreateTimeFromLPTSTR(const char16_t* text, IZR_Time** out) { return parse(text, ZR_KIND_TIME, out); }

ZRAPI HRESULT CreateDateTimeFromString(IZR_String* text, IZR_DateTime** out) {
  return parse(textOf(text), ZR_KIND_DATETIME, out);
}
ZRAPI HRESULT CreateDateFromString(IZR_String* text, IZR_Date** out) {
  return parse(textOf(text), ZR_KIND_DATE, out);
}
ZRAPI HRESULT CreateTimeFromString(IZR_String* text, IZR_Time** out) {
  return parse(textOf(text), ZR_KIND_TIME, out);
}

ZRAPI HRESULT CreateDateTimeFromPSH_TIME(const SH_TIME* value, IZR_DateTime** out) {
  if (!value || !out) return E_INVALIDARG;
  return make(*value, ZR_KIND_DATETIME, out);
}
ZRAPI HRESULT CreateDateFromPSH_TIME(const SH_TIME* value, IZR_Date** out) {
  if (!value || !out) return E_INVALIDARG;
  return make(*value, ZR_KIND_DATE, out);
}
ZRAPI HRESULT CreateTimeFromPSH_TIME(const SH_TIME* value, IZR_Time** out) {
  if (!value || !out) return E_INVALIDARG;
  return make(*value, ZR_KIND_TIME, out);
}

ZRAPI HRESULT CopyDateTimeToPSH_TIME(IZR_DateTime* object, SH_TIME* value) { return copyOut(object, value); }
ZRAPI HRESULT CopyDateToPSH_TIME(IZR_Date* object, SH_TIME* value) { return copyOut(object, value); }
ZRAPI HRESULT CopyTimeToPSH_TIME(IZR_Time* object, SH_TIME* value) { return copyOut(object, value); }

ZR_DEFINE_HEAP_OBJECT(CZR_DateTimeImpl)

CZR_DateTimeImpl::CZR_DateTimeImpl(const SH_TIME& value, ZR_DATETIME_KIND kind)
    : refs_(1), value_(value), kind_(kind) {}

CZR_DateTimeImpl::~CZR_DateTimeImpl() = default;

const SH_TIME& CZR_DateTimeImpl::value() const { return value_; }

HRESULT CZR_DateTimeImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_DateTime))
    return answer(static_cast<IZR_DateTime*>(this), out);
  if (sameGuid(iid, IID_IZR_Date)) return answer(static_cast<IZR_Date*>(this), out);
  if (sameGuid(iid, IID_IZR_Time)) return answer(static_cast<IZR_Time*>(this), out);
  return answer(sameGuid(iid, IID_IZR_ConvString) ? static_cast<IZR_ConvString*>(this) : nullptr, out);
}

uint32_t CZR_DateTimeImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_DateTimeImpl::Release() { return release(this, refs_); }

HRESULT CZR_DateTimeImpl::Compare(IZR_DateTime* other, int32_t* result) {
  const SH_TIME* b = valueOf(other);
  if (!b || !result) return E_INVALIDARG;
  *result = compareParts(value_, *b, true, true);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::Difference(IZR_DateTime* other, int32_t* days, int32_t* seconds) {
  const SH_TIME* b = valueOf(other);
  if (!b || !days || !seconds) return E_INVALIDARG;
  *days = shdtDiffDate(&value_, b);
  *seconds = shdtDiffTime(&value_, b);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::Compare(IZR_Date* other, int32_t* result) {
  const SH_TIME* b = valueOf(other);
  if (!b || !result) return E_INVALIDARG;
  *result = compareParts(value_, *b, true, false);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::Difference(IZR_Date* other, int32_t* days) {
  const SH_TIME* b = valueOf(other);
  if (!b || !days) return E_INVALIDARG;
  *days = shdtDiffDate(&value_, b);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::Compare(IZR_Time* other, int32_t* result) {
  const SH_TIME* b = valueOf(other);
  if (!b || !result) return E_INVALIDARG;
  *result = compareParts(value_, *b, false, true);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::Difference(IZR_Time* other, int32_t* seconds) {
  const SH_TIME* b = valueOf(other);
  if (!b || !seconds) return E_INVALIDARG;
  *seconds = shdtDiffTime(&value_, b);
  return S_OK;
}

HRESULT CZR_DateTimeImpl::GetYear(int32_t* year) {
  return part(year, value_.year != SH_TIME_NO_DATE, value_.year + 1900);
}

HRESULT CZR_DateTimeImpl::GetMonth(int32_t* month) {
  return part(month, value_.year != SH_TIME_NO_DATE, value_.month + 1);
}

HRESULT CZR_DateTimeImpl::GetDay(int32_t* day) { return part(day, value_.year != SH_TIME_NO_DATE, value_.day); }

HRESULT CZR_DateTimeImpl::GetDayOfWeek(int32_t* dayOfWeek) {
  return part(dayOfWeek, value_.year != SH_TIME_NO_DATE, shdtDayOfWeek(&value_));
}

HRESULT CZR_DateTimeImpl::GetHour(int32_t* hour) { return part(hour, value_.hour != SH_TIME_NO_TIME, value_.hour); }

HRESULT CZR_DateTimeImpl::GetMinute(int32_t* minute) {
  return part(minute, value_.hour != SH_TIME_NO_TIME, value_.minute);
}

HRESULT CZR_DateTimeImpl::GetSecond(int32_t* second) {
  return part(second, value_.hour != SH_TIME_NO_TIME, value_.second);
}

HRESULT CZR_DateTimeImpl::GetMicrosecond(int32_t* microsecond) {
  return part(microsecond, value_.hour != SH_TIME_NO_TIME, value_.microsecond);
}

HRESULT CZR_DateTimeImpl::AsDate(IZR_Date** out) {
  if (!out) return E_INVALIDARG;
  return answer(static_cast<IZR_Date*>(this), reinterpret_cast<void**>(out));
}

HRESULT CZR_DateTimeImpl::AsTime(IZR_Time** out) {
  if (!out) return E_INVALIDARG;
  return answer(static_cast<IZR_Time*>(this), reinterpret_cast<void**>(out));
}

HRESULT CZR_DateTimeImpl::AsString(IZR_String** out) {
  if (!out) return E_INVALIDARG;
  char16_t text[52];
  int mode = kind_ == ZR_KIND_DATE ? SHDT_MODE_DATE : kind_ == ZR_KIND_TIME ? SHDT_MODE_TIME : SHDT_MODE_DATETIME;
  shdtParseToString(&value_, text, mode);
  return CreateString(text, out);
}
