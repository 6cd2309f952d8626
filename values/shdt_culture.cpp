// Date and time pictures and names of a locale, from its ICU data.
#include "values/shdt_culture.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <iterator>

#include "text/wide_chars.h"
#include "values/intl_dates.h"

namespace zr::dt {
namespace {

constexpr size_t kMaxPictures = 15;
constexpr size_t kMaxPicture = 511;

void add(std::vector<std::u16string>& list, std::u16string picture) {
  if (picture.empty() || list.size() == kMaxPictures) return;
  if (picture.size() > kMaxPicture) picture.resize(kMaxPicture);
  for (const auto& p : list)
    if (p == picture) return;
  list.push_back(picture);
}

// The short date with a four-digit year, as the system's own default
// short date shows it.
std::u16string widenYear(const std::u16string& picture) {
  std::u16string out;
  for (size_t i = 0; i < picture.size(); ++i) {
    if (picture[i] == u'y' && (i == 0 || picture[i - 1] != u'y') && picture.compare(i, 2, u"yy") == 0 &&
        (i + 2 == picture.size() || picture[i + 2] != u'y')) {
      out += u"yyyy";
      ++i;
    } else {
      out += picture[i];
    }
  }
  return out;
}

}  // namespace

std::u16string pictureOf(const std::u16string& p) {
  std::u16string out;
  for (size_t i = 0; i < p.size();) {
    const char16_t c = p[i];
    if (c == u'\'') {
      // Quoting works the same way in both languages: "''" is a quote.
      size_t end = i + 1;
      if (end < p.size() && p[end] == u'\'') {
        end += 1;
      } else {
        while (end < p.size()) {
          if (p[end] != u'\'') ++end;
          else if (end + 1 < p.size() && p[end + 1] == u'\'') end += 2;
          else break;
        }
        end = end < p.size() ? end + 1 : p.size();
      }
      out += p.substr(i, end - i);
      i = end;
      continue;
    }
    size_t run = 1;
    while (i + run < p.size() && p[i + run] == c) ++run;
    i += run;
    switch (c) {
      case u'y': out += run == 2 ? u"yy" : u"yyyy"; break;
      case u'M':
      case u'L': out.append(run > 4 ? 3 : run, u'M'); break;
      case u'd': out.append(run > 2 ? 2 : run, u'd'); break;
      case u'E':
      case u'c':
      case u'e': out += run >= 4 ? u"dddd" : u"ddd"; break;
      case u'h':
      case u'K': out.append(run > 2 ? 2 : run, u'h'); break;
      // A single "H" is the two-digit hour of the 24-hour clock here.
      case u'H':
      case u'k': out += u'H'; break;
      case u'm':
      case u's': out.append(run > 2 ? 2 : run, c); break;
      case u'a': out += u"tt"; break;
      case u' ':
      case 0xA0:
      case 0x202F: out += u' '; break;
      case u'-':
      case u'.':
      case u'/':
      case u':':
      case u';':
      case u'\t': out.append(run, c); break;
      default:
        // Eras, zones and the like have no field here; other punctuation
        // is literal text.
        if (!text::isAsciiLetter(c)) out.append(u"'").append(run, c).append(u"'");
    }
  }
  return out;
}

bool buildCulture(uint32_t lcid, Culture& out) {
  char name[ULOC_FULLNAME_CAPACITY] = {};
  const char* loc = uloc_getDefault();
  if (lcid != 0) {
    UErrorCode st = U_ZERO_ERROR;
    uloc_getLocaleForLCID(lcid, name, sizeof name - 1, &st);
    if (U_FAILURE(st) || !name[0]) return false;
    loc = name;
  }
  const intl::LocaleDates& data = intl::localeDates(loc);
  const std::u16string shortDate = pictureOf(data.shortDate);
  add(out.shortDates, widenYear(shortDate));
  add(out.shortDates, shortDate);
  add(out.shortDates, u"yyyy-MM-dd");
  add(out.shortDates, pictureOf(data.mediumDate));
  add(out.longDates, pictureOf(data.longDate));
  add(out.longDates, pictureOf(data.fullDate));
  add(out.times, pictureOf(data.mediumTime));
  add(out.times, pictureOf(data.shortTime));
  add(out.times, u"H:mm:ss");
  if (!data.hasNames) return false;
  std::copy(std::begin(data.months), std::end(data.months), out.months);
  std::copy(std::begin(data.shortMonths), std::end(data.shortMonths), out.shortMonths);
  std::copy(std::begin(data.days), std::end(data.days), out.days);
  std::copy(std::begin(data.shortDays), std::end(data.shortDays), out.shortDays);
  out.am = data.am;
  out.pm = data.pm;
  out.valid = !out.shortDates.empty() && !out.times.empty();
  return out.valid;
}

}  // namespace zr::dt
