// The data blob stream and its iterator: typed values in a fixed big-endian
// form behind a 10-byte header.
#include <atomic>
#include <cstring>

#include "objects/object_support.h"
#include "shmi.h"

using namespace zr::objects;

namespace {

constexpr uint32_t kFirstCapacity = 4096;
constexpr uint32_t kGrowthStep = 8192;
constexpr uint32_t kNullCount = 0xFFFFFFFFu;
constexpr unsigned char kHeader[SHMI_HEADER_SIZE] = {0, SHMI_HEADER_SIZE, 'M', 'I', 'B', 'L', 'O', 'B', 0, 1};

// Big-endian stores and loads of 1 to 8 bytes.
template <class T>
void storeBig(unsigned char* p, T value) {
  for (size_t i = 0; i < sizeof(T); ++i) p[i] = static_cast<unsigned char>(uint64_t(value) >> (8 * (sizeof(T) - 1 - i)));
}

template <class T>
T loadBig(const unsigned char* p) {
  uint64_t v = 0;
  for (size_t i = 0; i < sizeof(T); ++i) v = v << 8 | p[i];
  return static_cast<T>(v);
}

}  // namespace

struct SH_IMI_BLOB : IUnknown {};
struct SH_IMI_BLOB_ITER : IUnknown {};

struct SH_MI_DATA_BLOB final : SH_IMI_BLOB {
  std::atomic<uint32_t> refs{1};
  unsigned char* buffer = nullptr;
  uint32_t used = 0;
  uint32_t capacity = 0;
  uint32_t position = 0;
  int reset = 0;

  static void* operator new(size_t size) noexcept { return ZrHeap_malloc(size); }
  static void operator delete(void* block) noexcept { ZrHeap_free(block); }
  ~SH_MI_DATA_BLOB() { ZrHeap_free(buffer); }

  HRESULT QueryInterface(const ZR_GUID&, void** out) override {
    if (out) *out = nullptr;
    return E_NOINTERFACE;
  }
  uint32_t AddRef() override { return addRef(refs); }
  uint32_t Release() override { return release(this, refs); }

  // The first write after a reset starts the stream over; a typed value
  // puts the header back first, a block write brings its own.
  void restart(bool header) {
    if (!reset) return;
    reset = 0;
    position = used = 0;
    if (header) write(kHeader, SHMI_HEADER_SIZE);
  }

  // Makes sure that count bytes fit at the position with a byte to spare,
  // growing in fixed steps.
  unsigned char* room(uint32_t count) {
    uint64_t end = uint64_t(position) + count;
    if (end >= capacity) {
      uint64_t grown = capacity;
      while (end >= grown) grown += kGrowthStep;
      if (grown > UINT32_MAX) return nullptr;
      void* larger = ZrHeap_realloc(buffer, size_t(grown));
      if (!larger) return nullptr;
      buffer = static_cast<unsigned char*>(larger);
      capacity = uint32_t(grown);
    }
    return buffer + position;
  }

  void advance(uint32_t count) {
    position += count;
    if (position > used) used = position;
  }

  // Room for a typed value.
  unsigned char* value(uint32_t count) {
    restart(true);
    return room(count);
  }

  void write(const void* bytes, uint32_t count) {
    if (unsigned char* p = value(count)) {
      if (count) std::memcpy(p, bytes, count);
      advance(count);
    }
  }

  template <class T>
  void writeBig(T number) {
    if (unsigned char* p = value(sizeof(T))) {
      storeBig(p, number);
      advance(sizeof(T));
    }
  }
};

struct SH_MI_DATA_BLOB_ITER final : SH_IMI_BLOB_ITER {
  std::atomic<uint32_t> refs{1};
  SH_MI_DATA_BLOB* blob;
  uint32_t size = 0;
  uint32_t position = 0;
  int readable = 0;
  uint32_t start;

  SH_MI_DATA_BLOB_ITER(SH_MI_DATA_BLOB* owner, uint32_t first) : blob(owner), start(first) {
    blob->AddRef();
    load();
  }
  ~SH_MI_DATA_BLOB_ITER() { blob->Release(); }
  static void* operator new(size_t size) noexcept { return ZrHeap_malloc(size); }
  static void operator delete(void* block) noexcept { ZrHeap_free(block); }

  HRESULT QueryInterface(const ZR_GUID&, void** out) override {
    if (out) *out = nullptr;
    return E_NOINTERFACE;
  }
  uint32_t AddRef() override { return addRef(refs); }
  uint32_t Release() override { return release(this, refs); }

  // Takes the stream as it stands and checks its header.
  void load() {
    size = blob->used;
    // Any version and flags are read; the length and the name must match.
    readable = size >= SHMI_HEADER_SIZE && std::memcmp(blob->buffer, kHeader, 8) == 0;
    moveTo(start <= size ? start : size);
  }

  void moveTo(uint32_t to) { position = to; }

  HRESULT take(uint32_t count, const unsigned char** at) {
    if (!readable) return SHMI_E_NOT_READABLE;
    if (count > size - position) return SHMI_E_OUT_OF_RANGE;
    *at = blob->buffer + position;
    moveTo(position + count);
    return S_OK;
  }

  template <class T>
  HRESULT readBig(T* value) {
    if (!value) return E_INVALIDARG;
    const unsigned char* p;
    if (HRESULT hr = take(sizeof(T), &p); hr != S_OK) return hr;
    *value = loadBig<T>(p);
    return S_OK;
  }

  // A count, then that many units of unitSize bytes; kNullCount means none.
  HRESULT counted(uint32_t unitSize, uint32_t* count, const unsigned char** at) {
    uint32_t mark = position;
    if (HRESULT hr = readBig(count); hr != S_OK) return hr;
    *at = nullptr;
    if (*count == kNullCount) return S_OK;
    // In 64 bits, so that a huge count fails instead of wrapping.
    if (uint64_t(*count) * unitSize > size - position) {
      moveTo(mark);
      return SHMI_E_OUT_OF_RANGE;
    }
    return take(*count * unitSize, at);
  }
};

ZRAPI SH_MI_DATA_BLOB* shmi_CreateDataBlob(void) {
  auto* blob = new SH_MI_DATA_BLOB();
  if (!blob) return nullptr;
  blob->buffer = static_cast<unsigned char*>(ZrHeap_malloc(kFirstCapacity));
  if (!blob->buffer) {
    delete blob;
    return nullptr;
  }
  blob->capacity = kFirstCapacity;
  blob->write(kHeader, SHMI_HEADER_SIZE);
  return blob;
}

ZRAPI uint32_t shmi_DataBlob_AddRef(SH_MI_DATA_BLOB* blob) { return blob ? blob->AddRef() : 0; }
ZRAPI uint32_t shmi_DataBlob_Release(SH_MI_DATA_BLOB* blob) { return blob ? blob->Release() : 0; }

ZRAPI void shmi_DataBlob_addByte(SH_MI_DATA_BLOB* blob, uint8_t value) {
  if (blob) blob->writeBig(value);
}
ZRAPI void shmi_DataBlob_addBool(SH_MI_DATA_BLOB* blob, int32_t value) {
  if (blob) blob->writeBig(uint8_t(value != 0));
}
ZRAPI void shmi_DataBlob_addShort(SH_MI_DATA_BLOB* blob, int16_t value) {
  if (blob) blob->writeBig(uint16_t(value));
}
ZRAPI void shmi_DataBlob_addUShort(SH_MI_DATA_BLOB* blob, uint16_t value) {
  if (blob) blob->writeBig(value);
}
ZRAPI void shmi_DataBlob_addChar(SH_MI_DATA_BLOB* blob, char16_t value) {
  if (blob) blob->writeBig(uint16_t(value));
}
ZRAPI void shmi_DataBlob_addLong(SH_MI_DATA_BLOB* blob, int32_t value) {
  if (blob) blob->writeBig(uint32_t(value));
}
ZRAPI void shmi_DataBlob_addULong(SH_MI_DATA_BLOB* blob, uint32_t value) {
  if (blob) blob->writeBig(value);
}
ZRAPI void shmi_DataBlob_addFloat(SH_MI_DATA_BLOB* blob, float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  if (blob) blob->writeBig(bits);
}
ZRAPI void shmi_DataBlob_addDouble(SH_MI_DATA_BLOB* blob, double value) {
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  if (blob) blob->writeBig(bits);
}

ZRAPI void shmi_DataBlob_addString(SH_MI_DATA_BLOB* blob, const char16_t* text) {
  if (!blob) return;
  if (!text) {
    blob->writeBig(kNullCount);
    return;
  }
  uint32_t count = textLength(text);
  if (unsigned char* p = blob->value(4 + count * 2)) {
    storeBig(p, count);
    for (uint32_t i = 0; i < count; ++i) storeBig(p + 4 + 2 * i, uint16_t(text[i]));
    blob->advance(4 + count * 2);
  }
}

ZRAPI void shmi_DataBlob_addBytes(SH_MI_DATA_BLOB* blob, const void* bytes, uint32_t count) {
  if (blob && (bytes || !count)) blob->write(bytes, count);
}

ZRAPI void shmi_DataBlob_addDecimal(SH_MI_DATA_BLOB* blob, const SH_DEC* value) {
  if (!blob || !value) return;
  if (unsigned char* p = blob->value(sizeof(SH_DEC))) {
    for (int i = 0; i < 7; ++i) storeBig(p + 2 * i, value->digits[i]);
    p[14] = value->flags;
    p[15] = value->scale;
    blob->advance(sizeof(SH_DEC));
  }
}

ZRAPI void shmi_DataBlob_addDateTime(SH_MI_DATA_BLOB* blob, const SH_TIME* value) {
  if (!blob || !value) return;
  if (unsigned char* p = blob->value(sizeof(SH_TIME))) {
    storeBig(p, uint32_t(value->microsecond));
    storeBig(p + 4, uint16_t(value->year));
    const uint8_t parts[] = {value->month, value->day, value->hour, value->minute, value->second, value->reserved};
    std::memcpy(p + 6, parts, sizeof parts);
    blob->advance(sizeof(SH_TIME));
  }
}

ZRAPI void shmi_DataBlob_addShBlob(SH_MI_DATA_BLOB* blob, IZR_Blob* value) {
  if (!blob) return;
  const uint8_t* data = nullptr;
  uint32_t size = 0;
  if (!value || value->GetData(&data) != S_OK || value->GetSize(&size) != S_OK) {
    blob->writeBig(kNullCount);
    return;
  }
  if (uint64_t(size) + 4 > UINT32_MAX) return;
  if (unsigned char* p = blob->value(4 + size)) {
    storeBig(p, size);
    if (size) std::memcpy(p + 4, data, size);
    blob->advance(4 + size);
  }
}

ZRAPI HRESULT shmi_DataBlob_Reserve(SH_MI_DATA_BLOB* blob, uint32_t count) {
  if (!blob) return E_INVALIDARG;
  return blob->room(count) ? S_OK : E_OUTOFMEMORY;
}

ZRAPI uint32_t shmi_DataBlob_GetSize(SH_MI_DATA_BLOB* blob) { return blob ? blob->used : 0; }

ZRAPI HRESULT shmi_DataBlob_SetSize(SH_MI_DATA_BLOB* blob, uint32_t size) {
  if (!blob || size < SHMI_HEADER_SIZE) return E_INVALIDARG;
  if (size > blob->used) {
    uint32_t mark = blob->position;
    blob->position = blob->used;
    unsigned char* p = blob->room(size - blob->used);
    blob->position = mark;
    if (!p) return E_OUTOFMEMORY;
    std::memset(p, 0, size - blob->used);
  }
  blob->used = size;
  if (blob->position > size) blob->position = size;
  return S_OK;
}

ZRAPI void shmi_DataBlob_Reset(SH_MI_DATA_BLOB* blob) {
  if (!blob) return;
  blob->reset = 1;
  blob->position = 0;
}

ZRAPI HRESULT shmi_DataBlob_DoingBlockWrite(SH_MI_DATA_BLOB* blob, uint32_t count) {
  if (!blob) return E_INVALIDARG;
  blob->restart(false);
  return blob->room(count) ? S_OK : E_OUTOFMEMORY;
}

ZRAPI void* shmi_DataBlob_GetBlockPointer(SH_MI_DATA_BLOB* blob) { return blob ? blob->buffer + blob->position : nullptr; }

ZRAPI HRESULT shmi_DataBlob_Advance(SH_MI_DATA_BLOB* blob, uint32_t count) {
  if (!blob || uint64_t(blob->position) + count >= blob->capacity) return E_INVALIDARG;
  blob->advance(count);
  return S_OK;
}

ZRAPI SH_MI_DATA_BLOB_ITER* shmi_DataBlob_GetDataIterator(SH_MI_DATA_BLOB* blob) {
  return blob ? new SH_MI_DATA_BLOB_ITER(blob, SHMI_HEADER_SIZE) : nullptr;
}

ZRAPI SH_MI_DATA_BLOB_ITER* shmi_DataBlob_GetBlobIterator(SH_MI_DATA_BLOB* blob) {
  return blob ? new SH_MI_DATA_BLOB_ITER(blob, 0) : nullptr;
}

ZRAPI uint32_t shmi_DataIter_AddRef(SH_MI_DATA_BLOB_ITER* it) { return it ? it->AddRef() : 0; }
ZRAPI uint32_t shmi_DataIter_Release(SH_MI_DATA_BLOB_ITER* it) { return it ? it->Release() : 0; }

ZRAPI HRESULT shmi_DataIter_Reset(SH_MI_DATA_BLOB_ITER* it) {
  if (!it) return E_INVALIDARG;
  it->load();
  return S_OK;
}

ZRAPI uint32_t shmi_DataIter_GetSize(SH_MI_DATA_BLOB_ITER* it) { return it ? it->size : 0; }

ZRAPI HRESULT shmi_DataIter_MoveTo(SH_MI_DATA_BLOB_ITER* it, uint32_t position) {
  if (!it) return E_INVALIDARG;
  if (position > it->size) return SHMI_E_OUT_OF_RANGE;
  it->moveTo(position);
  return S_OK;
}

ZRAPI uint32_t shmi_DataIter_GetCurrentPosition(SH_MI_DATA_BLOB_ITER* it) { return it ? it->position : 0; }

// Computed each time: the stream's buffer moves when the writer grows it.
ZRAPI const void* shmi_DataIter_GetBlockPointer(SH_MI_DATA_BLOB_ITER* it) {
  return it ? it->blob->buffer + it->position : nullptr;
}

ZRAPI HRESULT shmi_DataIter_Advance(SH_MI_DATA_BLOB_ITER* it, uint32_t count) {
  if (!it) return E_INVALIDARG;
  if (count > it->size - it->position) return SHMI_E_OUT_OF_RANGE;
  it->moveTo(it->position + count);
  return S_OK;
}

ZRAPI HRESULT shmi_DataIter_GetByte(SH_MI_DATA_BLOB_ITER* it, uint8_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetBool(SH_MI_DATA_BLOB_ITER* it, int32_t* value) {
  uint8_t byte;
  if (!it || !value) return E_INVALIDARG;
  HRESULT hr = it->readBig(&byte);
  if (hr == S_OK) *value = byte != 0;
  return hr;
}

ZRAPI HRESULT shmi_DataIter_GetShort(SH_MI_DATA_BLOB_ITER* it, int16_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetUShort(SH_MI_DATA_BLOB_ITER* it, uint16_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetChar(SH_MI_DATA_BLOB_ITER* it, char16_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetLong(SH_MI_DATA_BLOB_ITER* it, int32_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetULong(SH_MI_DATA_BLOB_ITER* it, uint32_t* value) {
  return it ? it->readBig(value) : E_INVALIDARG;
}

ZRAPI HRESULT shmi_DataIter_GetFloat(SH_MI_DATA_BLOB_ITER* it, float* value) {
  uint32_t bits;
  if (!it || !value) return E_INVALIDARG;
  HRESULT hr = it->readBig(&bits);
  if (hr == S_OK) std::memcpy(value, &bits, sizeof bits);
  return hr;
}

ZRAPI HRESULT shmi_DataIter_GetDouble(SH_MI_DATA_BLOB_ITER* it, double* value) {
  uint64_t bits;
  if (!it || !value) return E_INVALIDARG;
  HRESULT hr = it->readBig(&bits);
  if (hr == S_OK) std::memcpy(value, &bits, sizeof bits);
  return hr;
}

ZRAPI HRESULT shmi_DataIter_GetString(SH_MI_DATA_BLOB_ITER* it, char16_t** text, zrstg_handle* storage) {
  if (!it || !text) return E_INVALIDARG;
  uint32_t mark = it->position, count;
  const unsigned char* at;
  if (HRESULT hr = it->counted(2, &count, &at); hr != S_OK) return hr;
  if (count == kNullCount) {
    *text = nullptr;
    return S_OK;
  }
  size_t units = count ? count : 1;
  void* block = storage ? zrstg_alc(storage, units * 2, nullptr) : ZrHeap_malloc(units * 2);
  if (!block) {
    it->moveTo(mark);
    return E_OUTOFMEMORY;
  }
  auto* out = static_cast<char16_t*>(block);
  for (uint32_t i = 0; i < count; ++i) out[i] = loadBig<char16_t>(at + 2 * i);
  out[units - 1] = 0;
  *text = out;
  return S_OK;
}

ZRAPI HRESULT shmi_DataIter_GetDecimal(SH_MI_DATA_BLOB_ITER* it, SH_DEC* value) {
  if (!it || !value) return E_INVALIDARG;
  const unsigned char* p;
  if (HRESULT hr = it->take(sizeof(SH_DEC), &p); hr != S_OK) return hr;
  for (int i = 0; i < 7; ++i) value->digits[i] = loadBig<uint16_t>(p + 2 * i);
  value->flags = p[14];
  value->scale = p[15];
  return S_OK;
}

ZRAPI HRESULT shmi_DataIter_GetDateTime(SH_MI_DATA_BLOB_ITER* it, SH_TIME* value) {
  if (!it || !value) return E_INVALIDARG;
  const unsigned char* p;
  if (HRESULT hr = it->take(sizeof(SH_TIME), &p); hr != S_OK) return hr;
  value->microsecond = loadBig<int32_t>(p);
  value->year = loadBig<int16_t>(p + 4);
  value->month = p[6];
  value->day = p[7];
  value->hour = p[8];
  value->minute = p[9];
  value->second = p[10];
  value->reserved = p[11];
  return S_OK;
}

ZRAPI HRESULT shmi_DataIter_GetShBlob(SH_MI_DATA_BLOB_ITER* it, IZR_Blob** value) {
  if (!it || !value) return E_INVALIDARG;
  uint32_t mark = it->position, count;
  const unsigned char* at;
  if (HRESULT hr = it->counted(1, &count, &at); hr != S_OK) return hr;
  if (count == kNullCount) {
    *value = nullptr;
    return S_OK;
  }
  HRESULT hr = CreateBlobFromBytes(at, count, value);
  if (hr != S_OK) it->moveTo(mark);
  return hr;
}

ZRAPI HRESULT shmi_DataIter_GetBytes(SH_MI_DATA_BLOB_ITER* it, void* bytes, uint32_t count) {
  if (!it || (!bytes && count)) return E_INVALIDARG;
  const unsigned char* p;
  if (HRESULT hr = it->take(count, &p); hr != S_OK) return hr;
  if (count) std::memcpy(bytes, p, count);
  return S_OK;
}
