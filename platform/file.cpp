#include "platform/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "platform/utf8.h"

namespace zr::platform {
namespace {

std::string nativeName(const char16_t* name) {
  std::string path = toUtf8(name);
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  return path;
}

}  // namespace

int openFile(const char16_t* name, OpenMode mode) {
  if (!name) return -1;
  int flags = mode == OpenMode::Read ? O_RDONLY : mode == OpenMode::Write ? O_WRONLY : O_RDWR;
  return ::open(nativeName(name).c_str(), flags | O_CLOEXEC);
}

int createFile(const char16_t* name) {
  if (!name) return -1;
  return ::open(nativeName(name).c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
}

std::ptrdiff_t readFile(int fd, void* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::read(fd, static_cast<char*>(data) + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<std::ptrdiff_t>(done);
}

std::ptrdiff_t writeFile(int fd, const void* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::write(fd, static_cast<const char*>(data) + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return done ? static_cast<std::ptrdiff_t>(done) : -1;
    done += static_cast<size_t>(n);
  }
  return static_cast<std::ptrdiff_t>(done);
}

int64_t seekFile(int fd, int64_t offset, SeekFrom from) {
  int whence = from == SeekFrom::Begin ? SEEK_SET : from == SeekFrom::Current ? SEEK_CUR : SEEK_END;
  return ::lseek(fd, static_cast<off_t>(offset), whence);
}

int closeFile(int fd) { return ::close(fd); }

bool removeFile(const char16_t* name) { return name && ::unlink(nativeName(name).c_str()) == 0; }

std::u16string createTempFile(const char16_t* prefix) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = std::string(dir && *dir ? dir : "/tmp") + "/" + toUtf8(prefix) + "XXXXXX";
  int fd = ::mkstemp(path.data());
  if (fd < 0) return {};
  ::close(fd);
  return fromUtf8(path.c_str());
}

}  // namespace zr::platform
