// Is a revision of CVS in the history of Git?
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>

#include "tests/exact_road/exact_check.h"
#include "tests/exact_road/keywords.h"

namespace TALVEK::TEST {

namespace {

constexpr std::int64_t HOUR = 3600;

/// A message without what the client, the log or Git may add or take away: blanks at the ends of lines, empty
/// lines around it. The client shows an empty one as a text.
std::string Plain(const std::string& strMessage) {
  std::istringstream oLines(strMessage);
  std::string strPlain;
  for (std::string strLine; std::getline(oLines, strLine);) {
    strLine.erase(strLine.find_last_not_of(" \t\r") + 1);
    if (!strPlain.empty() || !strLine.empty()) strPlain += strLine + "\n";
  }
  strPlain.erase(strPlain.find_last_not_of('\n') + 1);
  return strPlain.empty() ? "*** empty log message ***" : strPlain;
}

/// A commit as the search wants it.
struct TSearchedCommit {
  const TGitCommit* ptCommit;
  std::string strMessage;
  TGitTree mapFiles;
  TGitTree mapFilesBefore;
  std::int64_t nTimeBefore;  // of its parent

  /// A commit never has an earlier time than its parent: where a clock was set back, it has that of its
  /// parent.
  bool MayBeOfTime(std::int64_t nTime) const {
    return std::llabs(ptCommit->nTime - nTime) <= HOUR ||
           (ptCommit->nTime > nTime && ptCommit->nTime == nTimeBefore);
  }

  bool HasWordsOf(const TRcsRevision& tRevision) const {
    const std::string& strMail = ptCommit->strAuthorMail;
    return (ptCommit->strAuthorName == tRevision.strAuthor ||
            strMail.substr(0, strMail.find('@')) == tRevision.strAuthor) &&
           strMessage == Plain(tRevision.strLog);
  }

  bool Brings(const std::string& strPath) const {
    const auto itBefore = mapFilesBefore.find(strPath);
    return itBefore == mapFilesBefore.end() || itBefore->second.strBlob != mapFiles.at(strPath).strBlob;
  }
};

std::vector<TSearchedCommit> ReadCommits(const CGitRepository& oGit) {
  std::vector<TSearchedCommit> atCommits;
  for (const auto& [strId, tCommit] : oGit.Commits()) {
    TSearchedCommit tSearched = {&tCommit, Plain(tCommit.strMessage), oGit.TreeOf(strId), {}, 0};
    if (!tCommit.astrParents.empty()) {
      tSearched.mapFilesBefore = oGit.TreeOf(tCommit.astrParents[0]);
      tSearched.nTimeBefore = oGit.Commits().at(tCommit.astrParents[0]).nTime;
    }
    atCommits.push_back(std::move(tSearched));
  }
  return atCommits;
}

/// "1.1.1.1", "1.1.3.1": branches that people make have even numbers.
bool IsVendorRevision(const std::string& strNumber) {
  const std::size_t nBranch = std::string("1.1.").size();
  const std::size_t nEnd = strNumber.find('.', nBranch);
  return strNumber.starts_with("1.1.") && (strNumber[nEnd - 1] - '0') % 2 == 1;
}

/// Whether it is the 1.1 that an import makes beside 1.1.1.1 (or 1.1.3.1, as told): one content, one author
/// and one time, the import's words on the other. It counts with that one, which is looked for under its own
/// words. (The bytes that the client gives for the two can differ all the same: where it writes the log into
/// the text.)
bool IsImportedTwice(const TRcsFile& tFile, const TRcsRevision& tRevision) {
  return tRevision.strNumber == "1.1" &&
         std::any_of(tRevision.astrBranches.begin(), tRevision.astrBranches.end(),
                     [&](const std::string& strBranch) {
                       const TRcsRevision& tFirst = tFile.atRevisions.at(strBranch);
                       return IsVendorRevision(strBranch) && !tFirst.IsDead() &&
                              tFirst.strAuthor == tRevision.strAuthor && tFirst.nTime == tRevision.nTime &&
                              tFirst.strText == tRevision.strText;
                     });
}

std::optional<TDifferenceKind> Search(const TRcsFile& tFile, const TRcsRevision& tRevision,
                                      const std::string& strWant, const CGitRepository& oGit,
                                      const std::vector<TSearchedCommit>& atCommits) {
  bool bBytes = false;
  for (const TSearchedCommit& tCommit : atCommits) {
    const auto itFile = tCommit.mapFiles.find(tFile.strPath);
    if (itFile == tCommit.mapFiles.end() || CutKeywordsBack(oGit.Blob(itFile->second.strBlob)) != strWant)
      continue;
    const bool bBrings = tCommit.Brings(tFile.strPath);
    if ((bBrings || tCommit.MayBeOfTime(tRevision.nTime)) && tCommit.HasWordsOf(tRevision))
      return std::nullopt;
    bBytes = bBytes || bBrings;
  }
  return bBytes ? TDifferenceKind::OTHER_WORDS : TDifferenceKind::LOST_REVISION;
}

}  // namespace

std::vector<TDifference> FindLostRevisions(const TCvsModule& tModule, const CGitRepository& oGit) {
  const std::vector<TSearchedCommit> atCommits = ReadCommits(oGit);
  std::vector<TDifference> atDifferences;
  for (const TRcsFile& tFile : ReadRcsFiles(tModule.oRoot / tModule.strModule)) {
    for (const auto& [strNumber, tRevision] : tFile.atRevisions) {
      if (tRevision.IsDead() || IsImportedTwice(tFile, tRevision)) continue;
      // The client writes the log into the text there; nobody else knows how.
      const bool bHasLog = tRevision.strText.find("$Log") != std::string::npos;
      const std::string strWant = CutKeywordsBack(
          bHasLog ? RevisionFromClient(tModule, tFile.strPath, strNumber) : tRevision.strText);
      if (const auto nKind = Search(tFile, tRevision, strWant, oGit, atCommits)) {
        atDifferences.push_back({*nKind, strNumber, tFile.strPath,
                                 tRevision.strAuthor + ": " + Plain(tRevision.strLog).substr(0, 40)});
      }
    }
  }
  return atDifferences;
}

}  // namespace TALVEK::TEST
