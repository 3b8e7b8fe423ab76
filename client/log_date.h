#pragma once

#include <string_view>

#include "core/timestamp.h"

namespace TALVEK::CLIENT {

/// Reads the date of a revision as `cvs rlog` prints it: "2003/01/02 10:11:12" (older clients, in UTC) or
/// "2005-01-02 10:11:12 +0200" (newer ones). Of a zone suffix (a blank, a sign, four digits) only the hours
/// are read, not the minutes.
///
/// Other    Any other form goes, without the suffix, to wxDateTime::ParseDateTime. It takes missing parts
///          from the clock, and moves a time that a clock change in the process's zone skips. The two forms
///          above depend on neither.
/// Errors   A date that can't be read is time 0.
VCM::CTimestamp ParseLogDate(std::wstring_view strText);

}  // namespace TALVEK::CLIENT
