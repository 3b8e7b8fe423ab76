#pragma once

#include <vector>

#include "mce/cvs_revision.h"
#include "mcv/file_enum.h"

namespace TALVEK::MCV {

// Lookups by number in the names and revisions of one file, which CFileEnum has sorted by number. Releases
// and branches put thousands of names on a file, so none of these looks at all of them. Where several have
// the same number, the first in sorted order counts.

/// The revision with this number, or null.
const TRevInfo* FindRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision);

/// Index of the name to whose line a revision belongs: the name's number is the revision's without its last
/// component. -1 when there is none.
int FindTagOfRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision);

/// Walks over a file's names in sorted order and finds for each the name from which it branches: the last
/// name before it whose number is a prefix of its own. Names of the same revision don't branch from each
/// other, nor does a branch from the revision that it starts at.
///
/// Once a number is no prefix of the current one, it is no prefix of any later one either: the numbers are
/// sorted. So the candidates form a stack.
class CTagNesting {
 public:
  /// The file is lent, and must stay as it is meanwhile.
  explicit CTagNesting(const TFileInfo& tFile) : m_tFile(tFile) {}

  /// Goes on to the next name; returns the index of the name that it branches from, or -1. A name on the
  /// trunk, or on a first branch, has none.
  int NextParent();

 private:
  const MCE::TCVSRevision& Number(int nTag) const { return m_tFile.atTags[nTag].oRevision; }

  const TFileInfo& m_tFile;
  int m_nNext = 0;
  std::vector<int> m_anBeginnings;  // each number begins with the one below it; the last name of each number
};

}  // namespace TALVEK::MCV
