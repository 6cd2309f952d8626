// Section "intl" of an ini file: the settings store until the library's
// registry layer serves it.
#include <fstream>
#include <string>

#include "platform/system.h"
#include "platform/utf8.h"
#include "text/wide_chars.h"
#include "values/intl_source.h"

namespace zr::intl {
namespace {

std::u16string upper(std::u16string s) {
  for (char16_t& c : s) c = text::asciiUpper(c);
  return s;
}

std::string trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r\n");
  if (b == std::string::npos) return {};
  size_t e = s.find_last_not_of(" \t\r\n");
  return s.substr(b, e - b + 1);
}

}  // namespace

void KeyTable::set(const std::u16string& key, const std::u16string& value) { values_[upper(key)] = value; }

bool KeyTable::lookup(const std::u16string& key, std::u16string& value) const {
  auto it = values_.find(upper(key));
  if (it == values_.end()) return false;
  value = it->second;
  return true;
}

std::unique_ptr<KeyTable> readProfileText(std::istream& in) {
  auto table = std::make_unique<KeyTable>();
  std::string line;
  bool inIntl = false;
  bool first = true;
  while (std::getline(in, line)) {
    if (first && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);
    first = false;
    line = trim(line);
    if (line.empty() || line[0] == ';' || line[0] == '#') continue;
    if (line[0] == '[') {
      size_t close = line.find(']');
      inIntl = close != std::string::npos && upper(platform::fromUtf8(line.substr(1, close - 1).c_str())) == u"INTL";
      continue;
    }
    size_t eq = line.find('=');
    if (!inIntl || eq == std::string::npos) continue;
    std::string key = trim(line.substr(0, eq));
    if (key.empty()) continue;
    table->set(platform::fromUtf8(key.c_str()), platform::fromUtf8(trim(line.substr(eq + 1)).c_str()));
  }
  return table;
}

std::unique_ptr<KeyTable> readProfileSource() {
  const char* path = platform::environmentValue("ZR_INTL_PROFILE");
  if (!path || !*path) return std::make_unique<KeyTable>();
  std::ifstream in(path);
  return readProfileText(in);
}

}  // namespace zr::intl
