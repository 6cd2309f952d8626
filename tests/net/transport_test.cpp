// The transport over 127.0.0.1: bytes on the wire, messages both ways, bad
// input from a raw peer, parameters and error texts.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "net/transport.h"
#include "tests/net/net_support.h"

namespace {

using namespace nettest;

std::u16string portText(uint16_t port) {
  std::string s = std::to_string(port);
  return std::u16string(s.begin(), s.end());
}

std::vector<unsigned char> pattern(size_t n, unsigned seed) {
  std::vector<unsigned char> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<unsigned char>(seed * 31 + i * 7 + (i >> 8));
  return v;
}

std::vector<unsigned char> header(uint32_t proto, uint32_t len, uint32_t code) {
  std::vector<unsigned char> h;
  for (uint32_t w : {proto, len, code, 0u}) {
    for (int shift = 24; shift >= 0; shift -= 8) h.push_back(static_cast<unsigned char>(w >> shift));
  }
  return h;
}

// A plain socket peer that the test drives byte by byte.
struct RawPeer {
  int fd = -1;
  ~RawPeer() {
    if (fd >= 0) close(fd);
  }
  bool connectTo(uint16_t port) {
    fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
  }
  void put(const std::vector<unsigned char>& bytes) {
    ASSERT_EQ(::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  std::vector<unsigned char> get(size_t n) {
    std::vector<unsigned char> out(n);
    size_t got = 0;
    while (got < n) {
      ssize_t r = recv(fd, out.data() + got, n - got, 0);
      if (r <= 0) break;
      got += static_cast<size_t>(r);
    }
    out.resize(got);
    return out;
  }
  bool atEnd() {
    char c;
    return recv(fd, &c, 1, 0) == 0;
  }
};

// A listening plain socket on an ephemeral port.
struct RawServer {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  uint16_t port = 0;
  RawServer() {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    listen(fd, 5);
    socklen_t n = sizeof a;
    getsockname(fd, reinterpret_cast<sockaddr*>(&a), &n);
    port = ntohs(a.sin_port);
  }
  ~RawServer() { close(fd); }
  int acceptOne() { return accept(fd, nullptr, nullptr); }
};

struct Collected {
  std::mutex lock;
  std::vector<std::vector<unsigned char>> bodies;
  CZR_Semaphore arrived{0, 1 << 20};
  void add(Message* m) {
    {
      std::lock_guard<std::mutex> hold(lock);
      bodies.push_back(m->body);
    }
    arrived.Release(1);
  }
};

TEST(Transport, ClientBytesOnTheWireAndMessagesBack) {
  RawServer server;
  Context context;
  Trace trace;
  context.trace = &trace;
  Collected got;
  Handler handler;
  handler.chunk = 1000;  // the body arrives through many cursor steps
  handler.onMessage = [&](ZRNET_Connection*, Message* m) { got.add(m); };
  ZRNET_Connection* c = GetConnection_Winsock(&context);
  ASSERT_NE(c, nullptr);
  c->vtbl->SetHandler(c, &handler);
  std::u16string port = portText(server.port);
  ZRNET_DESCRIPTION where{u"127.0.0.1", port.c_str()};
  ASSERT_EQ(c->vtbl->Connect(c, &where), 0);
  RawPeer peer;
  peer.fd = server.acceptOne();

  auto body = pattern(70000, 3);
  Message data(body), empty;
  data.chunk = 4096;
  EXPECT_EQ(c->vtbl->Send(c, &data), 0);
  EXPECT_EQ(c->vtbl->Send(c, &empty), 0);
  auto wire = peer.get(16 + body.size() + 16);
  auto expected = header(0x6000, 70000, 0);
  expected.insert(expected.end(), body.begin(), body.end());
  auto emptyHeader = header(0x6000, 0, 0);
  expected.insert(expected.end(), emptyHeader.begin(), emptyHeader.end());
  EXPECT_EQ(wire, expected);
  EXPECT_EQ(data.references.load(), 1) << "every cursor was released";

  auto back = pattern(5000, 9);
  auto bytes = header(0x6000, 5000, 0);
  bytes.insert(bytes.end(), back.begin(), back.end());
  auto none = header(0x6000, 0, 0);
  bytes.insert(bytes.end(), none.begin(), none.end());
  peer.put(bytes);
  ASSERT_EQ(got.arrived.Wait(5000), ZR_WAIT_OBJECT_0);
  ASSERT_EQ(got.arrived.Wait(5000), ZR_WAIT_OBJECT_0);
  EXPECT_EQ(got.bodies[0], back);
  EXPECT_TRUE(got.bodies[1].empty()) << "an empty data message reaches the handler";

  // Our disconnect goes out; the peer's answer closes the connection.
  EXPECT_EQ(c->vtbl->Disconnect(c), 0);
  EXPECT_EQ(peer.get(16), header(0x6000, 0, 255));
  peer.put(header(0x6000, 0, 255));
  EXPECT_TRUE(peer.atEnd()) << "the connection shut its side";
  peer.fd = (close(peer.fd), -1);  // its socket closes once we have closed ours
  EXPECT_EQ(c->vtbl->WaitForClosure(c), 0);
  EXPECT_TRUE(context.takeReports().empty());
  EXPECT_EQ(c->vtbl->Release(c), 0u);
  EXPECT_TRUE(context.settles()) << "the connection gave its context reference back";
  EXPECT_EQ(Message::alive.load(), 2) << "only the test's own two messages are left";
  std::lock_guard<std::mutex> hold(trace.lock);
  EXPECT_EQ(trace.formats.front(), u"WSD01 New Connection object - ThreadID 0%X");
}

TEST(Transport, PeerDisconnectIsAnsweredAndPeerCloseReportsEof) {
  RawServer server;
  Context context;
  Handler handler;
  std::u16string port = portText(server.port);
  ZRNET_DESCRIPTION where{u"127.0.0.1", port.c_str()};
  for (bool orderly : {true, false}) {
    ZRNET_Connection* c = GetConnection_Winsock(&context);
    c->vtbl->SetHandler(c, &handler);
    ASSERT_EQ(c->vtbl->Connect(c, &where), 0);
    RawPeer peer;
    peer.fd = server.acceptOne();
    if (orderly) {
      peer.put(header(0x6000, 0, 255));
      EXPECT_EQ(peer.get(16), header(0x6000, 0, 255)) << "the connection answers a disconnect";
      EXPECT_TRUE(peer.atEnd());
    }
    peer.fd = (close(peer.fd), -1);
    c->vtbl->WaitForClosure(c);
    auto reports = context.takeReports();
    if (orderly) {
      EXPECT_TRUE(reports.empty());
    } else {
      ASSERT_EQ(reports.size(), 1u);
      EXPECT_EQ(reports[0].code, 9959);
      EXPECT_EQ(reports[0].text, u"Recv call failed with the error EOF, (0)");
    }
    EXPECT_EQ(c->vtbl->Send(c, nullptr), 9970) << "closed: nothing to send on";
    context.takeReports();
    c->vtbl->Release(c);
  }
  EXPECT_TRUE(context.settles());
}

// A listener whose connections collect what they receive.
struct Server {
  Context context;
  ListenerHandler listenerHandler;
  std::vector<std::unique_ptr<Handler>> handlers;
  std::mutex lock;
  Collected got;
  ZRNET_Listener* listener = nullptr;
  uint16_t port = 0;

  explicit Server(bool pooling = false, uint32_t limit = 1u << 24) {
    if (pooling) context.parameters[u"ThreadPooling"] = u"1";
    listenerHandler.pool = new CZR_GrowableThreadPool(4, 50, 100);
    listenerHandler.makeHandler = [this, limit](ZRNET_Connection*) {
      std::lock_guard<std::mutex> hold(lock);
      handlers.push_back(std::make_unique<Handler>());
      handlers.back()->limit = limit;
      handlers.back()->onMessage = [this](ZRNET_Connection*, Message* m) { got.add(m); };
      return handlers.back().get();
    };
    listener = GetListener_Winsock(&context, nullptr);
    listener->vtbl->SetHandler(listener, &listenerHandler);
    ZRNET_DESCRIPTION where{nullptr, u"0"};
    EXPECT_EQ(listener->vtbl->Listen(listener, &where), 0);
    port = zr::net::listenerPort(listener);
  }
  ~Server() {
    listener->vtbl->Stop(listener);
    listener->vtbl->Release(listener);
    listenerHandler.releaseAll();
    EXPECT_TRUE(context.settles());
    delete listenerHandler.pool;
  }
};

TEST(Transport, BadInputIsReportedAndTheListenerServesOthers) {
  for (bool pooling : {false, true}) {
    SCOPED_TRACE(pooling ? "pooling" : "a thread per connection");
    Server server(pooling, 100000);
    struct Case {
      std::vector<unsigned char> bytes;
      bool closeAfter;
      int32_t code;
      const char16_t* text;
    };
    auto cutBody = header(0x6000, 100, 0);
    cutBody.resize(16 + 40);
    std::vector<Case> cases = {
        {header(0x6001, 4, 0), false, 9959, u"Recv call failed with the error Proto, (6001)"},
        {{0x00, 0x00, 0x60}, true, 9959, u"Recv call failed with the error EOF, (0)"},
        {cutBody, true, 9959, u"Recv call failed with the error EOF, (0)"},
        {header(0x6000, 0xFFFFFFF0u, 0), false, 9968,
         u"Out of memory attempting to allocate CreateMessageBuffer, (0)"},
    };
    size_t served = 0;
    for (auto& k : cases) {
      RawPeer peer;
      ASSERT_TRUE(peer.connectTo(server.port));
      ASSERT_TRUE(server.listenerHandler.waitFor(++served));
      peer.put(k.bytes);
      if (k.closeAfter) shutdown(peer.fd, SHUT_WR);
      for (int i = 0; i < 500 && !server.context.hasReport(k.code); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      if (k.code == 9968) {
        EXPECT_TRUE(peer.atEnd()) << "a refused length closes the socket";
      }
      peer.fd = (close(peer.fd), -1);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      auto reports = server.context.takeReports();
      ASSERT_FALSE(reports.empty());
      EXPECT_EQ(reports[0].code, k.code);
      EXPECT_EQ(reports[0].text, k.text);
    }
    // Still serving.
    Context context;
    Handler handler;
    ZRNET_Connection* c = GetConnection_Winsock(&context);
    c->vtbl->SetHandler(c, &handler);
    std::u16string port = portText(server.port);
    ZRNET_DESCRIPTION where{u"localhost", port.c_str()};
    ASSERT_EQ(c->vtbl->Connect(c, &where), 0);
    Message m(pattern(90000, 1));
    EXPECT_EQ(c->vtbl->Send(c, &m), 0);
    for (auto& r : context.takeReports()) ADD_FAILURE() << r.code << " " << std::string(r.text.begin(), r.text.end());
    for (auto& r : server.context.takeReports()) ADD_FAILURE() << r.code << " " << std::string(r.text.begin(), r.text.end());
    ASSERT_EQ(server.got.arrived.Wait(10000), ZR_WAIT_OBJECT_0);
    EXPECT_EQ(server.got.bodies.back(), m.body);
    c->vtbl->Disconnect(c);
    c->vtbl->WaitForClosure(c);
    c->vtbl->Release(c);
    EXPECT_TRUE(context.settles());
    EXPECT_TRUE(context.takeReports().empty());
  }
}

TEST(Transport, ConnectFailuresAndErrorTexts) {
  Context context;
  ZRNET_Connection* c = GetConnection_Winsock(&context);
  ZRNET_DESCRIPTION noService{u"127.0.0.1", nullptr};
  EXPECT_EQ(c->vtbl->Connect(c, &noService), 9971);
  ZRNET_DESCRIPTION badHost{u"300.1.2.3", u"1"};
  EXPECT_EQ(c->vtbl->Connect(c, &badHost), 9951);

  uint16_t closedPort;
  {
    RawServer gone;
    closedPort = gone.port;
  }
  std::u16string port = portText(closedPort);
  context.parameters[u"MaxRetry"] = u"3";
  ZRNET_DESCRIPTION refused{u"127.0.0.1", port.c_str()};
  EXPECT_EQ(c->vtbl->Connect(c, &refused), 2) << "refused at the retry limit";
  auto reports = context.takeReports();
  ASSERT_EQ(reports.size(), 3u);
  EXPECT_EQ(reports[0].text, u"No connection parameters were specified, (0)");
  EXPECT_EQ(reports[1].text, u"Hostname was not found 300.1.2.3, (2726)");
  EXPECT_EQ(reports[2].code, 2);
  EXPECT_EQ(reports[2].text, port);

  char16_t text[80];
  EXPECT_EQ(c->vtbl->GetErrorText(c, 9961, text, 80), 0);
  EXPECT_EQ(std::u16string(text), u"Connect call failed with error %s, (%X)");
  EXPECT_EQ(c->vtbl->GetErrorText(c, 10061, text, 80), 0);
  EXPECT_EQ(std::u16string(text), u"WSAECONNREFUSED");
  EXPECT_EQ(c->vtbl->GetErrorText(c, 9964, text, 8), 0);
  EXPECT_EQ(std::u16string(text), u"No mess") << "cut to the buffer";
  EXPECT_EQ(c->vtbl->GetErrorText(c, 1234, text, 80), 9962);
  EXPECT_EQ(text[0], 0);
  c->vtbl->Release(c);

  EXPECT_EQ(GetConnection_Winsock(nullptr), nullptr);
  ZRNET_Listener* l = GetListener_Winsock(&context, nullptr);
  ZRNET_DESCRIPTION any{nullptr, u"0"};
  EXPECT_EQ(l->vtbl->Listen(l, &any), 9964) << "no handler yet";
  l->vtbl->Release(l);
}

TEST(Transport, ParametersReadInOrderWithTheirQuirks) {
  using zr::net::readParameters;
  Context context;
  auto p = readParameters(&context, false);
  EXPECT_EQ(p.bufSize, 4096);
  EXPECT_EQ(p.maxRetry, 1);
  EXPECT_EQ(readParameters(&context, true).maxRetry, 10);
  context.parameters = {{u"BufSize", u"100"}, {u"PacketSize", u"99999"}, {u"TimeOut", u"0"},
                        {u"NoDelay", u"-1"},  {u"ThreadPooling", u"2"},  {u"MaxListeningThreads", u"40"}};
  p = readParameters(&context, true);
  EXPECT_EQ(p.bufSize, 100) << "the lower bound does not last";
  EXPECT_EQ(p.packetSize, 8192);
  EXPECT_EQ(p.timeOut, 0);
  EXPECT_EQ(p.noDelay, 0);
  EXPECT_EQ(p.threadPooling, 0) << "only exactly 1 switches pooling on";
  EXPECT_EQ(p.maxListeningThreads, 16);
  context.parameters = {{u"BufSize", u"2000"}, {u"MaxRetry", u"50"}};
  p = readParameters(&context, false);
  EXPECT_EQ(p.maxRetry, 50);
  EXPECT_EQ(p.bufSize, 50) << "a configured retry count overwrites the buffer size";
  context.parameters = {{u"MaxRetry", u"0"}};
  p = readParameters(&context, false);
  EXPECT_EQ(p.maxRetry, 1);
  EXPECT_EQ(p.bufSize, 0);

  // Read back from a connected socket: the send buffer is set (the kernel
  // doubles it), the receive buffer is left alone, no-delay follows the flag.
  RawServer server;
  std::u16string port = portText(server.port);
  ZRNET_DESCRIPTION where{u"127.0.0.1", port.c_str()};
  for (const char16_t* noDelay : {u"1", u"0"}) {
    context.parameters = {{u"BufSize", u"8192"}, {u"NoDelay", noDelay}};
    ZRNET_Connection* c = GetConnection_Winsock(&context);
    ASSERT_EQ(c->vtbl->Connect(c, &where), 0);
    int fresh = socket(AF_INET, SOCK_STREAM, 0);
    int s = zr::net::Connection::of(c)->socket(), value = 0, kernelDefault = 0;
    socklen_t n = sizeof value;
    getsockopt(s, SOL_SOCKET, SO_SNDBUF, &value, &n);
    EXPECT_EQ(value, 2 * 4096);
    getsockopt(s, SOL_SOCKET, SO_RCVBUF, &value, &n);
    getsockopt(fresh, SOL_SOCKET, SO_RCVBUF, &kernelDefault, &n);
    EXPECT_EQ(value, kernelDefault);
    getsockopt(s, IPPROTO_TCP, TCP_NODELAY, &value, &n);
    EXPECT_EQ(value != 0, noDelay[0] == u'1');
    close(fresh);
    int accepted = server.acceptOne();
    close(accepted);
    c->vtbl->Release(c);
  }
  EXPECT_TRUE(context.settles());
}

}  // namespace
