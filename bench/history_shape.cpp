#include "bench/history_shape.h"

#include <algorithm>
#include <ctime>

namespace TALVEK::BENCH {

namespace {

constexpr std::int64_t FIRST_TIME = 946684800;  // 2000-01-01
constexpr std::int64_t LAST_TIME = 1735689600;  // 2025-01-01
constexpr std::uint64_t SECONDS_OF_COMMIT = 60;
constexpr std::uint32_t FILES_OF_FOLDER = 25;
constexpr std::uint64_t WANDERERS = 5;  // one revision in so many belongs to a commit of another folder
constexpr std::uint64_t SCATTER_PRIME = 1000003;
constexpr std::uint64_t BRANCH_COMMITS = std::uint64_t{1}
                                         << 40U;  // commits on branches are numbered from here

/// A pseudo-random number that depends on the arguments alone (splitmix64).
std::uint64_t Mix(std::uint64_t nA, std::uint64_t nB = 0, std::uint64_t nC = 0) {
  std::uint64_t nValue = nA * 0x9E3779B97F4A7C15U + nB * 0xBF58476D1CE4E5B9U + nC * 0x94D049BB133111EBU;
  nValue = (nValue ^ nValue >> 30U) * 0xBF58476D1CE4E5B9U;
  nValue = (nValue ^ nValue >> 27U) * 0x94D049BB133111EBU;
  return nValue ^ nValue >> 31U;
}

std::string TimeText(std::int64_t nTime, const char* pszFormat) {
  std::tm tParts{};
  const std::time_t nSeconds = nTime;
  gmtime_r(&nSeconds, &tParts);
  char szText[64];
  return {szText, std::strftime(szText, sizeof szText, pszFormat, &tParts)};
}

std::string TrunkNumber(std::size_t nRevision) {
  return "1." + std::to_string(nRevision + 1);
}

}  // namespace

CHistory::CHistory(const TShape& tShape)
    : m_tShape(tShape),
      m_nCommits(std::max<std::uint64_t>(tShape.nRevisions,
                                         UsualCommits(std::uint64_t{tShape.nFiles} * tShape.nRevisions))),
      m_nBranchStep(tShape.nBranchesOfFile == 0
                        ? 1
                        : std::max<std::uint32_t>(1, tShape.nBranches / tShape.nBranchesOfFile)) {}

std::string CHistory::Author(std::uint64_t nCommit) const {
  return "author" + std::to_string(Mix(m_tShape.nSeed, nCommit, 1) % m_tShape.nAuthors);
}

std::string CHistory::Message(std::uint64_t nCommit) const {
  static const char* const s_apszWords[] = {"fix",    "the", "parser", "of",     "long", "lines",
                                            "and",    "add", "a",      "test",   "for",  "broken",
                                            "locks",  "in",  "sync",   "with",   "head", "from",
                                            "review", "by",  "remove", "unused", "code", "again"};
  if (m_tShape.nMessages != 0) nCommit = Mix(m_tShape.nSeed, nCommit, 3) % m_tShape.nMessages;
  const std::uint64_t nLength = Mix(m_tShape.nSeed, nCommit, 2) % (2 * m_tShape.nMessageLength + 1);
  std::string strText = "Commit " + std::to_string(nCommit) + ":";
  for (std::uint64_t i = 0; strText.size() < nLength; ++i) {
    strText += i % 12 == 11 ? '\n' : ' ';
    strText += s_apszWords[Mix(m_tShape.nSeed, nCommit, 100 + i) % std::size(s_apszWords)];
  }
  return strText;
}

TFile CHistory::MakeFile(std::uint32_t nFile) const {
  TFile tFile;
  tFile.strPath = "folder" + std::to_string(nFile / 1000) + "/part" +
                  std::to_string(nFile / FILES_OF_FOLDER % 40) + "/file" + std::to_string(nFile) + ".c";
  const std::vector<std::uint64_t> anCommits = TrunkCommits(nFile);
  const std::vector<std::int64_t> anTimes = TrunkTimes(anCommits, nFile);
  std::vector<TRevision> atTrunk;
  for (std::size_t i = anCommits.size(); i-- > 0;)
    atTrunk.push_back({TrunkNumber(i), anCommits[i], anTimes[i], {}});
  tFile.atLines.push_back(std::move(atTrunk));
  AddTags(anCommits, tFile);
  AddBranches(nFile, anCommits, tFile);
  return tFile;
}

/// With nSpan each file has random times of its own; otherwise a revision has its commit's time.
std::vector<std::int64_t> CHistory::TrunkTimes(const std::vector<std::uint64_t>& anCommits,
                                               std::uint32_t nFile) const {
  const std::int64_t nStep = (LAST_TIME - FIRST_TIME) / static_cast<std::int64_t>(m_nCommits);
  std::vector<std::int64_t> anTimes;
  for (const std::uint64_t nCommit : anCommits) {
    const std::uint64_t nRandom = Mix(m_tShape.nSeed, nCommit, nFile);
    const auto nInSpan = static_cast<std::int64_t>(nRandom % std::max<std::uint64_t>(1, m_tShape.nSpan));
    const auto nJitter = static_cast<std::int64_t>(nRandom % SECONDS_OF_COMMIT);
    const std::int64_t nByCommit = nStep * static_cast<std::int64_t>(nCommit) + nJitter;
    anTimes.push_back(FIRST_TIME + (m_tShape.nSpan != 0 ? nInSpan : nByCommit));
  }
  if (m_tShape.nSpan != 0) std::sort(anTimes.begin(), anTimes.end());
  return anTimes;
}

/// The commit of each of the file's revisions. Revision i gets one from the i-th stretch of the history, so
/// that all commits have about the same number of files.
std::vector<std::uint64_t> CHistory::TrunkCommits(std::uint32_t nFile) const {
  std::vector<std::uint64_t> anCommits;
  for (std::uint64_t i = 0; i < m_tShape.nRevisions; ++i) {
    const std::uint64_t nFrom = i * m_nCommits / m_tShape.nRevisions;
    const std::uint64_t nTo = (i + 1) * m_nCommits / m_tShape.nRevisions;
    anCommits.push_back(nFrom + PickCommit(nFile, i, nTo - nFrom));
  }
  return anCommits;
}

/// Picks one of a stretch's commits for a file: an import, else mostly a commit of the file's folder.
std::uint64_t CHistory::PickCommit(std::uint32_t nFile, std::uint64_t nStretch,
                                   std::uint64_t nCommits) const {
  const std::uint64_t nRandom = Mix(m_tShape.nSeed, nFile, nStretch);
  if (IsImported(nFile, nStretch, 0)) return ImportOf(nFile, nCommits);
  if (nRandom % WANDERERS == 0) return nRandom / WANDERERS % nCommits;
  const std::uint64_t nOfFolder = std::max<std::uint64_t>(1, nCommits * FILES_OF_FOLDER / m_tShape.nFiles);
  const std::uint64_t nPlace = nFile / FILES_OF_FOLDER * nOfFolder + nRandom / WANDERERS % nOfFolder;
  return nPlace * SCATTER_PRIME % nCommits;  // scatters the commits of neighbouring folders over time
}

/// True when a revision comes by an import. `nBranch` counts from 1; 0 is the trunk.
bool CHistory::IsImported(std::uint32_t nFile, std::uint64_t nStretch, std::uint32_t nBranch) const {
  if (m_tShape.nImports == 0) return false;
  if (nStretch == 0 && nBranch == 0) return true;
  return Mix(m_tShape.nSeed + 1, nFile, nStretch + nBranch) % 100 < m_tShape.nImportedPercent;
}

/// Each import brings its share of the files.
std::uint64_t CHistory::ImportOf(std::uint32_t nFile, std::uint64_t nCommits) const {
  const std::uint64_t nImport = std::uint64_t{nFile} * m_tShape.nImports / m_tShape.nFiles;
  return nImport * nCommits / m_tShape.nImports;
}

std::uint64_t CHistory::UsualCommits(std::uint64_t nRevisions) const {
  const std::uint64_t nByUsual = nRevisions * (100 - std::min(m_tShape.nImportedPercent, 100U)) / 100;
  return nByUsual / m_tShape.nCommitSize;
}

void CHistory::AddTags(const std::vector<std::uint64_t>& anCommits, TFile& tFile) const {
  for (std::uint64_t i = m_tShape.nNames; i-- > 0;) {
    const std::uint64_t nAt = (i + 1) * m_nCommits / m_tShape.nNames;
    const auto nBefore = std::lower_bound(anCommits.begin(), anCommits.end(), nAt) - anCommits.begin();
    if (nBefore > 0) {
      tFile.atNames.push_back(
          {"RELEASE_" + std::to_string(i + 1), TrunkNumber(static_cast<std::size_t>(nBefore) - 1)});
    }
  }
}

void CHistory::AddBranches(std::uint32_t nFile, const std::vector<std::uint64_t>& anCommits,
                           TFile& tFile) const {
  std::vector<std::uint32_t> anAtRevision(anCommits.size());
  for (std::uint32_t i = nFile % m_nBranchStep; i < m_tShape.nBranches; i += m_nBranchStep) {
    const std::uint64_t nAt = (i + 1) * m_nCommits / (m_tShape.nBranches + 1);
    const auto nBefore = static_cast<std::size_t>(std::lower_bound(anCommits.begin(), anCommits.end(), nAt) -
                                                  anCommits.begin());
    if (nBefore == 0) continue;
    TRevision& tStart = tFile.atLines[0][anCommits.size() - nBefore];
    const std::string strNumber = tStart.strNumber + "." + std::to_string(2 * ++anAtRevision[nBefore - 1]);
    if (m_tShape.nBranchRevisions > 0) tStart.astrBranches.push_back(strNumber + ".1");
    const std::int64_t nStart = FIRST_TIME + (LAST_TIME - FIRST_TIME) /
                                                 static_cast<std::int64_t>(m_nCommits) *
                                                 static_cast<std::int64_t>(nAt);
    AddBranch(nFile, i, 0, strNumber, nStart, tFile);
  }
}

/// A branch whose number is `strNumber`, and those that start from its first revision.
void CHistory::AddBranch(std::uint32_t nFile, std::uint32_t nBranch, std::uint32_t nDepth,
                         const std::string& strNumber, std::int64_t nStart, TFile& tFile) const {
  const std::size_t nDot = strNumber.rfind('.');
  const std::string strMagic = strNumber.substr(0, nDot) + ".0" + strNumber.substr(nDot);
  std::string strName = "BRANCH_" + std::to_string(nBranch + 1);
  for (std::uint32_t i = 0; i < nDepth; ++i)
    strName += "_SUB";
  tFile.atNames.push_back({strName, strMagic});
  if (m_tShape.nBranchRevisions == 0) return;

  std::vector<TRevision> atLine;
  const std::uint64_t nCommits = std::max<std::uint64_t>(1, UsualCommits(FilesOfBranch()));
  for (std::uint64_t i = 0; i < m_tShape.nBranchRevisions; ++i) {
    const std::uint64_t nPlace = IsImported(nFile, i, nBranch + 1)
                                     ? ImportOf(nFile, nCommits)
                                     : Mix(m_tShape.nSeed, nFile + nBranch, i) % nCommits;
    const std::uint64_t nCommit = i * nCommits + nPlace;
    const auto nJitter = static_cast<std::int64_t>(Mix(m_tShape.nSeed, nCommit, nFile) % SECONDS_OF_COMMIT);
    atLine.push_back({strNumber + "." + std::to_string(i + 1),
                      BRANCH_COMMITS * (nBranch + 1) + (std::uint64_t{nDepth} << 32U) + nCommit,
                      nStart + 1000 * static_cast<std::int64_t>(nCommit + 1 + nDepth) + nJitter,
                      {}});
  }
  const bool bNests = nDepth < m_tShape.nNested;
  const std::string strNested = atLine[0].strNumber + ".2";
  if (bNests) atLine[0].astrBranches.push_back(strNested + ".1");
  const std::int64_t nNestedStart = atLine[0].nTime;
  tFile.atLines.push_back(std::move(atLine));
  if (bNests) AddBranch(nFile, nBranch, nDepth + 1, strNested, nNestedStart, tFile);
}

std::string LogText(const CHistory& oHistory, const std::string& strRoot, const TFile& tFile) {
  std::size_t nRevisions = 0;
  for (const std::vector<TRevision>& atLine : tFile.atLines)
    nRevisions += atLine.size();
  std::string strText = "\nRCS file: " + strRoot + "/" + tFile.strPath +
                        ",v\nhead: " + tFile.atLines[0][0].strNumber +
                        "\nbranch:\nlocks: strict\naccess list:\nsymbolic names:\n";
  for (const TFile::TName& tName : tFile.atNames)
    strText += "\t" + tName.strName + ": " + tName.strNumber + "\n";
  const std::string strCount = std::to_string(nRevisions);
  strText += "keyword substitution: kv\ntotal revisions: " + strCount + ";\tselected revisions: " + strCount +
             "\ndescription:\n";
  for (const std::vector<TRevision>& atLine : tFile.atLines) {
    for (const TRevision& tRevision : atLine) {
      strText += "----------------------------\nrevision " + tRevision.strNumber +
                 "\ndate: " + TimeText(tRevision.nTime, "%Y-%m-%d %H:%M:%S +0000") +
                 ";  author: " + oHistory.Author(tRevision.nCommit) + ";  state: Exp;  lines: +1 -1;\n";
      if (!tRevision.astrBranches.empty()) {
        strText += "branches:";
        for (const std::string& strBranch : tRevision.astrBranches)
          strText += "  " + strBranch.substr(0, strBranch.rfind('.')) + ";";
        strText += "\n";
      }
      strText += oHistory.Message(tRevision.nCommit) + "\n";
    }
  }
  return strText + std::string(77, '=') + "\n";
}

std::string RcsText(const CHistory& oHistory, const TFile& tFile) {
  std::string strText = "head\t" + tFile.atLines[0][0].strNumber + ";\naccess;\nsymbols";
  for (const TFile::TName& tName : tFile.atNames)
    strText += "\n\t" + tName.strName + ":" + tName.strNumber;
  strText += ";\nlocks; strict;\ncomment\t@# @;\n\n";
  std::string strDeltas;
  for (std::size_t nLine = 0; nLine < tFile.atLines.size(); ++nLine) {
    const std::vector<TRevision>& atLine = tFile.atLines[nLine];
    for (std::size_t i = 0; i < atLine.size(); ++i) {
      const TRevision& tRevision = atLine[i];
      strText += "\n" + tRevision.strNumber + "\ndate\t" + TimeText(tRevision.nTime, "%Y.%m.%d.%H.%M.%S") +
                 ";\tauthor " + oHistory.Author(tRevision.nCommit) + ";\tstate Exp;\nbranches";
      for (const std::string& strBranch : tRevision.astrBranches)
        strText += "\n\t" + strBranch;
      strText += ";\nnext\t" + (i + 1 < atLine.size() ? atLine[i + 1].strNumber : std::string()) + ";\n";
      // RCS stores the newest trunk revision as a whole, and every other one as a delta; here, of one line.
      const bool bHead = nLine == 0 && i == 0;
      strDeltas += "\n\n" + tRevision.strNumber + "\nlog\n@" + oHistory.Message(tRevision.nCommit) +
                   "\n@\ntext\n@" + (bHead ? "" : "d1 1\na1 1\n") + tFile.strPath + " " +
                   tRevision.strNumber + "\n@\n";
    }
  }
  return strText + "\n\ndesc\n@@\n" + strDeltas;
}

}  // namespace TALVEK::BENCH
