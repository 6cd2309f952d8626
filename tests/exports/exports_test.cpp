// The shared library exports exactly the functions its public headers declare
// with ZRAPI: each one resolves, and nothing else is visible.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace {

// The header's declarations without comments and preprocessor lines.
std::string codeOf(const std::filesystem::path& header) {
  std::ifstream in(header);
  std::string code, line;
  bool inComment = false;
  while (std::getline(in, line)) {
    for (size_t i = 0; i < line.size(); ++i) {
      if (inComment) {
        if (line.compare(i, 2, "*/") == 0) inComment = false, ++i;
      } else if (line.compare(i, 2, "/*") == 0) {
        inComment = true, ++i;
      } else if (line.compare(i, 2, "//") == 0 || (i == 0 && line[0] == '#')) {
        break;
      } else {
        code += line[i];
      }
    }
    code += '\n';
  }
  return code;
}

std::set<std::string> declaredNames() {
  std::set<std::string> names;
  const std::regex declaration(R"(\bZRAPI\b[^(;]*?(\w+)\s*\()");
  for (const auto& entry : std::filesystem::directory_iterator(ZR_INCLUDE_DIR)) {
    std::string code = codeOf(entry.path());
    for (std::sregex_iterator m(code.begin(), code.end(), declaration), end; m != end; ++m) names.insert((*m)[1]);
  }
  return names;
}

std::set<std::string> exportedNames() {
  std::set<std::string> names;
  FILE* nm = popen((std::string("nm -D --defined-only ") + ZRSHR_SO).c_str(), "r");
  if (!nm) return names;
  char line[1024];
  while (std::fgets(line, sizeof line, nm)) {
    std::string name = line;
    name = name.substr(name.find_last_of(' ') + 1);
    name.pop_back();
    names.insert(name);
  }
  pclose(nm);
  return names;
}

TEST(Exports, ExactlyTheDeclaredFunctions) {
  const std::set<std::string> declared = declaredNames();
  ASSERT_GT(declared.size(), 300u) << "the headers were not read";
  void* lib = dlopen(ZRSHR_SO, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  for (const std::string& name : declared) EXPECT_NE(dlsym(lib, name.c_str()), nullptr) << name;
  dlclose(lib);
  // Internal code (namespace zr), standard library templates and helpers
  // without ZRAPI stay hidden.
  for (const std::string& name : exportedNames()) EXPECT_TRUE(declared.count(name)) << "exported: " << name;
}

}  // namespace
