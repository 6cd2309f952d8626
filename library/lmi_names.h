// lmi_names.h - names as the library calls take them.
#ifndef ZR_LIBRARY_LMI_NAMES_H
#define ZR_LIBRARY_LMI_NAMES_H

#include <string>

namespace zr::library {

// Entry names are kept in lower case; only ASCII letters fold.
inline void foldAscii(char16_t* text) {
  for (; *text; ++text) {
    if (*text >= u'A' && *text <= u'Z') *text = char16_t(*text + 32);
  }
}

// The file a library path names. Paths are opened as given for now: case-
// blind matching of folded names arrives with path objects.
inline std::u16string resolvePath(const char16_t* path) { return std::u16string(path); }

}  // namespace zr::library

#endif
