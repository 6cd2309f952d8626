// shdt_culture.h - a locale's date and time pictures and names, for the
// picture-directed parser. Pictures use the letters y M d h H m s t and
// quote other text in "'".
#ifndef VALUES_SHDT_CULTURE_H
#define VALUES_SHDT_CULTURE_H

#include <cstdint>
#include <string>
#include <vector>

namespace zr::dt {

// Filled per parse from the data kept for the locale, so that the parser may
// work on it freely.
struct Culture {
  std::vector<std::u16string> shortDates;  // the default first
  std::vector<std::u16string> longDates;
  std::vector<std::u16string> times;
  std::u16string am, pm;
  int twoDigitYearMax = 2029;
  std::u16string months[13], shortMonths[13];  // the 13th stays empty
  std::u16string days[7], shortDays[7];        // Sunday first
  bool valid = false;
};

// Locale 0 is the user's locale. False when the locale has no data.
bool buildCulture(uint32_t lcid, Culture& out);

// An ICU date pattern in the parser's picture letters.
std::u16string pictureOf(const std::u16string& pattern);

}  // namespace zr::dt

#endif
