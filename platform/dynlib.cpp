#include "platform/dynlib.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

namespace zr::platform {

static bool fileExists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

// "dir/name16.dll" -> "dir/libname16.so".
static std::string sharedObjectName(const std::string& path) {
  size_t slash = path.find_last_of('/');
  std::string dir = slash == std::string::npos ? "" : path.substr(0, slash + 1);
  std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
  size_t dot = file.rfind('.');
  if (dot != std::string::npos) {
    std::string ext = file.substr(dot);
    for (char& c : ext) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    if (ext == ".dll") file = file.substr(0, dot);
  }
  return dir + "lib" + file + ".so";
}

static std::string withSlashes(std::string path) {
  for (char& c : path)
    if (c == '\\') c = '/';
  return path;
}

void* loadLibrary(const std::string& given) {
  std::string path = withSlashes(given);
  bool hasDir = path.find('/') != std::string::npos;
  // dlopen searches the library path only for names without a slash.
  if (!hasDir || fileExists(path)) {
    if (void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return h;
  }
  std::string so = sharedObjectName(path);
  if (so != path && (!hasDir || fileExists(so))) return dlopen(so.c_str(), RTLD_NOW | RTLD_LOCAL);
  return nullptr;
}

void* findLoadedLibrary(const std::string& name) {
  std::string path = withSlashes(name);
  if (void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) return h;
  return dlopen(sharedObjectName(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
}

bool freeLibrary(void* module) { return module && dlclose(module) == 0; }

void* findSymbol(void* module, const char* name) { return module ? dlsym(module, name) : nullptr; }

std::string executableDirectory() {
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return ".";
  std::string path(buf, static_cast<size_t>(n));
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

void* moduleOfAddress(const void* address) {
  Dl_info info;
  if (!dladdr(address, &info) || !info.dli_fname) return nullptr;
  return dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
}

}  // namespace zr::platform
