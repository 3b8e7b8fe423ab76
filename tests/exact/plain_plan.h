#pragma once

#include <string>
#include <vector>

#include "exact/history.h"
#include "exact/rcs_file.h"

namespace TALVEK::EXACT::TEST {

/// The whole plan a second time: slow, obvious, written from the rules and not from the passes. The same
/// text as Dump(). All texts of revisions have to be given; files come in the order of the log.
std::string PlainPlan(const std::vector<TRcsFile>& atFiles, const THistoryOptions& tOptions);

}  // namespace TALVEK::EXACT::TEST
