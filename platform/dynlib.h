// dynlib.h - loading shared libraries and finding their symbols.
#ifndef ZR_PLATFORM_DYNLIB_H
#define ZR_PLATFORM_DYNLIB_H

#include <string>

namespace zr::platform {

// Loads a library by UTF-8 path. A name ending in ".dll" that does not exist
// is mapped to "lib<stem>.so" in the same directory. Null on failure.
void* loadLibrary(const std::string& path);
// A library already loaded into the process, without loading it; null if absent.
void* findLoadedLibrary(const std::string& name);
bool freeLibrary(void* module);
void* findSymbol(void* module, const char* name);
// Directory of the running executable, without a trailing separator.
std::string executableDirectory();
// Handle of the library holding the given address (this library, for instance).
void* moduleOfAddress(const void* address);

}  // namespace zr::platform

#endif
