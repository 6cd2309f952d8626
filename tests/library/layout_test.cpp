// The bytes of written files, against images built by hand from the
// published layout: a new library, records and chains, block allocation and
// trimming, the map chain's growth, the version area and the node forms.
#include <cstring>
#include <ctime>

#include "tests/library/library_fixture.h"

namespace {

void put16(std::vector<uint8_t>& f, size_t at, uint16_t v) {
  f[at] = uint8_t(v);
  f[at + 1] = uint8_t(v >> 8);
}
void put32(std::vector<uint8_t>& f, size_t at, uint32_t v) {
  put16(f, at, uint16_t(v));
  put16(f, at + 2, uint16_t(v >> 16));
}
uint32_t get32(const std::vector<uint8_t>& f, size_t at) {
  return f[at] | f[at + 1] << 8 | f[at + 2] << 16 | uint32_t(f[at + 3]) << 24;
}
void putText(std::vector<uint8_t>& f, size_t at, const std::u16string& s) {
  for (size_t i = 0; i < s.size(); ++i) put16(f, at + 2 * i, s[i]);
}

// A new library as the layout tables give it.
std::vector<uint8_t> newLibraryImage(uint32_t created, uint16_t type, const std::u16string& comment) {
  std::vector<uint8_t> f(4608, 0);
  std::memcpy(&f[0], "HDR*", 4);
  putText(f, 4, u"Zarvanecraft");
  putText(f, 32, u"0600");
  put32(f, 40, created);
  put16(f, 44, type);
  putText(f, 46, comment);
  std::memcpy(&f[1024], "FRE*", 4);
  f[1032] = 0xFF;
  f[1033] = 0x80;
  std::memcpy(&f[1536], "NOD*", 4);
  put16(f, 1536 + 16, 3040);
  return f;
}

// Appends a record to the node at `node` as the first writer would.
void addRecord(std::vector<uint8_t>& f, size_t node, size_t at, const std::u16string& name, uint32_t first,
               uint32_t size, uint32_t time, uint16_t commentUnits) {
  const size_t r = node + at;
  std::memcpy(&f[r], "ENT*", 4);
  putText(f, r + 4, u"0600");
  put32(f, r + 12, first);
  put32(f, r + 16, size);
  put32(f, r + 24, time);
  put16(f, r + 32, commentUnits);
  put16(f, r + 34, uint16_t(2 * name.size() + 2));
  putText(f, r + 40, name);
}

void addBlock(std::vector<uint8_t>& f, size_t at, uint32_t next, const std::vector<uint8_t>& payload) {
  if (f.size() < at + 512) f.resize(at + 512, 0);
  std::memcpy(&f[at], "DAT*", 4);
  put32(f, at + 4, next);
  put16(f, at + 8, uint16_t(payload.size()));
  std::memcpy(&f[at + 10], payload.data(), payload.size());
}

class Layout : public LibraryTest {};

TEST_F(Layout, NewLibraryAndItsFirstEntry) {
  const uint32_t before = uint32_t(std::time(nullptr));
  ASSERT_EQ(create("a", u"library note"), 0);
  std::vector<uint8_t> f = bytes("a.zrl");
  ASSERT_EQ(f.size(), 4608u);
  const uint32_t created = get32(f, 40);
  EXPECT_GE(created, before);
  EXPECT_LE(created, before + 5);
  std::vector<uint8_t> want = newLibraryImage(created, 1, u"library note");
  EXPECT_EQ(f, want);

  LMI_LIBRARY* lib = open("a.zrl");
  ASSERT_NE(lib, nullptr);
  put(lib, "Main", {'a', 'b', 'c'}, u"hi");
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  f = bytes("a.zrl");
  ASSERT_EQ(f.size(), 5120u);
  want[1033] = 0xC0;
  const uint32_t time = get32(f, 1536 + 32 + 24);
  EXPECT_GE(time, before);
  addRecord(want, 1536, 32, u"main", 4608, 7, time, 2);
  put16(want, 1536 + 16, 3040 - 50);
  put16(want, 1536 + 18, 72);
  put16(want, 1536 + 20, 1);
  put16(want, 1536 + 22, 72);
  addBlock(want, 4608, 0, {'h', 0, 'i', 0, 'a', 'b', 'c'});
  EXPECT_EQ(f, want);
}

TEST_F(Layout, TypesFollowTheExtension) {
  ASSERT_EQ(create("d.zrd"), 0);
  ASSERT_EQ(create("t.TMP"), 0);
  EXPECT_EQ(bytes("d.zrd")[44], 2);
  EXPECT_EQ(bytes("t.TMP")[44], 3);
  EXPECT_EQ(create("x.txt"), LMI_ERR_NAME);
  EXPECT_EQ(create("d.zrd"), LMI_ERR_EXISTS);
  EXPECT_EQ(create("deep/er/n.zrl"), 0);
  EXPECT_EQ(bytes("deep/er/n.zrl").size(), 4608u);
}

// Times differ between otherwise equal files.
std::vector<uint8_t> withoutTimes(std::vector<uint8_t> f) {
  put32(f, 40, 0);
  for (uint32_t r = 1536 + 32, i = 0; i < uint32_t(f[1536 + 20]); ++i) {
    put32(f, r + 24, 0);
    r += 40 + (f[r + 34] | f[r + 35] << 8);
  }
  return f;
}

TEST_F(Layout, BlockBoundaries) {
  for (const char* leaf : {"x.zrl", "y.zrl", "z.zrl"}) ASSERT_EQ(create(leaf), 0);
  const std::vector<uint8_t> data = pattern(503, 1);
  LMI_LIBRARY* x = open("x.zrl");
  put(x, "e", {data.begin(), data.begin() + 502});
  ASSERT_EQ(LMI_CloseLibrary(x), 0);
  std::vector<uint8_t> f = bytes("x.zrl");
  ASSERT_EQ(f.size(), 5120u);
  EXPECT_EQ(get32(f, 4608 + 4), 0u);
  EXPECT_EQ(f[4608 + 8] | f[4608 + 9] << 8, 502);

  LMI_LIBRARY* y = open("y.zrl");
  put(y, "e", data);
  ASSERT_EQ(LMI_CloseLibrary(y), 0);
  LMI_LIBRARY* z = open("z.zrl");
  put(z, "e", data, nullptr, 502);
  ASSERT_EQ(LMI_CloseLibrary(z), 0);
  f = bytes("y.zrl");
  ASSERT_EQ(f.size(), 5632u);
  EXPECT_EQ(get32(f, 4608 + 4), 5120u);
  EXPECT_EQ(f[5120 + 8], 1);
  EXPECT_EQ(f[5120 + 10], data[502]);
  EXPECT_EQ(withoutTimes(bytes("y.zrl")), withoutTimes(bytes("z.zrl")));
}

TEST_F(Layout, LongChainsAreTheSameAtEveryBufferSize) {
  const std::vector<uint8_t> data = pattern(200000, 3);
  const uint32_t blocks = (200000 + 501) / 502;
  std::vector<uint8_t> first;
  for (int buffer : {512, 0, 64000, 1000}) {
    const std::string leaf = "b" + std::to_string(buffer) + ".zrl";
    ASSERT_EQ(create(leaf), 0);
    LMI_LIBRARY* lib = open(leaf, LMI_LIBRARY_READWRITE, buffer);
    ASSERT_NE(lib, nullptr);
    put(lib, "big", data, nullptr, 777);
    EXPECT_EQ(get(lib, "big"), data);
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    std::vector<uint8_t> f = withoutTimes(bytes(leaf));
    ASSERT_EQ(f.size(), 4608u + blocks * 512);
    for (uint32_t i = 0; i < blocks; ++i) {
      const uint32_t at = 4608 + i * 512;
      ASSERT_EQ(get32(f, at + 4), i + 1 < blocks ? at + 512 : 0u) << i;
    }
    expectSound(leaf);
    if (first.empty()) first = f;
    else EXPECT_EQ(f, first) << buffer;
  }
}

TEST_F(Layout, DeleteTrimsOnlyAtTheEndAndHolesFillFromBelow) {
  ASSERT_EQ(create("h.zrl"), 0);
  LMI_LIBRARY* lib = open("h.zrl");
  put(lib, "a", pattern(100, 1));
  put(lib, "b", pattern(1004, 2));  // blocks 10 and 11
  put(lib, "c", pattern(100, 3));   // block 12
  Name b("b"), c("c");
  ASSERT_EQ(LMI_DeleteEntry(lib, b), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  EXPECT_EQ(bytes("h.zrl").size(), 13u * 512) << "a hole inside the file stays";

  lib = open("h.zrl");
  put(lib, "d", pattern(600, 4));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  std::vector<uint8_t> f = bytes("h.zrl");
  ASSERT_EQ(f.size(), 13u * 512);
  EXPECT_EQ(get32(f, 10 * 512 + 4), 11u * 512) << "the chain takes the hole, lowest block first";
  expectSound("h.zrl");

  lib = open("h.zrl");
  ASSERT_EQ(LMI_DeleteEntry(lib, c), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  EXPECT_EQ(bytes("h.zrl").size(), 12u * 512) << "the end is cut behind the highest block in use";
  expectSound("h.zrl");
}

TEST_F(Layout, RewriteKeepsTheCommentAndRenameDropsIt) {
  ASSERT_EQ(create("r.zrl"), 0);
  LMI_LIBRARY* lib = open("r.zrl");
  put(lib, "w", pattern(10, 1), u"  note ");
  put(lib, "w", pattern(20, 2));
  put(lib, "w", pattern(30, 3), u"");
  Name w("w");
  LMI_ENTRY_INFO info{};
  ASSERT_EQ(LMI_EntryInformation(lib, w, &info), 0);
  EXPECT_EQ(info.size, 30u);
  EXPECT_EQ(std::u16string(info.name), u"w");
  EXPECT_EQ(std::u16string(lib->comment), u"note");
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  libcheck::Report r = libcheck::check(bytes("r.zrl"));
  ASSERT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  EXPECT_EQ(r.entries[u"w"].commentUnits, 4);

  Name p(pathOf("r.zrl")), from("W"), to("V");
  ASSERT_EQ(LMI_MoveEntry(h->pool, from, to, p, nullptr), 0);
  EXPECT_EQ(std::u16string(from.text), u"w") << "names fold in the caller's buffer";
  r = libcheck::check(bytes("r.zrl"));
  ASSERT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  ASSERT_EQ(r.entries.count(u"w"), 0u);
  const libcheck::Entry& v = r.entries[u"v"];
  EXPECT_EQ(v.commentUnits, 0);
  std::vector<uint8_t> chain = {'n', 0, 'o', 0, 't', 0, 'e', 0};
  const std::vector<uint8_t> data = pattern(30, 3);
  chain.insert(chain.end(), data.begin(), data.end());
  EXPECT_EQ(v.chain, chain) << "the comment becomes part of the data";
  lib = open("r.zrl");
  EXPECT_EQ(get(lib, "v"), chain);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
}

TEST_F(Layout, TheBlockPastTheFirstMapGetsANewMapBlock) {
  ASSERT_EQ(create("m.zrl"), 0);
  LMI_LIBRARY* lib = open("m.zrl", LMI_LIBRARY_READWRITE, 64000);
  put(lib, "big", pattern(size_t(4032 - 9) * 502, 5));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  ASSERT_EQ(bytes("m.zrl").size(), 4032u * 512);
  lib = open("m.zrl");
  put(lib, "small", pattern(10, 6));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  const std::vector<uint8_t> f = bytes("m.zrl");
  ASSERT_EQ(f.size(), 4034u * 512) << "one block asked, two added";
  const uint32_t map = 4032 * 512;
  EXPECT_EQ(get32(f, 1024 + 4), map);
  EXPECT_EQ(std::memcmp(&f[map], "FRE*", 4), 0);
  EXPECT_EQ(get32(f, map + 4), 0u);
  EXPECT_EQ(f[map + 8], 0xC0);
  for (size_t i = map + 9; i < map + 512; ++i) ASSERT_EQ(f[i], 0) << i;
  libcheck::Report r = libcheck::check(f);
  ASSERT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  EXPECT_EQ(r.entries[u"small"].chain, pattern(10, 6));

  lib = open("m.zrl");
  Name s("small");
  ASSERT_EQ(LMI_DeleteEntry(lib, s), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  EXPECT_EQ(bytes("m.zrl").size(), 4033u * 512) << "the map block keeps its own bit";
  expectSound("m.zrl");
}

TEST_F(Layout, VersionAreaPairs) {
  ASSERT_EQ(create("v.zrl"), 0);
  Name p(pathOf("v.zrl"));
  char16_t out[64] = u"junk";
  Name a("a");
  EXPECT_EQ(LMI_GetEntryVersion(h->pool, p, a, out), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(out[0], 0);
  for (auto [name, version] : {std::pair{"a", u"1.0"}, {"b", u"2.0"}, {"A", u"1.1"}, {"c", u"3"}}) {
    Name n(name);
    ASSERT_EQ(LMI_SetEntryVersion(h->pool, p, n, version), 0);
  }
  libcheck::Report r = libcheck::check(bytes("v.zrl"));
  ASSERT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  const char16_t raw[] = u"b\0" u"2.0\0" u"a\0" u"1.1\0" u"c\0" u"3\0";
  const std::u16string area(raw, sizeof raw / 2 - 1);
  std::vector<uint8_t> want = {'S', 'C', 'C', '*'};
  for (char16_t c : area) want.push_back(uint8_t(c)), want.push_back(0);
  EXPECT_EQ(r.versionArea, want);
  const std::vector<uint8_t> f = bytes("v.zrl");
  EXPECT_EQ(get32(f, 564), want.size());
  EXPECT_EQ(f.size(), 5120u) << "the old area's block was reused";

  Name upper("A");
  ASSERT_EQ(LMI_GetEntryVersion(h->pool, p, upper, out), 0);
  EXPECT_EQ(std::u16string(out), u"1.1");
  Name missing("zz");
  EXPECT_EQ(LMI_GetEntryVersion(h->pool, p, missing, out), LMI_ERR_NOT_FOUND);

  // An area without its mark is forgotten and the call runs again.
  std::vector<uint8_t> bad = f;
  bad[get32(f, 560) + 10] = 'X';
  FILE* w = fopen(pathOf("v.zrl").c_str(), "wb");
  fwrite(bad.data(), 1, bad.size(), w);
  fclose(w);
  EXPECT_EQ(LMI_GetEntryVersion(h->pool, p, upper, out), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(get32(bytes("v.zrl"), 564), 0u);
}

// A library of the small-node form, as an older writer left it.
std::vector<uint8_t> smallNodeImage(const std::u16string& version) {
  std::vector<uint8_t> f = newLibraryImage(1000, 1, u"");
  f.resize(2560);
  putText(f, 32, version);
  f[1032] = 0xF8;
  f[1033] = 0;
  put16(f, 1536 + 16, 992);
  return f;
}

void writeFile(const std::string& path, const std::vector<uint8_t>& f) {
  FILE* w = fopen(path.c_str(), "wb");
  ASSERT_NE(w, nullptr);
  fwrite(f.data(), 1, f.size(), w);
  fclose(w);
}

TEST_F(Layout, TheVersionsFirstTwoCharactersPickTheNodeSize) {
  for (const char16_t* version : {u"0100", u"0800", u"0899"}) {
    writeFile(pathOf("s.zrl"), smallNodeImage(version));
    LMI_LIBRARY* lib = open("s.zrl");
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(lib->nodeSize, 1024);
    EXPECT_EQ(lib->firstData, 2560);
    put(lib, "k", pattern(5, 1));
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    const std::vector<uint8_t> f = bytes("s.zrl");
    ASSERT_EQ(f.size(), 3072u);
    EXPECT_EQ(get32(f, 1536 + 32 + 12), 2560u);
    EXPECT_EQ(f[1536 + 16] | f[1536 + 17] << 8, 992 - 44);
    expectSound("s.zrl");
  }
  for (const char16_t* version : {u"0301", u"0399", u"0700", u"0200"}) {
    std::vector<uint8_t> f = newLibraryImage(1000, 1, u"");
    putText(f, 32, version);
    writeFile(pathOf("l.zrl"), f);
    LMI_LIBRARY* lib = open("l.zrl");
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(lib->nodeSize, 3072);
    put(lib, "k", pattern(5, 1));
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
    EXPECT_EQ(get32(bytes("l.zrl"), 1536 + 32 + 12), 4608u);
  }
}

TEST_F(Layout, OnlyTheCurrentGenerationOpens) {
  std::vector<uint8_t> f = newLibraryImage(1000, 1, u"");
  std::memcpy(&f[0], "XYZ!", 4);
  writeFile(pathOf("g.zrl"), f);
  Name p(pathOf("g.zrl"));
  LMI_LIBRARY* lib = LMI_OpenLibrary(h->pool, p, LMI_LIBRARY_READ, 0);
  EXPECT_NE(lib, nullptr) << "bytes 0-3 are not looked at";
  if (lib) LMI_CloseLibrary(lib);
  EXPECT_EQ(LMI_GetZRLBinaryType(h->pool, p), -1);

  std::memcpy(&f[0], "HDR*", 4);
  writeFile(pathOf("g.zrl"), f);
  EXPECT_EQ(LMI_GetZRLBinaryType(h->pool, p), 0);
  std::memset(&f[4], 0, 26);
  std::memcpy(&f[4], "Zarvanecraft", 12);
  writeFile(pathOf("g.zrl"), f);
  EXPECT_EQ(LMI_GetZRLBinaryType(h->pool, p), 1);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, p, LMI_LIBRARY_READ, 0), nullptr);
}

}  // namespace
