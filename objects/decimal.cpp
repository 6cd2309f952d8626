// CZR_DecimalImpl: an immutable SH_DEC. Numeric conditions (overflow,
// division by zero) travel as flags in the new value, as the flat functions
// give them; a result code tells only a call that could not run. Results
// start from a zero record: rounding keeps the destination's other bits.
#include "objects/object_support.h"
#include "shdec.h"

using namespace zr::objects;

namespace {

HRESULT makeDecimal(const SH_DEC& value, IZR_Decimal** out) {
  *out = new CZR_DecimalImpl(value);
  return *out ? S_OK : E_OUTOFMEMORY;
}

// Places of 31 or more are taken as the largest scale.
int16_t clampPlaces(int32_t places) { return static_cast<int16_t>(places > SH_DEC_MAX_SCALE ? SH_DEC_MAX_SCALE : places); }

const SH_DEC* valueOf(IZR_Decimal* decimal) {
  const SH_DEC* value = nullptr;
  return decimal && decimal->GetValue(&value) == S_OK ? value : nullptr;
}

template <class Operation>
HRESULT arithmetic(const SH_DEC& self, IZR_Decimal* other, IZR_Decimal** out, Operation operation) {
  const SH_DEC* b = valueOf(other);
  if (!b || !out) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC result{};
  if (!operation(&result, &self, b)) return ZR_E_DEC_OPERATION;
  return makeDecimal(result, out);
}

}  // namespace

ZRAPI HRESULT CreateDecimalFromPSH_DEC(const SH_DEC* value, IZR_Decimal** out) {
  if (!value || !out) return E_INVALIDARG;
  return makeDecimal(*value, out);
}

ZRAPI HRESULT CreateDecimal(IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  SH_DEC zero;
  shLongToDec(&zero, 0);
  shSetDecFractions(&zero, 2);
  return makeDecimal(zero, out);
}

ZRAPI HRESULT CreateDecimalFromLong(int32_t value, IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  SH_DEC d;
  shLongToDec(&d, value);
  return makeDecimal(d, out);
}

ZRAPI HRESULT CreateDecimalFromDouble(double value, IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  SH_DEC d;
  shDoubleToDec(&d, &value);
  return makeDecimal(d, out);
}

ZRAPI HRESULT CreateDecimalFromLPTSTR(const char16_t* text, IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC d;
  if (!text || !shAsciiToDec(&d, text)) return E_INVALIDARG;
  return makeDecimal(d, out);
}

ZRAPI HRESULT CopyDecimalToPSH_DEC(IZR_Decimal* decimal, SH_DEC* value) {
  const SH_DEC* own = valueOf(decimal);
  if (!own || !value) return E_INVALIDARG;
  *value = *own;
  return S_OK;
}

ZR_DEFINE_HEAP_OBJECT(CZR_DecimalImpl)

CZR_DecimalImpl::CZR_DecimalImpl(const SH_DEC& value) : refs_(1), value_(value) {}

CZR_DecimalImpl::~CZR_DecimalImpl() = default;

HRESULT CZR_DecimalImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_Decimal))
    return answer(static_cast<IZR_Decimal*>(this), out);
  return answer(sameGuid(iid, IID_IZR_ConvString) ? static_cast<IZR_ConvString*>(this) : nullptr, out);
}

uint32_t CZR_DecimalImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_DecimalImpl::Release() { return release(this, refs_); }

HRESULT CZR_DecimalImpl::Compare(IZR_Decimal* other, int32_t* result) {
  const SH_DEC* b = valueOf(other);
  if (!b || !result) return E_INVALIDARG;
  *result = shCompareDec(&value_, b);
  return S_OK;
}

HRESULT CZR_DecimalImpl::ToDouble(double* value) {
  if (!value) return E_INVALIDARG;
  return shDecToDouble(value, &value_) ? S_OK : ZR_E_DEC_CONVERT;
}

HRESULT CZR_DecimalImpl::Negate(IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC result{};
  if (!shNegateDec(&result, &value_)) return ZR_E_DEC_OPERATION;
  return makeDecimal(result, out);
}

HRESULT CZR_DecimalImpl::Round(IZR_Decimal** out, int32_t places) {
  if (!out || places < 0) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC result{};
  if (!shRoundDec(&result, &value_, clampPlaces(places))) return ZR_E_DEC_CONVERT;
  return makeDecimal(result, out);
}

HRESULT CZR_DecimalImpl::Truncate(IZR_Decimal** out, int32_t places) {
  if (!out || places < 0) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC result{};
  if (!shTruncDec(&result, &value_, clampPlaces(places))) return ZR_E_DEC_CONVERT;
  return makeDecimal(result, out);
}

HRESULT CZR_DecimalImpl::Abs(IZR_Decimal** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  SH_DEC result{};
  if (!shAbsDec(&result, &value_)) return ZR_E_DEC_CONVERT;
  return makeDecimal(result, out);
}

HRESULT CZR_DecimalImpl::GetValue(const SH_DEC** value) {
  if (!value) return E_INVALIDARG;
  *value = &value_;
  return S_OK;
}

HRESULT CZR_DecimalImpl::Add(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shAddDec);
}

HRESULT CZR_DecimalImpl::Sub(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shSubDec);
}

HRESULT CZR_DecimalImpl::Mult(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shMultDec);
}

HRESULT CZR_DecimalImpl::Div(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shDivDec);
}

HRESULT CZR_DecimalImpl::Mod(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shModDec);
}

HRESULT CZR_DecimalImpl::Exp(IZR_Decimal* other, IZR_Decimal** out) {
  return arithmetic(value_, other, out, shExpDec);
}

HRESULT CZR_DecimalImpl::AsString(IZR_String** out) {
  if (!out) return E_INVALIDARG;
  char16_t text[40];
  if (!shDecToAscii(text, &value_)) return ZR_E_DEC_CONVERT;
  return CreateString(text, out);
}
