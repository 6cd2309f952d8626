// net_strings.h - the transport's entries of the library string table: error
// texts at code + 7100, trace texts and the names of socket errors.
#ifndef NET_NET_STRINGS_H
#define NET_NET_STRINGS_H

namespace zr::net {

constexpr unsigned kStringOffset = 7100;

// Trace texts, by their identifiers.
enum TraceText : unsigned {
  kWsd01NewConnection = 17085,
  kWsd02SocketNotClosed = 17086,
  kWsd04ConnectionRefCount = 17088,
  kWsd05Connected = 17089,
  kWsd06Disconnect = 17090,
  kWsd07Header = 17091,
  kWsd08Send = 17092,
  kWsd09SendDisconnect = 17093,
  kWsd10WriteHeader = 17094,
  kWsd11ListenerRefCount = 17095,
};

// The text of a string identifier, or null.
const char16_t* netString(unsigned id);

}  // namespace zr::net

#endif
