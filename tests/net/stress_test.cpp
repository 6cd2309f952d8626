// Many connections, many messages: nothing lost, reordered or damaged per
// connection with a read thread per connection; afterwards the process has its threads and descriptors back.
// ZR_NET_STRESS_SCALE=n divides both counts of 1000 connections and 1000
// messages; the default of 10 keeps the suite short, 1 is the full run.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "net/transport.h"
#include "tests/net/net_support.h"
#include "tests/objects/thread_support.h"

namespace {

using namespace nettest;

int openDescriptors() {
  int n = 0;
  if (DIR* d = opendir("/proc/self/fd")) {
    while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
  }
  return n - 1;  // the directory's own descriptor
}

int scaleDivisor() {
  const char* text = std::getenv("ZR_NET_STRESS_SCALE");
  int n = text ? std::atoi(text) : 10;
  return n > 0 ? n : 10;
}

uint32_t checksum(const unsigned char* p, size_t n) {
  uint32_t sum = 0x811C9DC5u;
  for (size_t i = 0; i < n; ++i) sum = (sum ^ p[i]) * 0x01000193u;
  return sum;
}

// Body: connection number, sequence number, checksum of the rest, the rest.
void fillMessage(std::vector<unsigned char>& body, uint32_t connection, uint32_t sequence, uint64_t& seed) {
  seed ^= seed << 13, seed ^= seed >> 7, seed ^= seed << 17;
  unsigned bits = static_cast<unsigned>(seed % 17);
  size_t size = 12 + static_cast<size_t>((seed >> 8) % (uint64_t{1} << bits));
  body.resize(size);
  for (size_t i = 12; i < size; ++i) body[i] = static_cast<unsigned char>((seed >> (i % 56)) + i);
  uint32_t sum = checksum(body.data() + 12, size - 12);
  std::memcpy(body.data(), &connection, 4);
  std::memcpy(body.data() + 4, &sequence, 4);
  std::memcpy(body.data() + 8, &sum, 4);
}

struct Receiver : Handler {
  int64_t from = -1;
  uint32_t next = 0;
  std::atomic<long>* received;
  std::atomic<long>* faults;
};

void checkMessage(Receiver* r, Message* m) {
  uint32_t connection, sequence, sum;
  if (m->body.size() < 12) {
    ++*r->faults;
    return;
  }
  std::memcpy(&connection, m->body.data(), 4);
  std::memcpy(&sequence, m->body.data() + 4, 4);
  std::memcpy(&sum, m->body.data() + 8, 4);
  if (r->from == -1) r->from = connection;
  bool good = r->from == connection && sequence == r->next && sum == checksum(m->body.data() + 12, m->body.size() - 12);
  r->next = sequence + 1;
  *(good ? r->received : r->faults) += 1;
}

TEST(TransportStress, ThreadPerConnection) {
  const int connections = 1000 / scaleDivisor(), messages = 1000 / scaleDivisor();
  rlimit files;
  getrlimit(RLIMIT_NOFILE, &files);
  if (files.rlim_cur < files.rlim_max) {
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
  }
  ASSERT_GE(files.rlim_cur, static_cast<rlim_t>(2 * connections + 100)) << "too few descriptors allowed";
  const int threadsBefore = zrtest::threadCount(), descriptorsBefore = openDescriptors();

  std::atomic<long> received{0}, faults{0};
  Context serverContext;
  std::vector<std::unique_ptr<Receiver>> receivers;
  std::mutex receiversLock;
  ListenerHandler listenerHandler;
  listenerHandler.pool = new CZR_GrowableThreadPool(4, 50, 100);
  listenerHandler.makeHandler = [&](ZRNET_Connection*) {
    auto r = std::make_unique<Receiver>();
    r->received = &received;
    r->faults = &faults;
    r->onMessage = [raw = r.get()](ZRNET_Connection*, Message* m) { checkMessage(raw, m); };
    std::lock_guard<std::mutex> hold(receiversLock);
    receivers.push_back(std::move(r));
    return receivers.back().get();
  };
  ZRNET_Listener* listener = GetListener_Winsock(&serverContext, nullptr);
  listener->vtbl->SetHandler(listener, &listenerHandler);
  ZRNET_DESCRIPTION any{nullptr, u"0"};
  ASSERT_EQ(listener->vtbl->Listen(listener, &any), 0);
  std::string portNarrow = std::to_string(zr::net::listenerPort(listener));
  std::u16string port(portNarrow.begin(), portNarrow.end());

  Context clientContext;
  Handler clientHandler;
  std::vector<ZRNET_Connection*> clients;
  ZRNET_DESCRIPTION where{u"127.0.0.1", port.c_str()};
  // In waves that wait for the accept callbacks: the listen backlog is 5.
  constexpr int kWave = 25;
  for (int i = 0; i < connections; ++i) {
    ZRNET_Connection* c = GetConnection_Winsock(&clientContext);
    c->vtbl->SetHandler(c, &clientHandler);
    ASSERT_EQ(c->vtbl->Connect(c, &where), 0) << "connection " << i;
    clients.push_back(c);
    if ((i + 1) % kWave == 0 || i + 1 == connections) {
      ASSERT_TRUE(listenerHandler.waitFor(static_cast<size_t>(i + 1), 30000));
    }
  }

  constexpr int kSenders = 8;
  std::atomic<long> sendFailures{0};
  std::vector<std::thread> senders;
  auto start = std::chrono::steady_clock::now();
  for (int t = 0; t < kSenders; ++t) {
    senders.emplace_back([&, t] {
      Message message;
      uint64_t seed = 0x9E3779B97F4A7C15ull * static_cast<uint64_t>(t + 1);
      for (int seq = 0; seq < messages; ++seq) {
        for (int i = t; i < connections; i += kSenders) {
          fillMessage(message.body, static_cast<uint32_t>(i), static_cast<uint32_t>(seq), seed);
          if (clients[static_cast<size_t>(i)]->vtbl->Send(clients[static_cast<size_t>(i)], &message) != 0) ++sendFailures;
        }
      }
    });
  }
  for (auto& s : senders) s.join();
  const long expected = static_cast<long>(connections) * messages;
  for (int waited = 0; received.load() + faults.load() < expected && waited < 120000; ++waited) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%ld messages in %.2f s, %.0f messages/s\n", expected, seconds, static_cast<double>(expected) / seconds);

  for (auto* c : clients) c->vtbl->Disconnect(c);
  for (auto* c : clients) {
    c->vtbl->WaitForClosure(c);
    c->vtbl->Release(c);
  }
  listenerHandler.releaseAll();
  listener->vtbl->Stop(listener);
  listener->vtbl->Release(listener);
  EXPECT_TRUE(clientContext.settles(30000));
  EXPECT_TRUE(serverContext.settles(30000));
  delete listenerHandler.pool;

  EXPECT_EQ(sendFailures.load(), 0);
  EXPECT_EQ(faults.load(), 0) << "lost, reordered or damaged messages";
  EXPECT_EQ(received.load(), expected);
  for (auto& r : receivers) {
    EXPECT_EQ(r->next, static_cast<uint32_t>(messages));
  }
  EXPECT_TRUE(clientContext.takeReports().empty());
  EXPECT_TRUE(serverContext.takeReports().empty());
  EXPECT_TRUE(zrtest::threadCountBecomes(threadsBefore, std::chrono::seconds(30)));
  EXPECT_EQ(openDescriptors(), descriptorsBefore);
}


}  // namespace
