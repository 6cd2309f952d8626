// save_output.h - the forms a state's output record can take, and the
// memory text of the clipboard class.
#ifndef ZR_EXPORT_SAVE_OUTPUT_H
#define ZR_EXPORT_SAVE_OUTPUT_H

#include <cstddef>
#include <cstdint>

#include "zrsave.h"

namespace zr::save {

enum OutputKind : uint32_t {
  kOutputNone = 0,
  kOutputText = 1,    // buffered, converted by osTextFileWrite32 at each flush
  kOutputBytes = 2,   // buffered, bytes as given
  kOutputRaw = 3,     // unbuffered text, encoding kept in the record
  kOutputMemory = 4,  // a growing UTF-16 text on the heap
};

constexpr uint32_t kDefaultBufferBytes = 16284;

// Opens the unbuffered text form over a new exclusive file; 0 on failure.
int openRaw(ZR_SAVE_FILE* file, const char16_t* name, uint32_t encoding);
// Makes the record an empty memory text.
void openMemory(ZR_SAVE_FILE* file);
// Hands over the memory text and its length in units; the caller frees it
// with ZrHeap_free. The record is left closed.
char16_t* takeMemory(ZR_SAVE_FILE* file, uint32_t* units);

}  // namespace zr::save

#endif
