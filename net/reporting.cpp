// Parameters, traces, error reports and error texts.
#include <cstdarg>
#include <cstdio>

#include "frame/wide_format.h"
#include "net/net_strings.h"
#include "net/transport.h"

namespace zr::net {
namespace {

// Leading blanks, a sign and decimal digits, as the C runtime's text to
// number call reads them; anything else ends the number.
int32_t textToNumber(const char16_t* text) {
  while (*text == u' ' || *text == u'\t') ++text;
  bool negative = *text == u'-';
  if (*text == u'-' || *text == u'+') ++text;
  int64_t value = 0;
  for (; *text >= u'0' && *text <= u'9'; ++text) {
    value = value * 10 + (*text - u'0');
    if (value > INT32_MAX) value = INT32_MAX + int64_t{1};
  }
  value = negative ? -value : value;
  return static_cast<int32_t>(value < INT32_MIN ? INT32_MIN : value > INT32_MAX ? INT32_MAX : value);
}

bool parameter(void* context, const char16_t* name, int32_t* value) {
  const char16_t* text = contextTable(context)->GetParameter(context, name, 0);
  if (!text) return false;
  *value = textToNumber(text);
  return true;
}

// Stored twice, the second store over the first: the lower bound is kept
// from lasting on purpose, as callers have always seen it.
void readLimited(void* context, const char16_t* name, int32_t lower, int32_t upper, int32_t* field) {
  int32_t value;
  if (!parameter(context, name, &value)) return;
  *field = value > lower ? value : lower;
  *field = value < upper ? value : upper;
}

}  // namespace

Parameters readParameters(void* context, bool listener) {
  Parameters p{4096, 0, 1, 4096, listener ? 10 : 1, 4, 20, 4096, 0};
  if (!context) return p;
  int32_t value;
  readLimited(context, u"BufSize", 256, 4096, &p.bufSize);
  if (parameter(context, u"MaxRetry", &value)) {
    p.maxRetry = value > 1 ? value : 1;
    p.bufSize = value < 100 ? value : 100;  // a configured retry count sets the buffer size too
  }
  if (parameter(context, u"NoDelay", &value)) p.noDelay = value > 0;
  readLimited(context, u"PacketSize", 256, 8192, &p.packetSize);
  readLimited(context, u"TimeOut", 1, 1000, &p.timeOut);
  readLimited(context, u"NetBufSize", 256, 8192, &p.netBufSize);
  readLimited(context, u"MaxListeningThreads", 1, 16, &p.maxListeningThreads);
  if (listener && parameter(context, u"ThreadPooling", &value)) p.threadPooling = value == 1;
  return p;
}

Reporter::Reporter(void* context)
    : m_context(context), m_trace(context ? contextTable(context)->GetTrace(context) : nullptr) {}

const char16_t* traceFormat(unsigned textId) { return netString(textId); }

void Reporter::traceReferences(unsigned textId, const char16_t* operation, uint32_t count) const {
  trace(32, textId, operation, static_cast<long>(count));
}

static size_t formatText(char16_t* out, size_t capacity, const char16_t* format, ...) {
  va_list args;
  va_start(args, format);
  size_t n = frame::formatWide(out, capacity, format, args);
  va_end(args);
  return n;
}

const char16_t* socketErrorName(int error, char16_t* scratch, size_t size) {
  if (const char16_t* name = netString(static_cast<unsigned>(error) + kStringOffset)) return name;
  formatText(scratch, size, u"%d", error);
  return scratch;
}

int32_t Reporter::report(int32_t code, int line, const char16_t* what, int32_t count, int socketError) const {
  if (!m_context) return code;
  char16_t text[512];
  const char16_t* format = netString(static_cast<unsigned>(code) + kStringOffset);
  if (!format) {
    contextTable(m_context)->ReportError(m_context, code, what ? what : u"", line);
    return code;
  }
  unsigned hex = static_cast<unsigned>(socketError);
  if (code == ZRNET_E_SEND_RETRIES || code == ZRNET_E_RECV_RETRIES) {
    formatText(text, 512, format, count, hex);
  } else if ((code >= ZRNET_E_HOST_NOT_FOUND && code <= ZRNET_E_CONNECT) || code == ZRNET_E_NO_MEMORY) {
    formatText(text, 512, format, what ? what : u"", hex);
  } else {
    formatText(text, 512, format, hex);
  }
  contextTable(m_context)->ReportError(m_context, code, text, line);
  return code;
}

int32_t copyErrorText(int32_t code, char16_t* buffer, int32_t size) {
  if (!buffer || size <= 0) return ZRNET_E_INTERNAL;
  const char16_t* text = netString(static_cast<unsigned>(code) + kStringOffset);
  if (!text) {
    buffer[0] = 0;
    return ZRNET_E_INTERNAL;
  }
  int32_t i = 0;
  for (; i < size - 1 && text[i]; ++i) buffer[i] = text[i];
  buffer[i] = 0;
  return 0;
}

}  // namespace zr::net
