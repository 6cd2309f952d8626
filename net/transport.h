// transport.h - the connection, the listener and the listener's reading pool.
#ifndef NET_TRANSPORT_H
#define NET_TRANSPORT_H

#include <atomic>
#include <cstdint>

#include "platform/socket.h"
#include "zrkernel.h"
#include "zrnet.h"

namespace zr::net {

// Parameters as read from the context, in their reading order.
struct Parameters {
  int32_t bufSize;
  int32_t blocking;  // 0: a send or receive that would block or was interrupted retries
  int32_t noDelay;
  int32_t netBufSize;
  int32_t maxRetry;
  int32_t maxListeningThreads;
  int32_t timeOut;
  int32_t packetSize;
  int32_t threadPooling;
};

// Reads the parameters; `listener` picks the listener's defaults and reads
// "ThreadPooling" too.
Parameters readParameters(void* context, bool listener);

// Calls on the caller's objects, through their documented slots.
inline const ZRNET_ContextVtbl* contextTable(void* context) {
  return *static_cast<const ZRNET_ContextVtbl* const*>(context);
}
inline const ZRNET_MessageHandlerVtbl* handlerTable(void* handler) {
  return *static_cast<const ZRNET_MessageHandlerVtbl* const*>(handler);
}
inline const ZRNET_ListenerHandlerVtbl* listenerHandlerTable(void* handler) {
  return *static_cast<const ZRNET_ListenerHandlerVtbl* const*>(handler);
}
inline const ZRNET_MessageVtbl* messageTable(void* message) {
  return *static_cast<const ZRNET_MessageVtbl* const*>(message);
}
inline const ZRNET_CursorVtbl* cursorTable(void* cursor) {
  return *static_cast<const ZRNET_CursorVtbl* const*>(cursor);
}

const char16_t* traceFormat(unsigned textId);

// Writes to the context's trace object (if any) and reports failures to the
// context. Both format their texts from the string table.
class Reporter {
 public:
  explicit Reporter(void* context);
  void* context() const { return m_context; }
  // Hands the trace text's format and its arguments to the trace object.
  template <class... Args>
  void trace(int32_t level, unsigned textId, Args... args) const {
    if (m_trace) (*static_cast<const ZRNET_TraceVtbl* const*>(m_trace))->Write(m_trace, level, traceFormat(textId), args...);
  }
  // Reports `code` with its text: `what` fills a %s, `count` a %d, and the
  // socket error the (%X). Returns the code.
  int32_t report(int32_t code, int line, const char16_t* what = nullptr, int32_t count = 0,
                 int socketError = 0) const;
  void traceReferences(unsigned textId, const char16_t* operation, uint32_t count) const;

 private:
  void* m_context;
  void* m_trace;
};

// The name of a socket error ("WSAECONNRESET"), or its number as text.
const char16_t* socketErrorName(int error, char16_t* scratch, size_t size);

int32_t copyErrorText(int32_t code, char16_t* buffer, int32_t size);

// The port (host order) a listener is bound to, 0 when it does not listen.
uint16_t listenerPort(ZRNET_Listener* listener);

class ConnectionPool;

class Connection {
 public:
  // A client connection, or a server connection on an accepted socket.
  static Connection* create(void* context);
  static Connection* createForSocket(void* context, platform::Socket socket, const Parameters& parameters,
                                     ConnectionPool* pool);

  ZRNET_Connection* object() { return &m_object; }
  static Connection* of(ZRNET_Connection* object) { return reinterpret_cast<Connection*>(object); }

  uint32_t addRef();
  uint32_t release();
  void destroy();
  int32_t connect(const ZRNET_DESCRIPTION* description);
  int32_t send(void* message);
  int32_t setHandler(void* handler);
  int32_t disconnect();
  int32_t waitForClosure();

  // Reads one message: 0 with a message, 255 for a disconnect, or a code.
  int32_t receive(void** message);
  // The pooling mode's work: one message read and delivered.
  int32_t readStep();
  int32_t startReadThread();
  platform::Socket socket() const { return m_socket.load(); }
  // Applies the send buffer and no-delay options; 0 or 9960.
  int32_t applySocketOptions();

 private:
  explicit Connection(void* context);
  ~Connection();
  void readLoop();
  void closeAfterDisconnect();
  void closeSocket();
  int32_t sendHeader(uint32_t length, uint32_t code);
  bool retryable(int error) const;

  friend class ReadThread;

  ZRNET_Connection m_object;
  std::atomic<uint32_t> m_references;
  std::atomic<platform::Socket> m_socket;
  uint32_t m_address;
  uint16_t m_port;
  Reporter m_reporter;
  void* m_handler;
  Parameters m_parameters;
  ConnectionPool* m_pool;
  bool m_closed;
  CZR_CritSec m_lock;
  CZR_Event* m_closeEvent;
  std::atomic<int64_t> m_readThread;
  ZRNET_HEADER m_header;
  std::atomic<bool> m_disconnectSent;
};

// Sockets of a listener in pooling mode wait on a pending list until a pool
// worker takes them into its set of up to 64; a readable socket becomes a
// work item for the listener handler. Counted: connections keep it alive.
class ConnectionPool {
 public:
  ConnectionPool(void* listenerHandler, const Reporter& reporter);
  void addRef();
  void release();
  // Takes over one reference of the connection.
  void addPending(Connection* connection);
  // Ends every worker and drops the pending sockets.
  void stop();

 private:
  friend class PoolWorker;
  ~ConnectionPool();
  void startWorkerLocked();

  ZRNET_PENDING_ENTRY* m_pending;
  CZR_GrowableThreadPool* m_synchroniser;
  CZR_CritSec m_synchroniserLock;
  CZR_CritSec m_section;
  int32_t m_freeWorkers;
  std::atomic<bool> m_stopping;
  std::atomic<int32_t> m_references;
  void* m_handler;
  Reporter m_reporter;
};

}  // namespace zr::net

#endif
