#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace TALVEK::TEST {

/// A time, seconds since 1970 UTC, as strftime writes it; by default as people and the client's -D do.
inline std::string UtcText(std::int64_t nSeconds, const char* pszFormat = "%Y-%m-%d %H:%M:%S UTC") {
  const std::time_t nTime = nSeconds;
  std::tm tTime{};
  gmtime_r(&nTime, &tTime);
  char szText[64];
  return {szText, std::strftime(szText, sizeof szText, pszFormat, &tTime)};
}

}  // namespace TALVEK::TEST
