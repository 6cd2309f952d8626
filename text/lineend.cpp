// Line ends between the file's form and the program's CR LF.
#include "ostextfile.h"

namespace {

constexpr char16_t kCr = u'\r';
constexpr char16_t kLf = u'\n';

// From the file in mode 1: CR before a bare LF, and with loneCr an LF after
// a bare CR.
template <typename Emit>
void fromFile(const char16_t* text, int32_t units, int loneCr, Emit emit) {
  for (int32_t i = 0; i < units; ++i) {
    char16_t c = text[i];
    if (c == kLf && (i == 0 || text[i - 1] != kCr)) emit(kCr);
    emit(c);
    if (c == kCr && loneCr && (i + 1 >= units || text[i + 1] != kLf)) emit(kLf);
  }
}

char16_t droppedUnit(int mode) { return mode == 2 ? kLf : mode == 3 ? kCr : 0; }

}  // namespace

ZRAPI int32_t osConvTextLen(const char16_t* text, int32_t units, int direction, int mode, int loneCr) {
  if (mode == 0) mode = 1;
  if (direction == 1) {
    char16_t dropped = droppedUnit(mode);
    int32_t n = 0;
    for (int32_t i = 0; i < units; ++i) n += !dropped || text[i] != dropped;
    return n;
  }
  if (mode != 1 || units <= 0) return units;
  // Branch-free counts, so that the scan of every buffer read stays cheap.
  int32_t added = text[0] == kLf;
  for (int32_t i = 1; i < units; ++i) added += (text[i] == kLf) & (text[i - 1] != kCr);
  if (loneCr) {
    for (int32_t i = 0; i + 1 < units; ++i) added += (text[i] == kCr) & (text[i + 1] != kLf);
    added += text[units - 1] == kCr;
  }
  return units + added;
}

ZRAPI int osConvText(const char16_t* text, int32_t units, char16_t* target, int32_t targetSize, int direction,
                     int mode, int loneCr) {
  if (mode == 0) mode = 1;
  int32_t need = osConvTextLen(text, units, direction, mode, loneCr);
  if (!target || need > targetSize) return 0;
  int32_t n = 0;
  if (direction == 1) {
    char16_t dropped = droppedUnit(mode);
    for (int32_t i = 0; i < units; ++i) {
      if (!dropped || text[i] != dropped) target[n++] = text[i];
    }
  } else if (mode != 1) {
    for (; n < units; ++n) target[n] = text[n];
  } else {
    fromFile(text, units, loneCr, [&](char16_t c) { target[n++] = c; });
  }
  if (n < targetSize) target[n] = 0;
  return 1;
}
