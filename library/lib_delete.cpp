// Deleting records and the nodes they leave empty, and renaming. Node links
// are rewritten before the released blocks' bits, so a crash in between
// leaves marked blocks without owner rather than a link to a free block.
#include <cstring>
#include <vector>

#include "library/lib_engine.h"

namespace zr::library {
namespace {

int releaseNode(LMI_LIBRARY* lib, uint32_t offset) {
  uint32_t list[kLargeNode / kBlock];
  for (uint32_t i = 0; i < nodeBlocks(lib); ++i) list[i] = offset + i * kBlock;
  return toggleBits(lib, list, nodeBlocks(lib));
}

int setParentOf(LMI_LIBRARY* lib, uint32_t node, uint32_t parent) {
  int rc = loadNode(lib, node);
  if (rc < 0) return rc;
  setNodeParent(lib->currentNode, parent);
  return saveNode(lib);
}

// In `parent`, the link that pointed at `child` now points at `replacement`.
int relink(LMI_LIBRARY* lib, uint32_t parent, uint32_t child, uint32_t replacement) {
  int rc = loadNode(lib, parent);
  if (rc < 0) return rc;
  if (nodeLeft(lib->currentNode) == child) setNodeLeft(lib->currentNode, replacement);
  else setNodeRight(lib->currentNode, replacement);
  return saveNode(lib);
}

// The rightmost node of the subtree at `top`, with its image.
int rightmost(LMI_LIBRARY* lib, uint32_t top, uint32_t* found, std::vector<uint8_t>* image) {
  const uint64_t limit = state(lib).fileSize / uint32_t(lib->nodeSize) + 1;
  uint32_t at = top;
  for (uint64_t steps = 0;; ++steps) {
    int rc = loadNode(lib, at);
    if (rc < 0) return rc;
    const uint32_t right = nodeRight(lib->currentNode);
    if (!right) break;
    if (steps > limit) return LMI_ERR_DAMAGED;
    at = right;
  }
  *found = at;
  image->assign(lib->currentNode, lib->currentNode + lib->nodeSize);
  return 0;
}

// Takes a node with no right child out of the tree: its left child, if any,
// takes its place.
int unhook(LMI_LIBRARY* lib, uint32_t node, const uint8_t* image) {
  const uint32_t parent = nodeParent(image), left = nodeLeft(image);
  int rc = relink(lib, parent, node, left);
  if (rc == 0 && left) rc = setParentOf(lib, left, parent);
  if (rc == 0) rc = releaseNode(lib, node);
  return rc;
}

int removeEmptyNode(LMI_LIBRARY* lib) {
  const uint32_t self = currentNodeOffset(lib);
  const bool root = self == rootOffset(lib);
  const uint8_t* node = lib->currentNode;
  const uint32_t left = nodeLeft(node), right = nodeRight(node), parent = nodeParent(node);
  int rc = 0;
  if (!left && !right) {
    if (root) return saveNode(lib);
    rc = relink(lib, parent, self, 0);
    return rc ? rc : releaseNode(lib, self);
  }
  if (!left || !right) {
    const uint32_t child = left ? left : right;
    if (!root) {
      rc = relink(lib, parent, self, child);
      if (rc == 0) rc = setParentOf(lib, child, parent);
      return rc ? rc : releaseNode(lib, self);
    }
    // The root never moves: its only child's image moves into it.
    if ((rc = loadNode(lib, child)) < 0) return rc;
    std::vector<uint8_t> image(lib->currentNode, lib->currentNode + lib->nodeSize);
    std::memcpy(lib->rootNode, image.data(), image.size());
    setNodeParent(lib->rootNode, 0);
    if ((rc = loadNode(lib, self)) < 0 || (rc = saveNode(lib)) < 0) return rc;
    for (uint32_t grandchild : {nodeLeft(image.data()), nodeRight(image.data())}) {
      if (grandchild && (rc = setParentOf(lib, grandchild, self)) < 0) return rc;
    }
    return releaseNode(lib, child);
  }
  uint32_t last = 0;
  std::vector<uint8_t> image;
  if ((rc = rightmost(lib, left, &last, &image)) < 0) return rc;
  if (root) {
    // The rightmost node of the left subtree moves into the root.
    std::memcpy(lib->rootNode, image.data(), image.size());
    setNodeParent(lib->rootNode, 0);
    setNodeLeft(lib->rootNode, left);
    setNodeRight(lib->rootNode, right);
    if ((rc = loadNode(lib, self)) < 0 || (rc = saveNode(lib)) < 0) return rc;
    return unhook(lib, last, image.data());
  }
  if (last != left) {
    if ((rc = relink(lib, nodeParent(image.data()), last, 0)) < 0) return rc;
    uint32_t bottom = last;
    const uint64_t limit = state(lib).fileSize / uint32_t(lib->nodeSize) + 1;
    for (uint64_t steps = 0;; ++steps) {
      if ((rc = loadNode(lib, bottom)) < 0) return rc;
      const uint32_t down = nodeLeft(lib->currentNode);
      if (!down) break;
      if (steps > limit) return LMI_ERR_DAMAGED;
      bottom = down;
    }
    setNodeLeft(lib->currentNode, left);
    if ((rc = saveNode(lib)) < 0 || (rc = setParentOf(lib, left, bottom)) < 0) return rc;
  }
  if ((rc = loadNode(lib, last)) < 0) return rc;
  setNodeParent(lib->currentNode, parent);
  setNodeRight(lib->currentNode, right);
  if ((rc = saveNode(lib)) < 0 || (rc = setParentOf(lib, right, last)) < 0) return rc;
  // The parent's left link takes the moved node whichever side the removed
  // node hung on; a node removed on the right thus loses its parent's left
  // subtree. Files depend on this being reproduced.
  if ((rc = loadNode(lib, parent)) < 0) return rc;
  if (nodeLeft(lib->currentNode) != self) setNodeRight(lib->currentNode, 0);
  setNodeLeft(lib->currentNode, last);
  if ((rc = saveNode(lib)) < 0) return rc;
  return releaseNode(lib, self);
}

// Deletes the record `entry` points at, in the current node.
int deleteCurrent(LMI_LIBRARY* lib, bool renameForm) {
  uint8_t* record = lib->entry;
  int rc = freeChain(lib, recSize(record), recFirst(record));
  if (rc < 0) return rc;
  if (renameForm) {
    setRecFirst(record, 0);
    rc = saveNode(lib);
  } else {
    removeRecord(lib, lib->currentNode, uint32_t(record - lib->currentNode));
    rc = nodeCount(lib->currentNode) ? saveNode(lib) : removeEmptyNode(lib);
  }
  return rc ? rc : saveDirtyMap(lib);
}

}  // namespace

int deleteEntry(LMI_LIBRARY* lib, const char16_t* name, bool renameForm) {
  int rc = search(lib, name);
  if (rc < 0) return rc;
  if (rc != kFound) return LMI_ERR_NOT_FOUND;
  return deleteCurrent(lib, renameForm);
}

int renameEntry(LMI_LIBRARY* lib, const char16_t* oldName, const char16_t* newName) {
  int rc = search(lib, oldName);
  if (rc < 0) return rc;
  if (rc != kFound) return LMI_ERR_NOT_FOUND;
  const uint32_t first = recFirst(lib->entry), size = recSize(lib->entry);
  // With size 0 the delete leaves the chain alone.
  setRecSize(lib->entry, 0);
  if ((rc = deleteCurrent(lib, false)) < 0) return rc;
  rc = deleteEntry(lib, newName, true);
  if (rc == LMI_ERR_NOT_FOUND) return insertEntry(lib, newName, first, size);
  if (rc < 0) return rc;
  if ((rc = search(lib, newName)) < 0) return rc;
  if (rc != kFound) return LMI_ERR_DAMAGED;
  uint8_t* record = lib->entry;
  setRecFirst(record, first);
  setRecSize(record, size);
  setRecCommentUnits(record, 0);
  setRecTime(record, timeNow());
  return saveNode(lib);
}

}  // namespace zr::library
