// zrdemo - the library's main job as a user sees it: a small document held in
// the heap as a parent with child blocks and a pool of rows, with the heap's
// debug switches turned on through its environment and the heap's own dump and
// summary; then text built in a storage handle, and values of each kind
// through display masks.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "shdec.h"
#include "shdt.h"
#include "shformat.h"
#include "zrframe.h"
#include "zrheap.h"
#include "zrstg.h"
#include "zrstr.h"

namespace {

struct Order {
  char customer[32];
  int lineCount;
};

struct OrderLine {
  char article[24];
  int quantity;
};

void* allocate(size_t n, const char* type, int line, void* parent) {
  return ZrHeap__alloc(n, type, "alloc", "free", __FILE__, static_cast<unsigned>(line), parent);
}

// Text built in a storage handle: everything goes back with zrstg_end.
void showStorageHandle() {
  zrstg_handle* storage = zrstg_begin(0);
  zrstg_subpool* lines = zrstg_new_pool(storage);
  zrstg_set_pool_name(storage, lines, u"lines");
  char16_t* text = nullptr;
  int32_t capacity = 0, length = 0;
  const char16_t* words[] = {u"Gr\u00FC\u00DFe", u" aus ", u"\x041C\x043E\x0441\x043A\x0432\x0430", u"!"};
  for (const char16_t* word : words) zrstg_str_build(storage, lines, &text, &capacity, &length, word);
  zrstg_str_wordcap(text);
  std::printf("built %d characters in a buffer of %d: %s\n", static_cast<int>(length), static_cast<int>(capacity),
              unistr2UTF8(text, storage));
  std::printf("printable form of the city: %s\n", zrstg_strtoprintabledup(storage, words[2], lines));
  zrstg_stat_info info;
  zrstg_stat(storage, &info);
  std::printf("pool bytes of the storage handle: %u\n", info.poolBytes);
  zrstg_end(storage);
}

// UTF-16 to a narrow line; the demo's texts are ASCII apart from names.
void print(const char16_t* text, int width) {
  int n = 0;
  for (; *text; ++text, ++n) std::putchar(*text < 128 ? char(*text) : '?');
  for (; n < width; ++n) std::putchar(' ');
}

void formattingTable() {
  std::printf("\nzrshr demonstration: values through display masks\n\n");
  std::printf("%-24s %-20s %-34s %s\n", "mask", "value", "text", "colour");
  auto row = [](const char16_t* mask, const char* value, const char16_t* text, uint32_t colour) {
    print(mask, 25);
    std::printf("%-20s ", value);
    print(text, 35);
    std::printf("%u\n", colour);
  };
  uint16_t mask[128];
  char16_t text[64];
  const struct {
    const char16_t* mask;
    double value;
    const char* shown;
  } doubles[] = {{u"#,##0.00;[RED](#,##0.00)", -1234.5, "-1234.5"},
                 {u"0.0%", 0.1234, "0.1234"},
                 {u"0.00E+00", 6.02214076e23, "6.02214076e23"},
                 {u"###-##-####", 123456789, "123456789"}};
  for (const auto& d : doubles) {
    shformatCmplNumericMask(mask, d.mask, 128);
    row(d.mask, d.shown, text, shformatDouble(text, 63, mask, d.value, SHFORMAT_VALUE));
  }
  SH_DEC dec;
  shAsciiToDec(&dec, u"98765432109876543210.125");
  shformatCmplNumericMask(mask, u"#,##0.00", 128);
  row(u"#,##0.00", "9876...3210.125", text, shformatDecimal(text, 63, mask, &dec, SHFORMAT_VALUE));
  SH_TIME when;
  shdtBuildTime(&when, 2003, 1, 2, 13, 5, 7, 250000);
  for (const char16_t* m : {u"dddd, mmmm d, yyyy", u"hh:mm:ss.ff AM/PM", u"[shortdate] [time]"}) {
    shformatCmplDateTimeMask(mask, m, 128);
    row(m, "2003-01-02 13:05:07", text, shformatDateTime(text, 63, mask, &when, SHFORMAT_VALUE));
  }
  shformatCmplDateTimeMask(mask, u"mmm d, yyyy", 128);
  row(u"mmm d, yyyy", "(no value)", text, shformatDateTime(text, 63, mask, nullptr, SHFORMAT_VALUE));
  shformatCmplStringMask(mask, u"(@@@) @@@-@@@@", 128);
  row(u"(@@@) @@@-@@@@", "5551234567", text, shformatString(text, 63, mask, u"5551234567", SHFORMAT_VALUE));
}

}  // namespace

int main() {
  // The heap reads its switches once, at its first use.
  setenv("ZR_HEAP_DEBUG", "true", 1);
  setenv("ZR_HEAP_CHECK", "true", 1);
  setenv("ZR_HEAP_ALLOC_INIT", "0", 1);
  ZrHeap_log(stdout, nullptr);
  ZrHeap_showBufferMaximumBytes(40);

  std::printf("zrshr demonstration: an order held in the heap\n\n");
  auto* order = static_cast<Order*>(allocate(sizeof(Order), "Order", __LINE__, nullptr));
  std::strcpy(order->customer, "Harbour Supplies");
  const char* articles[] = {"rope 12mm", "shackle", "fender", "boat hook"};
  for (const char* article : articles) {
    auto* line = static_cast<OrderLine*>(allocate(sizeof(OrderLine), "OrderLine", __LINE__, order));
    std::strcpy(line->article, article);
    line->quantity = ++order->lineCount * 3;
  }
  auto* note = static_cast<char*>(allocate(20000, "DeliveryNote", __LINE__, order));
  std::snprintf(note, 20000, "deliver to pier %d", 7);

  MemoryPool* rows = ZrHeap_allocPool(order);
  for (int i = 0; i < 3; ++i) {
    static const HeapTypeInfo rowInfo = {"Row", "allocFromPool", "free", __FILE__, __LINE__};
    std::snprintf(static_cast<char*>(ZrHeap_allocFromPool(16, &rowInfo, rows)), 16, "row %d", i);
  }

  std::printf("order of %s with %d lines; pool holds %zu bytes\n\n", order->customer, order->lineCount,
              ZrHeap_poolSize(rows));
  ZrHeap_dump(1);

  // Freeing the parent frees every line and the note with it.
  ZrHeap_freePool(rows);
  ZrHeap_free(order);
  std::printf("\nafter freeing the order and the pool:\n");
  ZrHeap_dump(2);

  std::printf("\nzrshr demonstration: text in a storage handle\n\n");
  showStorageHandle();
  formattingTable();
  return 0;
}
