// The receive step on arbitrary bytes from a socket pair: headers, lengths up
// to 4 GiB against a handler that caps its buffers, cut-off input. Only the
// documented codes may come back, and bodies land inside their buffers
// (AddressSanitizer watches each buffer's exact size).
//
// Input: byte 0 picks the cursor's step size, bytes 1-3 the buffer cap; the
// rest is what the peer sends before it closes.
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

#include "net/transport.h"
#include "tests/net/net_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4 || size > 65536) return 0;  // a socket pair buffers this much without a reader
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) return 0;
  const uint8_t* stream = data + 4;
  size_t length = size - 4;
  if (length && ::send(pair[1], stream, length, MSG_NOSIGNAL) != static_cast<ssize_t>(length)) abort();
  shutdown(pair[1], SHUT_WR);

  nettest::Context context;
  nettest::Handler handler;
  handler.chunk = 1u + data[0] * 97u;
  handler.limit = uint32_t{data[1]} << 16 | uint32_t{data[2]} << 8 | data[3];
  size_t delivered = 0;
  handler.onMessage = [&](ZRNET_Connection*, nettest::Message* m) { delivered += m->body.size(); };

  auto* c = zr::net::Connection::createForSocket(&context, pair[0], zr::net::readParameters(nullptr, false), nullptr);
  c->setHandler(&handler);
  int32_t result;
  for (;;) {
    void* message;
    result = c->receive(&message);
    if (result) break;
    nettest::Handler::deliver(&handler, message);
    nettest::Message::release(message);
  }
  if (result != ZRNET_CODE_DISCONNECT && result != ZRNET_E_RECV && result != ZRNET_E_NO_MEMORY) abort();
  for (auto& r : context.takeReports()) {
    if (r.code != ZRNET_E_RECV && r.code != ZRNET_E_NO_MEMORY) abort();
  }
  if (delivered > length) abort();
  c->destroy();
  close(pair[1]);
  if (nettest::Message::alive.load() != 0) abort();
  return 0;
}
