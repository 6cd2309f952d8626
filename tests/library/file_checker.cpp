#include "tests/library/file_checker.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace libcheck {
namespace {

uint16_t u16(const std::vector<uint8_t>& f, size_t at) { return uint16_t(f[at] | f[at + 1] << 8); }
uint32_t u32(const std::vector<uint8_t>& f, size_t at) { return u16(f, at) | uint32_t(u16(f, at + 2)) << 16; }

class Checker {
 public:
  explicit Checker(const std::vector<uint8_t>& file, bool allowOrphans) : f_(file), allowOrphans_(allowOrphans) {}

  Report run() {
    if (f_.size() < 2560 || std::memcmp(f_.data(), "HDR*", 4) != 0) return fail("no header");
    static const char16_t product[] = u"Zarvanecraft";
    for (size_t i = 0; i < 13; ++i)
      if (u16(f_, 4 + 2 * i) != product[i]) return fail("product name");
    const char16_t v0 = u16(f_, 32), v1 = u16(f_, 34);
    large_ = v0 == u'0' && v1 >= u'2' && v1 <= u'7';
    nodeSize_ = large_ ? 3072 : 1024;
    blocks_ = uint32_t(f_.size() / 512);
    report_.blocks = blocks_;
    owner_.assign(blocks_, "");
    own(0, 2, "header");
    readMaps();
    own(1536 / 512, nodeSize_ / 512, "root node");
    walkNodes();
    if (uint32_t size = u32(f_, 564)) {
      report_.versionArea = chain(u32(f_, 560), size, "version area");
      if (report_.versionArea.size() < 4 || std::memcmp(report_.versionArea.data(), "SCC*", 4) != 0)
        problem("version area without its mark");
    }
    for (uint32_t b = 0; b < blocks_; ++b) {
      const bool owned = !owner_[b].empty();
      if (owned && !bit(b)) problem("block " + std::to_string(b) + " (" + owner_[b] + ") is not marked");
      if (!owned && bit(b)) {
        if (allowOrphans_) ++report_.orphans;
        else problem("block " + std::to_string(b) + " is marked without owner");
      }
    }
    return report_;
  }

 private:
  Report fail(const std::string& why) {
    problem(why);
    return report_;
  }
  void problem(const std::string& text) { report_.problems.push_back(text); }

  bool bit(uint32_t block) const {
    const uint32_t group = block / 4032, position = block % 4032;
    if (group >= maps_.size()) return false;
    return f_[maps_[group] + 8 + position / 8] & (0x80 >> (position % 8));
  }

  void own(uint32_t first, uint32_t count, const std::string& who) {
    for (uint32_t b = first; b < first + count; ++b) {
      if (b >= blocks_) {
        problem(who + " reaches past the file's end");
        return;
      }
      if (!owner_[b].empty()) problem("block " + std::to_string(b) + " owned by " + owner_[b] + " and " + who);
      owner_[b] = who;
    }
  }

  void readMaps() {
    maps_.push_back(1024);
    if (std::memcmp(&f_[1024], "FRE*", 4) != 0) problem("first map without mark");
    own(2, 1, "map 0");
    for (uint32_t next = u32(f_, 1024 + 4); next; next = u32(f_, next + 4)) {
      if (next % 512 || next + 512 > f_.size() || maps_.size() > blocks_ / 4032 + 1) {
        problem("map chain leaves the file");
        return;
      }
      if (std::memcmp(&f_[next], "FRE*", 4) != 0) problem("map block without mark");
      own(next / 512, 1, "map " + std::to_string(maps_.size()));
      maps_.push_back(next);
    }
    if ((blocks_ + 4031) / 4032 > maps_.size()) problem("the map chain does not cover the file");
  }

  std::vector<uint8_t> chain(uint32_t first, uint32_t size, const std::string& who) {
    std::vector<uint8_t> bytes;
    uint32_t at = first;
    while (at && bytes.size() < size) {
      if (at % 512 || at < 1536u + nodeSize_ || at + 512 > f_.size()) {
        problem(who + ": chain block offset " + std::to_string(at));
        return bytes;
      }
      own(at / 512, 1, who);
      if (std::memcmp(&f_[at], "DAT*", 4) != 0) problem(who + ": block without DAT* mark");
      const uint16_t used = u16(f_, at + 8);
      const uint32_t next = u32(f_, at + 4);
      if (used == 0 || used > 502) {
        problem(who + ": used count " + std::to_string(used));
        return bytes;
      }
      if (next && used != 502) problem(who + ": a block inside the chain is not full");
      for (uint32_t i = 10u + used; i < 512; ++i)
        if (f_[at + i]) {
          problem(who + ": payload tail not zero");
          break;
        }
      bytes.insert(bytes.end(), f_.begin() + at + 10, f_.begin() + at + 10 + used);
      at = next;
    }
    if (bytes.size() != size || at) problem(who + ": chain holds " + std::to_string(bytes.size()) + " bytes, record says " +
                                            std::to_string(size));
    return bytes;
  }

  struct Range {
    std::u16string least, greatest;
    bool any = false;
  };

  // Checks one node and its subtree; names must lie strictly between low
  // and high (empty: unbounded).
  Range node(uint32_t at, uint32_t parent, const std::u16string* low, const std::u16string* high, int depth) {
    Range range;
    if (depth > 10000 || at % 512 || at + nodeSize_ > f_.size() || (at != 1536 && at < 1536u + nodeSize_)) {
      problem("node offset " + std::to_string(at));
      return range;
    }
    if (at != 1536) own(at / 512, nodeSize_ / 512, "node " + std::to_string(at));
    ++report_.nodes;
    const std::string who = "node " + std::to_string(at);
    if (std::memcmp(&f_[at], "NOD*", 4) != 0) problem(who + ": no mark");
    if (u32(f_, at + 8) != parent) problem(who + ": parent link");
    const uint16_t count = u16(f_, at + 20);
    uint32_t p = 32;
    uint32_t leastAt = 0, greatestAt = 0;
    for (uint16_t i = 0; i < count; ++i) {
      if (p + 40 > nodeSize_) {
        problem(who + ": records leave the node");
        return range;
      }
      const uint32_t r = at + p;
      const uint16_t nameBytes = u16(f_, r + 34);
      if (std::memcmp(&f_[r], "ENT*", 4) != 0) problem(who + ": record without mark");
      if (nameBytes < 4 || nameBytes % 2 || p + 40 + nameBytes > nodeSize_) {
        problem(who + ": name size");
        return range;
      }
      std::u16string name;
      for (uint32_t k = 0; k + 2 < nameBytes; k += 2) name += char16_t(u16(f_, r + 40 + k));
      if (u16(f_, r + 40 + nameBytes - 2) != 0) problem(who + ": name without terminator");
      for (char16_t c : name)
        if (c >= u'A' && c <= u'Z') problem(who + ": name not in lower case");
      if ((low && name <= *low) || (high && name >= *high)) problem(who + ": name out of the tree's order");
      if (report_.entries.count(name)) problem(who + ": name twice in the tree");
      if (!range.any || name < range.least) range.least = name, leastAt = p + 40;
      if (!range.any || name > range.greatest) range.greatest = name, greatestAt = p + 40;
      range.any = true;
      Entry& e = report_.entries[name];
      e.commentUnits = u16(f_, r + 32);
      e.timeLow = u32(f_, r + 24);
      const uint32_t size = u32(f_, r + 16);
      if (u32(f_, r + 12) || size) e.chain = chain(u32(f_, r + 12), size, "entry");
      if (2u * e.commentUnits > size) problem(who + ": comment longer than the chain");
      p += 40 + nameBytes;
    }
    if (u16(f_, at + 16) != nodeSize_ - 32 - (p - 32)) problem(who + ": free bytes");
    if (u16(f_, at + 22) != leastAt || u16(f_, at + 18) != greatestAt) problem(who + ": least or greatest offset");
    for (uint32_t i = p; i < nodeSize_; ++i)
      if (f_[at + i]) {
        problem(who + ": tail not zero");
        break;
      }
    const uint32_t left = u32(f_, at + 4), right = u32(f_, at + 12);
    // Names of the left subtree lie below this node's least, the right's
    // above its greatest; an empty node bounds nothing.
    const std::u16string* leftHigh = range.any ? &range.least : high;
    const std::u16string* rightLow = range.any ? &range.greatest : low;
    if (left) node(left, at, low, leftHigh, depth + 1);
    if (right) node(right, at, rightLow, high, depth + 1);
    return range;
  }

  void walkNodes() { node(1536, 0, nullptr, nullptr, 0); }

  const std::vector<uint8_t>& f_;
  bool allowOrphans_;
  bool large_ = true;
  uint32_t nodeSize_ = 3072;
  uint32_t blocks_ = 0;
  std::vector<uint32_t> maps_;
  std::vector<std::string> owner_;
  Report report_;
};

}  // namespace

Report check(const std::vector<uint8_t>& file, bool allowOrphans) { return Checker(file, allowOrphans).run(); }

std::vector<uint8_t> readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

std::string join(const std::vector<std::string>& lines) {
  std::ostringstream out;
  for (size_t i = 0; i < lines.size() && i < 20; ++i) out << lines[i] << '\n';
  return out.str();
}

}  // namespace libcheck
