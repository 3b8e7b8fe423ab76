#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace TALVEK::EXACT {

/// The last second that an end date counts in, in seconds since 1970 UTC: of "2004-12-31 23:59:59" (UTC; also
/// with "/" in the date, and with a "T" before the time) that second, of "2004-12-31" the last one of the
/// day. Nothing for any other text, and for a day that its month doesn't have.
std::optional<std::int64_t> ReadEndDate(std::string_view strText);

}  // namespace TALVEK::EXACT
