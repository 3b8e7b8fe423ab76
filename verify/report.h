#pragma once

#include <string>

#include "verify/settings.h"
#include "verify/verification.h"

namespace TALVEK::VERIFY {

/// For a person: a table, below it the files that aren't equal, and one line that sums up. `bBrief`: without
/// the rows that are equal.
std::string MakeText(const TResult& tResult, bool bBrief);

/// For a program: one JSON object.
std::string MakeJson(const TResult& tResult, const TSettings& tSettings, bool bBrief);

/// "133 refs: 131 equal, 1 differs, 1 refused by cvs".
std::string MakeSummary(const TResult& tResult);

}  // namespace TALVEK::VERIFY
