#include "verify/comparison.h"

#include <utility>

#include "host/text_output.h"

namespace TALVEK::VERIFY {

void CComparison::Compare(const TGivenFiles& atGiven, const TGitTree& atTree, TRow& tRow) {
  tRow.nFiles = atGiven.size();
  for (const auto& [strPath, tGiven] : atGiven) {
    const auto oFile = atTree.find(strPath);
    if (!tGiven.tContent.bGiven) {
      Add(tRow, {TProblemKind::REFUSED, strPath, tGiven.strRevision, tGiven.strWords});
    } else if (oFile == atTree.end()) {
      Add(tRow, {TProblemKind::MISSING, strPath, tGiven.strRevision, "it isn't in Git"});
    } else if (const std::string strReason = Difference(strPath, tGiven, oFile->second); strReason.empty()) {
      ++tRow.nEqual;
    } else {
      Add(tRow, {TProblemKind::DIFFERENT, strPath, tGiven.strRevision, strReason});
    }
  }
  for (const auto& [strPath, tFile] : atTree) {
    if (atGiven.contains(strPath)) continue;
    Add(tRow, {TProblemKind::EXTRA, strPath, "", "CVS gives no such file"});
  }
  const std::uint64_t nRefused = tRow.Count(TProblemKind::REFUSED);
  if (tRow.nEqual + nRefused != tRow.nFiles || tRow.Count(TProblemKind::EXTRA) > 0) {
    tRow.eStatus = TRow::DIFFERENT;
  } else {
    tRow.eStatus = nRefused > 0 ? TRow::REFUSED : TRow::EQUAL;
  }
}

bool CComparison::HasEqualBytes(const TContent& tContent, const TGitFile& tFile) {
  const TContentIds& tIds = tContent.tIds;
  if (tFile.tBlob == tIds.tWhole || tFile.tBlob == tIds.tCut) return true;
  return tIds.bHasName && m_oGit.CutIdOf(tFile.tBlob) == tIds.tCut;
}

/// Empty when there is none.
std::string CComparison::Difference(const std::string& strPath, const TGivenFile& tGiven,
                                    const TGitFile& tFile) {
  if (!tFile.bPlain) return "it is no plain file in Git";
  if (!HasEqualBytes(tGiven.tContent, tFile)) {
    const std::string strRevision = m_oContents.RevisionWith(strPath, tFile.tBlob);
    if (!strRevision.empty()) return "Git has the bytes of revision " + strRevision;
    return "the bytes differ";
  }
  if (tGiven.tContent.bExecutable == tFile.bExecutable) return "";
  return tFile.bExecutable ? "it can be executed in Git only" : "it can't be executed in Git";
}

void CComparison::Add(TRow& tRow, TProblem tProblem) const {
  const std::uint64_t nBefore = tRow.anProblems[static_cast<std::size_t>(tProblem.eKind)]++;
  if (nBefore < m_nMostShown) tRow.atFirst.push_back(std::move(tProblem));
}

}  // namespace TALVEK::VERIFY
