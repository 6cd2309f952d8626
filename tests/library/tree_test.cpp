// The directory tree: growth in every insertion order, room made inside
// full nodes, the delete cases, the documented loss of a side, and a random
// workload checked against a model and the independent reader.
#include <algorithm>
#include <map>
#include <random>

#include "library/lib_engine.h"
#include "tests/library/library_fixture.h"

namespace {

namespace engine = zr::library;

class Tree : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    engine::setSyncEnabled(false);
    ASSERT_EQ(create("t.zrl"), 0);
  }
  void TearDown() override {
    engine::setSyncEnabled(true);
    LibraryTest::TearDown();
  }

  libcheck::Report sound() {
    libcheck::Report r = libcheck::check(bytes("t.zrl"));
    EXPECT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
    return r;
  }
};

std::string numbered(const char* prefix, int i) {
  char text[32];
  snprintf(text, sizeof text, "%s%03d", prefix, i);
  return text;
}

TEST_F(Tree, EveryInsertionOrderKeepsTheTreeSearchable) {
  std::vector<std::string> names;
  for (int i = 0; i < 400; ++i) names.push_back(numbered("name", i));
  std::vector<std::vector<std::string>> orders = {names, {names.rbegin(), names.rend()}, names};
  std::shuffle(orders[2].begin(), orders[2].end(), std::mt19937(7));
  for (const auto& order : orders) {
    std::filesystem::remove(pathOf("t.zrl"));
    ASSERT_EQ(create("t.zrl"), 0);
    LMI_LIBRARY* lib = open("t.zrl");
    for (size_t i = 0; i < order.size(); ++i) put(lib, order[i], pattern(i % 700, uint32_t(i)));
    for (const std::string& name : names) {
      Name n(name);
      ASSERT_EQ(LMI_EntryExists(lib, n), 0) << name;
    }
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    const libcheck::Report r = sound();
    EXPECT_EQ(r.entries.size(), names.size());
    EXPECT_GT(r.nodes, 5u);
  }
}

TEST_F(Tree, FullNodesMakeRoomForNamesInsideTheirRange) {
  LMI_LIBRARY* lib = open("t.zrl");
  // Every second name first, so that the rest falls inside full nodes.
  for (int i = 0; i < 600; i += 2) put(lib, numbered("k", i), {});
  for (int i = 1; i < 600; i += 2) put(lib, numbered("k", i), {1});
  for (int i = 0; i < 600; ++i) {
    Name n(numbered("k", i));
    ASSERT_EQ(LMI_EntryExists(lib, n), 0) << i;
  }
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  EXPECT_EQ(sound().entries.size(), 600u);
}

// Offsets of the root's links and a node's record count, read from the file.
uint32_t link(const std::vector<uint8_t>& f, uint32_t node, int field) {
  const size_t at = node + size_t(field);
  return f[at] | f[at + 1] << 8 | f[at + 2] << 16 | uint32_t(f[at + 3]) << 24;
}
constexpr int kLeft = 4, kRight = 12;

// Names of four characters make 50-byte records: 60 fill a node.
void fillWith(LMI_LIBRARY* lib, char letter, int count) {
  const char prefix[2] = {letter, 0};
  for (int i = 0; i < count; ++i) LibraryTest::put(lib, numbered(prefix, i), {uint8_t(i)});
}

TEST_F(Tree, DeletingReleasesEmptyNodesAndKeepsTheRoot) {
  LMI_LIBRARY* lib = open("t.zrl");
  fillWith(lib, 'm', 60);
  fillWith(lib, 'z', 1);  // a right leaf
  fillWith(lib, 'a', 1);  // a left leaf
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  std::vector<uint8_t> f = bytes("t.zrl");
  const uint32_t right = link(f, 1536, kRight), left = link(f, 1536, kLeft);
  ASSERT_NE(right, 0u);
  ASSERT_NE(left, 0u);

  lib = open("t.zrl");
  Name z("z000");
  ASSERT_EQ(LMI_DeleteEntry(lib, z), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  f = bytes("t.zrl");
  EXPECT_EQ(link(f, 1536, kRight), 0u) << "a non-root leaf goes when emptied";
  sound();

  // The root's records go; with one child left, that child moves into it.
  lib = open("t.zrl");
  for (int i = 0; i < 60; ++i) {
    Name n(numbered("m", i));
    ASSERT_EQ(LMI_DeleteEntry(lib, n), 0);
  }
  Name a("a000");
  EXPECT_EQ(LMI_EntryExists(lib, a), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  libcheck::Report r = sound();
  EXPECT_EQ(r.nodes, 1u);
  EXPECT_EQ(r.entries.count(u"a000"), 1u);

  lib = open("t.zrl");
  ASSERT_EQ(LMI_DeleteEntry(lib, a), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  f = bytes("t.zrl");
  EXPECT_EQ(f.size(), 4608u) << "an empty tree is an empty root";
  EXPECT_EQ(f[1536 + 16] | f[1536 + 17] << 8, 3040);
  sound();
}

TEST_F(Tree, AnEmptiedRootWithTwoChildrenTakesTheRightmostOfItsLeft) {
  LMI_LIBRARY* lib = open("t.zrl");
  fillWith(lib, 'm', 60);
  fillWith(lib, 'z', 3);
  fillWith(lib, 'c', 60);  // fills the left child
  fillWith(lib, 'e', 2);   // right of the left child
  for (int i = 0; i < 60; ++i) {
    Name n(numbered("m", i));
    ASSERT_EQ(LMI_DeleteEntry(lib, n), 0);
  }
  for (const char* name : {"c000", "c059", "e000", "e001", "z002"}) {
    Name n(name);
    EXPECT_EQ(LMI_EntryExists(lib, n), 0) << name;
  }
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  const libcheck::Report r = sound();
  EXPECT_EQ(r.entries.size(), 65u);
  EXPECT_EQ(r.nodes, 3u);
}

TEST_F(Tree, AnEmptiedRightChildWithTwoChildrenLosesItsParentsLeftSide) {
  LMI_LIBRARY* lib = open("t.zrl");
  fillWith(lib, 'm', 60);  // the root, full
  fillWith(lib, 't', 60);  // its right child N, full
  fillWith(lib, 'z', 2);   // N's right child
  fillWith(lib, 'p', 2);   // N's left child
  fillWith(lib, 'a', 2);   // the root's left child
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  std::vector<uint8_t> f = bytes("t.zrl");
  const uint32_t n = link(f, 1536, kRight), nLeft = link(f, n, kLeft);
  ASSERT_NE(link(f, n, kRight), 0u);
  ASSERT_NE(nLeft, 0u);
  ASSERT_NE(link(f, 1536, kLeft), 0u);

  lib = open("t.zrl");
  for (int i = 0; i < 60; ++i) {
    Name name(numbered("t", i));
    ASSERT_EQ(LMI_DeleteEntry(lib, name), 0);
  }
  // N's left child takes N's place, but in the root's left link: the old
  // left subtree is gone, and nothing hangs on the right any more.
  f = bytes("t.zrl");
  EXPECT_EQ(link(f, 1536, kLeft), nLeft);
  EXPECT_EQ(link(f, 1536, kRight), 0u);
  for (const char* gone : {"a000", "p000", "z000"}) {
    Name name(gone);
    EXPECT_EQ(LMI_EntryExists(lib, name), LMI_ERR_NOT_FOUND) << gone;
  }
  Name kept("m010");
  EXPECT_EQ(LMI_EntryExists(lib, kept), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  // The lost node's blocks stay marked without an owner.
  const libcheck::Report r = libcheck::check(bytes("t.zrl"), true);
  EXPECT_GT(r.orphans, 0u);
}

// True when deleting `name` would meet the documented loss of a side: the
// last record of a right child with two children.
bool deleteLosesASide(LMI_LIBRARY* lib, const char16_t* name) {
  bool risky = false;
  if (engine::search(lib, name) == engine::kFound) {
    const uint8_t* node = lib->currentNode;
    const uint32_t self = engine::currentNodeOffset(lib);
    risky = engine::nodeCount(node) == 1 && engine::nodeLeft(node) && engine::nodeRight(node) &&
            self != engine::rootOffset(lib);
    if (risky && engine::loadNode(lib, engine::nodeParent(node)) == 0)
      risky = engine::nodeRight(lib->currentNode) == self;
  }
  lib->entry = nullptr;
  return risky;
}

struct Stored {
  std::u16string comment;
  std::vector<uint8_t> data;
  std::vector<uint8_t> chain() const {
    std::vector<uint8_t> c;
    for (char16_t u : comment) c.push_back(uint8_t(u)), c.push_back(uint8_t(u >> 8));
    c.insert(c.end(), data.begin(), data.end());
    return c;
  }
};

TEST_F(Tree, RandomWorkloadMatchesAModel) {
  std::mt19937 rng(20261125);
  auto pick = [&](int n) { return int(rng() % uint32_t(n)); };
  std::vector<std::string> pool;
  for (int i = 0; i < 700; ++i) {
    std::string name;
    for (int k = 0, len = 1 + pick(14); k < len; ++k) name += char((pick(5) ? 'a' : 'A') + pick(26));
    pool.push_back(name);
  }
  auto lower = [](std::string s) {
    for (char& c : s) c = char(std::tolower(c));
    return s;
  };
  const int buffers[] = {512, 1000, 0, 64000};
  std::map<std::string, Stored> model;
  LMI_LIBRARY* lib = open("t.zrl");
  auto verifyAll = [&](const char* when) {
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    const libcheck::Report r = sound();
    ASSERT_EQ(r.entries.size(), model.size()) << when;
    for (const auto& [name, stored] : model) {
      auto it = r.entries.find(u16of(name));
      ASSERT_NE(it, r.entries.end()) << name;
      ASSERT_EQ(it->second.chain, stored.chain()) << name;
      ASSERT_EQ(it->second.commentUnits, stored.comment.size()) << name;
    }
    lib = open("t.zrl", LMI_LIBRARY_READWRITE, buffers[pick(4)]);
    ASSERT_NE(lib, nullptr);
  };
  int changes = 0;
  for (int op = 0; changes < 5200; ++op) {
    const std::string& raw = pool[size_t(pick(int(pool.size())))];
    const std::string name = lower(raw);
    const int kind = pick(100);
    if (kind < 50) {
      const size_t size = pick(10) ? size_t(pick(2500)) : size_t(pick(40000));
      Stored next{model.count(name) ? model[name].comment : u"", pattern(size, uint32_t(op))};
      std::u16string comment;
      const char16_t* given = nullptr;
      if (pick(3) == 0) {
        comment = u16of(numbered("note", pick(1000)));
        given = comment.c_str();
        next.comment = comment;
      } else if (pick(2)) {
        given = u"";
      }
      put(lib, raw, next.data, given, pick(2) ? 0 : size_t(1 + pick(900)));
      model[name] = next;
      ++changes;
    } else if (kind < 75 && !model.empty()) {
      auto it = model.begin();
      std::advance(it, pick(int(model.size())));
      Name n(it->first);
      if (deleteLosesASide(lib, n)) continue;
      ASSERT_EQ(LMI_DeleteEntry(lib, n), 0) << it->first;
      model.erase(it);
      ++changes;
    } else if (kind < 85 && !model.empty()) {
      auto it = model.begin();
      std::advance(it, pick(int(model.size())));
      const std::string from = it->first;
      if (deleteLosesASide(lib, Name(from))) continue;
      ASSERT_EQ(LMI_CloseLibrary(lib), 0);
      Name p(pathOf("t.zrl")), f(from), t(raw);
      ASSERT_EQ(LMI_MoveEntry(h->pool, f, t, p, nullptr), 0) << from << " -> " << name;
      Stored moved{u"", it->second.chain()};
      model.erase(it);
      model[name] = moved;
      ++changes;
      lib = open("t.zrl", LMI_LIBRARY_READWRITE, buffers[pick(4)]);
      ASSERT_NE(lib, nullptr);
    } else if (!model.empty()) {
      auto it = model.begin();
      std::advance(it, pick(int(model.size())));
      ASSERT_EQ(get(lib, it->first), it->second.data) << it->first;
      ASSERT_EQ(std::u16string(lib->comment), it->second.comment);
    }
    if (op % 700 == 699) verifyAll("during the run");
  }
  verifyAll("after the run");
  // Drain: whatever would lose a side waits until its subtrees are gone.
  while (!model.empty()) {
    size_t before = model.size();
    for (auto it = model.begin(); it != model.end();) {
      Name n(it->first);
      if (deleteLosesASide(lib, n)) {
        ++it;
        continue;
      }
      ASSERT_EQ(LMI_DeleteEntry(lib, n), 0) << it->first;
      it = model.erase(it);
    }
    ASSERT_LT(model.size(), before);
  }
  verifyAll("after the drain");
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  const libcheck::Report r = sound();
  EXPECT_EQ(r.nodes, 1u);
  EXPECT_TRUE(r.entries.empty());
}

}  // namespace
