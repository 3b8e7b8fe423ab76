#include "exact/log_reader.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

#include "exact/log_choice.h"

namespace TALVEK::EXACT {

namespace {

// How far is looked ahead for another end of a file.
constexpr std::size_t MAX_ENDS_AHEAD = 256;
constexpr std::size_t MAX_BYTES_AHEAD = std::size_t{16} * 1024 * 1024;
// How often the candidates are tried to meet the counts, with more of them each time.
constexpr std::size_t MAX_TRIES = 16;

std::size_t HashOf(const std::string& strPath) {
  return std::hash<std::string>()(strPath);
}

void AddSentence(std::string& strText, const std::string& strSentence) {
  if (!strText.empty()) strText += "; ";
  strText += strSentence;
}

std::string Counted(std::size_t n, const char* pszOne, const char* pszMany) {
  return std::to_string(n) + (n == 1 ? pszOne : pszMany);
}

}  // namespace

CLogReader::CLogReader(CLogBytes& oSource, std::string strRootDirectory, std::string strModule)
    : m_oMarks(oSource), m_oPath(std::move(strRootDirectory), std::move(strModule)) {}

bool CLogReader::Next(TRcsFile& tFile) {
  tFile = {};
  if (!m_bStarted && m_oMarks.FindFirstHeader()) {
    const TLogHeader& tFirst = *m_oMarks[0].ptHeader;
    m_oPath.Learn(tFirst.strRcsPath);
    m_bWorkingFiles = tFirst.bWorkingFile;
  }
  m_bStarted = true;
  if (m_oMarks.Count() == 0) return false;
  const TReading tReading = ChooseReading();
  SettleBranchLines(tReading);
  MakeFile(tReading, tFile);
  m_oMarks.DropFile(tReading.nEnd);
  return true;
}

bool CLogReader::WithinReach(std::size_t nFirstEnd, std::size_t nEnd, std::size_t nEnds) const {
  return nEnds < MAX_ENDS_AHEAD && m_oMarks[nEnd].nAt - m_oMarks[nFirstEnd].nAt < MAX_BYTES_AHEAD;
}

bool CLogReader::HoldsHeader(std::size_t nEnd) const {
  for (std::size_t i = 1; i < nEnd; ++i)
    if (m_oMarks[i].nKind == TMarkKind::HEADER) return true;
  return false;
}

/// Whether what follows an end can be a file of this log.
bool CLogReader::MayEndAt(std::size_t nEnd) const {
  if (nEnd + 1 >= m_oMarks.Count()) return true;
  const TLogHeader& tNext = *m_oMarks[nEnd + 1].ptHeader;
  if (!m_oPath.Holds(tNext.strRcsPath) || (tNext.bWorkingFile && !m_bWorkingFiles)) return false;
  // A file that comes twice can be in a log that was put together from two. It is taken for text only where
  // something else looks pasted.
  return !HoldsHeader(nEnd) || (tNext.strRcsPath != m_oMarks[0].ptHeader->strRcsPath &&
                                !m_anPathHashes.contains(HashOf(tNext.strRcsPath)));
}

/// The last line of the log that was pasted whole and begins with the header; nothing: it wasn't pasted
/// whole. anEnds has the answer for the headers behind it: a pasted log may hold another one.
std::optional<std::size_t> CLogReader::EndOfPasted(std::size_t nHeader, std::size_t nEnd,
                                                   const TPastedEnds& anEnds) const {
  const std::size_t nSelected = m_oMarks[nHeader].ptHeader->nSelected;
  std::size_t nFound = 0;
  for (std::size_t i = nHeader + 1; i <= nEnd; ++i) {
    const TMarkKind nKind = m_oMarks[i].nKind;
    if (nKind == TMarkKind::RULE && nFound == nSelected) return i;
    // A rule before the last revision is text of a message in the pasted log.
    if (nKind == TMarkKind::REVISION && nFound++ == nSelected) return std::nullopt;
    if (nKind != TMarkKind::HEADER) continue;
    const auto oInner = anEnds.find(i);
    if (oInner == anEnds.end()) return std::nullopt;
    i = oInner->second;
  }
  return std::nullopt;
}

/// Adds the candidates between two marks; true: the rule at nEnd is the last line of a pasted log. No pasted
/// log reaches beyond a possible end of the file, so the parts between these can be looked at one by one.
bool CLogReader::AddCandidates(std::size_t nFrom, std::size_t nEnd, bool bSkipPasted,
                               std::vector<std::size_t>& anMarks) const {
  TPastedEnds anEnds;
  bool bEndIsPasted = false;
  for (std::size_t i = nEnd; i-- > nFrom;) {
    const TMark& tMark = m_oMarks[i];
    if (tMark.nKind != TMarkKind::HEADER) continue;
    std::optional<std::size_t> nPastedEnd = EndOfPasted(i, nEnd, anEnds);
    // A file behind a possible end, and its counts aren't met: that is more likely a loss than a text. None
    // of its revisions is one of this file.
    if (!nPastedEnd && tMark.bFileEnd) nPastedEnd = nEnd;
    if (!nPastedEnd) continue;
    anEnds.emplace(i, *nPastedEnd);
    bEndIsPasted = bEndIsPasted || *nPastedEnd == nEnd;
  }
  for (std::size_t i = nFrom; i < nEnd; ++i) {
    const TMark& tMark = m_oMarks[i];
    if (tMark.nKind == TMarkKind::REVISION) anMarks.push_back(i);
    const auto oPasted = anEnds.find(i);
    if (oPasted != anEnds.end() && (bSkipPasted || tMark.bFileEnd)) i = oPasted->second;
  }
  return bEndIsPasted;
}

std::optional<CLogReader::TReading> CLogReader::ReadUpTo(std::size_t nEnd,
                                                         const std::vector<std::size_t>& anMarks) const {
  const TLogHeader& tHeader = *m_oMarks[0].ptHeader;
  if (!tHeader.bWhole || anMarks.size() < tHeader.nSelected) return std::nullopt;
  std::vector<TCandidate> atCandidates;
  atCandidates.reserve(anMarks.size());
  for (const std::size_t i : anMarks)
    atCandidates.push_back({m_oMarks[i].ptRevision.get(), &m_oMarks[i].anBranches});
  const std::optional<TChoice> tChoice =
      ChooseRevisions(atCandidates, tHeader.nSelected, tHeader.nHead, tHeader.nSelected == tHeader.nTotal);
  if (!tChoice) return std::nullopt;
  TReading tReading;
  tReading.nEnd = nEnd;
  tReading.bOnlyOne = tChoice->bOnlyOne;
  for (const std::size_t i : tChoice->anChosen)
    tReading.anRevisions.push_back(anMarks[i]);
  for (std::size_t i = 1; i < nEnd; ++i) {
    tReading.nTextHeaders += m_oMarks[i].nKind == TMarkKind::HEADER ? 1 : 0;
    tReading.nTextRevisions += m_oMarks[i].nKind == TMarkKind::REVISION ? 1 : 0;
  }
  tReading.nTextRevisions -= tReading.anRevisions.size();
  return tReading;
}

CLogReader::TReading CLogReader::ChooseReading() {
  const std::size_t nFirstEnd =
      m_oMarks.EndAfter(0).value();  // there is always one, if only the end of the log
  std::optional<std::size_t> nFirstPossible;
  for (const bool bSkipPasted : {true, false}) {
    std::vector<std::size_t> anMarks;
    std::size_t nFrom = 1, nEnds = 0, nTries = 0, nTried = 0;
    for (std::optional<std::size_t> nEnd = nFirstEnd;
         nEnd && WithinReach(nFirstEnd, *nEnd, nEnds) && nTries < MAX_TRIES;
         nEnd = m_oMarks.EndAfter(*nEnd), ++nEnds) {
      const bool bEndIsPasted = AddCandidates(nFrom, *nEnd, bSkipPasted, anMarks);
      nFrom = *nEnd;
      if (!MayEndAt(*nEnd)) continue;
      if (!nFirstPossible) nFirstPossible = nEnd;
      if (nTries > 0 && anMarks.size() == nTried) continue;  // the same candidates again
      nTried = anMarks.size();
      ++nTries;
      std::optional<TReading> tReading = ReadUpTo(*nEnd, anMarks);
      if (!tReading) continue;
      // A pasted log that is whole, and yet some of it is taken for the file's own.
      if (!bSkipPasted) tReading->bOnlyOne = false;
      if (!bEndIsPasted) return *tReading;
      return BeyondPasted(std::move(*tReading), bSkipPasted, std::move(anMarks));
    }
  }
  return WhatIsThere(nFirstPossible.value_or(nFirstEnd));
}

bool CLogReader::ComesBefore(const TMark& tFirst, const TMark& tSecond) const {
  return WalkedBefore(m_oPath.Cut(tFirst.ptHeader->strRcsPath), m_oPath.Cut(tSecond.ptHeader->strRcsPath));
}

/// What speaks against each end: files behind it that come twice, and files behind it that are out of order.
std::vector<CLogReader::TOdds> CLogReader::OddsOf(const std::vector<std::size_t>& anEnds) const {
  std::vector<TOdds> atOdds(anEnds.size());
  TOdds tBehind;
  std::set<std::string_view> astrPaths;
  const TMark* pBehind = nullptr;
  for (std::size_t n = anEnds.size(); n-- > 0;) {
    const std::size_t nHeader = anEnds[n] + 1;
    if (nHeader >= m_oMarks.Count()) continue;
    const TMark& tHeader = m_oMarks[nHeader];
    const std::string& strPath = tHeader.ptHeader->strRcsPath;
    const bool bTwice = !astrPaths.insert(strPath).second || m_anPathHashes.contains(HashOf(strPath)) ||
                        strPath == m_oMarks[0].ptHeader->strRcsPath;
    tBehind.nTwice += bTwice ? 1 : 0;
    tBehind.nOutOfOrder += m_bInOrder && pBehind != nullptr && !ComesBefore(tHeader, *pBehind) ? 1 : 0;
    pBehind = &tHeader;
    atOdds[n] = tBehind;
    atOdds[n].nOutOfOrder += m_bInOrder && !ComesBefore(m_oMarks[0], tHeader) ? 1 : 0;
  }
  return atOdds;
}

/// Moves the end on, which is the last line of a pasted log: rule 3 of the class.
CLogReader::TReading CLogReader::BeyondPasted(TReading tReading, bool bSkipPasted,
                                              std::vector<std::size_t> anMarks) {
  std::vector<std::size_t> anEnds;
  for (std::optional<std::size_t> nEnd = tReading.nEnd;
       nEnd && WithinReach(tReading.nEnd, *nEnd, anEnds.size()); nEnd = m_oMarks.EndAfter(*nEnd))
    anEnds.push_back(*nEnd);
  std::vector<TOdds> atOdds = OddsOf(anEnds);
  TOdds tBest = atOdds.front();
  tBest.bEndIsPasted = true;
  for (std::size_t n = 1; n < anEnds.size(); ++n) {
    atOdds[n].bEndIsPasted = AddCandidates(anEnds[n - 1], anEnds[n], bSkipPasted, anMarks);
    if (!(atOdds[n] < tBest) || !MayEndAt(anEnds[n])) continue;
    std::optional<TReading> tOther = ReadUpTo(anEnds[n], anMarks);
    if (!tOther) continue;
    tReading = std::move(*tOther);
    tBest = atOdds[n];
  }
  return tReading;
}

CLogReader::TReading CLogReader::WhatIsThere(std::size_t nEnd) const {
  TReading tReading;
  tReading.nEnd = nEnd;
  tReading.bMet = false;
  std::vector<std::size_t> anMarks;
  AddCandidates(1, nEnd, true, anMarks);
  std::vector<TCandidate> atCandidates;
  atCandidates.reserve(anMarks.size());
  for (const std::size_t i : anMarks)
    atCandidates.push_back({m_oMarks[i].ptRevision.get(), &m_oMarks[i].anBranches});
  for (const std::size_t i : ChooseWhatIsThere(atCandidates, m_oMarks[0].ptHeader->nSelected))
    tReading.anRevisions.push_back(anMarks[i]);
  return tReading;
}

/// A message may begin like a line "branches:". The line names branches that have revisions in the file.
void CLogReader::SettleBranchLines(const TReading& tReading) {
  const TLogHeader& tHeader = *m_oMarks[0].ptHeader;
  const auto fnHasBranches = [&](std::size_t i) { return !m_oMarks[i].anBranches.empty(); };
  if (!std::any_of(tReading.anRevisions.begin(), tReading.anRevisions.end(), fnHasBranches)) return;
  std::set<TNumber> anLines;
  for (const std::size_t i : tReading.anRevisions) {
    const TNumber& nNumber = m_oMarks[i].ptRevision->nNumber;
    anLines.insert(TNumber(nNumber.begin(), nNumber.end() - 1));
  }
  const bool bAll = tReading.bMet && tHeader.nSelected == tHeader.nTotal;
  CLogBuffer::TLine tLine;
  for (const std::size_t i : tReading.anRevisions) {
    TMark& tMark = m_oMarks[i];
    const bool bIsLine =
        fnHasBranches(i) &&
        (!bAll || std::all_of(tMark.anBranches.begin(), tMark.anBranches.end(),
                              [&](const TNumber& nLine) { return anLines.contains(nLine); }));
    if (bIsLine && m_oMarks.Log().Line(tMark.nNext, tLine)) tMark.nNext = tLine.nNext;
  }
}

void CLogReader::MakeFile(const TReading& tReading, TRcsFile& tFile) {
  TLogHeader& tHeader = *m_oMarks[0].ptHeader;
  tFile.strPath = m_oPath.Cut(tHeader.strRcsPath);
  tFile.nHead = std::move(tHeader.nHead);
  tFile.nDefaultBranch = std::move(tHeader.nDefaultBranch);
  tFile.atNames = std::move(tHeader.atNames);
  tFile.bIncomplete = !tReading.bMet;
  NoteRepairs(tReading, tFile);
  if (m_oMarks.IsCutAt(tReading.nEnd)) {
    tFile.bIncomplete = true;
    AddSentence(tFile.strRepair, "the log is cut off here");
  }
  tFile.atRevisions.reserve(tReading.anRevisions.size());
  for (std::size_t n = 0; n < tReading.anRevisions.size(); ++n) {
    TMark& tMark = m_oMarks[tReading.anRevisions[n]];
    const bool bLast = n + 1 == tReading.anRevisions.size();
    const TMark& tAfter = m_oMarks[bLast ? tReading.nEnd : tReading.anRevisions[n + 1]];
    std::string_view strMessage = m_oMarks.Text(tMark.nNext, tAfter.nAt);
    if (strMessage.ends_with('\n')) strMessage.remove_suffix(1);
    tMark.ptRevision->strMessage = strMessage;
    tFile.atRevisions.push_back(std::move(*tMark.ptRevision));
  }
  if (!m_anPathHashes.insert(HashOf(tHeader.strRcsPath)).second)
    AddSentence(tFile.strRepair, "the log holds this file twice");
  if (!m_strLastPath.empty() && !WalkedBefore(m_strLastPath, tFile.strPath)) m_bInOrder = false;
  m_strLastPath = tFile.strPath;
}

void CLogReader::NoteRepairs(const TReading& tReading, TRcsFile& tFile) const {
  const TLogHeader& tHeader = *m_oMarks[0].ptHeader;
  if (!tHeader.bWhole) {
    tFile.strRepair = "the log ends in its header";
  } else if (!tReading.bMet) {
    tFile.strRepair = "the log counts " + Counted(tHeader.nSelected, " revision", " revisions") + ", " +
                      std::to_string(tReading.anRevisions.size()) + " could be read";
  } else if (tReading.nTextHeaders > 0 || tReading.nTextRevisions > 0) {
    tFile.strRepair = "its texts hold a pasted log (" +
                      Counted(tReading.nTextHeaders, " header", " headers") + ", " +
                      Counted(tReading.nTextRevisions, " revision", " revisions") + ")";
    if (!tReading.bOnlyOne) tFile.strRepair += "; the counts allow more than one reading";
  }
  const std::size_t nBehindDescription =
      tReading.anRevisions.empty() ? tReading.nEnd : tReading.anRevisions.front();
  const std::size_t nAt = m_oMarks[nBehindDescription].nAt;
  const std::string_view strDescription = m_oMarks.Text(m_oMarks[0].nNext, nAt);
  if (tHeader.bWhole && !m_oMarks.IsCutAt(nBehindDescription) && !strDescription.empty() &&
      !strDescription.ends_with('\n'))
    AddSentence(tFile.strRepair, "its description ends without a line end");
}

}  // namespace TALVEK::EXACT
