// CZR_DictionaryImpl: chained buckets keyed by numbers or by strings. The
// bucket count is fixed at creation, and a string key's hash reads at most a
// short stretch from its second half, where the keys of this system differ.
#include "objects/object_support.h"
#include "text/wide_case.h"

using namespace zr::objects;
using namespace zr::text;

namespace {

constexpr uint32_t kDefaultExpected = 101;

const char16_t* keyText(const ZR_DICT_ENTRY* entry) {
  const char16_t* text = nullptr;
  entry->text->GetText(&text);
  return text ? text : u"";
}

const char16_t* textOf(IZR_String* key) {
  const char16_t* text = nullptr;
  if (!key || key->GetText(&text) != S_OK) return nullptr;
  return text ? text : u"";
}

template <class Interface>
HRESULT makeDictionary(uint32_t expected, uint32_t flags, Interface** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  // 1.2 times the expected size, truncated; one bucket at least.
  auto count = static_cast<uint32_t>(expected * 1.2);
  if (count == 0) count = 1;
  auto* buckets = static_cast<ZR_DICT_ENTRY**>(ZrHeap_calloc(count, sizeof(ZR_DICT_ENTRY*)));
  if (!buckets) return E_OUTOFMEMORY;
  auto* object = new CZR_DictionaryImpl(buckets, count, flags);
  if (!object) {
    ZrHeap_free(buckets);
    return E_OUTOFMEMORY;
  }
  *out = object;
  return S_OK;
}

// Items gathered for an enumerator, each holding a reference until the
// enumerator has taken its own.
class Gathered {
 public:
  explicit Gathered(uint32_t capacity)
      : items_(static_cast<IUnknown**>(ZrHeap_malloc((size_t(capacity) + 1) * sizeof(IUnknown*)))) {}
  Gathered(const Gathered&) = delete;
  Gathered& operator=(const Gathered&) = delete;
  ~Gathered() {
    for (uint32_t i = 0; i < count_; ++i)
      if (items_[i]) items_[i]->Release();
    ZrHeap_free(items_);
  }
  bool ok() const { return items_ != nullptr; }
  // Takes a reference that the caller has added.
  void take(IUnknown* item) { items_[count_++] = item; }
  void add(IUnknown* item) {
    if (item) item->AddRef();
    take(item);
  }
  HRESULT enumerate(IEnumUnknown** out) { return zr::objects::enumerate(items_, count_, out); }

 private:
  IUnknown** items_;
  uint32_t count_ = 0;
};

}  // namespace

ZRAPI HRESULT CreateStringDictionaryWithFlags(uint32_t expected, uint32_t flags, IZR_StringDictionary** out) {
  return makeDictionary(expected, flags, out);
}

ZRAPI HRESULT CreateStringDictionaryWithSize(uint32_t expected, IZR_StringDictionary** out) {
  return makeDictionary(expected, 0, out);
}

ZRAPI HRESULT CreateStringDictionary(IZR_StringDictionary** out) { return makeDictionary(kDefaultExpected, 0, out); }

ZRAPI HRESULT CreateUlongDictionaryWithFlags(uint32_t expected, uint32_t flags, IZR_UlongDictionary** out) {
  return makeDictionary(expected, flags, out);
}

ZRAPI HRESULT CreateUlongDictionaryWithSize(uint32_t expected, IZR_UlongDictionary** out) {
  return makeDictionary(expected, 0, out);
}

ZRAPI HRESULT CreateUlongDictionary(IZR_UlongDictionary** out) { return makeDictionary(kDefaultExpected, 0, out); }

ZR_DEFINE_HEAP_OBJECT(CZR_DictionaryImpl)

CZR_DictionaryImpl::CZR_DictionaryImpl(ZR_DICT_ENTRY** buckets, uint32_t bucketCount, uint32_t flags)
    : buckets_(buckets),
      bucketCount_(bucketCount),
      flags_(flags),
      refs_(1),
      count_(0),
      caseSensitive_(!(flags & ZR_DICT_NOCASE)),
      uniqueKeys_((flags & ZR_DICT_UNIQUE_KEY) != 0) {}

CZR_DictionaryImpl::~CZR_DictionaryImpl() {
  RemoveAll();
  ZrHeap_free(buckets_);
}

HRESULT CZR_DictionaryImpl::QueryInterface(const ZR_GUID& iid, void** out) {
  if (!out) return E_INVALIDARG;
  if (sameGuid(iid, IID_IUnknown) || sameGuid(iid, IID_IZR_UlongDictionary))
    return answer(static_cast<IZR_UlongDictionary*>(this), out);
  return answer(sameGuid(iid, IID_IZR_StringDictionary) ? static_cast<IZR_StringDictionary*>(this) : nullptr,
                out);
}

uint32_t CZR_DictionaryImpl::AddRef() { return addRef(refs_); }

uint32_t CZR_DictionaryImpl::Release() { return release(this, refs_); }

uint32_t CZR_DictionaryImpl::bucketOf(uint32_t key) const { return key % bucketCount_; }

// The stretch starts halfway and runs to the end, cut to 10 characters once
// it starts at character 11 or later.
uint32_t CZR_DictionaryImpl::bucketOf(const char16_t* key) const {
  uint32_t n = textLength(key) - 1, half = n / 2, stretch = n - half;
  if (half >= 11 && stretch > 10) stretch = 10;
  uint32_t sum = 0;
  for (uint32_t i = half; i < half + stretch; ++i) sum += caseSensitive_ ? key[i] : lowerUnit(key[i]);
  return sum % bucketCount_;
}

bool CZR_DictionaryImpl::matches(const ZR_DICT_ENTRY* entry, const char16_t* key) const {
  if (!entry->text) return false;
  const char16_t* text = keyText(entry);
  return (caseSensitive_ ? compareText(text, key) : compareTextNoCase(text, key)) == 0;
}

HRESULT CZR_DictionaryImpl::append(uint32_t bucket, uint32_t number, IZR_String* text, IUnknown* item) {
  auto* entry = static_cast<ZR_DICT_ENTRY*>(ZrHeap_malloc(sizeof(ZR_DICT_ENTRY)));
  if (!entry) return E_OUTOFMEMORY;
  ZR_DICT_ENTRY* tail = buckets_[bucket];
  while (tail && tail->next) tail = tail->next;
  *entry = {number, text, item, nullptr, tail};
  (tail ? tail->next : buckets_[bucket]) = entry;
  if (text) text->AddRef();
  if (item) item->AddRef();
  ++count_;
  return S_OK;
}

void CZR_DictionaryImpl::erase(uint32_t bucket, ZR_DICT_ENTRY* entry) {
  (entry->previous ? entry->previous->next : buckets_[bucket]) = entry->next;
  if (entry->next) entry->next->previous = entry->previous;
  if (entry->item) entry->item->Release();
  if (entry->text) entry->text->Release();
  ZrHeap_free(entry);
  --count_;
}

HRESULT CZR_DictionaryImpl::Add(uint32_t key, IUnknown* item) { return append(bucketOf(key), key, nullptr, item); }

HRESULT CZR_DictionaryImpl::RemoveItem(uint32_t key, IUnknown* item) {
  uint32_t bucket = bucketOf(key);
  for (ZR_DICT_ENTRY* e = buckets_[bucket]; e; e = e->next) {
    if (!e->text && e->number == key && e->item == item) {
      erase(bucket, e);
      return S_OK;
    }
  }
  return E_FAIL;
}

HRESULT CZR_DictionaryImpl::RemoveKey(uint32_t key) {
  uint32_t bucket = bucketOf(key);
  bool found = false;
  for (ZR_DICT_ENTRY *e = buckets_[bucket], *next; e; e = next) {
    next = e->next;
    if (!e->text && e->number == key) {
      erase(bucket, e);
      found = true;
    }
  }
  return found ? S_OK : E_FAIL;
}

HRESULT CZR_DictionaryImpl::Get(uint32_t key, IUnknown** item) {
  if (!item) return E_INVALIDARG;
  *item = nullptr;
  for (ZR_DICT_ENTRY* e = buckets_[bucketOf(key)]; e; e = e->next) {
    if (!e->text && e->number == key) {
      if ((*item = e->item)) e->item->AddRef();
      return S_OK;
    }
  }
  return E_FAIL;
}

HRESULT CZR_DictionaryImpl::GetAll(uint32_t key, IEnumUnknown** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  Gathered items(count_);
  if (!items.ok()) return E_OUTOFMEMORY;
  for (ZR_DICT_ENTRY* e = buckets_[bucketOf(key)]; e; e = e->next)
    if (!e->text && e->number == key) items.add(e->item);
  return items.enumerate(out);
}

// With one entry per key, adding to a key that is there replaces its item.
HRESULT CZR_DictionaryImpl::Add(IZR_String* key, IUnknown* item) {
  const char16_t* text = textOf(key);
  if (!text) return E_INVALIDARG;
  uint32_t bucket = bucketOf(text);
  if (uniqueKeys_) {
    for (ZR_DICT_ENTRY* e = buckets_[bucket]; e; e = e->next) {
      if (matches(e, text)) {
        if (item) item->AddRef();
        if (e->item) e->item->Release();
        e->item = item;
        return S_OK;
      }
    }
  }
  return append(bucket, 0, key, item);
}

HRESULT CZR_DictionaryImpl::removeText(const char16_t* key, IUnknown* item, bool allOfKey) {
  if (!key) return E_INVALIDARG;
  uint32_t bucket = bucketOf(key);
  bool found = false;
  for (ZR_DICT_ENTRY *e = buckets_[bucket], *next; e; e = next) {
    next = e->next;
    if (matches(e, key) && (allOfKey || e->item == item)) {
      erase(bucket, e);
      found = true;
      if (!allOfKey) break;
    }
  }
  return found ? S_OK : E_FAIL;
}

HRESULT CZR_DictionaryImpl::RemoveItem(IZR_String* key, IUnknown* item) { return removeText(textOf(key), item, false); }

HRESULT CZR_DictionaryImpl::RemoveKey(IZR_String* key) { return removeText(textOf(key), nullptr, true); }

HRESULT CZR_DictionaryImpl::Get(IZR_String* key, IUnknown** item) { return GetByText(textOf(key), item); }

HRESULT CZR_DictionaryImpl::GetByText(const char16_t* key, IUnknown** item) {
  if (!key || !item) return E_INVALIDARG;
  *item = nullptr;
  for (ZR_DICT_ENTRY* e = buckets_[bucketOf(key)]; e; e = e->next) {
    if (matches(e, key)) {
      if ((*item = e->item)) e->item->AddRef();
      return S_OK;
    }
  }
  return E_FAIL;
}

HRESULT CZR_DictionaryImpl::GetAll(IZR_String* key, IEnumUnknown** out) { return getAllText(textOf(key), out); }

HRESULT CZR_DictionaryImpl::GetAllByText(const char16_t* key, IEnumUnknown** out) { return getAllText(key, out); }

HRESULT CZR_DictionaryImpl::getAllText(const char16_t* key, IEnumUnknown** out) {
  if (!key || !out) return E_INVALIDARG;
  *out = nullptr;
  Gathered items(count_);
  if (!items.ok()) return E_OUTOFMEMORY;
  for (ZR_DICT_ENTRY* e = buckets_[bucketOf(key)]; e; e = e->next)
    if (matches(e, key)) items.add(e->item);
  return items.enumerate(out);
}

HRESULT CZR_DictionaryImpl::EnumerateKeys(IEnumUnknown** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  Gathered keys(count_);
  if (!keys.ok()) return E_OUTOFMEMORY;
  for (uint32_t b = 0; b < bucketCount_; ++b) {
    for (ZR_DICT_ENTRY* e = buckets_[b]; e; e = e->next) {
      if (e->text) {
        keys.add(e->text);
        continue;
      }
      char16_t digits[12];
      unsignedToText(e->number, digits);
      IZR_String* key;
      if (HRESULT hr = CreateString(digits, &key); hr != S_OK) return hr;
      keys.take(key);
    }
  }
  return keys.enumerate(out);
}

HRESULT CZR_DictionaryImpl::EnumerateItems(IEnumUnknown** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  Gathered items(count_);
  if (!items.ok()) return E_OUTOFMEMORY;
  for (uint32_t b = 0; b < bucketCount_; ++b)
    for (ZR_DICT_ENTRY* e = buckets_[b]; e; e = e->next) items.add(e->item);
  return items.enumerate(out);
}

HRESULT CZR_DictionaryImpl::GetCount(uint32_t* count) {
  if (!count) return E_INVALIDARG;
  *count = count_;
  return S_OK;
}

HRESULT CZR_DictionaryImpl::IsEmpty(int* empty) {
  if (!empty) return E_INVALIDARG;
  *empty = count_ == 0;
  return S_OK;
}

HRESULT CZR_DictionaryImpl::RemoveAll() {
  for (uint32_t b = 0; b < bucketCount_; ++b)
    while (buckets_[b]) erase(b, buckets_[b]);
  return S_OK;
}

HRESULT CZR_DictionaryImpl::cloneInto(CZR_DictionaryImpl** out) {
  auto* buckets = static_cast<ZR_DICT_ENTRY**>(ZrHeap_calloc(bucketCount_, sizeof(ZR_DICT_ENTRY*)));
  if (!buckets) return E_OUTOFMEMORY;
  auto* copy = new CZR_DictionaryImpl(buckets, bucketCount_, flags_);
  if (!copy) {
    ZrHeap_free(buckets);
    return E_OUTOFMEMORY;
  }
  for (uint32_t b = 0; b < bucketCount_; ++b) {
    for (ZR_DICT_ENTRY* e = buckets_[b]; e; e = e->next) {
      if (HRESULT hr = copy->append(b, e->number, e->text, e->item); hr != S_OK) {
        copy->Release();
        return hr;
      }
    }
  }
  *out = copy;
  return S_OK;
}

HRESULT CZR_DictionaryImpl::Clone(IZR_UlongDictionary** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  CZR_DictionaryImpl* copy;
  HRESULT hr = cloneInto(&copy);
  if (hr == S_OK) *out = copy;
  return hr;
}

HRESULT CZR_DictionaryImpl::Clone(IZR_StringDictionary** out) {
  if (!out) return E_INVALIDARG;
  *out = nullptr;
  CZR_DictionaryImpl* copy;
  HRESULT hr = cloneInto(&copy);
  if (hr == S_OK) *out = copy;
  return hr;
}

HRESULT CZR_DictionaryImpl::TestFlag(uint32_t flag) { return (flags_ & flag) ? S_OK : E_FAIL; }
