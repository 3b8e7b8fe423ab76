#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "exact/rcs_file.h"

namespace TALVEK::EXACT {

/// What looks like a revision in the log of a file: it may also be text of a message.
struct TCandidate {
  const TRcsRevision* pRevision = nullptr;
  const std::vector<TNumber>* panBranches = nullptr;  ///< of a line "branches:" behind its date; empty: none
};

/// Some of the candidates, as indices in ascending order.
struct TChoice {
  std::vector<std::size_t> anChosen;
  bool bOnlyOne = true;  ///< no other choice is as good
};

/// Whether the client prints the first revision before the second: the trunk from the head down; then, for
/// the trunk's revisions from the oldest up, the branches of each, the last made first: a branch from its tip
/// down, and then in the same way the branches of its revisions from the tip down.
bool PrintedBefore(const TNumber& nFirst, const TNumber& nSecond);

/// Whether no number comes twice.
bool AreUnique(const std::vector<TCandidate>& atCandidates);

/// Chooses exactly nCount candidates whose numbers come in the client's order.
///
/// Of several choices the best is the one for which the fewest messages hold text like a revision (the
/// description counts twice), then the one with the fewest gaps in the numbers and the fewest clocks set back
/// on a line, then the one whose revisions stand last: a log is pasted into the message of a newer revision,
/// which is printed first.
///
/// nHead and bAll (the log shows all revisions of the file) rule out numbers that the file can't have; they
/// are let in again where there is no choice without them. The result is empty where there is none at all.
///
/// Cost: with s candidates to leave out of m, m * s * s steps. Where that would be more than some million it
/// is m log m steps, and fewer choices are looked at.
std::optional<TChoice> ChooseRevisions(const std::vector<TCandidate>& atCandidates, std::size_t nCount,
                                       const TNumber& nHead, bool bAll);

/// As many candidates as can be had, where counts can't be met: no number twice, at most nCount.
std::vector<std::size_t> ChooseWhatIsThere(const std::vector<TCandidate>& atCandidates, std::size_t nCount);

}  // namespace TALVEK::EXACT
