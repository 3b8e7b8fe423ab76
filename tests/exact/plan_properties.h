#pragma once

#include <string>
#include <vector>

#include "exact/make_plan.h"
#include "exact/rcs_file.h"

namespace TALVEK::EXACT::TEST {

/// Checks a plan of all names against the files from which it was made, by replaying its items. Returns the
/// first claim that doesn't hold, or an empty text:
///
/// - the trunk, each branch and each tag end as the client gives them,
/// - the trunk between two changesets is what a checkout by date gives, wherever no later revision has an
/// earlier date,
/// - each living revision is in one change of one branch stream or the trunk, what the trunk shows of vendors
/// in one of
///   the trunk, and no file comes twice in a change,
/// - a revision comes after the one before it, and after the one that its line sprouts from,
/// - a base comes before its stream, so that parents never form a circle,
/// - times in a stream never decrease.
std::string BrokenClaim(const std::vector<TRcsFile>& atFiles, const CPlan& oPlan);

}  // namespace TALVEK::EXACT::TEST
