#include "tests/exact_road/exact_check.h"

#include <set>
#include <sstream>

#include "tests/exact_road/compare_trees.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {

namespace {

constexpr const char* TRUNK_REF = "refs/heads/main";

const char* NameOfKind(TDifferenceKind nKind) {
  switch (nKind) {
    case TDifferenceKind::MISSING_REF:
      return "missing in Git";
    case TDifferenceKind::EXTRA_REF:
      return "a ref that CVS doesn't name";
    case TDifferenceKind::MISSING_FILE:
      return "missing in Git";
    case TDifferenceKind::EXTRA_FILE:
      return "only in Git";
    case TDifferenceKind::OTHER_BYTES:
      return "other bytes";
    case TDifferenceKind::OTHER_MODE:
      return "other executable bit";
    case TDifferenceKind::LOST_REVISION:
      return "in no commit";
    case TDifferenceKind::OTHER_WORDS:
      return "in no commit of its author and message";
  }
  return "";
}

/// Compares with each of the refs that is there.
void CompareName(const std::string& strWhere, const TClientTree& mapWant,
                 const std::vector<std::string>& astrRefs, const CGitRepository& oGit,
                 std::vector<TDifference>* patDifferences) {
  bool bFound = false;
  for (const std::string& strRef : astrRefs) {
    const auto itRef = oGit.Refs().find(strRef);
    if (itRef == oGit.Refs().end()) continue;
    bFound = true;
    CompareTrees(strWhere, mapWant, oGit.TreeOf(itRef->second), oGit, patDifferences);
  }
  if (!bFound && !mapWant.empty()) {
    patDifferences->push_back(
        {TDifferenceKind::MISSING_REF, strWhere, "", std::to_string(mapWant.size()) + " files"});
  }
}

}  // namespace

void PrintTo(const TDifference& tDifference, std::ostream* poStream) {
  *poStream << tDifference.strWhere << ": ";
  if (!tDifference.strPath.empty()) *poStream << tDifference.strPath << ": ";
  *poStream << NameOfKind(tDifference.nKind);
  if (!tDifference.strDetail.empty()) *poStream << " (" << tDifference.strDetail << ")";
}

std::string Show(const std::vector<TDifference>& atDifferences) {
  std::ostringstream oText;
  for (const TDifference& tDifference : atDifferences) {
    PrintTo(tDifference, &oText);
    oText << "\n";
  }
  return oText.str();
}

std::vector<TDifference> CompareRefs(const TCvsModule& tModule, const CGitRepository& oGit) {
  std::vector<TDifference> atDifferences;
  if (const auto mapTrunk = AskClient(tModule, "checkout -A")) {
    CompareName("trunk", *mapTrunk, {TRUNK_REF}, oGit, &atDifferences);
  }
  std::set<std::string> astrKnown = {TRUNK_REF};
  for (const std::string& strName : NamesInLog(tModule)) {
    const std::vector<std::string> astrRefs = {"refs/heads/" + strName, "refs/tags/" + strName};
    astrKnown.insert(astrRefs.begin(), astrRefs.end());
    if (const auto mapWant = AskClient(tModule, "export -r " + ShellQuote(strName))) {
      CompareName(strName, *mapWant, astrRefs, oGit, &atDifferences);
    }
  }
  for (const auto& [strRef, strCommit] : oGit.Refs()) {
    // Branches of a file that have no name get one by their number.
    if (astrKnown.contains(strRef) || strRef.starts_with("refs/heads/unnamed-")) continue;
    atDifferences.push_back({TDifferenceKind::EXTRA_REF, strRef, "", ""});
  }
  return atDifferences;
}

std::vector<TDifference> CompareAll(const TCvsModule& tModule, const std::filesystem::path& oFolder) {
  const CGitRepository oGit(oFolder);
  std::vector<TDifference> atDifferences = CompareRefs(tModule, oGit);
  for (const auto& atMore : {FindLostRevisions(tModule, oGit), CompareTrunkByDate(tModule, oGit)}) {
    atDifferences.insert(atDifferences.end(), atMore.begin(), atMore.end());
  }
  return atDifferences;
}

}  // namespace TALVEK::TEST
