// A read-only walk over a whole library that reports what does not add up:
// blocks owned twice, marked blocks without owner, owned blocks not marked,
// chains that disagree with their record, and breaks of the tree's order.
#include <string>
#include <vector>

#include "library/lib_check.h"
#include "platform/utf8.h"

namespace zr::library {
namespace {

class Walk {
 public:
  Walk(LMI_LIBRARY* lib, CheckResult* out) : lib_(lib), out_(out) {}

  int run() {
    const uint64_t size = physicalSize(lib_);
    blocks_ = size > lib_->baseOffset ? (size - lib_->baseOffset) / kBlock : 0;
    out_->blocks = blocks_;
    owner_.assign(blocks_, "");
    bits_.assign(blocks_, false);
    own(lib_->baseOffset, 2, "header");
    own(lib_->baseOffset + kMapAt, 1, "map");
    own(rootOffset(lib_), nodeBlocks(lib_), "root node");
    int rc = readMap();
    if (rc < 0) return rc;
    node(rootOffset(lib_), 0, nullptr, nullptr, 0);
    const uint32_t versionSize = load32(lib_->header + offsetof(HeaderBlock, versionSize));
    if (versionSize) chain(load32(lib_->header + offsetof(HeaderBlock, versionFirst)), versionSize, "version area");
    for (uint64_t b = 0; b < blocks_; ++b) {
      const bool owned = !owner_[b].empty();
      out_->used += bits_[b];
      if (owned && !bits_[b]) problem("block " + std::to_string(b) + " of " + owner_[b] + " is not marked");
      if (!owned && bits_[b]) problem("block " + std::to_string(b) + " is marked but has no owner");
    }
    out_->free = blocks_ - out_->used;
    lib_->entry = nullptr;
    return 0;
  }

 private:
  void problem(const std::string& text) { out_->problems.push_back(text); }

  void own(uint64_t offset, uint32_t count, const std::string& who) {
    const uint64_t first = (offset - lib_->baseOffset) / kBlock;
    for (uint64_t b = first; b < first + count; ++b) {
      if (b >= blocks_) {
        problem(who + " lies past the end of the file");
        return;
      }
      if (!owner_[b].empty()) problem("block " + std::to_string(b) + " is owned by " + owner_[b] + " and " + who);
      owner_[b] = who;
    }
  }

  int readMap() {
    uint8_t map[kBlock];
    std::copy(lib_->rootMap, lib_->rootMap + kBlock, map);
    for (uint64_t group = 0;; ++group) {
      for (uint32_t p = 0; p < kMapBits && group * kMapBits + p < blocks_; ++p)
        bits_[group * kMapBits + p] = map[kBitsAt + p / 8] & (0x80u >> (p % 8));
      const uint32_t next = mapNext(map);
      if (!next) {
        if ((group + 1) * kMapBits < blocks_) problem("the map chain ends before the file does");
        return 0;
      }
      if (group > blocks_ / kMapBits || badBlockOffset(lib_, next, kBlock)) {
        problem("the map chain leaves the file or loops");
        return 0;
      }
      own(next, 1, "map");
      size_t got = 0;
      int rc = readAt(lib_, next, map, kBlock, &got);
      if (rc < 0) return rc;
    }
  }

  void chain(uint32_t first, uint32_t size, const std::string& who) {
    uint64_t bytes = 0;
    uint8_t block[kBlock];
    uint32_t at = first;
    for (uint64_t steps = 0; at && bytes < size; ++steps) {
      if (badBlockOffset(lib_, at, kBlock) || steps > blocks_) {
        problem(who + ": chain leaves the file at " + std::to_string(at));
        return;
      }
      own(at, 1, who);
      size_t got = 0;
      if (readAt(lib_, at, block, kBlock, &got) < 0 || got < kBlock) return;
      const uint32_t used = blockUsed(block);
      if (used == 0 || used > kPayload) {
        problem(who + ": a block uses " + std::to_string(used) + " bytes");
        return;
      }
      bytes += used;
      at = blockNext(block);
    }
    if (bytes != size || at) problem(who + ": the chain holds " + std::to_string(bytes) + " bytes, the record says " +
                                     std::to_string(size));
  }

  void node(uint32_t offset, uint32_t parent, const std::u16string* low, const std::u16string* high, int depth) {
    if (depth > int(blocks_)) {
      problem("the tree loops");
      return;
    }
    if (offset != rootOffset(lib_)) own(offset, nodeBlocks(lib_), "node " + std::to_string(offset));
    if (loadNode(lib_, offset) < 0) {
      problem("node " + std::to_string(offset) + " cannot be read or its records leave it");
      return;
    }
    ++out_->nodes;
    std::vector<uint8_t> image(lib_->currentNode, lib_->currentNode + lib_->nodeSize);
    const uint8_t* n = image.data();
    if (nodeParent(n) != parent) problem("node " + std::to_string(offset) + " names the wrong parent");
    std::u16string least, greatest;
    const uint8_t* record = n + kNodeHead;
    for (uint32_t i = 0; i < nodeCount(n); ++i, record += recBytes(record)) {
      const std::u16string name = recName(record);
      const std::string shown = platform::toUtf8(name.c_str());
      ++out_->entries;
      if ((low && name <= *low) || (high && name >= *high)) problem("entry " + shown + " is out of the tree's order");
      if (least.empty() || name < least) least = name;
      if (greatest.empty() || name > greatest) greatest = name;
      if (recFirst(record) || recSize(record)) chain(recFirst(record), recSize(record), "entry " + shown);
    }
    const bool any = nodeCount(n) > 0;
    if (const uint32_t left = nodeLeft(n)) node(left, offset, low, any ? &least : high, depth + 1);
    if (const uint32_t right = nodeRight(n)) node(right, offset, any ? &greatest : low, high, depth + 1);
  }

  LMI_LIBRARY* lib_;
  CheckResult* out_;
  uint64_t blocks_ = 0;
  std::vector<std::string> owner_;
  std::vector<bool> bits_;
};

}  // namespace

int checkLibrary(LMI_LIBRARY* lib, CheckResult* out) { return Walk(lib, out).run(); }

}  // namespace zr::library
