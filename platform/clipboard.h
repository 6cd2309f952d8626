// clipboard.h - the clipboard as a process-wide store: one block per
// format, held until the clipboard is emptied. A block's ownership passes
// to the clipboard with the function that releases it.
#ifndef ZR_PLATFORM_CLIPBOARD_H
#define ZR_PLATFORM_CLIPBOARD_H

#include <cstddef>
#include <cstdint>

namespace zr::platform {

// Format 13: NUL-terminated UTF-16 text.
constexpr uint32_t kClipboardUnicodeText = 13;

// Open waits for another thread's open to close; the window is not used.
bool openClipboard(void* window);
bool closeClipboard();
// Only while open: frees every block.
bool emptyClipboard();
using ClipboardRelease = void (*)(void* block);
// Only while open: replaces the format's block, which the clipboard then owns.
bool setClipboardData(uint32_t format, void* block, ClipboardRelease release);
// The block of a format, or null; it stays the clipboard's.
void* clipboardData(uint32_t format);

}  // namespace zr::platform

#endif
