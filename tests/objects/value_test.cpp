// Decimal and date-time objects: every decimal method gives the same 16
// bytes as the flat function it wraps, and the date-time views compare and
// subtract at their own depth.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "shdec.h"
#include "shdt.h"
#include "tests/objects/object_test_util.h"
#include "zrobj.h"

using namespace zr::test;

namespace {

SH_DEC randomDecimal(std::mt19937& rng) {
  std::uniform_int_distribution<int> digits(1, 30), digit(0, 9), coin(0, 1);
  int n = digits(rng);
  std::uniform_int_distribution<int> point(0, n);
  int at = point(rng);
  std::u16string text = coin(rng) ? u"-" : u"";
  for (int i = 0; i < n; ++i) {
    if (i == at && i > 0) text += u'.';
    text += char16_t(u'0' + digit(rng));
  }
  SH_DEC d;
  EXPECT_NE(shAsciiToDec(&d, text.c_str()), nullptr);
  return d;
}

const SH_DEC& valueOf(IZR_Decimal* d) {
  const SH_DEC* v = nullptr;
  d->GetValue(&v);
  return *v;
}

bool sameBytes(const SH_DEC& a, const SH_DEC& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(DecimalObject, MethodsMatchTheFlatFunctions) {
  using Method = HRESULT (IZR_Decimal::*)(IZR_Decimal*, IZR_Decimal**);
  using Flat = PSH_DEC (*)(PSH_DEC, const SH_DEC*, const SH_DEC*);
  const struct {
    Method method;
    Flat flat;
    const char* name;
  } binary[] = {{&IZR_Decimal::Add, shAddDec, "Add"},   {&IZR_Decimal::Sub, shSubDec, "Sub"},
                {&IZR_Decimal::Mult, shMultDec, "Mult"}, {&IZR_Decimal::Div, shDivDec, "Div"},
                {&IZR_Decimal::Mod, shModDec, "Mod"}};
  std::mt19937 rng(20240611);
  std::uniform_int_distribution<int> places(0, 40);
  for (int i = 0; i < 10000; ++i) {
    SH_DEC a = randomDecimal(rng), b = randomDecimal(rng);
    Ref<IZR_Decimal> x, y;
    ASSERT_EQ(CreateDecimalFromPSH_DEC(&a, x.put()), S_OK);
    ASSERT_EQ(CreateDecimalFromPSH_DEC(&b, y.put()), S_OK);
    for (const auto& op : binary) {
      Ref<IZR_Decimal> r;
      ASSERT_EQ((x.get()->*op.method)(y.get(), r.put()), S_OK) << op.name;
      SH_DEC expected{};
      op.flat(&expected, &a, &b);
      ASSERT_TRUE(sameBytes(valueOf(r.get()), expected)) << op.name << " of pair " << i;
    }
    int p = places(rng);
    Ref<IZR_Decimal> rounded, truncated, negated, absolute;
    SH_DEC expected;
    ASSERT_EQ(x->Round(rounded.put(), p), S_OK);
    expected = SH_DEC{};
    shRoundDec(&expected, &a, int16_t(p > 30 ? 30 : p));
    ASSERT_TRUE(sameBytes(valueOf(rounded.get()), expected)) << "Round " << p;
    ASSERT_EQ(x->Truncate(truncated.put(), p), S_OK);
    expected = SH_DEC{};
    shTruncDec(&expected, &a, int16_t(p > 30 ? 30 : p));
    ASSERT_TRUE(sameBytes(valueOf(truncated.get()), expected)) << "Truncate " << p;
    ASSERT_EQ(x->Negate(negated.put()), S_OK);
    expected = SH_DEC{};
    shNegateDec(&expected, &a);
    ASSERT_TRUE(sameBytes(valueOf(negated.get()), expected));
    ASSERT_EQ(x->Abs(absolute.put()), S_OK);
    expected = SH_DEC{};
    shAbsDec(&expected, &a);
    ASSERT_TRUE(sameBytes(valueOf(absolute.get()), expected));
    int32_t order;
    ASSERT_EQ(x->Compare(y.get(), &order), S_OK);
    ASSERT_EQ(order, shCompareDec(&a, &b));
  }
}

TEST(DecimalObject, PowersConversionsAndLimits) {
  Ref<IZR_Decimal> two, ten, power, third, rounded40, rounded30;
  ASSERT_EQ(CreateDecimalFromLong(2, two.put()), S_OK);
  ASSERT_EQ(CreateDecimalFromLPTSTR(u"10", ten.put()), S_OK);
  ASSERT_EQ(two->Exp(ten.get(), power.put()), S_OK);
  double d = 0;
  ASSERT_EQ(power->ToDouble(&d), S_OK);
  EXPECT_EQ(d, 1024.0);
  // 40 places act as 30.
  ASSERT_EQ(CreateDecimalFromDouble(1.0 / 3.0, third.put()), S_OK);
  ASSERT_EQ(third->Round(rounded40.put(), 40), S_OK);
  ASSERT_EQ(third->Round(rounded30.put(), 30), S_OK);
  EXPECT_TRUE(sameBytes(valueOf(rounded40.get()), valueOf(rounded30.get())));
  IZR_Decimal* none = nullptr;
  EXPECT_EQ(third->Round(&none, -1), E_INVALIDARG);
  EXPECT_EQ(CreateDecimalFromLPTSTR(u"12x", &none), E_INVALIDARG);
  EXPECT_EQ(none, nullptr);

  Ref<IZR_Decimal> zero;
  ASSERT_EQ(CreateDecimal(zero.put()), S_OK);
  EXPECT_EQ(valueOf(zero.get()).scale & 0x1F, 2);
  Ref<IZR_ConvString> conv;
  Ref<IZR_String> s;
  ASSERT_EQ(zero->QueryInterface(IID_IZR_ConvString, reinterpret_cast<void**>(conv.put())), S_OK);
  ASSERT_EQ(conv->AsString(s.put()), S_OK);
  EXPECT_EQ(text(s.get()), u"0.00");
  SH_DEC out;
  ASSERT_EQ(CopyDecimalToPSH_DEC(power.get(), &out), S_OK);
  EXPECT_TRUE(sameBytes(out, valueOf(power.get())));
  // Division by zero is a flag in the value, not a failed call.
  Ref<IZR_Decimal> quotient;
  ASSERT_EQ(two->Div(zero.get(), quotient.put()), S_OK);
  EXPECT_NE(valueOf(quotient.get()).flags & SH_DEC_DIVIDE_BY_ZERO, 0);
}

SH_TIME at(int year, int month, int day, int hour, int minute, int second, int32_t micro) {
  SH_TIME t;
  shdtBuildTime(&t, year, month, day, hour, minute, second, micro);
  return t;
}

TEST(DateTimeObject, ViewsCompareAndSubtractAtTheirDepth) {
  SH_TIME early = at(2024, 2, 28, 23, 0, 0, 5), late = at(2024, 3, 1, 1, 30, 0, 0);
  Ref<IZR_DateTime> a, b;
  ASSERT_EQ(CreateDateTimeFromPSH_TIME(&early, a.put()), S_OK);
  ASSERT_EQ(CreateDateTimeFromPSH_TIME(&late, b.put()), S_OK);
  int32_t r, days, seconds;
  ASSERT_EQ(a->Compare(b.get(), &r), S_OK);
  EXPECT_EQ(r, -1);
  ASSERT_EQ(b->Difference(a.get(), &days, &seconds), S_OK);
  EXPECT_EQ(days, 2) << "across the leap day";
  EXPECT_EQ(seconds, 1 * 3600 + 30 * 60 - 23 * 3600);

  Ref<IZR_Time> ta, tb;
  ASSERT_EQ(a->AsTime(ta.put()), S_OK);
  ASSERT_EQ(b->AsTime(tb.put()), S_OK);
  ASSERT_EQ(ta->Compare(tb.get(), &r), S_OK);
  EXPECT_EQ(r, 1) << "the time view ignores the date";
  Ref<IZR_Date> da, db;
  ASSERT_EQ(a->AsDate(da.put()), S_OK);
  ASSERT_EQ(b->AsDate(db.put()), S_OK);
  ASSERT_EQ(db->Difference(da.get(), &days), S_OK);
  EXPECT_EQ(days, 2);
  EXPECT_EQ(refs(a.get()), 3u) << "each view handed out holds a reference";

  // Same day, other time: the date view sees them equal.
  SH_TIME sameDay = at(2024, 2, 28, 1, 0, 0, 0);
  Ref<IZR_Date> d;
  ASSERT_EQ(CreateDateFromPSH_TIME(&sameDay, d.put()), S_OK);
  ASSERT_EQ(da->Compare(d.get(), &r), S_OK);
  EXPECT_EQ(r, 0);
  // Microseconds decide at full depth.
  SH_TIME earlier = early;
  earlier.microsecond = 4;
  Ref<IZR_DateTime> c;
  ASSERT_EQ(CreateDateTimeFromPSH_TIME(&earlier, c.put()), S_OK);
  ASSERT_EQ(c->Compare(a.get(), &r), S_OK);
  EXPECT_EQ(r, -1);
}

TEST(DateTimeObject, PartsParsingAndCopies) {
  Ref<IZR_DateTime> t;
  ASSERT_EQ(CreateDateTimeFromLPTSTR(u"2003-1-2 10:30:15", t.put()), S_OK);
  int32_t v;
  const struct {
    HRESULT (IZR_DateTime::*get)(int32_t*);
    int32_t expected;
  } parts[] = {{&IZR_DateTime::GetYear, 2003},  {&IZR_DateTime::GetMonth, 1},  {&IZR_DateTime::GetDay, 2},
               {&IZR_DateTime::GetDayOfWeek, 4}, {&IZR_DateTime::GetHour, 10}, {&IZR_DateTime::GetMinute, 30},
               {&IZR_DateTime::GetSecond, 15},  {&IZR_DateTime::GetMicrosecond, 0}};
  for (const auto& p : parts) {
    ASSERT_EQ((t.get()->*p.get)(&v), S_OK);
    EXPECT_EQ(v, p.expected);
  }
  Ref<IZR_Time> time;
  ASSERT_EQ(CreateTimeFromLPTSTR(u"10:30", time.put()), S_OK);
  SH_TIME out;
  ASSERT_EQ(CopyTimeToPSH_TIME(time.get(), &out), S_OK);
  EXPECT_EQ(out.hour, 10);
  EXPECT_EQ(out.minute, 30);
  Ref<IZR_DateTime> whole;
  ASSERT_EQ(time->QueryInterface(IID_IZR_DateTime, reinterpret_cast<void**>(whole.put())), S_OK);
  EXPECT_EQ(out.year, SH_TIME_NO_DATE);
  EXPECT_EQ(whole->GetYear(&v), E_FAIL) << "a time has no year";
  Ref<IZR_String> text2;
  ASSERT_EQ(CreateString(u"not a date", text2.put()), S_OK);
  IZR_Date* none = nullptr;
  EXPECT_EQ(CreateDateFromString(text2.get(), &none), E_INVALIDARG);
  EXPECT_EQ(none, nullptr);
}

}  // namespace
