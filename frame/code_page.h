// code_page.h - the process code page, a converter name that follows the
// locale. The converters themselves live with the text operations.
#ifndef ZR_FRAME_CODE_PAGE_H
#define ZR_FRAME_CODE_PAGE_H

#include <cstdint>
#include <string>

namespace zr::frame {

struct CodePage {
  std::string name;     // a converter name, "windows-1252" by default
  uint64_t generation;  // rises with every change, so cached converters notice
};

CodePage processCodePage();
void setProcessCodePage(const std::string& name);
// The code page a locale name implies: its part after the dot ("932",
// "UTF-8"), or the default when there is none.
std::string codePageOfLocale(const std::string& locale);

}  // namespace zr::frame

#endif
