#pragma once

#include <string>
#include <vector>

#include "tests/exact_road/exact_check.h"

namespace TALVEK::TEST {

/// Adds what differs between the tree that the client gives and Git's: paths, bytes ($Name$ cut back),
/// executable bit. `strWhere` says in the differences what was compared.
void CompareTrees(const std::string& strWhere, const TClientTree& mapWant, const TGitTree& mapGot,
                  const CGitRepository& oGit, std::vector<TDifference>* patDifferences);

}  // namespace TALVEK::TEST
