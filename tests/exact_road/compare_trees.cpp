#include "tests/exact_road/compare_trees.h"

#include "tests/exact_road/keywords.h"

namespace TALVEK::TEST {

namespace {

void CompareFile(const std::string& strWhere, const std::string& strPath, const TClientFile& tWant,
                 const TGitFile& tGot, const CGitRepository& oGit, std::vector<TDifference>* patDifferences) {
  const std::string strWant = CutNameBack(tWant.strBytes);
  const std::string strGot = CutNameBack(oGit.Blob(tGot.strBlob));
  if (strWant != strGot) {
    patDifferences->push_back({TDifferenceKind::OTHER_BYTES, strWhere, strPath,
                               std::to_string(strWant.size()) + ", in Git " + std::to_string(strGot.size())});
  }
  if (tWant.bExecutable != tGot.bExecutable) {
    patDifferences->push_back({TDifferenceKind::OTHER_MODE, strWhere, strPath, ""});
  }
}

}  // namespace

void CompareTrees(const std::string& strWhere, const TClientTree& mapWant, const TGitTree& mapGot,
                  const CGitRepository& oGit, std::vector<TDifference>* patDifferences) {
  for (const auto& [strPath, tWant] : mapWant) {
    const auto itGot = mapGot.find(strPath);
    if (itGot == mapGot.end()) {
      patDifferences->push_back({TDifferenceKind::MISSING_FILE, strWhere, strPath, ""});
    } else {
      CompareFile(strWhere, strPath, tWant, itGot->second, oGit, patDifferences);
    }
  }
  for (const auto& [strPath, tGot] : mapGot) {
    if (!mapWant.contains(strPath)) {
      patDifferences->push_back({TDifferenceKind::EXTRA_FILE, strWhere, strPath, ""});
    }
  }
}

}  // namespace TALVEK::TEST
