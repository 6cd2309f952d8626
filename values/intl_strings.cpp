// String table entries owned by the value layer.
#include "values/intl_strings.h"

#include <algorithm>
#include <iterator>

namespace zr::intl {
namespace {

struct Entry {
  unsigned id;
  const char16_t* text;
};

// Sorted by identifier.
constexpr Entry kTable[] = {
    {10, u"Format is valid."},
    {11, u"Format too large."},
    {12, u"Invalid color specified in format."},
    {13, u"Too many sections specified in format."},
    {14, u"Bad character in format."},
    {15, u"Unknown key specified in format, as in [xxx] where xxx is unknown."},
    {16, u"Too many periods found in format."},
    {17, u"Unexpected end of format string."},
    {18, u"Invalid format."},
    {19, u"Month should be specified using m, mm, mmm or mmmm."},
    {100, u"Day should be specified using d, dd, ddd or dddd."},
    {101, u"Year should be specified using yy or yyyy."},
    {102, u"Hour should be specified using h or hh."},
    {103, u"Seconds should be specified using s or ss"},
    {104, u"Minutes should be specified using m or mm"},
    {105, u"Time should be specified using AM/PM, am/pm, a/p or A/P."},
    // Month keywords of the date parser, in its alphabetical order.
    {700, u"APR"}, {701, u"APRIL"}, {702, u"AUG"}, {703, u"AUGUST"}, {704, u"DEC"},
    {705, u"DECEMBER"}, {706, u"FEB"}, {707, u"FEBRUARY"}, {708, u"JAN"}, {709, u"JANUARY"},
    {720, u"JUL"}, {721, u"JULY"}, {722, u"JUN"}, {723, u"JUNE"}, {724, u"MAR"},
    {725, u"MARCH"}, {726, u"MAY"}, {727, u"MAY"}, {728, u"NOV"}, {729, u"NOVEMBER"},
    {730, u"OCT"}, {731, u"OCTOBER"}, {732, u"SEP"}, {733, u"SEPTEMBER"},
    {734, u"Jan"}, {735, u"Feb"}, {736, u"Mar"}, {737, u"Apr"}, {738, u"May"}, {739, u"Jun"},
    {740, u"Jul"}, {741, u"Aug"}, {742, u"Sep"}, {743, u"Oct"}, {744, u"Nov"}, {745, u"Dec"},
    {746, u"January"}, {747, u"February"}, {748, u"March"}, {749, u"April"}, {750, u"May"},
    {751, u"June"}, {752, u"July"}, {753, u"August"}, {754, u"September"}, {755, u"October"},
    {756, u"November"}, {757, u"December"},
    {758, u"Sun"}, {759, u"Mon"}, {760, u"Tue"}, {761, u"Wed"}, {762, u"Thu"}, {763, u"Fri"},
    {764, u"Sat"},
    {765, u"Sunday"}, {766, u"Monday"}, {767, u"Tuesday"}, {768, u"Wednesday"}, {769, u"Thursday"},
    {770, u"Friday"}, {771, u"Saturday"},
};

}  // namespace

const char16_t* stringTableText(unsigned id) {
  auto it = std::lower_bound(std::begin(kTable), std::end(kTable), id,
                             [](const Entry& e, unsigned key) { return e.id < key; });
  return (it != std::end(kTable) && it->id == id) ? it->text : nullptr;
}

}  // namespace zr::intl
