#include "session/mail_date.h"

#include <cstdio>

namespace TALVEK::SESSION {

namespace {

constexpr std::string_view MONTHS = "JanFebMarAprMayJunJulAugSepOctNovDec";
constexpr std::string_view DAYS = "SunMonTueWedThuFriSat";

}  // namespace

std::optional<std::time_t> ParseMailDate(std::string_view strText) {
  std::tm tDate{};
  char szMonth[4] = "";
  char chSign = 0;
  int nZone = 0;
  if (std::sscanf(std::string(strText).c_str(), "%2d %3s %4d %2d:%2d:%2d %c%4d", &tDate.tm_mday, szMonth,
                  &tDate.tm_year, &tDate.tm_hour, &tDate.tm_min, &tDate.tm_sec, &chSign, &nZone) != 8)
    return std::nullopt;
  const std::size_t nMonth = MONTHS.find(szMonth);
  if (nMonth == std::string_view::npos || nMonth % 3 != 0 || (chSign != '+' && chSign != '-'))
    return std::nullopt;
  tDate.tm_mon = static_cast<int>(nMonth / 3);
  tDate.tm_year -= 1900;
  const std::time_t nOffset = std::time_t{60} * (nZone / 100 * 60 + nZone % 100);
  return ::timegm(&tDate) - (chSign == '-' ? -nOffset : nOffset);
}

std::string EntryTime(std::time_t nTime) {
  std::tm tDate{};
  ::gmtime_r(&nTime, &tDate);
  const auto fnName = [](std::string_view strNames, int nIndex) {
    return std::string(strNames.substr(static_cast<std::size_t>(nIndex) * 3, 3));
  };
  char szText[64];
  std::snprintf(szText, sizeof szText, "%s %s %2d %02d:%02d:%02d %d", fnName(DAYS, tDate.tm_wday).c_str(),
                fnName(MONTHS, tDate.tm_mon).c_str(), tDate.tm_mday, tDate.tm_hour, tDate.tm_min,
                tDate.tm_sec, tDate.tm_year + 1900);
  return szText;
}

}  // namespace TALVEK::SESSION
