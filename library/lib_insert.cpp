// Inserting a record: into the last node the search visited, into a new
// child on the side the name fell off, or into room made inside a full node.
// The tree is not balanced and records inside a node are not sorted.
#include <cstring>
#include <vector>

#include "frame/mem_pool.h"
#include "library/lib_engine.h"

namespace zr::library {
namespace {

enum class Side { Left, Right };

// Allocates a new empty child of the current node and makes it current. The
// child reaches the disk before the parent's link to it; `childLeft` becomes
// its own left child when a node is interposed.
int growChild(LMI_LIBRARY* lib, Side side, uint32_t childLeft) {
  const uint32_t parent = currentNodeOffset(lib);
  uint32_t list[kLargeNode / kBlock];
  int rc = allocateBlocks(lib, list, nodeBlocks(lib), true, false);
  if (rc == 0) rc = saveDirtyMap(lib);
  if (rc < 0) return rc;
  std::vector<uint8_t> child(size_t(lib->nodeSize));
  buildEmptyNode(lib, child.data(), parent);
  setNodeLeft(child.data(), childLeft);
  if ((rc = writeAt(lib, list[0], child.data(), child.size())) < 0) return rc;
  if (side == Side::Left) setNodeLeft(lib->currentNode, list[0]);
  else setNodeRight(lib->currentNode, list[0]);
  if ((rc = saveNode(lib)) < 0) return rc;
  if (!lib->secondNode) {
    lib->secondNode = static_cast<uint8_t*>(frame::MemAllocPtr(lib->pool, size_t(lib->nodeSize), 0));
    if (!lib->secondNode) return LMI_ERR_FILE;
  }
  std::memcpy(lib->secondNode, child.data(), child.size());
  lib->nodeOffset = list[0];
  lib->currentNode = lib->secondNode;
  return 0;
}

// Makes room in a full node for a name inside its range. Works on a private
// copy, since every load reuses the node buffers.
class RoomMaker {
 public:
  RoomMaker(LMI_LIBRARY* lib, const char16_t* name, uint32_t want)
      : lib_(lib), name_(name), want_(want), self_(currentNodeOffset(lib)),
        copy_(lib->currentNode, lib->currentNode + lib->nodeSize) {}

  int run() {
    const uint32_t left = nodeLeft(copy_.data()), right = nodeRight(copy_.data());
    const uint32_t parent = nodeParent(copy_.data());
    int rc = kNotHere;
    if (parent && self_ != rootOffset(lib_)) {
      if ((rc = loadNode(lib_, parent)) < 0) return rc;
      const bool leftChild = nodeLeft(lib_->currentNode) == self_;
      const bool rightChild = nodeRight(lib_->currentNode) == self_;
      rc = kNotHere;
      if (leftChild && !right) rc = moveOne(greatestRecord(copy_.data()), parent);
      else if (rightChild && !left) rc = moveOne(leastRecord(copy_.data()), parent);
      if (rc != kNotHere) return rc;
    }
    if (left) {
      if ((rc = loadNode(lib_, left)) < 0) return rc;
      if (!nodeRight(lib_->currentNode) && (rc = moveOne(leastRecord(copy_.data()), left)) != kNotHere) return rc;
    }
    if (right) {
      if ((rc = loadNode(lib_, right)) < 0) return rc;
      if (!nodeLeft(lib_->currentNode) && (rc = moveOne(greatestRecord(copy_.data()), right)) != kNotHere)
        return rc;
    }
    // A split that stops early leaves the new child current: the name sorts
    // between what moved and what stayed, so it belongs there.
    if (!left) return split(Side::Left, 0);
    if (!right) return split(Side::Right, 0);
    // Both sides taken: put a new left child between the node and its old
    // left subtree.
    return split(Side::Left, left);
  }

 private:
  int reloadSelf() {
    int rc = loadNode(lib_, self_);
    if (rc == 0) std::memcpy(copy_.data(), lib_->currentNode, copy_.size());
    return rc;
  }

  // Appends the record to `target` and then removes it from this node.
  int transfer(const uint8_t* record, uint32_t target) {
    int rc = loadNode(lib_, target);
    if (rc < 0) return rc;
    appendRecord(lib_, lib_->currentNode, record);
    if ((rc = saveNode(lib_)) < 0) return rc;
    if ((rc = loadNode(lib_, self_)) < 0) return rc;
    removeRecord(lib_, lib_->currentNode, uint32_t(record - copy_.data()));
    if ((rc = saveNode(lib_)) < 0) return rc;
    std::memcpy(copy_.data(), lib_->currentNode, copy_.size());
    return 0;
  }

  // One record that alone must make the room; the target is current.
  int moveOne(const uint8_t* record, uint32_t target) {
    const uint32_t size = recBytes(record);
    if (size > nodeFreeBytes(lib_->currentNode) || nodeFreeBytes(copy_.data()) + size < want_) return kNotHere;
    return transfer(record, target);
  }

  int split(Side side, uint32_t adoptedLeft) {
    int rc = loadNode(lib_, self_);
    if (rc == 0) rc = growChild(lib_, side, adoptedLeft);
    if (rc < 0) return rc;
    const uint32_t child = lib_->nodeOffset;
    if (adoptedLeft) {
      if ((rc = loadNode(lib_, adoptedLeft)) < 0) return rc;
      setNodeParent(lib_->currentNode, child);
      if ((rc = saveNode(lib_)) < 0) return rc;
    }
    if ((rc = reloadSelf()) < 0) return rc;
    for (uint32_t moved = 0; moved < want_;) {
      const uint8_t* record = side == Side::Left ? leastRecord(copy_.data()) : greatestRecord(copy_.data());
      if (!record) break;
      const int c = compareNames(name_, recName(record));
      if (side == Side::Left ? c < 0 : c > 0) return loadNode(lib_, child);
      if ((rc = loadNode(lib_, child)) < 0) return rc;
      const uint32_t size = recBytes(record);
      if (size > nodeFreeBytes(lib_->currentNode)) break;
      if ((rc = transfer(record, child)) < 0) return rc;
      moved += size;
    }
    return loadNode(lib_, self_);
  }

  LMI_LIBRARY* lib_;
  const char16_t* name_;
  uint32_t want_;
  uint32_t self_;
  std::vector<uint8_t> copy_;
};

}  // namespace

int insertEntry(LMI_LIBRARY* lib, const char16_t* name, uint32_t first, uint32_t size) {
  resetOperation(lib);
  const size_t nameBytes = (nameUnits(name) + 1) * sizeof(char16_t);
  const size_t bytes = kRecordHead + nameBytes;
  if (bytes > size_t(lib->nodeFree)) return LMI_ERR_NAME;
  std::vector<uint8_t> record(bytes, 0);
  putMark(record.data(), "ENT*");
  std::memcpy(record.data() + offsetof(EntryRecord, version), kFormatVersion, sizeof kFormatVersion);
  setRecFirst(record.data(), first);
  setRecSize(record.data(), size);
  setRecTime(record.data(), timeNow());
  store16(record.data() + offsetof(EntryRecord, nameBytes), uint16_t(nameBytes));
  std::memcpy(record.data() + kRecordHead, name, nameBytes);

  int rc = 0;
  if (bytes > nodeFreeBytes(lib->currentNode)) {
    if (lib->findResult == kNotHere) rc = RoomMaker(lib, name, uint32_t(bytes)).run();
    else rc = growChild(lib, lib->findResult == kAbove ? Side::Right : Side::Left, 0);
    if (rc < 0) return rc;
    if (bytes > nodeFreeBytes(lib->currentNode)) return LMI_ERR_DAMAGED;
  }
  uint8_t* node = lib->currentNode;
  uint8_t* placed = node + (uint32_t(lib->nodeFree) - nodeFreeBytes(node) + kNodeHead);
  appendRecord(lib, node, record.data());
  // Blocks the node links to are marked before the node reaches the disk.
  if ((rc = saveDirtyMap(lib)) < 0) return rc;
  if ((rc = saveNode(lib)) < 0) return rc;
  lib->entry = placed;
  return 0;
}

}  // namespace zr::library
