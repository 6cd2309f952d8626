// exclusive_file.h - files created for writing with no sharing: an
// open-file-description write lock over the whole file, so that a second
// writer in any process is refused while the first holds it.
#ifndef ZR_PLATFORM_EXCLUSIVE_FILE_H
#define ZR_PLATFORM_EXCLUSIVE_FILE_H

namespace zr::platform {

// Creates or empties the file, write-only; -1 when it can't be made or is
// locked by another description. Close with closeFile, which drops the lock.
int createExclusiveFile(const char16_t* name);

}  // namespace zr::platform

#endif
