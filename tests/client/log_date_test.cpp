#include "client/log_date.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include <wx/datetime.h>

#include "core/text_codec.h"

namespace TALVEK::CLIENT {
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

TEST_P(LogDateTest, OtherFormsAreReadByWxWidgets) {
  const struct {
    const wchar_t* pszText;
    long long nExpected;
  } atCases[] = {
      {L"2 Jan 2003 10:11:12", 1041502272},        {L"Jan 2 2003 10:11:12", 1041502272},
      {L"Jan 2, 2003 10:11:12 +0200", 1041495072}, {L"10:11:12 2 Jan 2003", 1041502272},
      {L"2003/13/02 10:11:12", 1045131072},  // the 13th of February
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(ParseLogDate(tCase.pszText).GetUTC(), tCase.nExpected) << VCM::ToUtf8(tCase.pszText);
  }
}

TEST_P(LogDateTest, TimeOfDayIsReadAsWxWidgetsReadsIt) {
  const struct {
    const wchar_t* pszText;
    long long nExpected;
  } atCases[] = {
      {L"2003/01/02 10:11:12 PM", 1041545472}, {L"2003/01/02 noon", 1041508800},
      {L"2003/01/02 10:61:00", 1041501600},    {L"2003/01/02 10:", 1041501600},
      {L"2003/01/02 10:11:61", 1041502321},    {L"2003/01/02 10:11:12 AM +0200", 1041495072},
  };
  for (const auto& tCase : atCases) {
    EXPECT_EQ(ParseLogDate(tCase.pszText).GetUTC(), tCase.nExpected) << VCM::ToUtf8(tCase.pszText);
  }
}

TEST_P(LogDateTest, UnreadableDateIsTimeZero) {
  for (const wchar_t* pszText : {L"", L" ", L"garbage", L"2003/01/02 24:00:00", L"2003/01/02", L"10:11:12",
                                 L" +0200", L"2003/01/02 +0200", L"5 10:11:12", L"\xdce9\xdc80"}) {
    EXPECT_EQ(ParseLogDate(pszText).GetUTC(), 0) << VCM::ToUtf8(pszText);
  }
}

/// The reference: wxDateTime reads every form, in UTC, also the two usual ones; only the suffix is read here.
long long PlainTime(std::wstring strText) {
  strText.erase(strText.find_last_not_of(L" \t\n\v\f\r") + 1);
  long long nHours = 0;
  const std::wstring strSuffix = strText.size() < 6 ? L"" : strText.substr(strText.size() - 6);
  if (strSuffix.starts_with(L" +") || strSuffix.starts_with(L" -")) {
    strText.resize(strText.size() - 6);
    nHours = std::wcstol(strSuffix.substr(2, 2).c_str(), nullptr, 10);
    if (nHours > (strSuffix[1] == L'+' ? 13 : 12)) nHours = 0;
    if (strSuffix[1] == L'-') nHours = -nHours;
  }
  wxDateTime oDate;
  wxString::const_iterator itEnd;
  if (!oDate.ParseDateTime(wxString(strText), &itEnd) || !oDate.IsValid()) return 0;
  return oDate.GetValue().GetValue() / 1000 - nHours * 3600;
}

class CUtcScope {
 public:
  CUtcScope() {
    setenv("TZ", "UTC", 1);
    tzset();
  }
  ~CUtcScope() {
    unsetenv("TZ");
    tzset();
  }
};

constexpr const wchar_t* APSZ_DATES[] = {
    L"2003/01/02 10:11:12",
    L"2005-01-02 10:11:12 +0200",
    L"2005-12-31 23:59:59 -0500",
    L"1969/12/31 23:59:59",
    L"0012/01/02 10:11:12",
    L"0999-01-02 10:11:12",
    L"9999/12/31 00:00:00",
    L"2000/02/29 12:00:00",
    L"1900/02/29 12:00:00",
    L"2003/02/29 12:00:00",
    L"2003/01/02 10:11:60",
    L"2003/01/02 10:11:61",
    L"2003/01/02 10:11:62",
    L"2003/00/02 10:11:12",
    L"2003/01/00 10:11:12",
    L"2003/04/31 10:11:12",
    L"2003/01-02 10:11:12",
    L"2003/01/02 24:11:12",
    L"2003/01/02 10:11:12 PM",
    L"2003/01/02 noon",
    L"midnight 2003/01/02",
    L"2003/01/02 10:61:00",
    L"2003/01/02 10:",
    L"2003/01/02T10:11:12",
    L"2003/1/2 1:2:3",
    L" 2003/01/02  10:11:12.5",
    L"20030102101112",
    L"2 Jan 2003 10:11:12",
    L"Thu, 02 Jan 2003 10:11:12 +0200",
    L"Thu Jan  2 10:11:12 2003",
    L"January 2nd, 2003 10 PM",
    L"10:11 02/01/03",
    L"123456-01-02 10:11:12",
};

TEST(LogDateComparisonTest, DatesAreReadAsWxWidgetsReadsThem) {
  const CUtcScope oUtc;
  for (const wchar_t* pszText : APSZ_DATES)
    EXPECT_EQ(ParseLogDate(pszText).GetUTC(), PlainTime(pszText)) << VCM::ToUtf8(pszText);
}

TEST(LogDateComparisonTest, EveryYearIsReadAsWxWidgetsReadsIt) {
  const CUtcScope oUtc;
  for (int nYear = 0; nYear < 10000; nYear += nYear < 1100 ? 1 : 97) {
    const std::wstring strYear = std::to_wstring(10000 + nYear).substr(1);
    for (const wchar_t* pszRest : {L"/01/02 10:11:12", L"-12-31 23:59:59", L"/02/29 00:00:00"})
      ASSERT_EQ(ParseLogDate(strYear + pszRest).GetUTC(), PlainTime(strYear + pszRest))
          << VCM::ToUtf8(VCM::CString(strYear + pszRest));
  }
}

/// The text with one to three characters removed, inserted or replaced at random.
std::wstring Mutated(std::wstring strText, std::mt19937& oRandom) {
  constexpr std::wstring_view CHARACTERS = L"0123456789999///---:::  ++.,TZAPMapm\tJanuryFeb\xe9";
  for (auto n = 1 + oRandom() % 3; n > 0; --n) {
    const std::size_t nPlace = oRandom() % (strText.size() + 1);
    const std::size_t nRemoved = oRandom() % 3;
    strText.erase(nPlace, nRemoved == 2 ? 1 : nRemoved);
    if (oRandom() % 3 != 0) strText.insert(nPlace, 1, CHARACTERS[oRandom() % CHARACTERS.size()]);
  }
  return strText;
}

TEST(LogDateComparisonTest, ChangedDatesAreReadAsWxWidgetsReadsThem) {
  const CUtcScope oUtc;
  std::mt19937 oRandom(1);
  for (int i = 0; i < 20000; ++i) {
    const std::wstring strText = Mutated(APSZ_DATES[oRandom() % std::size(APSZ_DATES)], oRandom);
    ASSERT_EQ(ParseLogDate(strText).GetUTC(), PlainTime(strText)) << VCM::ToUtf8(VCM::CString(strText));
  }
}

}  // namespace
}  // namespace TALVEK::CLIENT
