// The shared library exports exactly what its public headers declare: every
// ZRAPI function and datum resolves, and nothing else is visible except the
// members of classes declared ZR_EXPORT_CLASS.
#include <cxxabi.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
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

struct Declared {
  std::set<std::string> names;    // functions and data, C names
  std::set<std::string> classes;  // exported whole, members by C++ names
};

Declared declared() {
  Declared d;
  const std::regex name(R"(\bZRAPI\b[^(;]*?(\w+)\s*[(;])");
  const std::regex exportedClass(R"(\b(?:class|struct)\s+ZR_EXPORT_CLASS\s+(\w+))");
  for (const auto& entry : std::filesystem::directory_iterator(ZR_INCLUDE_DIR)) {
    std::string code = codeOf(entry.path());
    for (std::sregex_iterator m(code.begin(), code.end(), name), end; m != end; ++m) d.names.insert((*m)[1]);
    for (std::sregex_iterator m(code.begin(), code.end(), exportedClass), end; m != end; ++m)
      d.classes.insert((*m)[1]);
  }
  return d;
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

// The class a C++ symbol belongs to: "vtable for X", "X::f()", "non-virtual
// thunk to X::f()" all give X.
std::string ownerOf(const std::string& symbol) {
  int status = 0;
  char* text = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
  if (status != 0) return "";
  std::string plain = text;
  std::free(text);
  for (const char* lead : {"vtable for ", "typeinfo name for ", "typeinfo for ", "non-virtual thunk to ",
                           "virtual thunk to ", "VTT for "}) {
    if (plain.rfind(lead, 0) == 0) plain.erase(0, std::strlen(lead));
  }
  return plain.substr(0, plain.find_first_of(":<( "));
}

TEST(Exports, ExactlyWhatTheHeadersDeclare) {
  const Declared d = declared();
  ASSERT_GT(d.names.size(), 300u) << "the headers were not read";
  void* lib = dlopen(ZRSHR_SO, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  for (const std::string& name : d.names) EXPECT_NE(dlsym(lib, name.c_str()), nullptr) << "missing: " << name;
  dlclose(lib);
  // Internal code (namespace zr), standard library templates and helpers
  // without ZRAPI stay hidden.
  // AddressSanitizer marks each exported datum with an "__odr_asan." twin.
  for (std::string name : exportedNames()) {
    if (name.rfind("__odr_asan.", 0) == 0) name.erase(0, std::strlen("__odr_asan."));
    bool known = d.names.count(name) || (name.rfind("_Z", 0) == 0 && d.classes.count(ownerOf(name)));
    EXPECT_TRUE(known) << "exported: " << name;
  }
}

}  // namespace
