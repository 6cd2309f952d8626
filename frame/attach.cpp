// Process attach and detach. There is no window system here, so the class
// registration steps have nothing to do and the shell and theme flags stay 0.
#include "frame/frame_state.h"
#include "platform/dynlib.h"
#include "shintl.h"

namespace zr::frame {

FrameState& frameState() {
  static FrameState state;
  return state;
}

std::recursive_mutex& globalSection() {
  static std::recursive_mutex section;
  return section;
}

namespace {

__attribute__((constructor)) void processAttach() {
  globalSection();
  FrameState& s = frameState();
  s.instance = platform::moduleOfAddress(reinterpret_cast<const void*>(&processAttach));
  s.controlInstance = s.instance;
  s.newShell = false;
  s.themeCapable = false;
  s.terminalClient = false;
  zrshr_intl();
  // No resources are linked in, so the runtime stub (resource 305) is absent.
  s.runtimeStubSize = 0;
}

__attribute__((destructor)) void processDetach() {
  // The heap, pools and objects a caller still holds are left as they stand.
  FrameState& s = frameState();
  if (s.instance) platform::freeLibrary(s.instance);
  s.instance = s.controlInstance = nullptr;
}

}  // namespace
}  // namespace zr::frame
