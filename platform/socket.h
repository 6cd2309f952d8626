// socket.h - IPv4 stream sockets for the message transport. Failures leave
// a socket error number in the socket-layer numbering (10004 interrupted,
// 10035 would block, 10061 refused, ...), read back with lastSocketError().
#ifndef ZR_PLATFORM_SOCKET_H
#define ZR_PLATFORM_SOCKET_H

#include <cstddef>
#include <cstdint>

#include "platform/file.h"  // sleepMilliseconds

namespace zr::platform {

using Socket = int;
constexpr Socket kNoSocket = -1;

constexpr int kSocketInterrupted = 10004;
constexpr int kSocketWouldBlock = 10035;
constexpr int kSocketAddressInUse = 10048;
constexpr int kSocketRefused = 10061;

// Option levels and names as the socket layer's callers number them.
constexpr int kLevelSocket = 0xFFFF;
constexpr int kLevelTcp = 6;
constexpr int kOptionReuseAddress = 4;
constexpr int kOptionSendBuffer = 0x1001;
constexpr int kOptionReceiveBuffer = 0x1002;
constexpr int kOptionTcpNoDelay = 1;

int lastSocketError();
// The socket-layer number of an errno value.
int socketErrorFromErrno(int error);

Socket openStreamSocket();
// Addresses and ports in network byte order.
bool connectSocket(Socket s, uint32_t address, uint16_t port);
bool bindSocket(Socket s, uint32_t address, uint16_t port);
bool listenSocket(Socket s, int backlog);
Socket acceptSocket(Socket listening);
// The local port (network order) a socket is bound to, 0 on failure.
uint16_t localPort(Socket s);
bool setSocketOption(Socket s, int level, int name, int value);
bool getSocketOption(Socket s, int level, int name, int* value);
// Sends never raise SIGPIPE. The two-part form sends a header and a body
// with one call. Both return the bytes sent or -1.
long sendBytes(Socket s, const void* data, size_t length);
long sendTwoParts(Socket s, const void* first, size_t firstLength, const void* second,
                  size_t secondLength);
long receiveBytes(Socket s, void* buffer, size_t length);
// how: 0 receive, 1 send, 2 both.
bool shutdownSocket(Socket s, int how);
bool closeSocket(Socket s);
bool socketPair(Socket pair[2]);

// Host and service names. Host addresses in network order.
bool resolveHost(const char* name, uint32_t* address);
bool parseDottedAddress(const char* text, uint32_t* address);
bool resolveService(const char* name, uint16_t* port);

// Waits up to `microseconds` for any of the sockets to be readable; marks
// them in `readable` and returns how many, or -1.
int waitReadable(const Socket* sockets, int count, bool* readable, long microseconds);

}  // namespace zr::platform

#endif
