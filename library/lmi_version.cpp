// Source-control versions per entry, through the library path.
#include "library/lib_engine.h"
#include "library/lmi_names.h"

using namespace zr::library;

ZRAPI int LMI_SetEntryVersion(MEM_POOL* pool, char16_t* path, char16_t* name, const char16_t* version) {
  if (!name || !path || !version) return LMI_ERR_NAME;
  if (!pool) return LMI_ERR_POOL;
  foldAscii(name);
  LMI_LIBRARY* lib = LMI_OpenLibrary(pool, path, LMI_LIBRARY_READWRITE, 0);
  if (!lib) return LMI_ERR_FILE;
  int rc = setVersion(lib, name, version);
  // The first try has reset an area without its mark.
  if (rc == LMI_ERR_BUFFER) rc = setVersion(lib, name, version);
  const int closed = LMI_CloseLibrary(lib);
  return rc ? rc : closed;
}

ZRAPI int LMI_GetEntryVersion(MEM_POOL* pool, char16_t* path, char16_t* name, char16_t* version) {
  if (version) *version = 0;
  if (!name || !path) return LMI_ERR_NAME;
  if (!pool) return LMI_ERR_POOL;
  if (!version) return LMI_ERR_BUFFER;
  foldAscii(name);
  LMI_LIBRARY* lib = LMI_OpenLibrary(pool, path, LMI_LIBRARY_READ, 0);
  if (!lib) return LMI_ERR_FILE;
  int rc = getVersion(lib, name, version);
  if (rc == LMI_ERR_BUFFER) {
    // A bad area is reset through a writable handle; it then holds nothing.
    LMI_CloseLibrary(lib);
    if (!(lib = LMI_OpenLibrary(pool, path, LMI_LIBRARY_READWRITE, 0))) return LMI_ERR_FILE;
    rc = forgetArea(lib);
    if (rc == 0) rc = getVersion(lib, name, version);
  }
  const int closed = LMI_CloseLibrary(lib);
  if (rc) *version = 0;
  return rc ? rc : closed;
}
