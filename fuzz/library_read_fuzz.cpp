// Any file opened as a library: every entry the tree walk finds is looked
// up, described and read whole, with its version; the version area is read
// too. The file's length picks the read window.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "library/lib_engine.h"
#include "lmi.h"
#include "platform/dialog.h"

namespace {

const std::string& scratchPath() {
  static const std::string path = [] {
    std::string p = "/tmp/zrlibfuzz-" + std::to_string(getpid()) + ".zrl";
    std::atexit([] { unlink(scratchPath().c_str()); });
    return p;
  }();
  return path;
}

int silent(void*, const char16_t*, const char16_t*, unsigned style) {
  return zr::platform::defaultMessageBoxAnswer(style);
}

int collect(LMI_LIBRARY*, uint8_t* record, void* user) {
  static_cast<std::vector<std::u16string>*>(user)->push_back(zr::library::recName(record));
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zr::platform::setMessageBoxHandler(silent);
  FILE* f = std::fopen(scratchPath().c_str(), "wb");
  if (!f) return 0;
  std::fwrite(data, 1, size, f);
  std::fclose(f);
  std::u16string path(scratchPath().begin(), scratchPath().end());
  zrstg_handle* h = zrstg_begin(0);
  if (LMI_GetZRLBinaryType(h->pool, path.data()) < -1) std::abort();
  static const int windows[] = {512, 0, 64000, 1000};
  LMI_LIBRARY* lib = LMI_OpenLibrary(h->pool, path.data(), LMI_LIBRARY_READ, windows[size % 4]);
  if (lib) {
    std::vector<std::u16string> names;
    zr::library::walkRecords(lib, collect, &names);
    lib->entry = nullptr;
    std::vector<uint8_t> buffer(4096);
    for (std::u16string& name : names) {
      LMI_ENTRY_INFO info{};
      LMI_EntryExists(lib, name.data());
      LMI_EntryInformation(lib, name.data(), &info);
      if (LMI_OpenEntry(lib, name.data(), LMI_ENTRY_READ, nullptr) == 0) {
        uint64_t total = 0;
        for (int32_t got; (got = LMI_ReadEntry(lib, buffer.data(), int32_t(buffer.size()))) > 0;) total += uint64_t(got);
        if (total > size) std::abort();
        LMI_CloseEntry(lib);
      }
    }
    if (LMI_CloseLibrary(lib) != 0) std::abort();
    std::vector<char16_t> version(size / 2 + 8);
    for (size_t i = 0; i < names.size() && i < 16; ++i)
      LMI_GetEntryVersion(h->pool, path.data(), names[i].data(), version.data());
  }
  zrstg_end(h);
  return 0;
}
