#include "mcv/log_date.h"

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <wx/datetime.h>

#include "core/string.h"
#include "core/text_codec.h"

namespace TALVEK::MCV {

namespace {

constexpr std::size_t ZONE_SUFFIX_LENGTH = 6;
constexpr int MAX_HOURS_EAST = 13;
constexpr int MAX_HOURS_WEST = 12;
constexpr long long SECONDS_PER_DAY = 86400;

bool IsDigit(wchar_t ch) {
  return ch >= L'0' && ch <= L'9';
}

int TwoDigits(wchar_t chTens, wchar_t chOnes) {
  return static_cast<int>((chTens - L'0') * 10 + (chOnes - L'0'));
}

/// As ParseNumber, to which the odd ones are left.
int ParseHours(std::wstring_view strTwo) {
  if (IsDigit(strTwo[0]) && IsDigit(strTwo[1])) return TwoDigits(strTwo[0], strTwo[1]);
  return static_cast<int>(VCM::ParseNumber(VCM::CString(strTwo)));
}

/// Cuts a suffix such as " +0200" off the text and returns the zone that it names; GMT without one.
int CutZoneSuffix(std::wstring_view& strText) {
  if (strText.size() < ZONE_SUFFIX_LENGTH) return VCM::ZONE_GMT0;
  const std::wstring_view strSuffix = strText.substr(strText.size() - ZONE_SUFFIX_LENGTH);
  if (strSuffix[0] != L' ' || (strSuffix[1] != L'+' && strSuffix[1] != L'-')) return VCM::ZONE_GMT0;
  strText.remove_suffix(ZONE_SUFFIX_LENGTH);
  const int nHours = ParseHours(strSuffix.substr(2, 2));
  if (strSuffix[1] == L'+') return nHours <= MAX_HOURS_EAST ? VCM::ZONE_GMT0 + nHours : VCM::ZONE_GMT0;
  return nHours <= MAX_HOURS_WEST ? VCM::ZONE_GMT0 - nHours : VCM::ZONE_GMT0;
}

/// Reads a text from the left.
class CScanner {
 public:
  explicit CScanner(std::wstring_view strText) : m_strText(strText) {}

  /// One to `nMaxDigits` digits, not followed by another one.
  std::optional<int> Number(int nMaxDigits) {
    int nValue = 0;
    int nDigits = 0;
    while (nDigits < nMaxDigits && IsAtDigit()) {
      nValue = nValue * 10 + static_cast<int>(m_strText[m_nPosition++] - L'0');
      ++nDigits;
    }
    if (nDigits == 0 || IsAtDigit()) return std::nullopt;
    return nValue;
  }
  bool Character(wchar_t ch) {
    if (m_nPosition >= m_strText.size() || m_strText[m_nPosition] != ch) return false;
    ++m_nPosition;
    return true;
  }
  void SkipBlanks() {
    while (m_nPosition < m_strText.size() && VCM::IsWhiteSpace(m_strText[m_nPosition]))
      ++m_nPosition;
  }
  std::size_t GetPosition() const { return m_nPosition; }

 private:
  bool IsAtDigit() const { return m_nPosition < m_strText.size() && IsDigit(m_strText[m_nPosition]); }

  std::wstring_view m_strText;
  std::size_t m_nPosition = 0;
};

/// Days since 1970-01-01 of a date of the Gregorian calendar; nothing when there is no such day.
std::optional<long long> DaysSinceEpoch(int nYear, int nMonth, int nDay) {
  static constexpr int ANDAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (nMonth < 1 || nMonth > 12) return std::nullopt;
  const bool bLeapYear = (nYear % 4 == 0 && nYear % 100 != 0) || nYear % 400 == 0;
  if (nDay < 1 || nDay > ANDAYS[nMonth - 1] + (nMonth == 2 && bLeapYear ? 1 : 0)) return std::nullopt;
  // Counted in years that begin in March, so that the leap day is a year's last.
  const long long nMarchYear = nYear - (nMonth <= 2 ? 1 : 0);
  const long long nMarchMonth = (nMonth + 9) % 12;
  const long long nLeapDays = nMarchYear / 4 - nMarchYear / 100 + nMarchYear / 400;
  return nMarchYear * 365 + nLeapDays + (nMarchMonth * 153 + 2) / 5 + nDay - 1 - 719468;
}

/// Seconds since midnight.
std::optional<long long> TimeOfDay(int nHour, int nMinute, int nSecond) {
  if (nHour > 23 || nMinute > 59 || nSecond > 60) return std::nullopt;  // 60: a leap second
  return nHour * 3600LL + nMinute * 60LL + nSecond;
}

/// Seconds since midnight of "10", "10:11" or "10:11:12".
std::optional<long long> ScanTimeOfDay(CScanner& oScanner) {
  int anParts[3] = {0, 0, 0};
  for (int i = 0; i < 3; ++i) {
    if (i > 0 && !oScanner.Character(L':')) break;
    const std::optional<int> nPart = oScanner.Number(2);
    if (!nPart) return std::nullopt;
    anParts[i] = *nPart;
  }
  return TimeOfDay(anParts[0], anParts[1], anParts[2]);
}

/// Reads "2003/01/02 10:11:12" and "2003-01-02 10:11:12", the forms that CVS writes: each part has its place.
/// False for all else, and for what is no date.
bool ReadUsualForm(std::wstring_view strText, long long& nSeconds) {
  constexpr std::size_t LENGTH = 19;
  constexpr std::size_t PAIRS[] = {0, 2, 5, 8, 11, 14, 17};  // the year is two of them
  if (strText.size() != LENGTH || (strText[4] != L'/' && strText[4] != L'-') || strText[7] != strText[4] ||
      strText[10] != L' ' || strText[13] != L':' || strText[16] != L':')
    return false;
  int anPairs[std::size(PAIRS)];
  for (std::size_t i = 0; i < std::size(PAIRS); ++i) {
    const wchar_t* const pchPair = &strText[PAIRS[i]];
    if (!IsDigit(pchPair[0]) || !IsDigit(pchPair[1])) return false;
    anPairs[i] = TwoDigits(pchPair[0], pchPair[1]);
  }
  const std::optional<long long> nDays =
      DaysSinceEpoch(anPairs[0] * 100 + anPairs[1], anPairs[2], anPairs[3]);
  const std::optional<long long> nTimeOfDay = TimeOfDay(anPairs[4], anPairs[5], anPairs[6]);
  if (!nDays || !nTimeOfDay) return false;
  nSeconds = *nDays * SECONDS_PER_DAY + *nTimeOfDay;
  return true;
}

enum class TForm { NOT_YEAR_FIRST, UNREADABLE, READ };

/// Reads year, month, day and time of day. Only a text that doesn't begin as such a date is left to others.
TForm ReadYearFirst(std::wstring_view strText, long long& nSeconds) {
  CScanner oScanner(strText);
  oScanner.SkipBlanks();
  const std::size_t nStart = oScanner.GetPosition();
  const std::optional<int> nYear = oScanner.Number(4);
  const bool bFourDigits = oScanner.GetPosition() - nStart == 4;
  const wchar_t chSeparator = oScanner.Character(L'/') ? L'/' : L'-';
  if (!nYear || !bFourDigits || (chSeparator == L'-' && !oScanner.Character(L'-')))
    return TForm::NOT_YEAR_FIRST;
  const std::optional<int> nMonth = oScanner.Number(2);
  if (!nMonth || !oScanner.Character(chSeparator)) return TForm::NOT_YEAR_FIRST;
  const std::optional<int> nDay = oScanner.Number(2);
  if (!nDay) return TForm::NOT_YEAR_FIRST;

  if (!oScanner.Character(L'T')) oScanner.SkipBlanks();
  const std::optional<long long> nDays = DaysSinceEpoch(*nYear, *nMonth, *nDay);
  const std::optional<long long> nTimeOfDay = ScanTimeOfDay(oScanner);
  if (!nDays || !nTimeOfDay) return TForm::UNREADABLE;
  nSeconds = *nDays * SECONDS_PER_DAY + *nTimeOfDay;
  return TForm::READ;
}

/// Days since 1970 of the date in `strText`, read by the toolkit.
std::optional<long long> ReadDateByToolkit(const std::wstring& strText) {
  wxDateTime oDate;
  wxString::const_iterator itEnd;
  if (!oDate.ParseDate(wxString(strText), &itEnd) || !oDate.IsValid()) return std::nullopt;
  // The toolkit makes up what a date doesn't say ("Monday", "5 March", "today") from the clock; a log read
  // tomorrow must give the same history. Midnight is moved where a clock change skips it, so its day is taken
  // from the hour twelve hours on.
  const wxDateTime::Tm tNoon = (oDate + wxTimeSpan::Hours(12)).GetTm();
  if (strText.find(std::to_wstring(tNoon.year)) == std::wstring::npos) return std::nullopt;
  return DaysSinceEpoch(tNoon.year, tNoon.mon + 1, tNoon.mday);
}

/// Reads forms such as "Thu Jan 2 10:11:12 2003" and "02 Jan 2003 10:11": the time of day is cut out here,
/// the toolkit reads the date around it. The toolkit's own reading of both together works in the local zone
/// and loses the hours that a clock change skips.
std::optional<long long> ReadOtherForm(std::wstring_view strAll) {
  std::size_t nStart = strAll.find(L':');
  if (nStart == 0 || nStart == std::wstring_view::npos) return std::nullopt;
  while (nStart > 0 && IsDigit(strAll[nStart - 1]))
    --nStart;
  CScanner oScanner(strAll.substr(nStart));
  const std::optional<long long> nTimeOfDay = ScanTimeOfDay(oScanner);
  if (!nTimeOfDay) return std::nullopt;

  VCM::CString strDate(strAll.substr(0, nStart));
  strDate += VCM::CString(strAll.substr(nStart + oScanner.GetPosition()));
  strDate.TrimLeft();
  strDate.TrimRight();
  const std::optional<long long> nDays = ReadDateByToolkit(std::wstring(strDate.View()));
  if (!nDays) return std::nullopt;
  return *nDays * SECONDS_PER_DAY + *nTimeOfDay;
}

}  // namespace

VCM::CTimestamp ParseLogDate(std::wstring_view strDate) {
  while (!strDate.empty() && VCM::IsWhiteSpace(strDate.back()))
    strDate.remove_suffix(1);
  const int nZone = CutZoneSuffix(strDate);
  long long nSeconds = 0;
  const TForm nForm = ReadUsualForm(strDate, nSeconds) ? TForm::READ : ReadYearFirst(strDate, nSeconds);
  if (nForm == TForm::UNREADABLE) return VCM::CTimestamp(0);
  if (nForm == TForm::NOT_YEAR_FIRST) {
    const std::optional<long long> nOther = ReadOtherForm(strDate);
    if (!nOther) return VCM::CTimestamp(0);
    nSeconds = *nOther;
  }
  VCM::CTimestamp oTime(nSeconds);
  oTime.ChangeTimezone(nZone, false);
  return oTime;
}

}  // namespace TALVEK::MCV
