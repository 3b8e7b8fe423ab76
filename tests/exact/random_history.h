#pragma once

#include <cstdint>
#include <vector>

#include "exact/rcs_file.h"

namespace TALVEK::EXACT::TEST {

/// A small history with all that is odd in CVS: trunk and vendor lines, branches of branches, names that sit
/// on other revisions in each file, on dead and on missing ones, names that are branches here and tags there,
/// two names for one line, lines without a name, default branches, no head, commit ids or none, clocks out of
/// order, revisions that share author and message so that changesets and circles arise. The same seed gives
/// the same history.
std::vector<TRcsFile> RandomHistory(std::uint64_t nSeed);

}  // namespace TALVEK::EXACT::TEST
