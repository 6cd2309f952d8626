#include "platform/dialog.h"

#include <atomic>
#include <cstdio>
#include <string>

#include "platform/utf8.h"

namespace zr::platform {

int defaultMessageBoxAnswer(unsigned style) {
  static const int buttons[6][3] = {
      {1, 1, 1},  // OK
      {1, 2, 2},  // OK, Cancel
      {3, 4, 5},  // Abort, Retry, Ignore
      {6, 7, 2},  // Yes, No, Cancel
      {6, 7, 7},  // Yes, No
      {4, 2, 2},  // Retry, Cancel
  };
  unsigned kind = style & 0xF;
  unsigned which = (style >> 8) & 0xF;
  if (kind > 5) kind = 0;
  if (which > 2) which = 0;
  return buttons[kind][which];
}

static int writeToStandardError(void*, const char16_t* text, const char16_t* caption, unsigned style) {
  std::string line = toUtf8(caption) + ": " + toUtf8(text);
  for (char& c : line)
    if (c == '\n' || c == '\r') c = ' ';
  std::fprintf(stderr, "%s\n", line.c_str());
  return defaultMessageBoxAnswer(style);
}

static void silentBeep(unsigned) {}

static std::atomic<MessageBoxHandler> g_messageBox{writeToStandardError};
static std::atomic<BeepHandler> g_beep{silentBeep};

MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler) {
  return g_messageBox.exchange(handler ? handler : writeToStandardError);
}

BeepHandler setBeepHandler(BeepHandler handler) { return g_beep.exchange(handler ? handler : silentBeep); }

int messageBox(void* owner, const char16_t* text, const char16_t* caption, unsigned style) {
  return g_messageBox.load()(owner, text, caption, style);
}

void messageBeep(unsigned type) { g_beep.load()(type); }

}  // namespace zr::platform
