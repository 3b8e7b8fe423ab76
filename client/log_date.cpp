#include "client/log_date.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include <wx/datetime.h>

#include "core/string.h"
#include "core/text_codec.h"

namespace TALVEK::CLIENT {

namespace {

using TSeconds = std::chrono::sys_seconds;

constexpr std::size_t ZONE_SUFFIX_LENGTH = 6;
constexpr int MAX_HOURS_EAST = 13;
constexpr int MAX_HOURS_WEST = 12;
constexpr int YEARS_PER_CYCLE = 400;
constexpr long long DAYS_PER_CYCLE = 146097;

bool IsDigit(wchar_t ch) {
  return ch >= L'0' && ch <= L'9';
}

/// Cuts a suffix such as " +0200" off the text and returns its zone; GMT when there is none. wxDateTime would
/// ignore the suffix.
int CutZoneSuffix(std::wstring_view& strText) {
  if (strText.size() < ZONE_SUFFIX_LENGTH) return VCM::ZONE_GMT0;
  const std::wstring_view strSuffix = strText.substr(strText.size() - ZONE_SUFFIX_LENGTH);
  if (strSuffix[0] != L' ' || (strSuffix[1] != L'+' && strSuffix[1] != L'-')) return VCM::ZONE_GMT0;
  strText.remove_suffix(ZONE_SUFFIX_LENGTH);
  const auto nHours = static_cast<int>(VCM::ParseNumber(VCM::CString(strSuffix.substr(2, 2))));
  if (strSuffix[1] == L'+') return nHours <= MAX_HOURS_EAST ? VCM::ZONE_GMT0 + nHours : VCM::ZONE_GMT0;
  return nHours <= MAX_HOURS_WEST ? VCM::ZONE_GMT0 - nHours : VCM::ZONE_GMT0;
}

std::optional<TSeconds> MakeTime(int nYear, int nMonth, int nDay, int nHour, int nMinute, int nSecond) {
  const std::chrono::year_month_day oDay{std::chrono::year(nYear),
                                         std::chrono::month(static_cast<unsigned>(nMonth)),
                                         std::chrono::day(static_cast<unsigned>(nDay))};
  if (!oDay.ok()) return std::nullopt;
  return std::chrono::sys_days(oDay) + std::chrono::hours(nHour) + std::chrono::minutes(nMinute) +
         std::chrono::seconds(nSecond);
}

/// Reads "2003/01/02 10:11:12" and "2003-01-02 10:11:12", the forms that CVS writes, in which each part has a
/// fixed place. None for any other form, for an impossible date, and for a year below 1000, which wxDateTime
/// reads as a day or a month.
std::optional<TSeconds> ReadUsualForm(std::wstring_view strText) {
  constexpr std::wstring_view WITH_SLASHES = L"0000/00/00 00:00:00", WITH_HYPHENS = L"0000-00-00 00:00:00";
  if (strText.size() != WITH_SLASHES.size() || strText[0] == L'0') return std::nullopt;
  std::wstring strForm(strText);
  std::replace_if(strForm.begin(), strForm.end(), IsDigit, L'0');
  if (strForm != WITH_SLASHES && strForm != WITH_HYPHENS) return std::nullopt;
  const auto fnPair = [&](std::size_t nPlace) {
    return static_cast<int>((strText[nPlace] - L'0') * 10 + strText[nPlace + 1] - L'0');
  };
  if (fnPair(11) > 23 || fnPair(14) > 59 || fnPair(17) > 59) return std::nullopt;
  return MakeTime(fnPair(0) * 100 + fnPair(2), fnPair(5), fnPair(8), fnPair(11), fnPair(14), fnPair(17));
}

/// Reads any form that wxDateTime knows. It takes the text for local time, so the parts are taken from it as
/// they were written, and made a UTC time.
std::optional<TSeconds> ReadByWxDateTime(std::wstring_view strText) {
  wxDateTime oDate;
  wxString::const_iterator itEnd;
  if (!oDate.ParseDateTime(wxString(std::wstring(strText)), &itEnd) || !oDate.IsValid()) return std::nullopt;
  const wxDateTime::Tm tTime = oDate.GetTm();
  // <chrono> has 16 bits for a year, wxDateTime reads larger ones. The calendar repeats every 400 years.
  const int nCycles = tTime.year / YEARS_PER_CYCLE;
  std::optional<TSeconds> oSeconds =
      MakeTime(tTime.year % YEARS_PER_CYCLE, tTime.mon + 1, tTime.mday, tTime.hour, tTime.min, tTime.sec);
  if (oSeconds) *oSeconds += nCycles * std::chrono::days(DAYS_PER_CYCLE);
  return oSeconds;
}

}  // namespace

VCM::CTimestamp ParseLogDate(std::wstring_view strText) {
  while (!strText.empty() && VCM::IsWhiteSpace(strText.back()))
    strText.remove_suffix(1);
  const int nZone = CutZoneSuffix(strText);
  std::optional<TSeconds> oSeconds = ReadUsualForm(strText);
  if (!oSeconds) oSeconds = ReadByWxDateTime(strText);
  if (!oSeconds) return VCM::CTimestamp(0);
  VCM::CTimestamp oTime(oSeconds->time_since_epoch().count());
  oTime.ChangeTimezone(nZone, false);
  return oTime;
}

}  // namespace TALVEK::CLIENT
