#include "platform/exclusive_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/utf8.h"

namespace zr::platform {

int createExclusiveFile(const char16_t* name) {
  if (!name) return -1;
  std::string path = toUtf8(name);
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  // Not truncated before the lock is held: another writer's file stays whole.
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) return -1;
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  struct stat info;
  bool ok = ::fcntl(fd, F_OFD_SETLK, &lock) == 0 && ::fstat(fd, &info) == 0 &&
            (!S_ISREG(info.st_mode) || ::ftruncate(fd, 0) == 0);
  if (!ok) {
    ::close(fd);
    return -1;
  }
  return fd;
}

}  // namespace zr::platform
