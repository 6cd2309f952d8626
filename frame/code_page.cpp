#include "frame/code_page.h"

#include <atomic>
#include <mutex>

namespace zr::frame {
namespace {

const char kDefaultCodePage[] = "windows-1252";

std::mutex& codePageLock() {
  static std::mutex lock;
  return lock;
}

std::string& codePageName() {
  static std::string name = kDefaultCodePage;
  return name;
}

std::atomic<uint64_t> g_generation{1};

}  // namespace

CodePage processCodePage() {
  std::lock_guard<std::mutex> guard(codePageLock());
  return {codePageName(), g_generation.load()};
}

void setProcessCodePage(const std::string& name) {
  std::lock_guard<std::mutex> guard(codePageLock());
  codePageName() = name.empty() ? kDefaultCodePage : name;
  g_generation.fetch_add(1);
}

std::string codePageOfLocale(const std::string& locale) {
  size_t dot = locale.find('.');
  if (dot == std::string::npos) return kDefaultCodePage;
  std::string set = locale.substr(dot + 1, locale.find('@', dot) - dot - 1);
  if (set.empty()) return kDefaultCodePage;
  if (set.find_first_not_of("0123456789") != std::string::npos) return set;
  if (set == "65001") return "UTF-8";
  return "windows-" + set;
}

}  // namespace zr::frame
