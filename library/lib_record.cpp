// Entry records inside one node: packed from the front in order of arrival,
// with the least and greatest names tracked by offset.
#include <cstring>

#include "library/lib_engine.h"

namespace zr::library {
namespace {

uint32_t recordsEnd(const uint8_t* node) {
  uint32_t at = kNodeHead;
  for (uint32_t i = 0, count = nodeCount(node); i < count; ++i) at += recBytes(node + at);
  return at;
}

const char16_t* nameAt(const uint8_t* node, uint32_t at) { return reinterpret_cast<const char16_t*>(node + at); }

}  // namespace

void appendRecord(LMI_LIBRARY* lib, uint8_t* node, const uint8_t* record) {
  const uint32_t size = recBytes(record);
  const uint32_t free = nodeFreeBytes(node);
  const uint32_t at = uint32_t(lib->nodeFree) - free + kNodeHead;
  std::memcpy(node + at, record, size);
  setNodeCount(node, nodeCount(node) + 1u);
  setNodeFreeBytes(node, free - size);
  const uint32_t name = at + kRecordHead;
  const uint32_t least = nodeLeast(node), greatest = nodeGreatest(node);
  if (!least || compareNames(nameAt(node, name), nameAt(node, least)) < 0) setNodeLeast(node, name);
  if (!greatest || compareNames(nameAt(node, name), nameAt(node, greatest)) > 0) setNodeGreatest(node, name);
}

void removeRecord(LMI_LIBRARY* lib, uint8_t* node, uint32_t recordAt) {
  const uint32_t end = recordsEnd(node);
  const uint32_t size = recBytes(node + recordAt);
  std::memmove(node + recordAt, node + recordAt + size, end - recordAt - size);
  std::memset(node + end - size, 0, size);
  const uint32_t count = nodeCount(node) - 1u;
  setNodeCount(node, count);
  setNodeFreeBytes(node, uint32_t(lib->nodeFree) - (end - size - kNodeHead));
  uint32_t least = 0, greatest = 0, at = kNodeHead;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t name = at + kRecordHead;
    if (!least || compareNames(nameAt(node, name), nameAt(node, least)) < 0) least = name;
    if (!greatest || compareNames(nameAt(node, name), nameAt(node, greatest)) > 0) greatest = name;
    at += recBytes(node + at);
  }
  setNodeLeast(node, least);
  setNodeGreatest(node, greatest);
}

uint8_t* findRecord(uint8_t* node, const char16_t* name) {
  uint8_t* record = node + kNodeHead;
  for (uint32_t i = 0, count = nodeCount(node); i < count; ++i) {
    if (compareNames(name, recName(record)) == 0) return record;
    record += recBytes(record);
  }
  return nullptr;
}

uint8_t* leastRecord(uint8_t* node) {
  const uint32_t least = nodeLeast(node);
  return least ? node + least - kRecordHead : nullptr;
}

uint8_t* greatestRecord(uint8_t* node) {
  const uint32_t greatest = nodeGreatest(node);
  return greatest ? node + greatest - kRecordHead : nullptr;
}

void buildEmptyNode(LMI_LIBRARY* lib, uint8_t* node, uint32_t parent) {
  std::memset(node, 0, size_t(lib->nodeSize));
  putMark(node, "NOD*");
  setNodeParent(node, parent);
  setNodeFreeBytes(node, uint32_t(lib->nodeFree));
}

}  // namespace zr::library
