// dialog.h - message boxes and beeps, through a replaceable handler. There is
// no window system: the default handler writes one line to standard error and
// answers with the box's default button.
#ifndef ZR_PLATFORM_DIALOG_H
#define ZR_PLATFORM_DIALOG_H

#include <cstdint>

namespace zr::platform {

using MessageBoxHandler = int (*)(void* owner, const char16_t* text, const char16_t* caption,
                                  unsigned style);
using BeepHandler = void (*)(unsigned type);

// Replaces the handlers; null restores the defaults. Returns the previous one.
MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler);
BeepHandler setBeepHandler(BeepHandler handler);

int messageBox(void* owner, const char16_t* text, const char16_t* caption, unsigned style);
void messageBeep(unsigned type);

// The answer a box of this style gives when nobody presses a button.
int defaultMessageBoxAnswer(unsigned style);

}  // namespace zr::platform

#endif
