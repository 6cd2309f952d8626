// The text file readers on any file: detection, every decoding path and the
// line-end step, through small buffers. The first bytes choose the reader,
// its buffer size and its flags; the rest is the file.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "ostextfile.h"

namespace {

int scratchFile() {
  static int fd = [] {
    char name[] = "/tmp/zrfuzzXXXXXX";
    int f = mkstemp(name);
    unlink(name);
    return f;
  }();
  return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  int fd = scratchFile();
  if (ftruncate(fd, 0) != 0) return 0;
  if (pwrite(fd, data + 3, size - 3, 0) != static_cast<ssize_t>(size - 3)) return 0;
  lseek(fd, 0, SEEK_SET);
  bool oldForm = data[0] & 1;
  int32_t units = 1 + data[1] % 64;
  uint32_t encoding = data[0] & 2 ? OSTF_KEEP_LINE_ENDS : 0;
  zrstg_handle* h = zrstg_begin(0);
  auto* buf = static_cast<char16_t*>(zrstg_alc(h, 8, nullptr));
  for (int guard = 0; guard < 100000; ++guard) {
    int32_t n = oldForm ? osTextFileRead(h->pool, 0, fd, &buf, units, 1, &encoding, data[2] & 1)
                        : osTextFileRead32(h->pool, 0, fd, &buf, units, 1, &encoding, data[2] & 1);
    if (n < 0) std::abort();
    if (n == 0) break;
    if (buf[n] != 0) std::abort();
  }
  zrstg_end(h);
  return 0;
}
