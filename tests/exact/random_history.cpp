#include "tests/exact/random_history.h"

#include <algorithm>
#include <random>
#include <string>

namespace TALVEK::EXACT::TEST {

namespace {

/// What revisions of different files share.
struct TCommit {
  std::int64_t nTime;
  std::string strAuthor;
  std::string strMessage;
  std::string strCommitId;
};

class CRandomHistory {
 public:
  explicit CRandomHistory(std::uint64_t nSeed) : m_oEngine(nSeed) {}

  std::vector<TRcsFile> Run() {
    m_bTidy = Chance(30);
    m_bCommitIds = Chance(30);
    m_nPause = Chance(50) ? 200 : 1000;
    MakeCommits();
    std::vector<TRcsFile> atFiles;
    const int nFiles = Pick(1, 7);
    for (int n = 0; n < nFiles; ++n)
      atFiles.push_back(File(std::string(1, static_cast<char>('a' + n))));
    return atFiles;
  }

 private:
  int Pick(int nFirst, int nLast) { return std::uniform_int_distribution<int>(nFirst, nLast)(m_oEngine); }
  bool Chance(int nPercent) { return Pick(1, 100) <= nPercent; }

  void MakeCommits() {
    std::int64_t nTime = 1000;
    const int nCommits = Pick(3, 14);
    for (int n = 0; n < nCommits; ++n) {
      nTime += Chance(20) ? 0 : Pick(1, m_nPause);
      m_atCommits.push_back({nTime, Chance(70) ? "joe" : "ann",
                             std::string(1, static_cast<char>('p' + Pick(0, 2))),
                             m_bCommitIds && Chance(80) ? "id" + std::to_string(n) : ""});
    }
  }

  /// The revisions of a line, in the order of commits unless clocks are out of order. nFrom: commits before
  /// it are over.
  void AddRevisions(TRcsFile& tFile, TNumber nLine, int nRevisions, int nFrom) {
    int nCommit = nFrom;
    for (int n = 1; n <= nRevisions; ++n) {
      nCommit = std::min(nCommit + Pick(n == 1 ? 0 : 1, 3), static_cast<int>(m_atCommits.size()) - 1);
      const TCommit& tCommit = m_atCommits[static_cast<std::size_t>(nCommit)];
      TRcsRevision t;
      t.nNumber = nLine;
      t.nNumber.push_back(static_cast<std::uint32_t>(n));
      t.nTime = tCommit.nTime + (!m_bTidy && Chance(20) ? Pick(-600, 600) : 0) + (m_bTidy ? 0 : Pick(0, 3));
      t.strAuthor = tCommit.strAuthor;
      t.strMessage = tCommit.strMessage;
      t.strCommitId = tCommit.strCommitId;
      t.bDead = Chance(n == 1 ? 8 : 15);
      t.bDiffers = Chance(n == 1 ? 30 : 90);
      if (t.bDead && n == 1 && nLine.size() > 1 && Chance(50))
        t.strMessage = "file x was added on branch y on z";
      if (!m_bTidy && Chance(3)) continue;  // as after `cvs admin -o`
      tFile.atRevisions.push_back(t);
    }
  }

  TRcsFile File(const std::string& strPath) {
    TRcsFile tFile;
    tFile.strPath = strPath;
    AddRevisions(tFile, {1}, Pick(0, 6), Pick(0, 5));
    if (Chance(5)) AddRevisions(tFile, {2}, Pick(1, 2), static_cast<int>(m_atCommits.size()) - 1);
    for (const TRcsRevision& t : tFile.atRevisions)
      tFile.nHead = std::max(tFile.nHead, t.nNumber);

    std::vector<TNumber> nLines;
    if (!tFile.atRevisions.empty() && Chance(40)) nLines.push_back(Vendor(tFile, 1));
    if (!nLines.empty() && Chance(20)) nLines.push_back(Vendor(tFile, 3));
    const int nBranches = Pick(0, 4);
    for (int n = 0; n < nBranches && !tFile.atRevisions.empty(); ++n) {
      TNumber nLine = AnyRevision(tFile);
      if (Chance(4)) nLine.back() += 7;  // its revision is gone
      nLine.push_back(static_cast<std::uint32_t>(2 * Pick(1, 2)));
      if (std::find(nLines.begin(), nLines.end(), nLine) != nLines.end()) continue;
      nLines.push_back(nLine);
      AddRevisions(tFile, nLine, Pick(0, 3), Pick(0, static_cast<int>(m_atCommits.size()) - 1));
    }
    AddNames(tFile, nLines);
    if (!nLines.empty() && Chance(30)) tFile.nDefaultBranch = nLines[0];
    if (Chance(3)) tFile.nDefaultBranch = {1};
    if (Chance(3)) tFile.nDefaultBranch = {1, 1, 7};
    if (Chance(3)) tFile.nHead.clear();
    return tFile;
  }

  TNumber Vendor(TRcsFile& tFile, std::uint32_t nLast) {
    const TRcsRevision tFirst = tFile.atRevisions[0];
    const std::size_t nBefore = tFile.atRevisions.size();
    AddRevisions(tFile, {1, 1, nLast}, Pick(0, 4), Pick(0, 5));
    if (tFile.atRevisions.size() > nBefore && Chance(80)) {
      tFile.atRevisions[nBefore].nTime = tFirst.nTime;
      tFile.atRevisions[nBefore].strCommitId = tFirst.strCommitId;
    }
    return {1, 1, nLast};
  }

  TNumber AnyRevision(const TRcsFile& tFile) {
    return tFile
        .atRevisions[static_cast<std::size_t>(Pick(0, static_cast<int>(tFile.atRevisions.size()) - 1))]
        .nNumber;
  }

  static TNumber Magic(TNumber nLine) {
    nLine.insert(nLine.end() - 1, 0);
    return nLine;
  }

  void AddNames(TRcsFile& tFile, const std::vector<TNumber>& nLines) {
    static const char* const NAMES[] = {"B1", "B2", "B3", "B4", "T1", "T2", "T3", "T4", "V1", "X1"};
    for (const TNumber& nLine : nLines) {
      if (Chance(15)) continue;
      // Some people gave `cvs import` an even number.
      const bool bVendor = nLine.back() % 2 == 1 || Chance(10);
      const int nNames = Chance(10) ? 2 : 1;
      for (int n = 0; n < nNames; ++n) {
        const char* pszName = bVendor && Chance(80) ? "V1" : NAMES[Pick(0, 3)];
        tFile.atNames.push_back({pszName, bVendor ? nLine : Magic(nLine)});
      }
    }
    for (const char* pszName : NAMES) {
      if (!Chance(pszName[0] == 'T' ? 60 : 20) || tFile.atRevisions.empty()) continue;
      TNumber nNumber = AnyRevision(tFile);
      if (Chance(4)) nNumber.back() += 5;
      if (pszName[0] == 'B' && Chance(70)) {
        nNumber.push_back(0);
        nNumber.push_back(8);
      }
      if (Chance(2)) nNumber = {1};
      if (Chance(2)) nNumber = {1, 1, 9};
      tFile.atNames.push_back({pszName, nNumber});
    }
  }

  std::mt19937_64 m_oEngine;
  std::vector<TCommit> m_atCommits;
  bool m_bTidy = false;
  bool m_bCommitIds = false;
  int m_nPause = 200;
};

}  // namespace

std::vector<TRcsFile> RandomHistory(std::uint64_t nSeed) {
  return CRandomHistory(nSeed).Run();
}

}  // namespace TALVEK::EXACT::TEST
