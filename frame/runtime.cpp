// The frame's own exports: environment word, locale, dynamic loading,
// assertions, wide output and the "not supported" notice.
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "frame/code_page.h"
#include "frame/frame_state.h"
#include "frame/wide_format.h"
#include "platform/dialog.h"
#include "platform/dynlib.h"
#include "platform/system.h"
#include "platform/utf8.h"
#include "zrframe.h"

namespace {

uint32_t g_runtimeEnvironment = 0;

// Room for a formatted line, as the classic wide sprintf allows.
constexpr size_t kFormatBufferUnits = 1024;

std::u16string formatToString(const char16_t* format, ...) {
  char16_t buf[kFormatBufferUnits];
  va_list args;
  va_start(args, format);
  size_t n = zr::frame::formatWide(buf, kFormatBufferUnits, format, args);
  va_end(args);
  return std::u16string(buf, n);
}

}  // namespace

ZRAPI void WEP(void) {}

ZRAPI int ZRSHR_FeatureUnsupported(void* ownerWindow) {
  std::u16string caption = formatToString(u"Release %d.%d", 16, 5);
  zr::platform::messageBeep(0);
  return zr::platform::messageBox(ownerWindow, u"This feature is currently not supported on this platform",
                                  caption.c_str(), ZR_MB_OK | ZR_MB_ICONSTOP);
}

ZRAPI ZR_HMODULE shGetInstance(void) { return zr::frame::frameState().instance; }

ZRAPI int shIsTerminalServiceClientSession(void) { return zr::frame::frameState().terminalClient ? 1 : 0; }

ZRAPI uint32_t ZR_RT_SetEnvironment(uint32_t environment) {
  g_runtimeEnvironment = environment;
  return environment;
}

ZRAPI uint32_t ZR_RT_GetEnvironment(void) { return g_runtimeEnvironment; }

ZRAPI const char16_t* ZR_RT_SetLocale(const char16_t* locale) {
  static thread_local std::u16string name;
  const char* result = std::setlocale(LC_ALL, locale ? zr::platform::toUtf8(locale).c_str() : nullptr);
  if (!result) return nullptr;
  if (locale) zr::frame::setProcessCodePage(zr::frame::codePageOfLocale(result));
  name = zr::platform::fromUtf8(result);
  return name.c_str();
}

ZRAPI ZR_HMODULE os_openlib(const char16_t* name, int* result, int* loaded) {
  int resultValue = 1, loadedValue = 0;
  void* module = nullptr;
  if (name) {
    std::string utf8 = zr::platform::toUtf8(name);
    if (utf8.find('\\') != std::string::npos) {
      module = zr::platform::loadLibrary(utf8);
    } else {
      module = zr::platform::loadLibrary(zr::platform::executableDirectory() + "/" + utf8);
      if (!module) module = zr::platform::loadLibrary(utf8);
    }
  }
  if (module) loadedValue = 1;
  else resultValue = 0;
  if (result) *result = resultValue;
  if (loaded) *loaded = loadedValue;
  return module;
}

ZRAPI int os_closelib(ZR_HMODULE module) { return zr::platform::freeLibrary(module) ? 1 : 0; }

ZRAPI void* os_get_funcptr(const char16_t* name, ZR_HMODULE module) {
  if (!name) return nullptr;
  return zr::platform::findSymbol(module, zr::platform::toUtf8(name).c_str());
}

ZRAPI void osAssert(const char16_t* text, const char16_t* file, unsigned line) {
  std::u16string message = formatToString(u"%s,\nfile %s, line %u\n\nAbort, Debug Break, Ignore?", text, file, line);
  int answer = zr::platform::messageBox(nullptr, message.c_str(), u"Assertion Failure",
                                        ZR_MB_ABORTRETRYIGNORE | ZR_MB_ICONSTOP);
  if (answer == ZR_IDABORT) std::abort();
  if (answer == ZR_IDRETRY) zr::platform::debugBreak();
}

ZRAPI int os_vfprintf(int file, const char16_t* format, va_list args) {
  char16_t buf[kFormatBufferUnits];
  size_t n = zr::frame::formatWide(buf, kFormatBufferUnits, format, args);
  // The file receives the UTF-16LE units themselves.
  unsigned char bytes[2 * kFormatBufferUnits];
  for (size_t i = 0; i < n; ++i) {
    bytes[2 * i] = static_cast<unsigned char>(buf[i] & 0xFF);
    bytes[2 * i + 1] = static_cast<unsigned char>(buf[i] >> 8);
  }
  ssize_t written = ::write(file, bytes, 2 * n);
  return written < 0 ? -1 : static_cast<int>(written / 2);
}

ZRAPI int _os_fprintf(int file, const char16_t* format, ...) {
  va_list args;
  va_start(args, format);
  int n = os_vfprintf(file, format, args);
  va_end(args);
  return n;
}
