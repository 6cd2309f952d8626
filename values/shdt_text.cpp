// Dates and times as text through date-time masks: the present moment, and
// the canonical form that follows the locale's date order.
#include "shdt.h"
#include "shformat.h"
#include "values/intl_settings.h"

namespace {

constexpr int kMaskUnits = 128;

// Formats t by mask into at most capacity characters and a terminator.
void formatBy(const char16_t* mask, const SH_TIME* t, char16_t* buffer, int capacity) {
  uint16_t compiled[kMaskUnits];
  if (shformatCmplDateTimeMask(compiled, mask, kMaskUnits) != SHFORMAT_OK) {
    buffer[0] = 0;
    return;
  }
  shformatDateTime(buffer, capacity, compiled, t, t ? SHFORMAT_VALUE : SHFORMAT_VALUE_NULL);
}

}  // namespace

ZRAPI void shdtString(char16_t* date, char16_t* time) {
  SH_TIME now;
  shdtNow(&now);
  if (date) formatBy(u"[SHORTDATE]", &now, date, 10);
  if (time) formatBy(u"hh:mm:ss", &now, time, 10);
}

ZRAPI void shdtParseToString(const SH_TIME* t, char16_t* buffer, int mode) {
  if (!buffer) return;
  const char16_t* mask;
  const int order = zr::intl::settings().dateOrder;
  if (mode == SHDT_MODE_TIME) mask = u"hh:mm:ss";
  else if (mode == SHDT_MODE_DATETIME)
    mask = order == 1 ? u"dd-mm-yyyy hh:mm:ss" : order == 2 ? u"yyyy-mm-dd hh:mm:ss" : u"mm-dd-yyyy hh:mm:ss";
  else
    mask = order == 1 ? u"dd-mm-yyyy" : order == 2 ? u"yyyy-mm-dd" : u"mm-dd-yyyy";
  formatBy(mask, t, buffer, 50);
}
