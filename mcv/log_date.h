#pragma once

#include <string_view>

#include "core/timestamp.h"

namespace TALVEK::MCV {

/// Reads the date of a revision as `cvs rlog` prints it: "2003/01/02 10:11:12" (older clients, in UTC) or
/// "2005-01-02 10:11:12 +0200" (newer ones). Of a zone suffix (a blank, a sign, four digits) the hours count
/// and the minutes don't. A date in any other form is tried by the toolkit's own parser, and must name its
/// year.
///
/// Errors   A date that can't be read is time 0.
/// Always   The same text gives the same time, whatever the process's time zone and today's date.
VCM::CTimestamp ParseLogDate(std::wstring_view strText);

}  // namespace TALVEK::MCV
