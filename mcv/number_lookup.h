#pragma once

#include <vector>

#include "mce/cvs_revision.h"
#include "mcv/file_enum.h"

namespace TALVEK::MCV {

// Lookups by number in the names and revisions of one file, which CFileEnum has sorted by number. A file can
// have thousands of names, so these are binary searches. Of several with the same number they find the first.

/// The revision with this number, or null.
const TRevInfo* FindRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision);

/// Index of the name of the branch that a revision is on: the name's number is the revision's without the
/// last component. -1 when there is none. (A tag with such a number counts, too.)
int FindTagOfRevision(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision);

/// Walks over a file's names in sorted order and finds for each its parent: the last name before it whose
/// number is a prefix of its own and shorter by at least one component, for a branch by at least two. So
/// names of one revision aren't each other's parents, and the revision that a branch starts at isn't its
/// parent.
///
/// The numbers are sorted, so a number that isn't a prefix of the current one isn't a prefix of any later
/// one. The candidates therefore form a stack. A name costs amortised constant time, times the length of its
/// number.
class CTagNesting {
 public:
  /// The file is lent, and must not change during the walk.
  explicit CTagNesting(const TFileInfo& tFile) : m_tFile(tFile) {}

  /// Returns the index of the next name's parent, or -1. A number of up to three components (the trunk, a
  /// branch of it) has none. Call it once for each name.
  int NextParent();

 private:
  const MCE::TCVSRevision& Number(int nTag) const { return m_tFile.atTags[nTag].oRevision; }

  const TFileInfo& m_tFile;
  int m_nNext = 0;
  std::vector<int> m_anCandidates;  // a stack: each one's number is a prefix of the next one's
};

}  // namespace TALVEK::MCV
