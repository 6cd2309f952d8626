// library_fixture.h - a storage handle and a scratch folder per test, and
// writable UTF-16 names for the calls that fold them in place.
#ifndef TESTS_LIBRARY_LIBRARY_FIXTURE_H
#define TESTS_LIBRARY_LIBRARY_FIXTURE_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "lmi.h"
#include "tests/library/file_checker.h"
#include "zrstg.h"

inline std::u16string u16of(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// A name buffer the library may fold.
struct Name {
  std::u16string text;
  explicit Name(const std::u16string& t) : text(t) {}
  explicit Name(const std::string& t) : text(u16of(t)) {}
  operator char16_t*() { return text.data(); }
};

class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    h = zrstg_begin(0);
    char dir[] = "/tmp/zrlibtestXXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    folder = dir;
  }
  void TearDown() override {
    std::filesystem::remove_all(folder);
    zrstg_end(h);
  }

  std::string pathOf(const std::string& leaf) const { return folder + "/" + leaf; }

 public:

  int create(const std::string& leaf, const char16_t* comment = nullptr) {
    Name p(pathOf(leaf));
    return LMI_CreateLibrary(h->pool, p, comment);
  }
  LMI_LIBRARY* open(const std::string& leaf, int mode = LMI_LIBRARY_READWRITE, int buffer = 0) {
    Name p(pathOf(leaf));
    return LMI_OpenLibrary(h->pool, p, mode, buffer);
  }
  static void put(LMI_LIBRARY* lib, const std::string& name, const std::vector<uint8_t>& data,
                  const char16_t* comment = nullptr, size_t piece = 0) {
    Name n(name);
    std::u16string c = comment ? comment : u"";
    ASSERT_EQ(LMI_OpenEntry(lib, n, LMI_ENTRY_WRITE, comment ? c.data() : nullptr), 0) << name;
    for (size_t at = 0; at < data.size();) {
      const size_t take = piece ? std::min(piece, data.size() - at) : data.size() - at;
      ASSERT_EQ(LMI_WriteEntry(lib, data.data() + at, int32_t(take)), int32_t(take));
      at += take;
    }
    ASSERT_EQ(LMI_CloseEntry(lib), 0);
  }
  static std::vector<uint8_t> get(LMI_LIBRARY* lib, const std::string& name) {
    Name n(name);
    std::vector<uint8_t> out;
    EXPECT_EQ(LMI_OpenEntry(lib, n, LMI_ENTRY_READ, nullptr), 0) << name;
    uint8_t buf[3000];
    for (int32_t got; (got = LMI_ReadEntry(lib, buf, sizeof buf)) > 0;) out.insert(out.end(), buf, buf + got);
    EXPECT_EQ(LMI_CloseEntry(lib), 0);
    return out;
  }
 protected:
  std::vector<uint8_t> bytes(const std::string& leaf) const { return libcheck::readWholeFile(pathOf(leaf)); }
  void expectSound(const std::string& leaf) const {
    const libcheck::Report r = libcheck::check(bytes(leaf));
    EXPECT_TRUE(r.problems.empty()) << libcheck::join(r.problems);
  }

  zrstg_handle* h = nullptr;
  std::string folder;
};

inline std::vector<uint8_t> pattern(size_t n, uint32_t seed) {
  std::vector<uint8_t> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = uint8_t((i * 131 + seed * 7 + (i >> 8)) & 0xFF);
  return v;
}

#endif
