// Address space and the Fibonacci buddy system: every class of at least
// SplitMinSize splits into the classes one and two below it, so a block of
// index i has halves of index i-1 (at its address) and i-2 (behind it). The
// whole tree of a reservation is built when the memory is added.
#include <cstdlib>
#include <cctype>
#include <cstring>
#include <iterator>

#include "frame/szrheap_internal.h"
#include "platform/system.h"
#include "platform/vm.h"

namespace zr::heap {

namespace {

thread_local int t_smallLockDepth = 0;

// "true" or "t" in any case.
bool resetBuddyOn() {
  const char* v = platform::environmentValue("ZR_HEAP_RESET_BUDDY");
  if (!v || std::tolower(static_cast<unsigned char>(v[0])) != 't') return false;
  if (v[1] == 0) return true;
  const char* rest = "rue";
  for (int i = 0; i < 3; ++i)
    if (std::tolower(static_cast<unsigned char>(v[i + 1])) != rest[i]) return false;
  return v[4] == 0;
}

void lowMemoryCheck(Heap& h) {
  if (h.memLowThreshold == 0) return;
  platform::MemoryStatus status = platform::memoryStatus();
  if (status.availableBytes >= h.memLowThreshold) return;
  if (h.lowestWarned != 0 && status.availableBytes >= h.lowestWarned) return;
  h.lowestWarned = status.availableBytes;
  writeLine("ZR HEAP WARNING: Available virtual memory at low level");
  writeFormatted("Total Virtual Memory = %lu bytes", static_cast<unsigned long>(status.totalBytes));
  writeFormatted("Available Virtual Memory = %lu bytes", static_cast<unsigned long>(status.availableBytes));
  dumpReport(2);
  if (h.externalDump) h.externalDump(2);
}

void pushFree(Heap& h, BuddyBlock* node) {
  BuddyBlock*& head = h.buddyFree[node->sizeIndex];
  node->freePrevious = nullptr;
  node->freeNext = head;
  if (head) head->freePrevious = node;
  head = node;
}

void unlinkFree(Heap& h, BuddyBlock* node) {
  if (node->freePrevious) node->freePrevious->freeNext = node->freeNext;
  else h.buddyFree[node->sizeIndex] = node->freeNext;
  if (node->freeNext) node->freeNext->freePrevious = node->freePrevious;
  node->freePrevious = node->freeNext = nullptr;
}

// Nodes are taken from chunks of the C runtime's malloc, kept on a list so
// that they stay reachable; they are never freed.
struct NodeChunk {
  NodeChunk* next;
  size_t used;
  BuddyBlock nodes[1024];
};

BuddyBlock* takeNode(Heap& h) {
  auto*& chunk = reinterpret_cast<NodeChunk*&>(h.nodeChunks);
  if (!chunk || chunk->used == std::size(chunk->nodes)) {
    auto* fresh = static_cast<NodeChunk*>(std::malloc(sizeof(NodeChunk)));
    if (!fresh) return nullptr;
    fresh->next = chunk;
    fresh->used = 0;
    chunk = fresh;
  }
  return &chunk->nodes[chunk->used++];
}

BuddyBlock* newBuddyBlock(Heap& h, char* address, int index) {
  BuddyBlock* node = takeNode(h);
  if (!node) {
    ZrHeap_exception("newBuddyBlock failed (size %lu)", static_cast<unsigned long>(h.classSize[index]));
    return nullptr;
  }
  std::memset(node, 0, sizeof *node);
  node->size = h.classSize[index];
  node->sizeIndex = index;
  node->address = address;
  trace("%p  newBuddyBlock (size %lu)", static_cast<void*>(address), static_cast<unsigned long>(node->size));
  if (node->size >= h.splitMinSize) {
    node->left = newBuddyBlock(h, address, index - 1);
    node->right = newBuddyBlock(h, address + h.classSize[index - 1], index - 2);
    if (!node->left || !node->right) return nullptr;
    node->left->parent = node->right->parent = node;
    node->left->buddy = node->right;
    node->right->buddy = node->left;
  }
  return node;
}

}  // namespace

bool smallLockHeldHere() { return t_smallLockDepth > 0; }

char* allocVM(size_t size) {
  Heap& h = heap();
  lowMemoryCheck(h);
  char* base = static_cast<char*>(platform::reserveAddressSpace(size));
  trace("%p  allocVM(%lu)", static_cast<void*>(base), static_cast<unsigned long>(size));
  if (!base) {
    ZrHeap_exception("allocVM(%lu) failed", static_cast<unsigned long>(size));
    return nullptr;
  }
  poison(base, size);
  lock(&h.vmLock);
  h.reservedBytes += size;
  unlock(&h.vmLock);
  return base;
}

bool commitVM(char* address, size_t size) {
  Heap& h = heap();
  trace("%p  commitVM(%lu)", static_cast<void*>(address), static_cast<unsigned long>(size));
  if (!platform::commitPages(address, size)) {
    ZrHeap_exception("commitVM(%lu) failed", static_cast<unsigned long>(size));
    return false;
  }
  lock(&h.vmLock);
  h.committedBytes += size;
  unlock(&h.vmLock);
  return true;
}

void decommitVM(char* address, size_t size) {
  Heap& h = heap();
  trace("%p  decommitVM(%lu)", static_cast<void*>(address), static_cast<unsigned long>(size));
  poison(address, size);
  if (!platform::decommitPages(address, size)) {
    fatal(nullptr, "VirtualFree(MEM_DECOMMIT) Failed");
    return;
  }
  lock(&h.vmLock);
  h.committedBytes -= size;
  unlock(&h.vmLock);
}

bool initBuddySystem(char* base, size_t size) {
  Heap& h = heap();
  trace("%p  initBuddySystem (heap size %lu)", static_cast<void*>(base), static_cast<unsigned long>(size));
  lock(&h.buddyLock);
  size_t offset = 0;
  for (;;) {
    int i = h.lastIndex;
    while (i >= h.firstLargeIndex && h.classSize[i] > size - offset) --i;
    if (i < h.firstLargeIndex) break;
    BuddyBlock* root = newBuddyBlock(h, base + offset, i);
    if (!root) {
      ZrHeap_exception("initBuddySystem failed (heap size %lu)", static_cast<unsigned long>(size));
      unlock(&h.buddyLock);
      return false;
    }
    pushFree(h, root);
    offset += h.classSize[i];
  }
  if (offset < size) {
    h.wasteBytes += size - offset;
    h.wasteCount += 1;
  }
  unlock(&h.buddyLock);
  return true;
}

BuddyBlock* allocBuddyBlock(int index, bool largerAllowed) {
  Heap& h = heap();
  BuddyBlock* found = nullptr;
  while (!found) {
    lock(&h.buddyLock);
    for (;;) {
      if (BuddyBlock* head = h.buddyFree[index]) {
        unlinkFree(h, head);
        head->inUse = 1;
        found = head;
        break;
      }
      BuddyBlock* split = nullptr;
      for (int j = index + 1; j <= h.lastIndex && !found && !split; ++j) {
        BuddyBlock* head = h.buddyFree[j];
        if (!head) continue;
        if (head->left) {
          split = head;
        } else if (largerAllowed) {
          unlinkFree(h, head);
          head->inUse = 1;
          found = head;
        }
      }
      if (found || !split) break;
      unlinkFree(h, split);
      split->inUse = 1;
      pushFree(h, split->left);
      pushFree(h, split->right);
      trace("%p  buddy split (size %lu -> %lu:%lu @ %p:%p)", static_cast<void*>(split->address),
            static_cast<unsigned long>(split->size), static_cast<unsigned long>(split->left->size),
            static_cast<unsigned long>(split->right->size), static_cast<void*>(split->left->address),
            static_cast<void*>(split->right->address));
    }
    unlock(&h.buddyLock);
    if (found) break;
    size_t reserve = h.classSize[index] > kMinReservation ? h.classSize[index] : kMinReservation;
    char* base = allocVM(reserve);
    // Without nodes for the new memory, another round would reserve again.
    if (!base || !initBuddySystem(base, reserve)) return nullptr;
  }
  if (!found->inUse) fatalFormatted(nullptr, "newBuddyBlock(%p) - block is not marked as in use", static_cast<void*>(found));
  if (found->freeNext || found->freePrevious)
    fatalFormatted(nullptr, "newBuddyBlock(%p) - block is still in free list", static_cast<void*>(found));
  trace("%p  allocBuddyBlock (size %lu)", static_cast<void*>(found->address), static_cast<unsigned long>(found->size));
  return found;
}

void releaseBuddyNode(BuddyBlock* node) {
  Heap& h = heap();
  lock(&h.buddyLock);
  BuddyBlock* b = node;
  for (;;) {
    if (!b->inUse) {
      unlock(&h.buddyLock);
      fatalFormatted(nullptr, "freeBuddyBlock(%p) - block was not in use", static_cast<void*>(b));
      return;
    }
    b->inUse = 0;
    BuddyBlock* buddy = b->buddy;
    if (!buddy || buddy->inUse) break;
    unlinkFree(h, buddy);
    BuddyBlock* parent = b->parent;
    trace("%p  buddy merge (size %lu <- %lu:%lu @ %p:%p)", static_cast<void*>(parent->address),
          static_cast<unsigned long>(parent->size), static_cast<unsigned long>(parent->left->size),
          static_cast<unsigned long>(parent->right->size), static_cast<void*>(parent->left->address),
          static_cast<void*>(parent->right->address));
    b = parent;
  }
  pushFree(h, b);
  unlock(&h.buddyLock);
}

void freeBuddyBlock(BuddyBlock* node) {
  Heap& h = heap();
  trace("%p  freeBuddyBlock (size %lu)", static_cast<void*>(node->address), static_cast<unsigned long>(node->size));
  if (resetBuddyOn()) {
    unpoison(node->address, node->committed);
    std::memset(node->address, 0xEE, node->committed);
  }
  SlotRow& row = h.rows[node->sizeIndex][0];
  lock(&row.lock);
  --row.plainUsed;
  unlock(&row.lock);
  decommitVM(node->address, node->committed);
  node->committed = 0;
  releaseBuddyNode(node);
}

char* cutSmallRegion(size_t n) {
  Heap& h = heap();
  lock(&h.smallLock);
  ++t_smallLockDepth;
  if (!h.regionBase || h.regionUsed + n > h.regionSize) {
    h.regionBase = nullptr;
    if (h.regionSize < n * 100) {
      size_t e = n * 100;
      if (e + kMaxOverhead >= h.largeMinSize) e += kMaxOverhead;
      int i = h.firstLargeIndex;
      while (i < h.lastIndex && h.classSize[i] < e) ++i;
      h.regionIndex = i;
      h.regionSize = h.classSize[i];
    }
    BuddyBlock* node = allocBuddyBlock(h.regionIndex, true);
    if (node && node->size > h.regionSize) {
      h.regionSize = node->size;
      h.regionIndex = node->sizeIndex;
    }
    if (node) node->committed = node->size;
    if (!node || !commitVM(node->address, node->size)) {
      if (node) {
        node->committed = 0;
        releaseBuddyNode(node);
      }
      --t_smallLockDepth;
      unlock(&h.smallLock);
      return nullptr;
    }
    poison(node->address, node->size);
    h.regionBase = node->address;
    h.regionUsed = 0;
    h.regionCount += 1;
    h.unusedSmallBytes += node->size;
  }
  char* piece = h.regionBase + h.regionUsed;
  h.regionUsed += n;
  h.unusedSmallBytes -= n;
  h.smallUseBytes += n;
  --t_smallLockDepth;
  unlock(&h.smallLock);
  return piece;
}

}  // namespace zr::heap
