#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "platform/file.h"
#include "platform/utf8.h"

namespace zr::platform {
namespace {

std::string nativePath(const char16_t* name) {
  std::string path = toUtf8(name);
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  return path;
}

bool makeFolders(const std::string& path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    std::string folder = path.substr(0, slash);
    if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) return false;
  }
  return true;
}

}  // namespace

std::ptrdiff_t readFileAt(int fd, void* data, size_t size, uint64_t offset) {
  size_t done = 0;
  while (done < size) {
    ssize_t n = ::pread(fd, static_cast<char*>(data) + done, size - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<std::ptrdiff_t>(done);
}

std::ptrdiff_t writeFileAt(int fd, const void* data, size_t size, uint64_t offset) {
  size_t done = 0;
  while (done < size) {
    ssize_t n =
        ::pwrite(fd, static_cast<const char*>(data) + done, size - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return done || (n < 0 && errno == ENOSPC) ? static_cast<std::ptrdiff_t>(done) : -1;
    done += static_cast<size_t>(n);
  }
  return static_cast<std::ptrdiff_t>(done);
}

int64_t fileSize(int fd) {
  struct stat st;
  if (::fstat(fd, &st) != 0) return -1;
  return st.st_size;
}

bool truncateFile(int fd, uint64_t size) { return ::ftruncate(fd, static_cast<off_t>(size)) == 0; }

bool syncFileData(int fd) { return ::fdatasync(fd) == 0; }

bool fileExists(const char16_t* name) {
  struct stat st;
  return name && ::stat(nativePath(name).c_str(), &st) == 0;
}

int createNewFile(const char16_t* name) {
  if (!name) return -1;
  std::string path = nativePath(name);
  if (!makeFolders(path)) return -1;
  return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

void sleepMilliseconds(unsigned milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

const uint8_t* mapFileForReading(int fd, uint64_t size) {
  if (!size) return nullptr;
  void* view = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  return view == MAP_FAILED ? nullptr : static_cast<const uint8_t*>(view);
}

void unmapFile(const uint8_t* view, uint64_t size) {
  if (view) ::munmap(const_cast<uint8_t*>(view), size);
}

}  // namespace zr::platform
