// zrnet.h - the message transport over TCP: a client connection and a server
// listener that move whole messages, each a 16-byte big-endian header and a
// body, between processes.
//
// The caller supplies a context (parameters, error reports, trace), a
// message handler (message buffers and delivery) and, for a listener, a
// listener handler (new connections). Every object is reached through its
// table of operations; the slot numbers below are the contract.
//
// Example (client):
//   ZRNET_Connection* c = (ZRNET_Connection*)GetConnection_Winsock(context);
//   c->vtbl->SetHandler(c, handler);
//   ZRNET_DESCRIPTION where = {u"127.0.0.1", u"5001"};
//   if (c->vtbl->Connect(c, &where) == 0) c->vtbl->Send(c, message);
//   c->vtbl->Disconnect(c); c->vtbl->WaitForClosure(c); c->vtbl->Release(c);
//
// Operations return 0 or one of the ZRNET_E_ codes; the text of a code is
// the library string numbered code + 7100, which GetErrorText copies as it
// stands. Every failure is also given to the context's ReportError.
#ifndef ZRNET_H
#define ZRNET_H

#include <uchar.h>

#include "zrdefs.h"

// The header on the wire: four 32-bit words, most significant byte first.
typedef struct ZRNET_HEADER {
  uint32_t Proto;     // always ZRNET_PROTO
  uint32_t Len;       // body length in bytes; 0 for control
  uint32_t Code;      // ZRNET_CODE_DATA or ZRNET_CODE_DISCONNECT
  uint32_t Reserved;  // 0
} ZRNET_HEADER;
ZR_STATIC_ASSERT(sizeof(ZRNET_HEADER) == 16, "wire header is 16 bytes");

#define ZRNET_PROTO 0x6000u
#define ZRNET_CODE_DATA 0u
#define ZRNET_CODE_DISCONNECT 255u
// A delivery answer meaning that the connection has left the reading pool.
#define ZRNET_LEFT_POOL 0x42137

// Where to connect or listen: a computer name (a host name, or a dotted
// address when it does not start with a letter) and a service (a port number
// when it does not start with a letter, else a TCP service name).
typedef struct ZRNET_DESCRIPTION {
  const char16_t* ComputerName;
  const char16_t* ServiceName;
} ZRNET_DESCRIPTION;

// One socket waiting for a reading thread of a listener's pool.
typedef struct ZRNET_PENDING_ENTRY {
  int32_t Socket;
  void* Connection;
  struct ZRNET_PENDING_ENTRY* Next;
} ZRNET_PENDING_ENTRY;

#define ZRNET_E_HOST_NOT_FOUND 9951
#define ZRNET_E_SERVICE_NOT_FOUND 9952
#define ZRNET_E_STARTUP 9953
#define ZRNET_E_IOCTL 9954
#define ZRNET_E_BIND 9955
#define ZRNET_E_LISTEN 9956
#define ZRNET_E_ACCEPT 9957
#define ZRNET_E_SEND 9958
#define ZRNET_E_RECV 9959
#define ZRNET_E_SETSOCKOPT 9960
#define ZRNET_E_CONNECT 9961
#define ZRNET_E_INTERNAL 9962
#define ZRNET_E_RECV_TIMEOUT 9963
#define ZRNET_E_NO_HANDLER 9964
#define ZRNET_E_SEND_RETRIES 9965
#define ZRNET_E_RECV_RETRIES 9966
#define ZRNET_E_SOCKET 9967
#define ZRNET_E_NO_MEMORY 9968
#define ZRNET_E_ALREADY_CONNECTED 9969
#define ZRNET_E_NOT_CONNECTED 9970
#define ZRNET_E_NO_PARAMETERS 9971
#define ZRNET_E_NO_CONTEXT 9972
#define ZRNET_E_ASYNC_SELECT 9973
#define ZRNET_E_WINDOW_CLASS 9974
#define ZRNET_E_WINDOW 9975
#define ZRNET_E_NOT_IMPLEMENTED 9976
// Connect reports this code, with the service name as text, when the peer
// still refuses after the last retry.
#define ZRNET_E_REFUSED_AT_LIMIT 2

// Objects the transport makes. Slot 0 ends the object whatever its count.
typedef struct ZRNET_Connection ZRNET_Connection;
typedef struct ZRNET_ConnectionVtbl {
  void (*Destroy)(ZRNET_Connection* self);
  uint32_t (*AddRef)(ZRNET_Connection* self);
  uint32_t (*Release)(ZRNET_Connection* self);
  int32_t (*GetErrorText)(ZRNET_Connection* self, int32_t code, char16_t* buffer, int32_t size);
  int32_t (*Connect)(ZRNET_Connection* self, const ZRNET_DESCRIPTION* description);
  int32_t (*Send)(ZRNET_Connection* self, void* message);
  int32_t (*SetHandler)(ZRNET_Connection* self, void* handler);
  int32_t (*Disconnect)(ZRNET_Connection* self);
  int32_t (*WaitForClosure)(ZRNET_Connection* self);
} ZRNET_ConnectionVtbl;
struct ZRNET_Connection {
  const ZRNET_ConnectionVtbl* vtbl;
};

typedef struct ZRNET_Listener ZRNET_Listener;
typedef struct ZRNET_ListenerVtbl {
  void (*Destroy)(ZRNET_Listener* self);
  uint32_t (*AddRef)(ZRNET_Listener* self);
  uint32_t (*Release)(ZRNET_Listener* self);
  int32_t (*GetErrorText)(ZRNET_Listener* self, int32_t code, char16_t* buffer, int32_t size);
  int32_t (*SetHandler)(ZRNET_Listener* self, void* handler);
  int32_t (*Listen)(ZRNET_Listener* self, const ZRNET_DESCRIPTION* description);
  int32_t (*Stop)(ZRNET_Listener* self);
} ZRNET_ListenerVtbl;
struct ZRNET_Listener {
  const ZRNET_ListenerVtbl* vtbl;
};

// A unit of reading work that a listener in pooling mode hands to its
// handler's TakeSocket: Run reads and delivers one message and then frees the
// item; Destroy frees it unrun.
typedef struct ZRNET_WorkItem ZRNET_WorkItem;
typedef struct ZRNET_WorkItemVtbl {
  void (*Destroy)(ZRNET_WorkItem* self);
  int32_t (*Run)(ZRNET_WorkItem* self);
} ZRNET_WorkItemVtbl;
struct ZRNET_WorkItem {
  const ZRNET_WorkItemVtbl* vtbl;
};

// Objects the caller supplies; slots marked reserved are never called.
typedef struct ZRNET_ContextVtbl {
  void* reserved0;
  uint32_t (*AddRef)(void* self);
  uint32_t (*Release)(void* self);
  void* reserved3;
  void* (*GetTrace)(void* self);  // a trace object, or null
  void* reserved5;
  // Parameter text by name, or null; the second argument is 0.
  const char16_t* (*GetParameter)(void* self, const char16_t* name, int32_t zero);
  void* reserved7;
  int32_t (*ReportError)(void* self, int32_t code, const char16_t* text, int32_t line);
} ZRNET_ContextVtbl;

typedef struct ZRNET_TraceVtbl {
  void* reserved[5];
  // Level 64 for the connection's messages, 32 for reference counts.
  void (*Write)(void* self, int32_t level, const char16_t* format, ...);
} ZRNET_TraceVtbl;

typedef struct ZRNET_MessageHandlerVtbl {
  // A message of `length` body bytes with one reference, or null to refuse.
  void* (*CreateMessageBuffer)(void* self, uint32_t length);
  // Lends a whole received message; the transport releases its reference
  // afterwards. A read step in pooling mode returns the answer.
  int32_t (*Deliver)(void* self, void* message);
} ZRNET_MessageHandlerVtbl;

typedef struct ZRNET_ListenerHandlerVtbl {
  // Lends a new server connection; a keeper adds a reference and sets the
  // connection's message handler here. 0 refuses the connection.
  int32_t (*NewConnection)(void* self, ZRNET_Connection* connection);
  // Offers a ZRNET_WorkItem for a readable socket; non-zero takes it.
  int32_t (*TakeSocket)(void* self, ZRNET_WorkItem* item);
} ZRNET_ListenerHandlerVtbl;

typedef struct ZRNET_MessageVtbl {
  void* reserved0;
  uint32_t (*AddRef)(void* self);
  uint32_t (*Release)(void* self);
  void* reserved3;
  uint32_t (*GetLength)(void* self);
  void* (*GetCursor)(void* self);  // a body cursor with one reference
} ZRNET_MessageVtbl;

typedef struct ZRNET_CursorVtbl {
  void* reserved0;
  void* reserved1;
  uint32_t (*Release)(void* self);
  void* reserved3;
  uint32_t (*Remaining)(void* self);
  void* reserved5;
  // Reading side: the next bytes of the body and how many lie there.
  const void* (*GetPointer)(void* self, uint32_t* available, int32_t zero);
  void (*Advance)(void* self, uint32_t count);
  void* reserved8;
  void* reserved9;
  // Writing side, used when a received body is filled in.
  void* (*GetWritePointer)(void* self, uint32_t* available, int32_t zero);
  void (*AdvanceWrite)(void* self, uint32_t count);
} ZRNET_CursorVtbl;

// A client connection with one reference, or null. A null context prints a
// line to standard error.
ZRAPI ZRNET_Connection* GetConnection_Winsock(void* context);
// A listener with one reference, or null. `options` may be null.
ZRAPI ZRNET_Listener* GetListener_Winsock(void* context, void* options);

#endif
