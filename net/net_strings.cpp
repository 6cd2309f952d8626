#include "net/net_strings.h"

#include <algorithm>
#include <iterator>

namespace zr::net {
namespace {

struct Entry {
  unsigned id;
  const char16_t* text;
};

// Sorted by identifier. Spelling as shipped.
constexpr Entry kTable[] = {
    {17051, u"Hostname was not found %s, (%X)"},
    {17052, u"Service name %s was not found, (%X)"},
    {17053, u"WSAStartup call failed with error %s, (%X)"},
    {17054, u"Ioctsocket call failed with error %s, (%X)"},
    {17055, u"Bind call failed with error %s, (%X)"},
    {17056, u"Listen call failed with error %s, (%X)"},
    {17057, u"Accept call failed with error %s, (%X)"},
    {17058, u"Send call failed with the error %s, (%X)"},
    {17059, u"Recv call failed with the error %s, (%X)"},
    {17060, u"Setsockopt call failed with the error %s, (%X)"},
    {17061, u"Connect call failed with error %s, (%X)"},
    {17062, u"Winsock driver internal error, (%X)"},
    {17063, u"Recv call timed out, (%X)"},
    {17064, u"No message handler has been installed yet, (%X)"},
    {17065, u"Send call failed to complete after %d retries, (%X)"},
    {17066, u"Recv call failed to complete after %d retries, (%X)"},
    {17067, u"Error attempting to create a new socket, (%X)"},
    {17068, u"Out of memory attempting to allocate %s, (%X)"},
    {17069, u"Attempted to connect while already connected to a remote host, (%X)"},
    {17070, u"Cannot send a message before being connected to a remote host, (%X)"},
    {17071, u"No connection parameters were specified, (%X)"},
    {17072, u"No context was provided, (%X)"},
    {17073, u"Error attempting to register socket for async notification, (%X)"},
    {17074, u"Attempt to register a window class failed, (%X)"},
    {17075, u"Attempt to create a new window failed, (%X)"},
    {17076, u"Function is not implemented at this time, (%X)"},
    {17085, u"WSD01 New Connection object - ThreadID 0%X"},
    {17086, u"WSD02 ~DZR_WINSOCK_CONNECTION: Error! Socket has n'\\ot been closed"},
    {17087, u"WSD03 ~DZR_WINSOCK_CONNECTION: Error! Window handle has not been closed"},
    {17088, u"WSD04 %s: RefCount for connection object = %ld"},
    {17089, u"WSD05 Socket connection successful."},
    {17090, u"WSD06 ReadHeader:\t Received disconnect code = %X"},
    {17091, u"WSD07 ReadHeader:\t Proto = %d, Len = %d"},
    {17092, u"WSD08 Send: result = %ld"},
    {17093, u"WSD09 SendDisconnect: result = %ld"},
    {17094, u"WSD10 WriteHeader failed: result = %d"},
    {17095, u"WSD11 %s: RefCount for listener object = %ld"},
    {17096, u"WSD12 Unexpected FD_CLOSE received, calling CloseSock."},
    {17097, u"WSD13 Unknown error code: %ld"},
    {17104, u"WSAEINTR"},
    {17109, u"WSAEBADF"},
    {17113, u"WSAEACCES"},
    {17114, u"WSAEFAULT"},
    {17122, u"WSAEINVAL"},
    {17124, u"WSAEMFILE"},
    {17135, u"WSAEWOULDBLOCK"},
    {17136, u"WSAEINPROGRESS"},
    {17137, u"WSAEALREADY"},
    {17138, u"WSAENOTSOCK"},
    {17139, u"WSAEDESTADDRREQ"},
    {17140, u"WSAEMSGSIZE"},
    {17141, u"WSAEPROTOTYPE"},
    {17142, u"WSAENOPROTOOPT"},
    {17143, u"WSAEPROTONOSUPPORT"},
    {17144, u"WSAESOCKTNOSUPPORT"},
    {17145, u"WSAEOPNOTSUPP"},
    {17146, u"WSAEPFNOSUPPORT"},
    {17147, u"WSAEAFNOSUPPORT"},
    {17148, u"WSAEADDRINUSE"},
    {17149, u"WSAEADDRNOTAVAIL"},
    {17150, u"WSAENETDOWN"},
    {17151, u"WSAENETUNREACH"},
    {17152, u"WSAENETRESET"},
    {17153, u"WSAECONNABORTED"},
    {17154, u"WSAECONNRESET"},
    {17155, u"WSAENOBUFS"},
    {17156, u"WSAEISCONN"},
    {17157, u"WSAENOTCONN"},
    {17158, u"WSAESHUTDOWN"},
    {17159, u"WSAETOOMANYREFS"},
    {17160, u"WSAETIMEDOUT"},
    {17161, u"WSAECONNREFUSED"},
    {17162, u"WSAELOOP"},
    {17163, u"WSAENAMETOOLONG"},
    {17164, u"WSAEHOSTDOWN"},
    {17165, u"WSAEHOSTUNREACH"},
    {17166, u"WSAENOTEMPTY"},
    {17167, u"WSAEPROCLIM"},
    {17168, u"WSAEUSERS"},
    {17169, u"WSAEDQUOT"},
    {17170, u"WSAESTALE"},
    {17171, u"WSAEREMOTE"},
    {17201, u"WSAEDISCON"},
};

}  // namespace

const char16_t* netString(unsigned id) {
  auto it = std::lower_bound(std::begin(kTable), std::end(kTable), id,
                             [](const Entry& e, unsigned key) { return e.id < key; });
  return (it != std::end(kTable) && it->id == id) ? it->text : nullptr;
}

}  // namespace zr::net
