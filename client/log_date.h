#pragma once

#include <string_view>

#include "core/timestamp.h"

namespace TALVEK::CLIENT {

/// Reads the date of a revision as `cvs rlog` prints it: "2003/01/02 10:11:12" (older clients, in UTC) or
/// "2005-01-02 10:11:12 +0200" (newer ones). Of a zone suffix (a blank, a sign, four digits) the hours count
/// and the minutes don't.
///
/// Other    A date in any other form is what the toolkit's own parser makes of it, without the suffix: it
///          takes what is missing from the clock, and works in the process's zone, where it moves a time that
///          a clock change skips. Dates in the two forms are the same everywhere.
/// Errors   A date that can't be read is time 0.
VCM::CTimestamp ParseLogDate(std::wstring_view strText);

}  // namespace TALVEK::CLIENT
