#pragma once

#include <string>
#include <unordered_set>

#include "exact/history.h"

namespace TALVEK::EXACT {

/// The files of the repository whose path is that of a folder, too: "lib" where the history also has
/// "lib/a.c". Not at the same time, as a rule: a file became a folder, or the other way round.
///
/// Cost     Memory of the paths of all folders while it works.
std::unordered_set<std::string> FilesNamedLikeFolders(const CHistory& oHistory);

}  // namespace TALVEK::EXACT
