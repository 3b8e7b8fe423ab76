#include "core/timestamp.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/support/locale_scope.h"
#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

constexpr long long BILLION = 1000000000;  // 2001-09-09 01:46:40 UTC
constexpr int GMT_PLUS_2 = 15;
constexpr int GMT_MINUS_5 = 8;

TEST(TimestampTest, FormatsSecondsSince1970) {
  const struct {
    long long nSeconds;
    const wchar_t* pszText;
  } atCases[] = {
      {0, L"1970-01-01 00:00:00"},          {BILLION, L"2001-09-09 01:46:40"},
      {-1, L"1969-12-31 23:59:59"},         {951782400, L"2000-02-29 00:00:00"},
      {2147483648, L"2038-01-19 03:14:08"}, {4294967295, L"2106-02-07 06:28:15"},
  };
  for (const auto& tCase : atCases)
    EXPECT_EQ(CTimestamp(tCase.nSeconds).Format(ZONE_GMT0), tCase.pszText);
}

TEST(TimestampTest, DefaultFormIsTheOneThatTheFormatGives) {
  for (const long long nSeconds : {-62135596801LL, -62135596800LL, -30610224001LL, -30610224000LL, -1LL, 0LL,
                                   951782400LL, 253402300799LL, 253402300800LL}) {
    const CTimestamp oTime(nSeconds);
    EXPECT_EQ(oTime.Format(ZONE_GMT0), oTime.Format(L"%Y-%m-%d %H:%M:%S", ZONE_GMT0)) << nSeconds;
  }
}

TEST(TimestampTest, FormatsInTheChosenForm) {
  const CTimestamp oTime(1237014309);
  EXPECT_EQ(oTime.Format(L"%Y/%m/%d %H:%M:%S", ZONE_GMT0), L"2009/03/14 07:05:09");
  EXPECT_EQ(oTime.Format(L"100%%", ZONE_GMT0), L"100%");
  EXPECT_EQ(oTime.Format(L"", ZONE_GMT0), L"");
  EXPECT_EQ(oTime.Format(nullptr, ZONE_GMT0), L"2009-03-14 07:05:09");
}

TEST(TimestampTest, TextOfAnyLengthIsGivenWhole) {
  std::wstring strFormat(5000, L'x');
  strFormat += L"%Y";
  EXPECT_EQ(CTimestamp(0).Format(strFormat.c_str(), ZONE_GMT0), CString(std::wstring(5000, L'x') + L"1970"));
}

TEST(TimestampTest, FormatsInAFixedZone) {
  const CTimestamp oTime(BILLION);
  EXPECT_EQ(oTime.Format(GMT_PLUS_2), L"2001-09-09 03:46:40");
  EXPECT_EQ(oTime.Format(GMT_MINUS_5), L"2001-09-08 20:46:40");
  EXPECT_EQ(oTime.Format(ZONE_GMT_MINUS_12), L"2001-09-08 13:46:40");
  EXPECT_EQ(oTime.Format(ZONE_GMT_PLUS_13), L"2001-09-09 14:46:40");
  EXPECT_EQ(oTime.Format(L"%H %z %Z", GMT_PLUS_2), L"03 +0200 GMT+2");
  EXPECT_EQ(oTime.Format(L"%H %z %Z", GMT_MINUS_5), L"20 -0500 GMT-5");
  EXPECT_EQ(oTime.Format(L"%H %z %Z", ZONE_GMT0), L"01 +0000 GMT");
  EXPECT_EQ(oTime.Format(27), L"2001-09-09 01:46:40");
  EXPECT_EQ(oTime.Format(-1), L"2001-09-09 01:46:40");
}

TEST(TimestampTest, LocalZoneFollowsTheProcess) {
  const CTimestamp oTime(BILLION);
  {
    const TEST::CTimezoneScope oScope("EST5EDT,M3.2.0,M11.1.0");
    EXPECT_EQ(oTime.Format(L"%Y-%m-%d %H:%M:%S %Z", ZONE_LOCAL), L"2001-09-08 21:46:40 EDT");
    EXPECT_EQ(oTime.Format(ZONE_GMT0), L"2001-09-09 01:46:40");
  }
  const TEST::CTimezoneScope oScope("UTC0");
  EXPECT_EQ(oTime.Format(ZONE_LOCAL), L"2001-09-09 01:46:40");
}

TEST(TimestampTest, TimeThatNoCalendarHoldsIsShownAsItsSeconds) {
  EXPECT_EQ(CTimestamp(LLONG_MAX).Format(ZONE_GMT0), L"9223372036854775807");
  EXPECT_EQ(CTimestamp(LLONG_MAX).Format(GMT_PLUS_2), L"9223372036854775807");
  EXPECT_EQ(CTimestamp(LLONG_MIN).Format(GMT_MINUS_5), L"-9223372036854775808");
  EXPECT_EQ(CTimestamp(LLONG_MIN).Format(ZONE_LOCAL), L"-9223372036854775808");
}

TEST(TimestampTest, ChangeTimezoneGivesTheInstantOfAClockInTheZone) {
  constexpr long long TEN_OCLOCK = 10 * 3600;
  const struct {
    int nZone;
    bool bDaylightSaving;
    int nHour;
  } atCases[] = {
      {ZONE_GMT0, false, 10},
      {GMT_PLUS_2, false, 8},
      {GMT_PLUS_2, true, 7},
      {GMT_MINUS_5, false, 15},
      {GMT_MINUS_5, true, 14},
      {ZONE_GMT_MINUS_12, false, 22},
      {ZONE_GMT_PLUS_13, false, -3},
      {ZONE_LOCAL, true, 10},
      {27, true, 10},
      {-1, false, 10},
  };
  for (const auto& tCase : atCases) {
    CTimestamp oTime(TEN_OCLOCK);
    oTime.ChangeTimezone(tCase.nZone, tCase.bDaylightSaving);
    EXPECT_EQ(oTime.GetUTC(), tCase.nHour * 3600) << tCase.nZone;
  }
}

TEST(TimestampTest, TimesAreOrdered) {
  EXPECT_EQ(CTimestamp(), CTimestamp(0));
  EXPECT_LT(CTimestamp(-1), CTimestamp(0));
  CTimestamp oTime;
  oTime.Set(5);
  EXPECT_EQ(oTime, CTimestamp(5));
}

}  // namespace
}  // namespace TALVEK::VCM
