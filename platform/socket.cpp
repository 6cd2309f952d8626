#include "platform/socket.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace zr::platform {
namespace {

thread_local int tLastError = 0;

template <class T>
T failed(T result) {
  tLastError = socketErrorFromErrno(errno);
  return result;
}

bool mapOption(int level, int name, int* osLevel, int* osName) {
  if (level == kLevelSocket) {
    *osLevel = SOL_SOCKET;
    switch (name) {
      case kOptionReuseAddress: *osName = SO_REUSEADDR; return true;
      case kOptionSendBuffer: *osName = SO_SNDBUF; return true;
      case kOptionReceiveBuffer: *osName = SO_RCVBUF; return true;
    }
  } else if (level == kLevelTcp && name == kOptionTcpNoDelay) {
    *osLevel = IPPROTO_TCP;
    *osName = TCP_NODELAY;
    return true;
  }
  return false;
}

sockaddr_in ipv4(uint32_t address, uint16_t port) {
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = address;
  a.sin_port = port;
  return a;
}

}  // namespace

int lastSocketError() { return tLastError; }

int socketErrorFromErrno(int error) {
  switch (error) {
    case EINTR: return 10004;
    case EBADF: return 10009;
    case EACCES: return 10013;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case EMFILE: case ENFILE: return 10024;
    case EWOULDBLOCK: return 10035;
    case EINPROGRESS: return 10036;
    case EALREADY: return 10037;
    case ENOTSOCK: return 10038;
    case EDESTADDRREQ: return 10039;
    case EMSGSIZE: return 10040;
    case EPROTOTYPE: return 10041;
    case ENOPROTOOPT: return 10042;
    case EPROTONOSUPPORT: return 10043;
    case ESOCKTNOSUPPORT: return 10044;
    case EOPNOTSUPP: return 10045;
    case EPFNOSUPPORT: return 10046;
    case EAFNOSUPPORT: return 10047;
    case EADDRINUSE: return 10048;
    case EADDRNOTAVAIL: return 10049;
    case ENETDOWN: return 10050;
    case ENETUNREACH: return 10051;
    case ENETRESET: return 10052;
    case ECONNABORTED: return 10053;
    case ECONNRESET: case EPIPE: return 10054;  // a send to a peer that has gone
    case ENOBUFS: case ENOMEM: return 10055;
    case EISCONN: return 10056;
    case ENOTCONN: return 10057;
    case ESHUTDOWN: return 10058;
    case ETOOMANYREFS: return 10059;
    case ETIMEDOUT: return 10060;
    case ECONNREFUSED: return 10061;
    case ELOOP: return 10062;
    case ENAMETOOLONG: return 10063;
    case EHOSTDOWN: return 10064;
    case EHOSTUNREACH: return 10065;
    case ENOTEMPTY: return 10066;
    case EUSERS: return 10068;
    case EDQUOT: return 10069;
    case ESTALE: return 10070;
    case EREMOTE: return 10071;
    default: return error ? 10000 + error : 0;
  }
}

Socket openStreamSocket() {
  Socket s = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  return s >= 0 ? s : failed(kNoSocket);
}

bool connectSocket(Socket s, uint32_t address, uint16_t port) {
  sockaddr_in a = ipv4(address, port);
  return connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 || failed(false);
}

bool bindSocket(Socket s, uint32_t address, uint16_t port) {
  sockaddr_in a = ipv4(address, port);
  return bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0 || failed(false);
}

bool listenSocket(Socket s, int backlog) { return listen(s, backlog) == 0 || failed(false); }

Socket acceptSocket(Socket listening) {
  Socket s = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
  return s >= 0 ? s : failed(kNoSocket);
}

uint16_t localPort(Socket s) {
  sockaddr_in a{};
  socklen_t length = sizeof a;
  if (getsockname(s, reinterpret_cast<sockaddr*>(&a), &length) != 0) return failed(uint16_t{0});
  return a.sin_port;
}

bool setSocketOption(Socket s, int level, int name, int value) {
  int osLevel, osName;
  if (!mapOption(level, name, &osLevel, &osName)) {
    tLastError = 10042;
    return false;
  }
  return setsockopt(s, osLevel, osName, &value, sizeof value) == 0 || failed(false);
}

bool getSocketOption(Socket s, int level, int name, int* value) {
  int osLevel, osName;
  if (!mapOption(level, name, &osLevel, &osName)) {
    tLastError = 10042;
    return false;
  }
  socklen_t length = sizeof *value;
  return getsockopt(s, osLevel, osName, value, &length) == 0 || failed(false);
}

long sendBytes(Socket s, const void* data, size_t length) {
  ssize_t n = send(s, data, length, MSG_NOSIGNAL);
  return n >= 0 ? static_cast<long>(n) : failed(-1L);
}

long sendTwoParts(Socket s, const void* first, size_t firstLength, const void* second,
                  size_t secondLength) {
  iovec parts[2] = {{const_cast<void*>(first), firstLength}, {const_cast<void*>(second), secondLength}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = secondLength ? 2 : 1;
  ssize_t n = sendmsg(s, &message, MSG_NOSIGNAL);
  return n >= 0 ? static_cast<long>(n) : failed(-1L);
}

long receiveBytes(Socket s, void* buffer, size_t length) {
  ssize_t n = recv(s, buffer, length, 0);
  return n >= 0 ? static_cast<long>(n) : failed(-1L);
}

bool shutdownSocket(Socket s, int how) {
  int osHow = how == 0 ? SHUT_RD : how == 1 ? SHUT_WR : SHUT_RDWR;
  return shutdown(s, osHow) == 0 || failed(false);
}

bool closeSocket(Socket s) { return close(s) == 0 || failed(false); }

bool socketPair(Socket pair[2]) {
  return socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0 || failed(false);
}

bool resolveHost(const char* name, uint32_t* address) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(name, nullptr, &hints, &found) != 0 || !found) {
    tLastError = 11001;  // host not found
    return false;
  }
  *address = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
  freeaddrinfo(found);
  return true;
}

bool parseDottedAddress(const char* text, uint32_t* address) {
  in_addr a{};
  if (inet_aton(text, &a) == 0) {
    tLastError = 10022;
    return false;
  }
  *address = a.s_addr;
  return true;
}

bool resolveService(const char* name, uint16_t* port) {
  servent entry{}, *found = nullptr;
  char buffer[1024];
  if (getservbyname_r(name, "tcp", &entry, buffer, sizeof buffer, &found) != 0 || !found) {
    tLastError = 11004;  // no data of the requested kind
    return false;
  }
  *port = static_cast<uint16_t>(found->s_port);
  return true;
}

// poll rather than select: descriptors past 1023 do not fit an fd_set.
int waitReadable(const Socket* sockets, int count, bool* readable, long microseconds) {
  pollfd fds[64];
  if (count < 0 || count > 64) {
    tLastError = 10022;
    return -1;
  }
  for (int i = 0; i < count; ++i) fds[i] = {sockets[i], POLLIN, 0};
  timespec limit{microseconds / 1000000, (microseconds % 1000000) * 1000};
  int n = ppoll(fds, static_cast<nfds_t>(count), &limit, nullptr);
  if (n < 0) return failed(-1);
  for (int i = 0; i < count; ++i) readable[i] = (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) != 0;
  return n;
}

}  // namespace zr::platform
