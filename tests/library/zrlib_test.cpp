// The command-line tool on libraries another process made: listing,
// extracting, adding, and a check that finds shared and orphaned blocks.
#include <cstdio>
#include <cstring>
#include <fstream>

#include "tests/library/library_fixture.h"

namespace {

struct ToolRun {
  int status;
  std::string out;
};

ToolRun zrlib(const std::string& arguments) {
  FILE* p = popen((std::string(ZRLIB) + " " + arguments + " 2>&1").c_str(), "r");
  ToolRun run{-1, ""};
  char line[512];
  while (fgets(line, sizeof line, p)) run.out += line;
  run.status = pclose(p);
  return run;
}

class Tool : public LibraryTest {};

TEST_F(Tool, ListsExtractsAndAdds) {
  ASSERT_EQ(create("x.zrl"), 0);
  LMI_LIBRARY* lib = open("x.zrl");
  put(lib, "alpha", pattern(1500, 1), u"first");
  put(lib, "beta", pattern(10, 2));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  const std::string x = pathOf("x.zrl");

  ToolRun run = zrlib("list " + x);
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("alpha"), std::string::npos);
  EXPECT_NE(run.out.find("1500"), std::string::npos);
  EXPECT_NE(run.out.find("first"), std::string::npos);

  EXPECT_EQ(zrlib("extract " + x + " --all " + pathOf("out")).status, 0);
  EXPECT_EQ(libcheck::readWholeFile(pathOf("out/alpha")), pattern(1500, 1));
  EXPECT_EQ(libcheck::readWholeFile(pathOf("out/beta")), pattern(10, 2));

  std::ofstream(pathOf("gamma.txt")) << "some text";
  EXPECT_EQ(zrlib("add " + x + " " + pathOf("gamma.txt") + " --comment note").status, 0);
  EXPECT_EQ(zrlib("rename " + x + " beta delta").status, 0);
  EXPECT_EQ(zrlib("delete " + x + " alpha").status, 0);
  EXPECT_NE(zrlib("delete " + x + " nothing").status, 0);
  lib = open("x.zrl");
  const std::vector<uint8_t> text = get(lib, "gamma.txt");
  EXPECT_EQ(std::string(text.begin(), text.end()), "some text");
  EXPECT_EQ(std::u16string(lib->comment), u"note");
  EXPECT_EQ(get(lib, "delta"), pattern(10, 2));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  run = zrlib("check " + x);
  EXPECT_EQ(run.status, 0) << run.out;
  expectSound("x.zrl");

  EXPECT_EQ(zrlib("info --help").status, 0);
  EXPECT_NE(zrlib("list " + pathOf("missing.zrl")).status, 0);
  EXPECT_NE(zrlib("frobnicate").status, 0);
}

TEST_F(Tool, CheckReportsSharedAndOrphanedBlocks) {
  ASSERT_EQ(create("y.zrl"), 0);
  LMI_LIBRARY* lib = open("y.zrl");
  put(lib, "a", pattern(100, 1));
  put(lib, "b", pattern(100, 2));
  ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  // b's record takes a's chain: a's block is owned twice, b's has no owner.
  std::vector<uint8_t> f = bytes("y.zrl");
  const size_t second = 1536 + 32 + 44;
  std::memcpy(&f[second + 12], &f[1536 + 32 + 12], 4);
  std::ofstream(pathOf("y.zrl"), std::ios::binary).write(reinterpret_cast<const char*>(f.data()), std::streamsize(f.size()));
  const ToolRun run = zrlib("check " + pathOf("y.zrl"));
  EXPECT_NE(run.status, 0);
  EXPECT_NE(run.out.find("owned by"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("no owner"), std::string::npos) << run.out;
}

}  // namespace
