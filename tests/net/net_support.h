// The caller's side of the transport for tests: context, trace, messages
// with cursors, message and listener handlers.
#ifndef TESTS_NET_NET_SUPPORT_H
#define TESTS_NET_NET_SUPPORT_H

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "zrkernel.h"
#include "zrnet.h"

namespace nettest {

struct Report {
  int32_t code;
  std::u16string text;
};

struct Trace {
  const ZRNET_TraceVtbl* vtbl = &kTable;
  std::mutex lock;
  std::vector<std::u16string> formats;
  static void write(void* self, int32_t level, const char16_t* format, ...) {
    auto* t = static_cast<Trace*>(self);
    std::lock_guard<std::mutex> hold(t->lock);
    if (level == 64) t->formats.emplace_back(format);
  }
  static constexpr ZRNET_TraceVtbl kTable = {{}, write};
};

struct Context {
  const ZRNET_ContextVtbl* vtbl = &kTable;
  std::atomic<int> references{1};
  std::map<std::u16string, std::u16string> parameters;
  Trace* trace = nullptr;
  std::mutex lock;
  std::vector<Report> reports;

  // Every connection and listener holds a reference until it is gone; a read
  // thread may give the last one back after a wait for closure returned.
  bool settles(uint32_t milliseconds = 10000) {
    for (uint32_t waited = 0; references.load() != 1; ++waited) {
      if (waited >= milliseconds) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }
  std::vector<Report> takeReports() {
    std::lock_guard<std::mutex> hold(lock);
    return std::move(reports);
  }
  bool hasReport(int32_t code) {
    std::lock_guard<std::mutex> hold(lock);
    for (auto& r : reports) {
      if (r.code == code) return true;
    }
    return false;
  }
  static uint32_t addRef(void* self) { return static_cast<uint32_t>(++static_cast<Context*>(self)->references); }
  static uint32_t release(void* self) { return static_cast<uint32_t>(--static_cast<Context*>(self)->references); }
  static void* getTrace(void* self) { return static_cast<Context*>(self)->trace; }
  static const char16_t* getParameter(void* self, const char16_t* name, int32_t) {
    auto* c = static_cast<Context*>(self);
    auto it = c->parameters.find(name);
    return it == c->parameters.end() ? nullptr : it->second.c_str();
  }
  static int32_t reportError(void* self, int32_t code, const char16_t* text, int32_t) {
    auto* c = static_cast<Context*>(self);
    std::lock_guard<std::mutex> hold(c->lock);
    c->reports.push_back({code, text});
    return 0;
  }
  static constexpr ZRNET_ContextVtbl kTable = {nullptr, addRef,  release, nullptr,    getTrace,
                                               nullptr, getParameter, nullptr, reportError};
};

struct Message;

// Exposes at most `chunk` bytes per pointer, so that bodies move in pieces.
struct Cursor {
  const ZRNET_CursorVtbl* vtbl = &kTable;
  Message* message;
  uint32_t position = 0;
  uint32_t chunk;
  static uint32_t release(void* self);
  static uint32_t remaining(void* self);
  static const void* getPointer(void* self, uint32_t* available, int32_t);
  static void advance(void* self, uint32_t n);
  static void* getWritePointer(void* self, uint32_t* available, int32_t);
  static constexpr ZRNET_CursorVtbl kTable = {nullptr, nullptr, release, nullptr, remaining, nullptr,
                                              getPointer, advance, nullptr, nullptr, getWritePointer, advance};
};

struct Message {
  const ZRNET_MessageVtbl* vtbl = &kTable;
  std::atomic<int> references{1};
  std::vector<unsigned char> body;
  uint32_t chunk = 1 << 30;
  static std::atomic<long> alive;

  explicit Message(std::vector<unsigned char> bytes = {}) : body(std::move(bytes)) { ++alive; }
  ~Message() { --alive; }
  static uint32_t addRef(void* self) { return static_cast<uint32_t>(++static_cast<Message*>(self)->references); }
  static uint32_t release(void* self) {
    auto* m = static_cast<Message*>(self);
    int left = --m->references;
    if (left == 0) delete m;
    return static_cast<uint32_t>(left);
  }
  static uint32_t getLength(void* self) { return static_cast<uint32_t>(static_cast<Message*>(self)->body.size()); }
  static void* getCursor(void* self) {
    auto* m = static_cast<Message*>(self);
    addRef(m);
    return new Cursor{&Cursor::kTable, m, 0, m->chunk};
  }
  static constexpr ZRNET_MessageVtbl kTable = {nullptr, addRef, release, nullptr, getLength, getCursor};
};
inline std::atomic<long> Message::alive{0};

inline uint32_t Cursor::release(void* self) {
  auto* c = static_cast<Cursor*>(self);
  Message::release(c->message);
  delete c;
  return 0;
}
inline uint32_t Cursor::remaining(void* self) {
  auto* c = static_cast<Cursor*>(self);
  return static_cast<uint32_t>(c->message->body.size()) - c->position;
}
inline const void* Cursor::getPointer(void* self, uint32_t* available, int32_t) {
  auto* c = static_cast<Cursor*>(self);
  *available = std::min(remaining(self), c->chunk);
  return c->message->body.data() + c->position;
}
inline void Cursor::advance(void* self, uint32_t n) { static_cast<Cursor*>(self)->position += n; }
inline void* Cursor::getWritePointer(void* self, uint32_t* available, int32_t) {
  auto* c = static_cast<Cursor*>(self);
  *available = std::min(remaining(self), c->chunk);
  return c->message->body.data() + c->position;
}

// Makes buffers up to `limit` bytes and passes each delivered message on.
struct Handler {
  const ZRNET_MessageHandlerVtbl* vtbl = &kTable;
  uint32_t limit = 1u << 24;
  uint32_t chunk = 1 << 30;
  int32_t answer = 0;
  std::function<void(ZRNET_Connection*, Message*)> onMessage;
  ZRNET_Connection* connection = nullptr;
  static void* create(void* self, uint32_t length) {
    auto* h = static_cast<Handler*>(self);
    if (length > h->limit) return nullptr;
    auto* m = new Message(std::vector<unsigned char>(length));
    m->chunk = h->chunk;
    return m;
  }
  static int32_t deliver(void* self, void* message) {
    auto* h = static_cast<Handler*>(self);
    if (h->onMessage) h->onMessage(h->connection, static_cast<Message*>(message));
    return h->answer;
  }
  static constexpr ZRNET_MessageHandlerVtbl kTable = {create, deliver};
};

// Keeps every new connection, gives each a handler from `makeHandler`, and
// runs pooled work items on a pool of its own.
struct ListenerHandler {
  const ZRNET_ListenerHandlerVtbl* vtbl = &kTable;
  std::function<Handler*(ZRNET_Connection*)> makeHandler;
  std::mutex lock;
  std::vector<ZRNET_Connection*> connections;
  CZR_Event newConnection{0, 0};
  int32_t accept = 1;
  CZR_GrowableThreadPool* pool = nullptr;

  static int32_t onNew(void* self, ZRNET_Connection* c) {
    auto* l = static_cast<ListenerHandler*>(self);
    if (!l->accept) return 0;
    c->vtbl->AddRef(c);
    Handler* h = l->makeHandler(c);
    h->connection = c;
    c->vtbl->SetHandler(c, h);
    {
      std::lock_guard<std::mutex> hold(l->lock);
      l->connections.push_back(c);
    }
    l->newConnection.Set();
    return 1;
  }
  static int32_t takeSocket(void* self, ZRNET_WorkItem* item) {
    CZR_DispatchRecord record{item};
    return static_cast<ListenerHandler*>(self)->pool->Dispatch(record);
  }
  size_t count() {
    std::lock_guard<std::mutex> hold(lock);
    return connections.size();
  }
  // Waits until `n` connections have arrived or the time is up.
  bool waitFor(size_t n, uint32_t milliseconds = 10000) {
    while (count() < n) {
      if (newConnection.Wait(milliseconds) != ZR_WAIT_OBJECT_0) return count() >= n;
    }
    return true;
  }
  void releaseAll() {
    std::lock_guard<std::mutex> hold(lock);
    for (auto* c : connections) {
      c->vtbl->WaitForClosure(c);
      c->vtbl->Release(c);
    }
    connections.clear();
  }
  static constexpr ZRNET_ListenerHandlerVtbl kTable = {onNew, takeSocket};
};

}  // namespace nettest

#endif
