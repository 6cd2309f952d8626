// XML in UTF-16LE: a root element named after the file, a row element per
// row and an element per cell named after its column.
#include <algorithm>
#include <string>

#include "export/save_classes.h"
#include "export/save_common.h"

namespace zr::save {
namespace {

constexpr size_t kRootUnits = 100;
constexpr size_t kRowStemUnits = 96;

void escapeInto(std::u16string& out, std::u16string_view text) {
  for (size_t i = 0; i < text.size(); ++i) {
    switch (text[i]) {
      case u'"': out += u"&quot;"; break;
      case u'<': out += u"&lt;"; break;
      case u'>': out += u"&gt;"; break;
      // An entity already written out is kept, so text escaped once stays so.
      case u'&': out += text.substr(i).starts_with(u"&amp;") ? u"&" : u"&amp;"; break;
      default: out += text[i];
    }
  }
}

class XmlSave final : public IZR_SaveFileType {
 public:
  ZR_SAVE_STATE* Begin(MEM_POOL* pool, uint32_t allocFlags, const char16_t* name, int32_t rows, int32_t columns,
                       uint32_t saveFlags, uint32_t) override {
    ZR_SAVE_STATE* s = osSaveBegin(pool, allocFlags, name, rows, columns, saveFlags | ZR_SAVE_RAW, 0);
    if (!s) return nullptr;
    setNames(name);
    std::u16string head = u"<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>\r\n<";
    head += root_;
    head += u">\r\n";
    if (!put(s, head, 0)) {
      osFileClose32(&s->file, 0, 0);
      osSaveEnd(s);
      return nullptr;
    }
    return s;
  }

  int AddColumn(ZR_SAVE_STATE* s, const char16_t* name, uint32_t width, uint8_t type) override {
    if (!s) return 0;
    std::u16string_view given(name ? name : u"");
    if (!storeColumn(s, given == u"(None)" ? u"column" : name, width, type)) return 0;
    nextColumn(s);
    return 1;
  }

  int WriteValue(ZR_SAVE_STATE* s, const void* value) override {
    if (!s) return 0;
    std::u16string text;
    if (s->currentColumn == 0) text.append(u"\t<").append(row_).append(u">\r\n");
    const ZR_SAVE_COLUMN& c = s->columns[s->currentColumn];
    text.append(u"\t\t<").append(c.name).append(u">");
    if (c.type == ZR_COL_STRING) {
      if (value) escapeInto(text, static_cast<const char16_t*>(value));
    } else {
      char16_t cell[kValueUnits];
      text.append(cell, formatValue(s, c.type, value, timeSeparator(), cell));
    }
    text.append(u"</").append(c.name).append(u">\r\n");
    if (nextCell(s)) text.append(u"\t</").append(row_).append(u">\r\n");
    return put(s, text, 0) ? 1 : 0;
  }

  int End(ZR_SAVE_STATE* s) override {
    if (!s) return 0;
    if (!put(s, u"</" + std::u16string(root_) + u">\r\n", 0)) {
      osSaveEnd(s);
      return 0;
    }
    return finish(s, 0, false);
  }

 private:
  // The file name without its directory, up to its first ".", blanks made
  // "_"; the row element is its first 96 units and "_row".
  void setNames(const char16_t* name) {
    std::u16string_view path(name ? name : u"");
    size_t slash = path.find_last_of(u"\\/:");
    if (slash != std::u16string_view::npos) path.remove_prefix(slash + 1);
    path = path.substr(0, std::min({path.find(u'.'), kRootUnits}));
    size_t n = std::min(path.size(), kRootUnits);
    std::replace_copy(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(n), root_, u' ', u'_');
    root_[n] = 0;
    size_t stem = std::min(n, kRowStemUnits);
    std::copy(root_, root_ + stem, row_);
    std::copy_n(u"_row", 5, row_ + stem);
  }

  char16_t root_[kRootUnits + 1] = {};
  char16_t row_[kRowStemUnits + 5] = {};
};

}  // namespace

IZR_SaveFileType* newSaveXml() { return makeSaveObject<XmlSave>(); }

}  // namespace zr::save
