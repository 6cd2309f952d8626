// A connection moves whole messages: a 16-byte big-endian header, then the
// body streamed straight between the socket and the message's own buffer.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "net/net_strings.h"
#include "net/transport.h"
#include "platform/system.h"
#include "platform/utf8.h"
#include "zrheap.h"

namespace zr::net {
namespace {

namespace pf = zr::platform;

constexpr uint32_t kReadThreadStack = 256 * 1024;
constexpr uint32_t kRetryPauseMs = 20;
constexpr size_t kDrainBytes = 1460;

void putWord(unsigned char* at, uint32_t value) {
  at[0] = static_cast<unsigned char>(value >> 24);
  at[1] = static_cast<unsigned char>(value >> 16);
  at[2] = static_cast<unsigned char>(value >> 8);
  at[3] = static_cast<unsigned char>(value);
}

uint32_t getWord(const unsigned char* at) {
  return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | at[3];
}

void encodeHeader(unsigned char* out, uint32_t length, uint32_t code) {
  putWord(out, ZRNET_PROTO);
  putWord(out + 4, length);
  putWord(out + 8, code);
  putWord(out + 12, 0);
}

bool startsWithLetter(const char16_t* text) {
  return (*text >= u'A' && *text <= u'Z') || (*text >= u'a' && *text <= u'z');
}

const ZRNET_ConnectionVtbl kConnectionTable = {
    [](ZRNET_Connection* self) { Connection::of(self)->destroy(); },
    [](ZRNET_Connection* self) { return Connection::of(self)->addRef(); },
    [](ZRNET_Connection* self) { return Connection::of(self)->release(); },
    [](ZRNET_Connection*, int32_t code, char16_t* buffer, int32_t size) { return copyErrorText(code, buffer, size); },
    [](ZRNET_Connection* self, const ZRNET_DESCRIPTION* d) { return Connection::of(self)->connect(d); },
    [](ZRNET_Connection* self, void* message) { return Connection::of(self)->send(message); },
    [](ZRNET_Connection* self, void* handler) { return Connection::of(self)->setHandler(handler); },
    [](ZRNET_Connection* self) { return Connection::of(self)->disconnect(); },
    [](ZRNET_Connection* self) { return Connection::of(self)->waitForClosure(); },
};

}  // namespace

// The read thread of one connection; it ends itself.
class ReadThread final : public CZR_ThreadHandler {
 public:
  explicit ReadThread(Connection* connection) : m_connection(connection), m_thread(nullptr) {}
  uint32_t Run() override {
    m_connection->readLoop();
    delete m_thread;  // the thread runs on without its handle
    delete this;
    return 0;
  }
  Connection* m_connection;
  CZR_Thread* m_thread;
};

Connection::Connection(void* context)
    : m_object{&kConnectionTable},
      m_references(1),
      m_socket(pf::kNoSocket),
      m_address(0),
      m_port(0),
      m_reporter(context),
      m_handler(nullptr),
      m_parameters(readParameters(nullptr, false)),
      m_pool(nullptr),
      m_closed(true),
      m_closeEvent(nullptr),
      m_readThread(-1),
      m_header{},
      m_disconnectSent(false) {
  contextTable(context)->AddRef(context);
  m_reporter.trace(64, kWsd01NewConnection, static_cast<unsigned>(pf::currentThreadId()));
}

Connection::~Connection() {
  if (m_socket.load() != pf::kNoSocket) {
    m_reporter.trace(64, kWsd02SocketNotClosed);
    closeSocket();
  }
  delete m_closeEvent;
  if (m_pool) m_pool->release();
  void* context = m_reporter.context();
  contextTable(context)->Release(context);
}

Connection* Connection::create(void* context) {
  void* block = ZrHeap_malloc(sizeof(Connection));
  return block ? new (block) Connection(context) : nullptr;
}

Connection* Connection::createForSocket(void* context, pf::Socket socket, const Parameters& parameters,
                                        ConnectionPool* pool) {
  Connection* c = create(context);
  if (!c) return nullptr;
  c->m_parameters = parameters;
  c->m_socket = socket;
  c->m_closed = false;
  if (pool) {
    pool->addRef();
    c->m_pool = pool;
  }
  return c;
}

void Connection::destroy() {
  this->~Connection();
  ZrHeap_free(this);
}

uint32_t Connection::addRef() {
  uint32_t count = ++m_references;
  m_reporter.traceReferences(kWsd04ConnectionRefCount, u"AddRef", count);
  return count;
}

uint32_t Connection::release() {
  uint32_t count = --m_references;
  m_reporter.traceReferences(kWsd04ConnectionRefCount, u"Release", count);
  if (count == 0) destroy();
  return count;
}

int32_t Connection::setHandler(void* handler) {
  m_handler = handler;
  return 0;
}

bool Connection::retryable(int error) const {
  return !m_parameters.blocking && (error == pf::kSocketWouldBlock || error == pf::kSocketInterrupted);
}

// Sends no SO_RCVBUF: a receive buffer of a few kilobytes (the kernel doubles
// what is asked) is below the loopback segment size, and a 300 KB message
// then took 5 to 6.7 s instead of 2 ms. The kernel's own size is kept.
int32_t Connection::applySocketOptions() {
  pf::Socket s = m_socket.load();
  if (!pf::setSocketOption(s, pf::kLevelSocket, pf::kOptionSendBuffer, m_parameters.bufSize) ||
      (m_parameters.noDelay && !pf::setSocketOption(s, pf::kLevelTcp, pf::kOptionTcpNoDelay, 1))) {
    char16_t scratch[16];
    int error = pf::lastSocketError();
    return m_reporter.report(ZRNET_E_SETSOCKOPT, __LINE__, socketErrorName(error, scratch, 16), 0, error);
  }
  return 0;
}

int32_t Connection::connect(const ZRNET_DESCRIPTION* description) {
  if (!description || !description->ComputerName || !description->ServiceName)
    return m_reporter.report(ZRNET_E_NO_PARAMETERS, __LINE__);
  if (m_socket.load() != pf::kNoSocket) return m_reporter.report(ZRNET_E_ALREADY_CONNECTED, __LINE__);
  m_parameters = readParameters(m_reporter.context(), false);

  pf::Socket s = pf::openStreamSocket();
  if (s == pf::kNoSocket) return m_reporter.report(ZRNET_E_SOCKET, __LINE__, nullptr, 0, pf::lastSocketError());
  auto fail = [&](int32_t code, const char16_t* what, int error) {
    pf::closeSocket(s);
    return m_reporter.report(code, __LINE__, what, 0, error);
  };

  std::string host, service;
  try {
    host = pf::toUtf8(description->ComputerName);
  } catch (const std::bad_alloc&) {
    return fail(ZRNET_E_NO_MEMORY, u"lpszComputerName", 0);
  }
  bool resolved = startsWithLetter(description->ComputerName) ? pf::resolveHost(host.c_str(), &m_address)
                                                               : pf::parseDottedAddress(host.c_str(), &m_address);
  if (!resolved) return fail(ZRNET_E_HOST_NOT_FOUND, description->ComputerName, pf::lastSocketError());
  try {
    service = pf::toUtf8(description->ServiceName);
  } catch (const std::bad_alloc&) {
    return fail(ZRNET_E_NO_MEMORY, u"ServiceName string", 0);
  }
  if (!startsWithLetter(description->ServiceName)) {
    m_port = static_cast<uint16_t>(std::atoi(service.c_str()));
    m_port = static_cast<uint16_t>(m_port >> 8 | m_port << 8);
  } else if (!pf::resolveService(service.c_str(), &m_port)) {
    return fail(ZRNET_E_SERVICE_NOT_FOUND, description->ServiceName, pf::lastSocketError());
  }

  for (int32_t attempt = 1;; ++attempt) {
    if (pf::connectSocket(s, m_address, m_port)) break;
    int error = pf::lastSocketError();
    bool again = error == pf::kSocketAddressInUse || error == pf::kSocketRefused;
    if (again && attempt < m_parameters.maxRetry) continue;
    if (error == pf::kSocketRefused) return fail(ZRNET_E_REFUSED_AT_LIMIT, description->ServiceName, error);
    char16_t scratch[16];
    return fail(ZRNET_E_CONNECT, socketErrorName(error, scratch, 16), error);
  }
  m_socket = s;
  if (int32_t code = applySocketOptions()) {
    m_socket = pf::kNoSocket;
    pf::closeSocket(s);
    return code;
  }
  m_reporter.trace(64, kWsd05Connected);
  {
    ZR_ScopedLock lock(&m_lock);
    m_closed = false;
  }
  m_disconnectSent = false;
  return m_handler ? startReadThread() : 0;
}

int32_t Connection::startReadThread() {
  addRef();  // held by the thread
  ReadThread* handler = nullptr;
  CZR_Thread* thread = nullptr;
  try {
    handler = new ReadThread(this);
    thread = new CZR_Thread(handler, ZR_CREATE_SUSPENDED, nullptr, kReadThreadStack);
  } catch (const std::bad_alloc&) {
    thread = nullptr;
  }
  if (!thread || !thread->GetHandle()) {
    delete thread;
    delete handler;
    release();
    return m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
  }
  handler->m_thread = thread;
  m_readThread = static_cast<int64_t>(thread->GetThreadId());  // known before a wait for closure can look
  thread->Resume();
  return 0;
}

int32_t Connection::send(void* message) {
  pf::Socket s = m_socket.load();
  if (s == pf::kNoSocket) return m_reporter.report(ZRNET_E_NOT_CONNECTED, __LINE__);
  unsigned char header[16];
  encodeHeader(header, messageTable(message)->GetLength(message), ZRNET_CODE_DATA);
  void* cursor = messageTable(message)->GetCursor(message);
  size_t headerLeft = sizeof header;
  int32_t result = 0;
  for (;;) {
    const void* body = nullptr;
    uint32_t available = 0;
    uint32_t remaining = cursor ? cursorTable(cursor)->Remaining(cursor) : 0;
    if (remaining) {
      body = cursorTable(cursor)->GetPointer(cursor, &available, 0);
      available = body ? std::min(available, remaining) : 0;
      if (!available) {
        result = m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
        break;
      }
    } else if (!headerLeft) {
      break;
    }
    // The header and the first body bytes leave in one call.
    long sent = headerLeft ? pf::sendTwoParts(s, header + sizeof header - headerLeft, headerLeft, body, available)
                           : pf::sendBytes(s, body, available);
    if (sent <= 0) {
      int error = sent < 0 ? pf::lastSocketError() : 0;
      if (sent < 0 && retryable(error)) {
        pf::sleepMilliseconds(kRetryPauseMs);
        continue;
      }
      char16_t scratch[16];
      result = m_reporter.report(ZRNET_E_SEND, __LINE__, socketErrorName(error, scratch, 16), 0, error);
      break;
    }
    size_t fromHeader = std::min(static_cast<size_t>(sent), headerLeft);
    headerLeft -= fromHeader;
    if (static_cast<size_t>(sent) > fromHeader) {
      cursorTable(cursor)->Advance(cursor, static_cast<uint32_t>(static_cast<size_t>(sent) - fromHeader));
    }
  }
  if (cursor) cursorTable(cursor)->Release(cursor);
  m_reporter.trace(64, kWsd08Send, static_cast<long>(result));
  return result;
}

int32_t Connection::sendHeader(uint32_t length, uint32_t code) {
  pf::Socket s = m_socket.load();
  unsigned char header[16];
  encodeHeader(header, length, code);
  size_t done = 0;
  while (done < sizeof header) {
    long sent = pf::sendBytes(s, header + done, sizeof header - done);
    if (sent > 0) {
      done += static_cast<size_t>(sent);
      continue;
    }
    int error = sent < 0 ? pf::lastSocketError() : 0;
    if (sent < 0 && retryable(error)) {
      pf::sleepMilliseconds(kRetryPauseMs);
      continue;
    }
    m_reporter.trace(64, kWsd10WriteHeader, static_cast<int>(error));
    char16_t scratch[16];
    return m_reporter.report(ZRNET_E_SEND, __LINE__, socketErrorName(error, scratch, 16), 0, error);
  }
  return 0;
}

int32_t Connection::disconnect() {
  ZR_ScopedLock lock(&m_lock);
  if (m_disconnectSent || m_socket.load() == pf::kNoSocket) return 0;
  int32_t result = sendHeader(0, ZRNET_CODE_DISCONNECT);
  m_disconnectSent = true;
  m_reporter.trace(64, kWsd09SendDisconnect, static_cast<long>(result));
  return result;
}

int32_t Connection::waitForClosure() {
  int64_t reader = m_readThread.load();
  if (reader == -1 || reader == static_cast<int64_t>(pf::currentThreadId())) return 0;
  CZR_Event* event;
  {
    ZR_ScopedLock lock(&m_lock);
    // A read thread that has ended without closing leaves nothing to wait for.
    if (m_closed || m_readThread.load() == -1) return 0;
    try {
      event = m_closeEvent = new CZR_Event(0, 0);
    } catch (...) {
      return m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
    }
  }
  event->Wait(ZR_INFINITE);
  ZR_ScopedLock lock(&m_lock);
  m_closeEvent = nullptr;
  delete event;
  return 0;
}

void Connection::closeSocket() {
  pf::Socket s = m_socket.load();
  if (s != pf::kNoSocket) {
    pf::shutdownSocket(s, 1);
    char rest[kDrainBytes];
    while (pf::receiveBytes(s, rest, sizeof rest) > 0) {
    }
    m_socket = pf::kNoSocket;
    pf::closeSocket(s);
  }
  ZR_ScopedLock lock(&m_lock);
  m_closed = true;
  if (m_closeEvent) m_closeEvent->Set();
}

void Connection::closeAfterDisconnect() {
  {
    ZR_ScopedLock lock(&m_lock);
    if (!m_disconnectSent && m_socket.load() != pf::kNoSocket) {
      sendHeader(0, ZRNET_CODE_DISCONNECT);
      m_disconnectSent = true;
      pf::sleepMilliseconds(1);
    }
  }
  closeSocket();
}

int32_t Connection::receive(void** message) {
  *message = nullptr;
  if (!m_handler) return m_reporter.report(ZRNET_E_NO_HANDLER, __LINE__);
  pf::Socket s = m_socket.load();
  char16_t scratch[16];
  auto failRead = [&](int error, bool close) {
    m_reporter.report(ZRNET_E_RECV, __LINE__, error ? socketErrorName(error, scratch, 16) : u"EOF", 0, error);
    if (close) closeSocket();
    return ZRNET_E_RECV;
  };

  unsigned char raw[16];
  size_t got = 0;
  while (got < sizeof raw) {
    long n = pf::receiveBytes(s, raw + got, sizeof raw - got);
    if (n > 0) {
      got += static_cast<size_t>(n);
    } else if (n == 0 && m_disconnectSent) {
      encodeHeader(raw, 0, ZRNET_CODE_DISCONNECT);  // the peer closed after our disconnect
      got = sizeof raw;
    } else if (n == 0) {
      return failRead(0, true);
    } else if (retryable(pf::lastSocketError())) {
      pf::sleepMilliseconds(kRetryPauseMs);
    } else {
      return failRead(pf::lastSocketError(), true);
    }
  }
  m_header = {getWord(raw), getWord(raw + 4), getWord(raw + 8), getWord(raw + 12)};
  if (m_header.Proto != ZRNET_PROTO) {
    // Ends the reading, but leaves the socket to its owner.
    unsigned proto = m_header.Proto;
    m_header = {};
    m_reporter.report(ZRNET_E_RECV, __LINE__, u"Proto", 0, static_cast<int>(proto));
    return ZRNET_E_RECV;
  }
  if (m_header.Code == ZRNET_CODE_DISCONNECT && m_header.Len == 0) {
    m_reporter.trace(64, kWsd06Disconnect, static_cast<unsigned>(m_header.Code));
    return ZRNET_CODE_DISCONNECT;
  }
  m_reporter.trace(64, kWsd07Header, static_cast<int>(m_header.Proto), static_cast<int>(m_header.Len));

  void* received = handlerTable(m_handler)->CreateMessageBuffer(m_handler, m_header.Len);
  if (!received) {
    m_reporter.report(ZRNET_E_NO_MEMORY, __LINE__, u"CreateMessageBuffer");
    closeSocket();
    return ZRNET_E_NO_MEMORY;
  }
  uint32_t remaining = m_header.Len;
  void* cursor = remaining ? messageTable(received)->GetCursor(received) : nullptr;
  int32_t result = 0;
  while (remaining) {
    uint32_t available = 0;
    void* into = cursor ? cursorTable(cursor)->GetWritePointer(cursor, &available, 0) : nullptr;
    if (!into || !available) {
      result = m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
      closeSocket();
      break;
    }
    long n = pf::receiveBytes(s, into, std::min(available, remaining));
    if (n > 0) {
      cursorTable(cursor)->AdvanceWrite(cursor, static_cast<uint32_t>(n));
      remaining -= static_cast<uint32_t>(n);
    } else if (n < 0 && retryable(pf::lastSocketError())) {
      pf::sleepMilliseconds(kRetryPauseMs);
    } else {
      result = failRead(n < 0 ? pf::lastSocketError() : 0, true);
      break;
    }
  }
  if (cursor) cursorTable(cursor)->Release(cursor);
  if (result) {
    messageTable(received)->Release(received);
    return result;
  }
  *message = received;
  return 0;
}

void Connection::readLoop() {
  int32_t result;
  for (;;) {
    void* message;
    result = receive(&message);
    if (result) break;
    handlerTable(m_handler)->Deliver(m_handler, message);
    messageTable(message)->Release(message);
  }
  if (result == ZRNET_CODE_DISCONNECT) closeAfterDisconnect();
  if (m_socket.load() != pf::kNoSocket) m_reporter.report(ZRNET_E_INTERNAL, __LINE__);
  {
    ZR_ScopedLock lock(&m_lock);
    m_readThread = -1;
    if (m_closeEvent) m_closeEvent->Set();
  }
  release();
}

int32_t Connection::readStep() {
  void* message;
  int32_t result = receive(&message);
  if (result == 0) {
    int32_t answer = handlerTable(m_handler)->Deliver(m_handler, message);
    messageTable(message)->Release(message);
    if (answer != ZRNET_LEFT_POOL && m_pool) {
      addRef();
      m_pool->addPending(this);
    }
  } else if (result == ZRNET_CODE_DISCONNECT) {
    closeAfterDisconnect();
  }
  return result;
}

}  // namespace zr::net

using zr::net::Connection;

ZRAPI ZRNET_Connection* GetConnection_Winsock(void* context) {
  if (!context) {
    std::fprintf(stderr, "NULL Context passed to GetConecction_Winsock, %X\n", 0u);
    return nullptr;
  }
  Connection* c = Connection::create(context);
  return c ? c->object() : nullptr;
}
