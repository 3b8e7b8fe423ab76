#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/exact_road/client_tree.h"
#include "tests/exact_road/git_repository.h"
#include "tests/exact_road/rcs_file.h"

namespace TALVEK::TEST {

enum class TDifferenceKind {
  MISSING_REF,   // the client gives files for the name, Git has no such ref
  EXTRA_REF,     // the log doesn't name it
  MISSING_FILE,  // the client gives it, Git doesn't
  EXTRA_FILE,    // Git has it, the client gives none
  OTHER_BYTES,
  OTHER_MODE,     // the executable bit
  LOST_REVISION,  // no commit brings its bytes to its path
  OTHER_WORDS,    // none that does has its author and its message
};

/// What isn't as the repository has it.
struct TDifference {
  TDifferenceKind nKind;
  std::string strWhere;  // "trunk", "NAME", "trunk at 2001-09-09 01:46:40 UTC", or the number of a revision
  std::string strPath;   // "" for a ref
  std::string strDetail;

  bool operator==(const TDifference&) const = default;
};

/// "b1: dir/a: other bytes (4, in Git 6)", a line for each.
std::string Show(const std::vector<TDifference>& atDifferences);
void PrintTo(const TDifference& tDifference, std::ostream* poStream);

/// Holds a Git repository against the CVS module that it was made from, by means of the real client and of
/// the histories' files, and with none of the project's code.

/// The trunk, and every name of the log: paths, bytes ($Name$ cut back), executable bit. A missing ref equals
/// a name for which the client gives no file. A name that the client refuses isn't looked at.
std::vector<TDifference> CompareRefs(const TCvsModule& tModule, const CGitRepository& oGit);
/// Every living revision: some commit brings its bytes (keywords cut back) to its path under its author and
/// message. A revision that changes no byte needs a commit of its time that has them: within an hour, or,
/// where the clock was set back, with the time of the commit before it. The 1.1 that an import makes
/// beside 1.1.1.1 counts with that one.
std::vector<TDifference> FindLostRevisions(const TCvsModule& tModule, const CGitRepository& oGit);
/// The trunk in each quiet quarter of an hour of its history. Looks at nothing where the repository's dates
/// aren't in order, or where the client's answers with and without a date have nothing to do with one
/// another.
std::vector<TDifference> CompareTrunkByDate(const TCvsModule& tModule, const CGitRepository& oGit);
/// All three.
std::vector<TDifference> CompareAll(const TCvsModule& tModule, const std::filesystem::path& oGit);

}  // namespace TALVEK::TEST
