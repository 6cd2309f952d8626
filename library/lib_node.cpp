// Nodes: load and save through the second buffer, classify a name against
// one node, and the searches down the unbalanced tree.
#include <vector>

#include "frame/mem_pool.h"
#include "library/lib_engine.h"

namespace zr::library {
namespace {

// No descent is longer than the file has nodes.
uint64_t nodeLimit(LMI_LIBRARY* lib) { return state(lib).fileSize / uint32_t(lib->nodeSize) + 1; }

int searchFrom(LMI_LIBRARY* lib, uint32_t start, const char16_t* name) {
  int rc = loadNode(lib, start);
  if (rc < 0) return rc;
  for (uint64_t steps = 0;; ++steps) {
    const int c = classify(lib, name);
    lib->findResult = c;
    if (c != kAbove && c != kBelow) return c;
    const uint32_t child = c == kAbove ? nodeRight(lib->currentNode) : nodeLeft(lib->currentNode);
    if (!child) return kNotHere;
    if (steps > nodeLimit(lib)) return LMI_ERR_DAMAGED;
    if ((rc = loadNode(lib, child)) < 0) return rc;
  }
}

bool isNameAt(uint32_t at, const std::vector<uint32_t>& names) {
  for (uint32_t n : names)
    if (n == at) return true;
  return false;
}

}  // namespace

uint32_t currentNodeOffset(const LMI_LIBRARY* lib) {
  return lib->currentNode == lib->rootNode ? rootOffset(lib) : lib->nodeOffset;
}

bool nodeIsSound(const LMI_LIBRARY* lib, const uint8_t* node) {
  const uint32_t size = uint32_t(lib->nodeSize);
  std::vector<uint32_t> names;
  uint32_t at = kNodeHead;
  for (uint32_t i = 0, count = nodeCount(node); i < count; ++i) {
    if (at + kRecordHead > size) return false;
    const uint32_t bytes = recNameBytes(node + at);
    if (bytes < 2 || bytes % 2 || at + kRecordHead + bytes > size) return false;
    if (load16(node + at + kRecordHead + bytes - 2) != 0) return false;
    names.push_back(at + kRecordHead);
    at += kRecordHead + bytes;
  }
  const uint32_t free = nodeFreeBytes(node);
  if (free > uint32_t(lib->nodeFree) || at - kNodeHead > uint32_t(lib->nodeFree) - free) return false;
  const uint32_t least = nodeLeast(node), greatest = nodeGreatest(node);
  if (names.empty()) return least == 0 && greatest == 0;
  return isNameAt(least, names) && isNameAt(greatest, names);
}

int loadNode(LMI_LIBRARY* lib, uint32_t offset) {
  if (offset == rootOffset(lib)) {
    lib->currentNode = lib->rootNode;
    lib->nodeOffset = 0;
    return 0;
  }
  if (offset == lib->nodeOffset && lib->secondNode) {
    lib->currentNode = lib->secondNode;
    return 0;
  }
  if (badBlockOffset(lib, offset, uint32_t(lib->nodeSize))) return LMI_ERR_DAMAGED;
  if (!lib->secondNode) {
    lib->secondNode = static_cast<uint8_t*>(frame::MemAllocPtr(lib->pool, size_t(lib->nodeSize), 0));
    if (!lib->secondNode) return LMI_ERR_FILE;
  }
  // The buffer's old content is gone from here on.
  lib->nodeOffset = 0;
  lib->currentNode = lib->rootNode;
  size_t got = 0;
  int rc = readAt(lib, offset, lib->secondNode, size_t(lib->nodeSize), &got);
  if (rc < 0) return rc;
  if (got < size_t(lib->nodeSize) || !nodeIsSound(lib, lib->secondNode)) return LMI_ERR_DAMAGED;
  lib->nodeOffset = offset;
  lib->currentNode = lib->secondNode;
  return 0;
}

int saveNode(LMI_LIBRARY* lib) {
  const uint32_t offset = currentNodeOffset(lib);
  if (offset < 1) return LMI_ERR_DAMAGED;
  return writeAt(lib, offset, lib->currentNode, size_t(lib->nodeSize));
}

int classify(LMI_LIBRARY* lib, const char16_t* name) {
  uint8_t* node = lib->currentNode;
  const uint32_t least = nodeLeast(node);
  if (!least) return kNotHere;
  int c = compareNames(name, reinterpret_cast<const char16_t*>(node + least));
  if (c < 0) return kBelow;
  if (c == 0) {
    lib->entry = node + least - kRecordHead;
    return kFound;
  }
  const uint32_t greatest = nodeGreatest(node);
  c = compareNames(name, reinterpret_cast<const char16_t*>(node + greatest));
  if (c > 0) return kAbove;
  if (c == 0) {
    lib->entry = node + greatest - kRecordHead;
    return kFound;
  }
  uint8_t* record = findRecord(node, name);
  if (!record) return kNotHere;
  lib->entry = record;
  return kFound;
}

int search(LMI_LIBRARY* lib, const char16_t* name) { return searchFrom(lib, rootOffset(lib), name); }

int searchSequential(LMI_LIBRARY* lib, const char16_t* name) {
  int rc = loadNode(lib, rootOffset(lib));
  if (rc < 0) return rc;
  rc = classify(lib, name);
  lib->findResult = rc;
  if (rc != kNotHere) return search(lib, name);
  const uint32_t left = nodeLeft(lib->rootNode), right = nodeRight(lib->rootNode);
  if (left && (rc = searchFrom(lib, left, name)) != kNotHere) return rc;
  if (right) rc = searchFrom(lib, right, name);
  return rc;
}

int walkRecords(LMI_LIBRARY* lib, RecordVisitor visit, void* user) {
  std::vector<uint32_t> pending{rootOffset(lib)};
  for (uint64_t visited = 0; !pending.empty(); ++visited) {
    if (visited > nodeLimit(lib)) return LMI_ERR_DAMAGED;
    const uint32_t offset = pending.back();
    pending.pop_back();
    int rc = loadNode(lib, offset);
    if (rc == LMI_ERR_DAMAGED) continue;
    if (rc < 0) return rc;
    uint8_t* node = lib->currentNode;
    if ((node[0] & 0xDF) != 'N' || (node[1] & 0xDF) != 'O' || (node[2] & 0xDF) != 'D' || node[3] != '*') continue;
    const uint32_t left = nodeLeft(node), right = nodeRight(node);
    uint8_t* record = node + kNodeHead;
    for (uint32_t i = 0, count = nodeCount(node); i < count; ++i) {
      if ((rc = visit(lib, record, user)) != 0) return rc;
      record += recBytes(record);
    }
    if (right) pending.push_back(right);
    if (left) pending.push_back(left);
  }
  return 0;
}

}  // namespace zr::library
