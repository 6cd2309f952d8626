// The tab-separated text class, CSV, and the clipboard class, which writes
// the text class's form into memory.
#include <cstring>

#include "export/save_classes.h"
#include "export/save_common.h"
#include "export/save_output.h"
#include "platform/clipboard.h"

namespace zr::save {
namespace {

enum class Style { Text, Csv, Clip };

constexpr std::u16string_view kRowEnd = u"\r\n";

template <Style S>
bool needsQuotes(std::u16string_view text) {
  if constexpr (S == Style::Csv) return text.find_first_of(u",\n") != std::u16string_view::npos;
  return (!text.empty() && text[0] == u'"') || text.find_first_of(u"\t\r\n") != std::u16string_view::npos;
}

// The text in double quotes, each inner quote doubled.
bool putQuoted(ZR_SAVE_STATE* s, std::u16string_view text, uint32_t encoding) {
  if (!put(s, u"\"", encoding)) return false;
  for (size_t quote; (quote = text.find(u'"')) != std::u16string_view::npos; text.remove_prefix(quote + 1)) {
    if (!put(s, text.substr(0, quote + 1), encoding) || !put(s, u"\"", encoding)) return false;
  }
  return put(s, text, encoding) && put(s, u"\"", encoding);
}

void releaseHeapBlock(void* block) { ZrHeap_free(block); }

// The text becomes the clipboard's only content; an empty one leaves it empty.
void publish(const char16_t* text, uint32_t units) {
  char16_t* block = nullptr;
  if (units) {
    block = static_cast<char16_t*>(ZrHeap_malloc((size_t{units} + 1) * sizeof(char16_t)));
    if (!block) return;
    std::memcpy(block, text, size_t{units} * sizeof(char16_t));
    block[units] = 0;
  }
  platform::openClipboard(nullptr);
  platform::emptyClipboard();
  if (block) platform::setClipboardData(platform::kClipboardUnicodeText, block, releaseHeapBlock);
  platform::closeClipboard();
}

template <Style S>
class DelimitedSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t encoding) override {
    encoding_ = encoding;
    if constexpr (S == Style::Clip) {
      ZR_SAVE_STATE* s = osSaveBegin32(pool, allocFlags, nullptr, rows, columns, saveFlags, encoding);
      if (s) openMemory(&s->file);
      return s;
    }
    return osSaveBegin32(pool, allocFlags, name, rows, columns, saveFlags, encoding);
  }

  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s || !storeColumn(s, name, width, type)) return 0;
    bool last = nextColumn(s);
    if (!(s->saveFlags & ZR_SAVE_HEADING)) return 1;
    return put(s, {name ? name : u"", unitLength(name)}, encoding_) && put(s, last ? kRowEnd : separator(), encoding_);
  }

  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    uint8_t type = s->columns[s->currentColumn].type;
    bool ok;
    if (type == ZR_COL_STRING) {
      std::u16string_view text(value ? static_cast<const char16_t*>(value) : u"");
      ok = needsQuotes<S>(text) ? putQuoted(s, text, encoding_) : put(s, text, encoding_);
    } else {
      char16_t text[kValueUnits];
      size_t n = formatValue(s, type, value, S == Style::Text ? decimalSeparator() : timeSeparator(), text);
      ok = put(s, {text, n}, encoding_);
    }
    if (!ok) return 0;
    return put(s, nextCell(s) ? kRowEnd : separator(), encoding_) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if constexpr (S == Style::Clip) {
      bool ok = !s->file.failed;
      uint32_t units = 0;
      char16_t* text = takeMemory(&s->file, &units);
      if (ok) publish(text, units);
      ZrHeap_free(text);
      osSaveEnd(s);
      return ok ? 1 : 0;
    }
    return finish(s, encoding_, false);
  }

 private:
  static std::u16string_view separator() { return S == Style::Csv ? u"," : u"\t"; }

  uint32_t encoding_ = 0;
};

}  // namespace

IZR_SaveFileType* newSaveText() { return makeSaveObject<DelimitedSave<Style::Text>>(); }
IZR_SaveFileType* newSaveCsv() { return makeSaveObject<DelimitedSave<Style::Csv>>(); }
IZR_SaveFileType* newSaveClip() { return makeSaveObject<DelimitedSave<Style::Clip>>(); }

}  // namespace zr::save
