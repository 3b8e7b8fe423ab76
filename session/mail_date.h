#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// Parses a date as in mail headers, such as "6 Nov 2001 06:51:22 -0000", in any zone. Seconds since 1970
/// UTC; nothing for other text.
std::optional<std::time_t> ParseMailDate(std::string_view strText);

/// The form of a time in CVS/Entries: "Tue Nov  6 06:51:22 2001", in UTC.
std::string EntryTime(std::time_t nTime);

}  // namespace TALVEK::SESSION
