// The trunk at the times between its changesets.
#include <algorithm>
#include <set>

#include "tests/exact_road/compare_trees.h"
#include "tests/support/utc_text.h"

namespace TALVEK::TEST {

namespace {

constexpr std::int64_t QUIET = 900;  // no changeset of these repositories lasts as long

/// Whether times rise from a revision to the next, on the trunk and on each branch.
bool AreDatesInOrder(const TRcsFile& tFile) {
  for (const auto& [strNumber, tRevision] : tFile.atRevisions) {
    const bool bTrunk = std::count(strNumber.begin(), strNumber.end(), '.') == 1;
    if (!tRevision.strNext.empty()) {
      const std::int64_t nNext = tFile.atRevisions.at(tRevision.strNext).nTime;
      if (bTrunk ? nNext > tRevision.nTime : nNext < tRevision.nTime) return false;
    }
    for (const std::string& strBranch : tRevision.astrBranches) {
      if (tFile.atRevisions.at(strBranch).nTime < tRevision.nTime) return false;
    }
  }
  return true;
}

/// Without a date the client follows the default branch, with one it looks at 1.1.1. The two agree where
/// nobody has touched the default branch that imports set.
bool IsDefaultBranchUntouched(const TRcsFile& tFile) {
  const bool bVendor = tFile.atRevisions.contains("1.1.1.1");
  if (!bVendor) return tFile.strBranch.empty();
  return tFile.strBranch == (tFile.strHead == "1.1" ? "1.1.1" : "");
}

/// Each commit's first and last time lie within a quiet time.
bool AreCommitsShort(const std::vector<TRcsFile>& atFiles) {
  std::map<std::string, std::set<std::int64_t>> anTimes;
  for (const TRcsFile& tFile : atFiles) {
    for (const auto& [strNumber, tRevision] : tFile.atRevisions) {
      if (!tRevision.strCommitId.empty()) anTimes[tRevision.strCommitId].insert(tRevision.nTime);
    }
  }
  return std::all_of(anTimes.begin(), anTimes.end(), [](const auto& tCommit) {
    return *tCommit.second.rbegin() - *tCommit.second.begin() <= QUIET;
  });
}

/// Times with a quiet time around them: nothing is being committed then.
std::vector<std::int64_t> QuietMoments(const std::vector<TRcsFile>& atFiles) {
  std::set<std::int64_t> anTimes;
  for (const TRcsFile& tFile : atFiles) {
    for (const auto& [strNumber, tRevision] : tFile.atRevisions)
      anTimes.insert(tRevision.nTime);
  }
  std::vector<std::int64_t> anMoments;
  for (auto itTime = anTimes.begin(); itTime != anTimes.end(); ++itTime) {
    const auto itNext = std::next(itTime);
    if (itNext == anTimes.end() || *itNext - *itTime > QUIET) anMoments.push_back(*itTime + QUIET / 2);
  }
  return anMoments;
}

/// The trunk's commits, the last one first.
std::vector<std::string> TrunkCommits(const CGitRepository& oGit) {
  std::vector<std::string> astrCommits;
  const auto itTrunk = oGit.Refs().find("refs/heads/main");
  for (std::string strId = itTrunk == oGit.Refs().end() ? "" : itTrunk->second; !strId.empty();) {
    astrCommits.push_back(strId);
    const auto& astrParents = oGit.Commits().at(strId).astrParents;
    strId = astrParents.empty() ? "" : astrParents[0];
  }
  return astrCommits;
}

}  // namespace

std::vector<TDifference> CompareTrunkByDate(const TCvsModule& tModule, const CGitRepository& oGit) {
  const std::vector<TRcsFile> atFiles = ReadRcsFiles(tModule.oRoot / tModule.strModule);
  const bool bComparable =
      AreCommitsShort(atFiles) && std::all_of(atFiles.begin(), atFiles.end(), [](const auto& t) {
        return AreDatesInOrder(t) && IsDefaultBranchUntouched(t);
      });
  std::vector<TDifference> atDifferences;
  if (!bComparable) return atDifferences;
  const std::vector<std::string> astrTrunk = TrunkCommits(oGit);
  for (const std::int64_t nMoment : QuietMoments(atFiles)) {
    const auto mapWant = AskClient(tModule, "checkout -D '" + UtcText(nMoment) + "'");
    if (!mapWant) continue;  // the client refuses it
    const auto itCommit = std::find_if(astrTrunk.begin(), astrTrunk.end(), [&](const std::string& strId) {
      return oGit.Commits().at(strId).nTime <= nMoment;
    });
    const TGitTree mapGot = itCommit == astrTrunk.end() ? TGitTree() : oGit.TreeOf(*itCommit);
    CompareTrees("trunk at " + UtcText(nMoment), *mapWant, mapGot, oGit, &atDifferences);
  }
  return atDifferences;
}

}  // namespace TALVEK::TEST
