// The listener: accept threads that make a server connection per accepted
// socket, hand it to the listener handler, and then read it with a thread of
// its own or through the pool.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "net/net_strings.h"
#include "net/transport.h"
#include "platform/utf8.h"
#include "zrheap.h"

namespace zr::net {
namespace {

namespace pf = zr::platform;

constexpr uint32_t kAcceptThreadStack = 256 * 1024;
constexpr int kBacklog = 5;

class Listener;

class AcceptThread final : public CZR_ThreadHandler {
 public:
  explicit AcceptThread(Listener* listener) : m_listener(listener), m_thread(nullptr) {}
  uint32_t Run() override;
  Listener* m_listener;
  CZR_Thread* m_thread;
};

class Listener {
 public:
  static Listener* create(void* context) {
    void* block = ZrHeap_malloc(sizeof(Listener));
    return block ? new (block) Listener(context) : nullptr;
  }
  static Listener* of(ZRNET_Listener* object) { return reinterpret_cast<Listener*>(object); }
  ZRNET_Listener* object() { return &m_object; }

  void destroy() {
    stop();
    this->~Listener();
    ZrHeap_free(this);
  }
  uint32_t addRef() {
    uint32_t count = ++m_references;
    m_reporter.traceReferences(kWsd11, u"AddRef", count);
    return count;
  }
  uint32_t release() {
    uint32_t count = --m_references;
    m_reporter.traceReferences(kWsd11, u"Release", count);
    if (count == 0) destroy();
    return count;
  }
  int32_t setHandler(void* handler) {
    m_handler = handler;
    return 0;
  }

  int32_t listen(const ZRNET_DESCRIPTION* description) {
    if (!m_handler) return m_reporter.report(ZRNET_E_NO_HANDLER, __LINE__);
    if (!description || !description->ServiceName) return m_reporter.report(ZRNET_E_NO_PARAMETERS, __LINE__);
    if (m_socket.load() != pf::kNoSocket) return m_reporter.report(ZRNET_E_ALREADY_CONNECTED, __LINE__);
    m_parameters = readParameters(m_reporter.context(), true);

    pf::Socket s = pf::openStreamSocket();
    if (s == pf::kNoSocket) return m_reporter.report(ZRNET_E_SOCKET, __LINE__, nullptr, 0, pf::lastSocketError());
    auto fail = [&](int32_t code, const char16_t* what, int error) {
      pf::closeSocket(s);
      return m_reporter.report(code, __LINE__, what, 0, error);
    };
    pf::setSocketOption(s, pf::kLevelSocket, pf::kOptionReuseAddress, 1);
    uint16_t port = 0;
    const char16_t* service = description->ServiceName;
    std::string narrow;
    try {
      narrow = pf::toUtf8(service);
    } catch (const std::bad_alloc&) {
      return fail(ZRNET_E_NO_MEMORY, u"ServiceName string", 0);
    }
    if ((*service >= u'A' && *service <= u'Z') || (*service >= u'a' && *service <= u'z')) {
      if (!pf::resolveService(narrow.c_str(), &port))
        return fail(ZRNET_E_SERVICE_NOT_FOUND, service, pf::lastSocketError());
    } else {
      port = static_cast<uint16_t>(std::atoi(narrow.c_str()));
      port = static_cast<uint16_t>(port >> 8 | port << 8);
    }
    char16_t scratch[16];
    if (!pf::bindSocket(s, 0, port)) {
      int error = pf::lastSocketError();
      return fail(ZRNET_E_BIND, socketErrorName(error, scratch, 16), error);
    }
    if (!pf::listenSocket(s, kBacklog)) {
      int error = pf::lastSocketError();
      return fail(ZRNET_E_LISTEN, socketErrorName(error, scratch, 16), error);
    }
    if (m_parameters.threadPooling) {
      try {
        m_pool = new ConnectionPool(m_handler, m_reporter);
      } catch (...) {
        return fail(ZRNET_E_NO_MEMORY, u"ConnectionPool", 0);
      }
    }
    m_socket = s;
    m_stop = false;
    int32_t threads = std::max(1, m_parameters.maxListeningThreads);
    for (int32_t i = 0; i < threads; ++i) {
      if (int32_t code = startAcceptThread()) return code;
    }
    return 0;
  }

  int32_t stop() {
    m_stop = true;
    pf::Socket s = m_socket.load();
    if (s != pf::kNoSocket) {
      // Shutting the socket down wakes a blocked accept; closing alone does not.
      pf::shutdownSocket(s, 2);
      int32_t waits = std::max(1, m_parameters.maxListeningThreads) * 1000;
      while (m_acceptThreads.load() > 0 && waits-- > 0) pf::sleepMilliseconds(1);
      if (m_acceptThreads.load() == 0) {
        m_socket = pf::kNoSocket;
        pf::closeSocket(s);
      }
    }
    if (m_pool) {
      m_pool->stop();
      m_pool->release();
      m_pool = nullptr;
    }
    return 0;
  }

  void acceptLoop() {
    pf::Socket listening = m_socket.load();
    while (!m_stop.load()) {
      pf::Socket s = pf::acceptSocket(listening);
      if (s == pf::kNoSocket) {
        if (!m_stop.load()) {
          int error = pf::lastSocketError();
          char16_t scratch[16];
          m_reporter.report(ZRNET_E_ACCEPT, __LINE__, socketErrorName(error, scratch, 16), 0, error);
        }
        break;
      }
      Connection* c = Connection::createForSocket(m_reporter.context(), s, m_parameters, m_pool);
      if (!c) {
        pf::closeSocket(s);
        m_reporter.report(ZRNET_E_NO_MEMORY, __LINE__, u"connection");
        continue;
      }
      if (c->applySocketOptions()) {
        c->release();
        continue;
      }
      if (!listenerHandlerTable(m_handler)->NewConnection(m_handler, c->object())) {
        c->destroy();
        m_reporter.report(ZRNET_E_CONNECT, __LINE__, u"NewConnection");
        continue;
      }
      if (m_pool) {
        m_pool->addPending(c);  // the pending entry keeps our reference
      } else {
        c->startReadThread();
        c->release();
      }
    }
    --m_acceptThreads;
    release();
  }

  uint16_t port() const { return pf::localPort(m_socket.load()); }

 private:
  static constexpr unsigned kWsd11 = kWsd11ListenerRefCount;

  explicit Listener(void* context)
      : m_object{&kTable},
        m_references(1),
        m_socket(pf::kNoSocket),
        m_reporter(context),
        m_parameters(readParameters(nullptr, true)),
        m_handler(nullptr),
        m_stop(false),
        m_pool(nullptr),
        m_acceptThreads(0) {
    contextTable(context)->AddRef(context);
  }
  ~Listener() {
    void* context = m_reporter.context();
    contextTable(context)->Release(context);
  }

  int32_t startAcceptThread() {
    addRef();
    ++m_acceptThreads;
    AcceptThread* handler = nullptr;
    CZR_Thread* thread = nullptr;
    try {
      handler = new AcceptThread(this);
      thread = new CZR_Thread(handler, ZR_CREATE_SUSPENDED, nullptr, kAcceptThreadStack);
    } catch (const std::bad_alloc&) {
      thread = nullptr;
    }
    if (!thread || !thread->GetHandle()) {
      delete thread;
      delete handler;
      --m_acceptThreads;
      release();
      return m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
    }
    handler->m_thread = thread;
    thread->Resume();
    return 0;
  }

  static const ZRNET_ListenerVtbl kTable;

  ZRNET_Listener m_object;
  std::atomic<uint32_t> m_references;
  std::atomic<pf::Socket> m_socket;
  Reporter m_reporter;
  Parameters m_parameters;
  void* m_handler;
  std::atomic<bool> m_stop;
  ConnectionPool* m_pool;
  std::atomic<int32_t> m_acceptThreads;
};

uint32_t AcceptThread::Run() {
  m_listener->acceptLoop();
  delete m_thread;
  delete this;
  return 0;
}

const ZRNET_ListenerVtbl Listener::kTable = {
    [](ZRNET_Listener* self) { Listener::of(self)->destroy(); },
    [](ZRNET_Listener* self) { return Listener::of(self)->addRef(); },
    [](ZRNET_Listener* self) { return Listener::of(self)->release(); },
    [](ZRNET_Listener*, int32_t code, char16_t* buffer, int32_t size) { return copyErrorText(code, buffer, size); },
    [](ZRNET_Listener* self, void* handler) { return Listener::of(self)->setHandler(handler); },
    [](ZRNET_Listener* self, const ZRNET_DESCRIPTION* d) { return Listener::of(self)->listen(d); },
    [](ZRNET_Listener* self) { return Listener::of(self)->stop(); },
};

}  // namespace

uint16_t listenerPort(ZRNET_Listener* listener) {
  uint16_t port = Listener::of(listener)->port();
  return static_cast<uint16_t>(port >> 8 | port << 8);
}

}  // namespace zr::net

ZRAPI ZRNET_Listener* GetListener_Winsock(void* context, void*) {
  if (!context) return nullptr;
  zr::net::Listener* l = zr::net::Listener::create(context);
  return l ? l->object() : nullptr;
}
