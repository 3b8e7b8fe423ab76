#include "mcv/log_date.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "core/text_codec.h"

namespace TALVEK::MCV {
namespace {

/// Runs with the process in a time zone.
class LogDateTest : public ::testing::TestWithParam<const char*> {
 protected:
  LogDateTest() {
    setenv("TZ", GetParam(), 1);
    tzset();
  }
  ~LogDateTest() override {
    unsetenv("TZ");
    tzset();
  }
};

INSTANTIATE_TEST_SUITE_P(Zones, LogDateTest,
                         ::testing::Values("UTC", "America/New_York", "America/Sao_Paulo", "Asia/Kolkata"),
                         [](const auto& tInfo) {
                           std::string strName = tInfo.param;
                           for (char& ch : strName)
                             ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
                           return strName;
                         });

TEST_P(LogDateTest, DatesGiveTheSameTimeInEveryZone) {
  const struct {
    const wchar_t* pszText;
    long long nExpected;
  } atCases[] = {
      {L"1970/01/01 00:00:00", 0},
      {L"2003/01/02 10:11:12", 1041502272},
      {L"2003/01/02 10:11:12  \t", 1041502272},
      {L"2005-01-02 10:11:12 +0000", 1104660672},
      {L"2005-01-02 10:11:12", 1104660672},
      {L"2003/1/2 1:2:3", 1041469323},
      {L"2003-01-02T10:11:12", 1041502272},
      {L" 2003/01/02 10:11:1", 1041502261},
      {L"2003/01/02 10:11:12 and more", 1041502272},
      {L"2003/01/02 10:11", 1041502260},
      {L"2003/01/02 10", 1041501600},
      {L"2004/02/29 12:00:00", 1078056000},
      {L"2038/01/19 03:14:08", 2147483648LL},
      {L"1969/12/31 23:59:59", -1},
      {L"2003/01/02 10:11:60", 1041502320},
      // The hour that clocks in New York skip, and a midnight that clocks in Sao Paulo skip.
      {L"2003/04/06 02:30:00", 1049596200},
      {L"2003/10/19 00:30:00", 1066523400},
      {L"2005-04-03 02:30:00 +0000", 1112495400},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(ParseLogDate(tCase.pszText).GetUTC(), tCase.nExpected) << VCM::ToUtf8(tCase.pszText);
  }
}

TEST_P(LogDateTest, ZoneSuffixMovesTheTimeByWholeHours) {
  constexpr long long NOON = 1104667200;  // 2005-01-02 12:00:00 UTC
  const struct {
    const wchar_t* pszSuffix;
    int nHours;
  } atCases[] = {
      {L" +0200", -2}, {L" -0500", 5},  {L" +0000", 0},     {L" -0000", 0},   {L" +1300", -13},
      {L" +1400", 0},  {L" -1200", 12}, {L" -1300", 0},     {L" +0530", -5},  {L" -0330", 3},
      {L" +0x00", 0},  {L" +2xyz", -2}, {L" +0200 \t", -2}, {L" -0500  ", 5}, {L"  +0200", -2},
      {L" +-500", 5},  {L" --300", -3}, {L" -+300", 3},     {L"+0200", 0},    {L"\t+0200", 0},
  };
  for (const auto& tCase : atCases) {
    const VCM::CString strText = VCM::CString(L"2005-01-02 12:00:00") + tCase.pszSuffix;
    EXPECT_EQ(ParseLogDate(strText.View()).GetUTC(), NOON + tCase.nHours * 3600LL) << VCM::ToUtf8(strText);
  }
}

TEST_P(LogDateTest, OtherFormsAreReadByTheToolkit) {
  const struct {
    const wchar_t* pszText;
    long long nExpected;
  } atCases[] = {
      {L"2 Jan 2003 10:11:12", 1041502272},        {L"Jan 2 2003 10:11:12", 1041502272},
      {L"Jan 2, 2003 10:11:12 +0200", 1041495072}, {L"6 Apr 2003 02:30:00", 1049596200},
      {L"19 Oct 2003 00:30:00", 1066523400},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(ParseLogDate(tCase.pszText).GetUTC(), tCase.nExpected) << VCM::ToUtf8(tCase.pszText);
  }
}

TEST_P(LogDateTest, UnreadableDateIsTimeZero) {
  for (const wchar_t* pszText :
       {L"", L" ", L"garbage", L"2003/13/02 10:11:12", L"2003/02/29 10:11:12", L"2003/01/00 10:11:12",
        L"2003/00/02 10:11:12", L"2003-02-29 10:11:12", L"2003/01/02 10:11:61", L"2003/01/02 24:00:00",
        L"2003/01/02 10:61:00", L"2003/01/02", L"10:11:12", L" +0200", L"2003/01/02 +0200",
        L"\xdce9\xdc80"}) {
    EXPECT_EQ(ParseLogDate(pszText).GetUTC(), 0) << VCM::ToUtf8(pszText);
  }
}

// The toolkit would fill in the year, the month or the day from the clock.
TEST_P(LogDateTest, DateThatNeedsTheClockIsUnreadable) {
  for (const wchar_t* pszText :
       {L"today 10:11:12", L"tomorrow 10:11", L"Monday 10:11:12", L"5 March 10:11:12", L"5 10:11:12"}) {
    EXPECT_EQ(ParseLogDate(pszText).GetUTC(), 0) << VCM::ToUtf8(pszText);
  }
}

}  // namespace
}  // namespace TALVEK::MCV
