#include "exact/end_date.h"

#include <chrono>
#include <string>

#include "exact/log_text.h"

namespace TALVEK::EXACT {

std::optional<std::int64_t> ReadEndDate(std::string_view strText) {
  constexpr std::string_view DATE = "2004-12-31", LAST_SECOND = " 23:59:59";
  std::string strDate(strText);
  if (strDate.size() == DATE.size()) strDate += LAST_SECOND;
  if (strDate.size() != DATE.size() + LAST_SECOND.size()) return std::nullopt;
  if (strDate[DATE.size()] == 'T') strDate[DATE.size()] = ' ';
  std::int64_t nTime = 0;
  if (!ReadTime(strDate, nTime)) return std::nullopt;
  // A log's 31 June is 1 July; a person's is a slip.
  const std::chrono::sys_seconds oTime{std::chrono::seconds(nTime)};
  const std::chrono::year_month_day oDay(std::chrono::floor<std::chrono::days>(oTime));
  const int nDay = (strDate[DATE.size() - 2] - '0') * 10 + strDate[DATE.size() - 1] - '0';
  if (static_cast<int>(static_cast<unsigned>(oDay.day())) != nDay) return std::nullopt;
  return nTime;
}

}  // namespace TALVEK::EXACT
