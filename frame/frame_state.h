// frame_state.h - process-global state written once at load.
#ifndef ZR_FRAME_STATE_H
#define ZR_FRAME_STATE_H

#include <cstdint>
#include <mutex>

namespace zr::frame {

struct FrameState {
  void* instance = nullptr;
  void* controlInstance = nullptr;
  bool newShell = false;
  bool themeCapable = false;
  bool terminalClient = false;
  uint32_t runtimeStubSize = 0;
};

FrameState& frameState();
// Guards the reference count of the theme helper.
std::recursive_mutex& globalSection();

}  // namespace zr::frame

#endif
