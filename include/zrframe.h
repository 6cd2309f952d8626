// zrframe.h - the library frame: load-time state, dynamic loading, the
// runtime environment word and locale, assertions and wide formatted output.
#ifndef ZRFRAME_H
#define ZRFRAME_H

#include <stdarg.h>

#include "zrdefs.h"

typedef void* ZR_HMODULE;

// Message box styles and answers used by the frame.
#define ZR_MB_OK 0x0
#define ZR_MB_OKCANCEL 0x1
#define ZR_MB_ABORTRETRYIGNORE 0x2
#define ZR_MB_YESNOCANCEL 0x3
#define ZR_MB_YESNO 0x4
#define ZR_MB_RETRYCANCEL 0x5
#define ZR_MB_ICONSTOP 0x10
#define ZR_MB_DEFBUTTON2 0x100
#define ZR_MB_DEFBUTTON3 0x200
#define ZR_IDOK 1
#define ZR_IDCANCEL 2
#define ZR_IDABORT 3
#define ZR_IDRETRY 4
#define ZR_IDIGNORE 5
#define ZR_IDYES 6
#define ZR_IDNO 7

ZRAPI void WEP(void);
ZRAPI int ZRSHR_FeatureUnsupported(void* ownerWindow);
ZRAPI ZR_HMODULE shGetInstance(void);
ZRAPI int shIsTerminalServiceClientSession(void);
ZRAPI uint32_t ZR_RT_SetEnvironment(uint32_t environment);
ZRAPI uint32_t ZR_RT_GetEnvironment(void);
// Sets all locale categories; returns the new locale's name, or null.
ZRAPI const char16_t* ZR_RT_SetLocale(const char16_t* locale);

// Loads a library. A name without a backslash is tried next to the running
// executable first, then on the search path. result is 1 on success, loaded
// 1 when a library was loaded.
ZRAPI ZR_HMODULE os_openlib(const char16_t* name, int* result, int* loaded);
ZRAPI int os_closelib(ZR_HMODULE module);
ZRAPI void* os_get_funcptr(const char16_t* name, ZR_HMODULE module);

ZRAPI void osAssert(const char16_t* text, const char16_t* file, unsigned line);
// Formats a wide text (%s takes a wide string, %S a narrow one) and writes its
// UTF-16LE units to the file descriptor; returns the characters written.
ZRAPI int os_vfprintf(int file, const char16_t* format, va_list args);
ZRAPI int _os_fprintf(int file, const char16_t* format, ...);

#endif
