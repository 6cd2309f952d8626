#include "platform/clipboard.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

namespace zr::platform {
namespace {

struct Clipboard {
  std::mutex lock;
  std::condition_variable released;
  bool open = false;
  std::map<uint32_t, std::pair<void*, ClipboardRelease>> blocks;
};

// Never destroyed: blocks may belong to allocators that outlive static teardown.
Clipboard& clipboard() {
  static Clipboard* board = new Clipboard;
  return *board;
}

}  // namespace

bool openClipboard(void*) {
  Clipboard& c = clipboard();
  std::unique_lock<std::mutex> hold(c.lock);
  c.released.wait(hold, [&] { return !c.open; });
  c.open = true;
  return true;
}

bool closeClipboard() {
  Clipboard& c = clipboard();
  {
    std::lock_guard<std::mutex> hold(c.lock);
    if (!c.open) return false;
    c.open = false;
  }
  c.released.notify_one();
  return true;
}

bool emptyClipboard() {
  Clipboard& c = clipboard();
  std::lock_guard<std::mutex> hold(c.lock);
  if (!c.open) return false;
  for (auto& entry : c.blocks) entry.second.second(entry.second.first);
  c.blocks.clear();
  return true;
}

bool setClipboardData(uint32_t format, void* block, ClipboardRelease release) {
  Clipboard& c = clipboard();
  std::lock_guard<std::mutex> hold(c.lock);
  if (!c.open || !block || !release) return false;
  auto it = c.blocks.find(format);
  if (it != c.blocks.end()) it->second.second(it->second.first);
  c.blocks[format] = {block, release};
  return true;
}

void* clipboardData(uint32_t format) {
  Clipboard& c = clipboard();
  std::lock_guard<std::mutex> hold(c.lock);
  auto it = c.blocks.find(format);
  return it == c.blocks.end() ? nullptr : it->second.first;
}

}  // namespace zr::platform
