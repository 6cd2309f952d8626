// zrdemo - the library's main job as a user sees it: a small document held in
// the heap as a parent with child blocks and a pool of rows, with the heap's
// debug switches turned on through its environment and the heap's own dump and
// summary; then text built in a storage handle.
#include <cstdio>
#include <cstdlib>
#include <cstring>

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
  return 0;
}
