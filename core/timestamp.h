#pragma once

#include <compare>

#include "core/export.h"
#include "core/string.h"

namespace TALVEK::VCM {

/// Time zones, numbered as in wxDateTime::TZ: GMT-HH is 13 - HH, GMT+HH is 13 + HH. 0 is the process's own
/// zone.
enum TTimezone : int { ZONE_LOCAL = 0, ZONE_GMT_MINUS_12 = 1, ZONE_GMT0 = 13, ZONE_GMT_PLUS_13 = 26 };

/// A point in time: seconds since 1970-01-01 00:00:00 UTC, signed 64-bit. Default: 0.
class TALVEK_CORE_API CTimestamp {
 public:
  CTimestamp() = default;
  explicit CTimestamp(long long nSeconds) : m_nSeconds(nSeconds) {}

  void Set(long long nSeconds) { m_nSeconds = nSeconds; }
  long long GetUTC() const { return m_nSeconds; }

  /// The time in the zone, by a strftime format; "%Y-%m-%d %H:%M:%S" without one. The result is the plain
  /// number of seconds when the year doesn't fit into `struct tm`, or the text would exceed a million
  /// characters. A zone outside 0 to 26 counts as GMT0.
  CString Format(const wchar_t* pszFormat, int nZone) const;
  CString Format(int nZone) const;

  /// Treats the present value as a local time in `nZone`, and converts it to UTC: 10:00 with GMT+2 becomes
  /// 08:00. `bDaylightSaving` subtracts one more hour. A zone outside 1 to 26, or an overflow, changes
  /// nothing.
  void ChangeTimezone(int nZone, bool bDaylightSaving);

  auto operator<=>(const CTimestamp&) const = default;

 private:
  long long m_nSeconds = 0;
};

}  // namespace TALVEK::VCM
