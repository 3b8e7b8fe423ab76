#include "core/timestamp.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <cwchar>
#include <string>
#include <utility>

namespace TALVEK::VCM {

namespace {

constexpr wchar_t DEFAULT_FORMAT[] = L"%Y-%m-%d %H:%M:%S";
constexpr long SECONDS_PER_HOUR = 3600;
// A format can ask for any number of blanks ("%999999999d"). Longer date texts than this are refused.
constexpr std::size_t MAX_TEXT = 1U << 20U;

/// Seconds that the zone is ahead of GMT; 0 when the number names no fixed zone.
long ZoneOffset(int nZone) {
  const bool bFixed = nZone >= ZONE_GMT_MINUS_12 && nZone <= ZONE_GMT_PLUS_13;
  return bFixed ? (nZone - ZONE_GMT0) * SECONDS_PER_HOUR : 0;
}

/// False when the year doesn't fit into `struct tm`.
bool BreakDown(long long nSeconds, int nZone, std::tm& tParts) {
  if (nZone == ZONE_LOCAL) {
    tzset();  // localtime_r alone need not read TZ
    const std::time_t nTime = nSeconds;
    return localtime_r(&nTime, &tParts) != nullptr;
  }
  const long nOffset = ZoneOffset(nZone);
  std::time_t nTime = 0;
  if (__builtin_add_overflow(nSeconds, nOffset, &nTime)) return false;
  if (!gmtime_r(&nTime, &tParts)) return false;
  tParts.tm_gmtoff = nOffset;
  return true;
}

/// What "%Z" prints for a fixed zone; the C library would print GMT for all of them.
std::string ZoneName(int nZone) {
  const long nHours = ZoneOffset(nZone) / SECONDS_PER_HOUR;
  if (nHours == 0) return "GMT";
  return (nHours > 0 ? "GMT+" : "GMT") + std::to_string(nHours);
}

/// False when the text would exceed MAX_TEXT.
bool FormatParts(const wchar_t* pszFormat, const std::tm& tParts, std::wstring& strOut) {
  // The dot makes every result at least one character long, so a length of 0 means that the buffer is too
  // small.
  const std::wstring strFormat = std::wstring(L".") + pszFormat;
  for (std::size_t nRoom = 64; nRoom <= MAX_TEXT; nRoom *= 4) {
    strOut.resize(nRoom);
    const std::size_t nLength = std::wcsftime(strOut.data(), nRoom, strFormat.c_str(), &tParts);
    if (nLength == 0) continue;
    strOut.resize(nLength);
    strOut.erase(0, 1);
    return true;
  }
  return false;
}

}  // namespace

CString CTimestamp::Format(const wchar_t* pszFormat, int nZone) const {
  std::tm tParts{};
  std::wstring strText;
  if (!BreakDown(m_nSeconds, nZone, tParts)) return CString(std::to_wstring(m_nSeconds));
  const std::string strZone = ZoneName(nZone);
  if (nZone != ZONE_LOCAL) tParts.tm_zone = strZone.c_str();
  if (!FormatParts(pszFormat ? pszFormat : DEFAULT_FORMAT, tParts, strText)) {
    return CString(std::to_wstring(m_nSeconds));
  }
  return CString(std::move(strText));
}

CString CTimestamp::Format(int nZone) const {
  return Format(nullptr, nZone);
}

void CTimestamp::ChangeTimezone(int nZone, bool bDaylightSaving) {
  if (nZone < ZONE_GMT_MINUS_12 || nZone > ZONE_GMT_PLUS_13) return;
  const long nAhead = ZoneOffset(nZone) + (bDaylightSaving ? SECONDS_PER_HOUR : 0);
  long long nMoved = 0;
  if (!__builtin_sub_overflow(m_nSeconds, nAhead, &nMoved)) m_nSeconds = nMoved;
}

}  // namespace TALVEK::VCM
