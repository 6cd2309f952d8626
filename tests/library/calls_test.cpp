// The calls' checks in their documented order, and damaged files answered
// with -18 instead of wild reads.
#include <cstring>

#include "platform/dialog.h"
#include "tests/library/library_fixture.h"

namespace {

class Calls : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ASSERT_EQ(create("c.zrl"), 0);
  }
};

TEST_F(Calls, OpenAndCreateRefuseBadArguments) {
  Name p(pathOf("c.zrl")), missing(pathOf("none.zrl"));
  EXPECT_EQ(LMI_OpenLibrary(nullptr, p, 1, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, nullptr, 1, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, p, 0, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, p, 4, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, p, 1, 511), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(h->pool, missing, 1, 0), nullptr);
  LMI_LIBRARY* lib = LMI_OpenLibrary(h->pool, p, 1, 100000);
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(lib->bufferSize, 64000);
  EXPECT_EQ(lib->bufferBlocks, 125);
  EXPECT_EQ(LMI_CloseLibrary(lib), 0);
  EXPECT_EQ(LMI_CloseLibrary(nullptr), LMI_ERR_HANDLE);
  EXPECT_EQ(LMI_CreateLibrary(h->pool, nullptr, nullptr), LMI_ERR_NAME);
  EXPECT_EQ(LMI_CreateLibrary(nullptr, p, nullptr), LMI_ERR_POOL);
}

TEST_F(Calls, EntryCallsCheckInOrder) {
  LMI_LIBRARY* lib = open("c.zrl");
  ASSERT_NE(lib, nullptr);
  Name a("a"), b("b");
  uint8_t buf[4] = {1, 2, 3, 4};
  EXPECT_EQ(LMI_OpenEntry(nullptr, a, 1, nullptr), LMI_ERR_HANDLE);
  EXPECT_EQ(LMI_OpenEntry(lib, nullptr, 1, nullptr), LMI_ERR_NAME);
  EXPECT_EQ(LMI_OpenEntry(lib, a, 2, nullptr), LMI_ERR_MODE);
  EXPECT_EQ(LMI_OpenEntry(lib, a, 1, nullptr), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(LMI_CloseEntry(lib), LMI_ERR_NOT_OPEN);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 4), LMI_ERR_NOT_READ);
  EXPECT_EQ(LMI_WriteEntry(lib, buf, 4), LMI_ERR_NOT_WRITE);

  ASSERT_EQ(LMI_OpenEntry(lib, a, 3, nullptr), 0);
  EXPECT_EQ(LMI_OpenEntry(lib, b, 3, nullptr), LMI_ERR_ENTRY_OPEN);
  EXPECT_EQ(LMI_WriteEntry(nullptr, buf, 4), LMI_ERR_HANDLE);
  EXPECT_EQ(LMI_WriteEntry(lib, nullptr, 4), LMI_ERR_BUFFER);
  EXPECT_EQ(LMI_WriteEntry(lib, buf, 0), LMI_ERR_SIZE);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 4), LMI_ERR_NOT_READ);
  EXPECT_EQ(LMI_WriteEntry(lib, buf, 4), 4);
  LMI_ENTRY_INFO info{};
  EXPECT_EQ(LMI_EntryInformation(lib, a, nullptr), LMI_ERR_INFO);
  EXPECT_EQ(LMI_EntryInformation(lib, b, &info), LMI_ERR_ENTRY_OPEN);
  EXPECT_EQ(LMI_EntryInformation(lib, a, &info), 0);
  EXPECT_EQ(info.size, 4u);
  EXPECT_EQ(LMI_DeleteEntry(lib, b), LMI_ERR_ENTRY_OPEN);
  EXPECT_EQ(LMI_CloseEntry(lib), 0);

  EXPECT_EQ(LMI_EntryExists(lib, a), 0);
  EXPECT_EQ(LMI_EntryExists(lib, b), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(LMI_EntryInformation(lib, b, &info), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(LMI_DeleteEntry(lib, b), LMI_ERR_NOT_FOUND);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 4), LMI_ERR_NOT_READ);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  lib = open("c.zrl", LMI_LIBRARY_READ);
  EXPECT_EQ(LMI_OpenEntry(lib, a, 3, nullptr), LMI_ERR_NOT_WRITE);
  EXPECT_EQ(LMI_DeleteEntry(lib, a), LMI_ERR_NOT_WRITE);
  std::vector<uint8_t> exact(4);
  ASSERT_EQ(LMI_OpenEntry(lib, a, 1, nullptr), 0);
  EXPECT_EQ(LMI_ReadEntry(lib, exact.data(), 4), 4);
  EXPECT_EQ(LMI_ReadEntry(lib, exact.data(), 4), 0);
  EXPECT_EQ(exact, std::vector<uint8_t>(buf, buf + 4));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0) << "closing the library closes the entry";

  lib = open("c.zrl", LMI_LIBRARY_WRITE);
  EXPECT_EQ(LMI_OpenEntry(lib, a, 1, nullptr), LMI_ERR_NOT_READ);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
}

TEST_F(Calls, ANewRecordIsOnDiskAtOnce) {
  LMI_LIBRARY* lib = open("c.zrl");
  Name n("Fresh");
  ASSERT_EQ(LMI_OpenEntry(lib, n, 3, nullptr), 0);
  uint8_t byte = 7;
  ASSERT_EQ(LMI_WriteEntry(lib, &byte, 1), 1);
  const libcheck::Report r = libcheck::check(bytes("c.zrl"));
  ASSERT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  ASSERT_EQ(r.entries.count(u"fresh"), 1u);
  EXPECT_TRUE(r.entries.at(u"fresh").chain.empty());
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
}

TEST_F(Calls, MoveChecksItsArgumentsAndCrossesLibraries) {
  ASSERT_EQ(create("d.zrl"), 0);
  LMI_LIBRARY* lib = open("c.zrl");
  put(lib, "e", pattern(3000, 9), u"kept");
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  Name c(pathOf("c.zrl")), d(pathOf("d.zrl")), e("e"), f("f");
  EXPECT_EQ(LMI_MoveEntry(h->pool, nullptr, f, c, nullptr), LMI_ERR_NAME);
  EXPECT_EQ(LMI_MoveEntry(h->pool, e, nullptr, c, nullptr), LMI_ERR_NAME);
  EXPECT_EQ(LMI_MoveEntry(nullptr, e, f, c, nullptr), LMI_ERR_POOL);
  EXPECT_EQ(LMI_MoveEntry(h->pool, e, f, c, c), LMI_ERR_NAME);
  EXPECT_EQ(LMI_MoveEntry(h->pool, f, nullptr, c, d), LMI_ERR_NOT_FOUND);
  ASSERT_EQ(LMI_MoveEntry(h->pool, e, nullptr, c, d), 0);
  lib = open("c.zrl");
  EXPECT_EQ(LMI_EntryExists(lib, e), LMI_ERR_NOT_FOUND);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  lib = open("d.zrl");
  EXPECT_EQ(get(lib, "e"), pattern(3000, 9));
  EXPECT_EQ(std::u16string(lib->comment), u"kept");
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  expectSound("c.zrl");
  expectSound("d.zrl");
}

void patchFile(const std::string& path, size_t at, const std::vector<uint8_t>& with) {
  std::vector<uint8_t> f = libcheck::readWholeFile(path);
  std::memcpy(&f[at], with.data(), with.size());
  FILE* w = fopen(path.c_str(), "wb");
  fwrite(f.data(), 1, f.size(), w);
  fclose(w);
}

TEST_F(Calls, DamagedFilesGiveDamageCodes) {
  LMI_LIBRARY* lib = open("c.zrl");
  put(lib, "m", pattern(2000, 1));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  const std::string path = pathOf("c.zrl");
  const size_t record = 1536 + 32;
  Name m("m"), a("a"), z("z");
  uint8_t buf[600];

  // The chain's second block points below the first data offset.
  patchFile(path, 4608 + 4, {0, 2, 0, 0});
  lib = open("c.zrl", LMI_LIBRARY_READ);
  ASSERT_EQ(LMI_OpenEntry(lib, m, 1, nullptr), 0);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 502), 502);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 10), LMI_ERR_DAMAGED);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  // A chain that loops on itself still yields no more than the record says.
  patchFile(path, 4608 + 4, {0, 0x12, 0, 0});
  lib = open("c.zrl", LMI_LIBRARY_READ);
  ASSERT_EQ(LMI_OpenEntry(lib, m, 1, nullptr), 0);
  int64_t total = 0;
  for (int32_t got; (got = LMI_ReadEntry(lib, buf, sizeof buf)) > 0;) total += got;
  EXPECT_EQ(total, 2000);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  // A used count past the payload.
  patchFile(path, 4608 + 8, {0xF7, 1});
  lib = open("c.zrl", LMI_LIBRARY_READ);
  ASSERT_EQ(LMI_OpenEntry(lib, m, 1, nullptr), 0);
  EXPECT_EQ(LMI_ReadEntry(lib, buf, 10), LMI_ERR_DAMAGED);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  // Children off a block boundary, or past the end of the file.
  patchFile(path, 1536 + 4, {1, 0x20, 0, 0});
  patchFile(path, 1536 + 12, {0, 0, 0, 0x40});
  lib = open("c.zrl", LMI_LIBRARY_READ);
  EXPECT_EQ(LMI_EntryExists(lib, a), LMI_ERR_DAMAGED);
  EXPECT_EQ(LMI_EntryExists(lib, z), LMI_ERR_DAMAGED);
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);

  // A name size that leaves the node makes the root unusable.
  patchFile(path, record + 34, {0xFF, 0x7F});
  EXPECT_EQ(open("c.zrl", LMI_LIBRARY_READ), nullptr);
}

struct Asked {
  static inline std::vector<std::u16string> texts;
  static inline unsigned style = 0;
  static int answer(void*, const char16_t* text, const char16_t* caption, unsigned s) {
    texts.push_back(std::u16string(caption) + u": " + text);
    style = s;
    return zr::platform::defaultMessageBoxAnswer(s);
  }
};

TEST_F(Calls, DiskErrorsAskOnceAndCancelByDefault) {
  // A read-only descriptor makes every write fail.
  auto previous = zr::platform::setMessageBoxHandler(Asked::answer);
  LMI_LIBRARY* lib = open("c.zrl", LMI_LIBRARY_READ);
  lib->openMode = LMI_LIBRARY_READWRITE;
  Name n("n");
  EXPECT_EQ(LMI_OpenEntry(lib, n, 3, nullptr), LMI_ERR_FILE);
  lib->openMode = LMI_LIBRARY_READ;
  EXPECT_EQ(LMI_CloseLibrary(lib), 0);
  zr::platform::setMessageBoxHandler(previous);
  ASSERT_EQ(Asked::texts.size(), 1u);
  EXPECT_EQ(Asked::texts[0], u"Library Manager: Fatal disk error. Retry?");
  EXPECT_EQ(Asked::style, 0x115u);
}

}  // namespace
