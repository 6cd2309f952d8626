// CZR_BlobImpl: immutable bytes; the changing methods make new blobs.
#include <algorithm>

#include "objects/object_support.h"

using namespace zr::objects;

namespace zr::objects {

HRESULT adoptBlob(uint8_t* data, uint32_t size, IZR_Blob** out) {
  auto* object = new CZR_BlobImpl(data, size);
  if (!object) {
    ZrHeap_free(data);
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

}  // namespace zr::objects

namespace {

// A block of size bytes, null for none; false when the heap is out of room.
bool allocBytes(uint32_t size, uint8_t** data) {
  *data = size ? static_cast<uint8_t*>(ZrHeap_malloc(size)) : nullptr;
  return !size || *data;
}

HRESULT blobOf(const void* first, uint32_t firstSize, const void* middle, uint32_t middleSize, const void* last,
               uint32_t lastSize, IZR_Blob** out) {
  uint64_t total = uint64_t(firstSize) + middleSize + lastSize;
  if (total > UINT32_MAX) return E_INVALIDARG;
  uint8_t* data;
  if (!allocBytes(uint32_t(total), &data)) return E_OUTOFMEMORY;
  if (firstSize) std::memcpy(data, first, firstSize);
  if (middleSize) std::memcpy(data + firstSize, middle, middleSize);
  if (lastSize) std::memcpy(data + firstSize + middleSize, last, lastSize);
  return adoptBlob(data, uint32_t(total), out);
}

}  // namespace

ZRAPI HRESULT CreateBlob(IZR_Blob** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  return adoptBlob(nullptr, 0, out);
}

ZRAPI HRESULT CreateBlobWithSize(uint32_t size, IZR_Blob** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  uint8_t* data;
  if (!allocBytes(size, &data)) return E_OUTOFMEMORY;
  return adoptBlob(data, size, out);
}

ZRAPI HRESULT CreateBlobFromBytes(const uint8_t* bytes, uint32_t count, IZR_Blob** out) {
  if (!out || (!bytes && count)) return E_INVALIDARG;
  *out = nullptr;
  return blobOf(bytes, count, nullptr, 0, nullptr, 0, out);
}

ZRAPI HRESULT CreateBlobFromLPTSTR(const char16_t* text, IZR_Blob** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  return blobOf(text, (textLength(text) - 1) * sizeof(char16_t), nullptr, 0, nullptr, 0, out);
}

ZR_DEFINE_HEAP_OBJECT(CZR_BlobImpl)

CZR_BlobImpl::CZR_BlobImpl(uint8_t* data, uint32_t size) : data_(data), refs_(1), size_(size) {}

CZR_BlobImpl::~CZR_BlobImpl() { ZrHeap_free(data_); }

HRESULT CZR_BlobImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_Blob)) return answer(static_cast<IZR_Blob*>(this), out);
  return answer(sameGuid(iid, IID_IZR_ConvString) ? static_cast<IZR_ConvString*>(this) : nullptr, out);
}

uint32_t CZR_BlobImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_BlobImpl::Release() { return release(this, refs_); }

HRESULT CZR_BlobImpl::GetSize(uint32_t* size) {
  if (!size) return E_INVALIDARG;
  *size = size_;
  return S_OK;
}

HRESULT CZR_BlobImpl::GetData(const uint8_t** data) {
  if (!data) return E_INVALIDARG;
  *data = data_;
  return S_OK;
}

HRESULT CZR_BlobImpl::SubBlob(uint32_t offset, uint32_t count, IZR_Blob** out) {
  if (!out || offset > size_) return E_INVALIDARG;
  return blobOf(data_ + offset, std::min(count, size_ - offset), nullptr, 0, nullptr, 0, out);
}

HRESULT CZR_BlobImpl::InsertBytes(uint32_t offset, const uint8_t* bytes, uint32_t count, IZR_Blob** out) {
  if (!out || offset > size_ || (!bytes && count)) return E_INVALIDARG;
  return blobOf(data_, offset, bytes, count, data_ + offset, size_ - offset, out);
}

HRESULT CZR_BlobImpl::InsertBlob(uint32_t offset, IZR_Blob* other, IZR_Blob** out) {
  const uint8_t* bytes;
  uint32_t count;
  if (!other || other->GetData(&bytes) != S_OK || other->GetSize(&count) != S_OK) return E_INVALIDARG;
  return InsertBytes(offset, bytes, count, out);
}

// The text runs to the first zero unit, but never past the blob's end.
HRESULT CZR_BlobImpl::AsString(IZR_String** out) {
  if (!out) return E_INVALIDARG;
  uint32_t units = size_ / sizeof(char16_t), n = 0;
  char16_t unit;
  while (n < units && (std::memcpy(&unit, data_ + n * sizeof(char16_t), sizeof unit), unit)) ++n;
  char16_t* text = allocText(n);
  if (!text) return E_OUTOFMEMORY;
  if (n) std::memcpy(text, data_, n * sizeof(char16_t));
  return adoptString(text, out);
}
