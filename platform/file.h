// file.h - POSIX descriptors behind the old file calls. Names are UTF-16 and
// may use backslashes as separators.
#ifndef ZR_PLATFORM_FILE_H
#define ZR_PLATFORM_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zr::platform {

enum class OpenMode { Read = 0, Write = 1, ReadWrite = 2 };

// Existing files only; -1 on failure.
int openFile(const char16_t* name, OpenMode mode);
// Creates or truncates, for reading and writing; -1 on failure.
int createFile(const char16_t* name);
// Byte counts, -1 on failure. Short counts only at the end of the file.
std::ptrdiff_t readFile(int fd, void* data, size_t size);
std::ptrdiff_t writeFile(int fd, const void* data, size_t size);
enum class SeekFrom { Begin, Current, End };
// The new position, or -1.
int64_t seekFile(int fd, int64_t offset, SeekFrom from);
int closeFile(int fd);
bool removeFile(const char16_t* name);
// Positional forms: byte counts or -1. A read is short only at the end of
// the file, a write only when the disk is full.
std::ptrdiff_t readFileAt(int fd, void* data, size_t size, uint64_t offset);
std::ptrdiff_t writeFileAt(int fd, const void* data, size_t size, uint64_t offset);
// -1 on failure.
int64_t fileSize(int fd);
bool truncateFile(int fd, uint64_t size);
bool syncFileData(int fd);
bool fileExists(const char16_t* name);
// A file that must not exist yet, for reading and writing; missing folders
// of its path are made. -1 on failure.
int createNewFile(const char16_t* name);
void sleepMilliseconds(unsigned milliseconds);
// A read-only shared view of the file's first `size` bytes, which sees
// every later write to them; null on failure.
const uint8_t* mapFileForReading(int fd, uint64_t size);
void unmapFile(const uint8_t* view, uint64_t size);
// Creates an empty, uniquely named file in the temporary directory and
// returns its name, or an empty text on failure.
std::u16string createTempFile(const char16_t* prefix);

}  // namespace zr::platform

#endif
