#include "exact/log_reader.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

namespace TALVEK::EXACT {

namespace {

// How far is looked ahead for another end of a file.
constexpr std::size_t MAX_ENDS_AHEAD = 256;
constexpr std::size_t MAX_BYTES_AHEAD = 16 * 1024 * 1024;
// How often the candidates are tried to meet the counts, with more of them each time.
constexpr std::size_t MAX_TRIES = 16;
constexpr std::size_t MAX_PREFACE_BYTES = 1000;

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

CLogReader::CLogReader(CLogSource& oSource, std::string strRootDirectory, std::string strModule)
    : m_oLog(oSource), m_oPath(std::move(strRootDirectory), std::move(strModule)) {}

CLogReader::~CLogReader() = default;

bool CLogReader::Next(TRcsFile& tFile) {
  tFile = {};
  if (!m_bStarted && !FindFirstHeader()) return false;
  if (m_atMarks.empty()) return false;
  m_oLog.Drop(m_atMarks.front().nAt);
  const TReading tReading = ChooseReading();
  SettleBranchLines(tReading);
  MakeFile(tReading, tFile);
  m_atMarks.erase(m_atMarks.begin(), m_atMarks.begin() + static_cast<std::ptrdiff_t>(tReading.nEnd) + 1);
  return true;
}

bool CLogReader::FindFirstHeader() {
  m_bStarted = true;
  CLogBuffer::TLine tLine;
  while (m_oLog.Line(m_nScanned, tLine)) {
    const std::size_t nAt = m_nScanned;
    const std::size_t nNext = tLine.nNext;
    const std::size_t nRoom = MAX_PREFACE_BYTES - m_strPreface.size();
    std::string strLine(tLine.strText.substr(0, nRoom));
    if (tLine.strText.starts_with(HEADER_BEGIN) && FindHeader(nAt, true)) {
      const TLogHeader& tHeader = *m_atMarks.front().ptHeader;
      m_oPath.Learn(tHeader.strRcsPath);
      m_bWorkingFiles = tHeader.bWorkingFile;
      return true;
    }
    if (!strLine.empty() && strLine.size() < nRoom) m_strPreface += strLine + '\n';
    m_nScanned = nNext;
    m_oLog.Drop(m_nScanned);
  }
  return false;
}

/// Looks for marks up to and with the next one that may end a file; false at the end of the log.
bool CLogReader::FindEnd() {
  if (m_bLogEnded) return false;
  CLogBuffer::TLine tLine;
  while (m_oLog.Line(m_nScanned, tLine)) {
    const std::size_t nAt = m_nScanned;
    m_nScanned = tLine.nNext;
    const std::string_view strLine = tLine.strText;
    bool bIsEnd = false;
    if (strLine == REVISION_SEPARATOR)
      FindRevision(nAt, tLine.nNext);
    else if (strLine == FILE_SEPARATOR)
      bIsEnd = FindRule(nAt, tLine.nNext);
    else if (strLine.starts_with(HEADER_BEGIN))
      FindHeader(nAt, false);
    else if (m_bFirstText)
      AtLineOfFirstText(strLine, nAt, tLine.nNext, bIsEnd);
    if (bIsEnd) return true;
  }
  m_bCut = true;
  AddLogEnd(m_nScanned);
  return true;
}

/// The client prints a description as it is: when it has no last line end, the separator stands behind it on
/// the same line.
void CLogReader::AtLineOfFirstText(std::string_view strLine, std::size_t nAt, std::size_t nNext,
                                   bool& bIsEnd) {
  if (strLine.size() > REVISION_SEPARATOR.size() && strLine.ends_with(REVISION_SEPARATOR)) {
    FindRevision(nAt + strLine.size() - REVISION_SEPARATOR.size(), nNext);
  } else if (strLine.size() > FILE_SEPARATOR.size() && strLine.ends_with(FILE_SEPARATOR)) {
    bIsEnd = FindRule(nAt + strLine.size() - FILE_SEPARATOR.size(), nNext);
  }
}

void CLogReader::FindRevision(std::size_t nSeparator, std::size_t nNext) {
  auto ptRevision = std::make_unique<TRcsRevision>();
  CLogBuffer::TLine tLine;
  if (!m_oLog.Line(nNext, tLine) || !ReadRevisionLine(tLine.strText, *ptRevision)) return;
  if (!m_oLog.Line(tLine.nNext, tLine) || !ReadDateLine(tLine.strText, *ptRevision)) return;
  TMark tMark;
  tMark.eKind = EMark::REVISION;
  tMark.nAt = nSeparator;
  tMark.nNext = m_nScanned = tLine.nNext;
  if (m_oLog.Line(tMark.nNext, tLine)) ReadBranchesLine(tLine.strText, ptRevision->nNumber, tMark.anBranches);
  tMark.ptRevision = std::move(ptRevision);
  m_atMarks.push_back(std::move(tMark));
  m_bFirstText = false;
}

/// A line of equals signs; true: a header or the end of the log follows.
bool CLogReader::FindRule(std::size_t nRule, std::size_t nNext) {
  TMark tMark;
  tMark.nAt = nRule;
  tMark.nNext = nNext;
  CLogBuffer::TLine tLine;
  std::size_t nAt = nNext;
  // A log that was saved together with the client's messages has these between the files.
  while (m_oLog.Line(nAt, tLine) && tLine.strText.starts_with("cvs ") &&
         tLine.strText.find(": ") != std::string_view::npos)
    nAt = tLine.nNext;
  while (m_oLog.Line(nAt, tLine) && tLine.strText.empty())
    nAt = tLine.nNext;
  if (!m_oLog.Line(nAt, tLine)) {
    tMark.bFileEnd = m_bLogEnded = true;
    m_atMarks.push_back(std::move(tMark));
    return true;
  }
  if (nAt == nNext) {
    m_atMarks.push_back(std::move(tMark));
    return false;
  }
  const bool bHalfLine =
      HEADER_BEGIN.starts_with(tLine.strText) && tLine.strText.size() < HEADER_BEGIN.size();
  CLogBuffer::TLine tAfter;
  const std::size_t nBehind = tLine.nNext;
  if (bHalfLine && !m_oLog.Line(nBehind, tAfter)) {
    tMark.bFileEnd = m_bLogEnded = m_bCut = true;
    m_atMarks.push_back(std::move(tMark));
    return true;
  }
  m_atMarks.push_back(std::move(tMark));
  if (!FindHeader(nAt, true)) return false;
  m_atMarks[m_atMarks.size() - 2].bFileEnd = true;
  return true;
}

bool CLogReader::FindHeader(std::size_t nAt, bool bBehindRule) {
  auto ptHeader = std::make_unique<TLogHeader>();
  // Within a text a header that the log ends in is no sign of anything.
  if (!ReadHeader(m_oLog, nAt, *ptHeader) || (!ptHeader->bWhole && !bBehindRule)) return false;
  TMark tMark;
  tMark.eKind = EMark::HEADER;
  tMark.nAt = nAt;
  tMark.nNext = m_nScanned = ptHeader->nNext;
  tMark.bFileEnd = bBehindRule;
  tMark.ptHeader = std::move(ptHeader);
  m_atMarks.push_back(std::move(tMark));
  m_bFirstText = true;
  return true;
}

void CLogReader::AddLogEnd(std::size_t nAt) {
  m_bLogEnded = true;
  TMark tMark;
  tMark.nAt = tMark.nNext = nAt;
  tMark.bFileEnd = true;
  m_atMarks.push_back(std::move(tMark));
}

/// The first mark behind nMark that may end a file, looked for in the log when it must be.
std::optional<std::size_t> CLogReader::EndAfter(std::size_t nMark) {
  for (std::size_t i = nMark + 1;; ++i) {
    while (i >= m_atMarks.size())
      if (!FindEnd()) return std::nullopt;
    if (m_atMarks[i].eKind == EMark::RULE && m_atMarks[i].bFileEnd) return i;
  }
}

bool CLogReader::WithinReach(std::size_t nFirstEnd, std::size_t nEnd, std::size_t nEnds) const {
  return nEnds < MAX_ENDS_AHEAD && m_atMarks[nEnd].nAt - m_atMarks[nFirstEnd].nAt < MAX_BYTES_AHEAD;
}

bool CLogReader::HoldsHeader(std::size_t nEnd) const {
  return std::any_of(m_atMarks.begin() + 1, m_atMarks.begin() + static_cast<std::ptrdiff_t>(nEnd),
                     [](const TMark& tMark) { return tMark.eKind == EMark::HEADER; });
}

/// Whether what follows an end can be a file of this log.
bool CLogReader::MayEndAt(std::size_t nEnd) const {
  if (nEnd + 1 >= m_atMarks.size()) return true;
  const TLogHeader& tNext = *m_atMarks[nEnd + 1].ptHeader;
  if (!m_oPath.Holds(tNext.strRcsPath) || (tNext.bWorkingFile && !m_bWorkingFiles)) return false;
  // A file that comes twice can be in a log that was put together from two. It is taken for text only where
  // something else looks pasted.
  return !HoldsHeader(nEnd) || (tNext.strRcsPath != m_atMarks.front().ptHeader->strRcsPath &&
                                !m_nPathHashes.contains(HashOf(tNext.strRcsPath)));
}

/// The mark behind a log that was pasted whole and begins with nHeader, else the one behind the header.
std::size_t CLogReader::BehindPasted(std::size_t nHeader, std::size_t nEnd, bool bSkipPasted) const {
  const TMark& tHeader = m_atMarks[nHeader];
  std::size_t nFound = 0;
  for (std::size_t i = nHeader + 1; i <= nEnd && (bSkipPasted || tHeader.bFileEnd); ++i) {
    const TMark& tMark = m_atMarks[i];
    if (tMark.eKind == EMark::REVISION && nFound < tHeader.ptHeader->nSelected)
      ++nFound;
    else if (tMark.eKind == EMark::RULE && nFound == tHeader.ptHeader->nSelected)
      return i;
    else
      break;
  }
  if (!tHeader.bFileEnd) return nHeader + 1;
  // More likely another file with a fault than a text: none of its revisions is one of this file.
  std::size_t i = nHeader + 1;
  while (i < nEnd && !(m_atMarks[i].eKind == EMark::RULE && m_atMarks[i].bFileEnd))
    ++i;
  return i;
}

/// Adds the candidates between two marks. No pasted log reaches beyond a possible end of the file, so the
/// parts between these can be looked at one by one.
void CLogReader::AddCandidates(std::size_t nFrom, std::size_t nEnd, bool bSkipPasted,
                               std::vector<std::size_t>& anMarks) const {
  for (std::size_t i = nFrom; i < nEnd;) {
    if (m_atMarks[i].eKind == EMark::HEADER) {
      i = BehindPasted(i, nEnd, bSkipPasted);
      continue;
    }
    if (m_atMarks[i].eKind == EMark::REVISION) anMarks.push_back(i);
    ++i;
  }
}

std::optional<CLogReader::TReading> CLogReader::ReadUpTo(std::size_t nEnd,
                                                         const std::vector<std::size_t>& anMarks) const {
  const TLogHeader& tHeader = *m_atMarks.front().ptHeader;
  if (!tHeader.bWhole || anMarks.size() < tHeader.nSelected) return std::nullopt;
  std::vector<TCandidate> atCandidates;
  atCandidates.reserve(anMarks.size());
  for (const std::size_t i : anMarks)
    atCandidates.push_back({m_atMarks[i].ptRevision.get(), &m_atMarks[i].anBranches});
  const std::optional<TChoice> tChoice =
      ChooseRevisions(atCandidates, tHeader.nSelected, tHeader.nHead, tHeader.nSelected == tHeader.nTotal);
  if (!tChoice) return std::nullopt;
  TReading tReading;
  tReading.nEnd = nEnd;
  tReading.bOnlyOne = tChoice->bOnlyOne;
  for (const std::size_t i : tChoice->anChosen)
    tReading.anRevisions.push_back(anMarks[i]);
  for (std::size_t i = 1; i < nEnd; ++i) {
    tReading.nTextHeaders += m_atMarks[i].eKind == EMark::HEADER ? 1 : 0;
    tReading.nTextRevisions += m_atMarks[i].eKind == EMark::REVISION ? 1 : 0;
  }
  tReading.nTextRevisions -= tReading.anRevisions.size();
  return tReading;
}

CLogReader::TReading CLogReader::ChooseReading() {
  const std::size_t nFirstEnd = EndAfter(0).value();  // there is always one, if only the end of the log
  std::optional<std::size_t> nFirstPossible;
  for (const bool bSkipPasted : {true, false}) {
    std::vector<std::size_t> anMarks;
    std::size_t nFrom = 1, nEnds = 0, nTries = 0, nTried = 0;
    for (std::optional<std::size_t> nEnd = nFirstEnd;
         nEnd && WithinReach(nFirstEnd, *nEnd, nEnds) && nTries < MAX_TRIES;
         nEnd = EndAfter(*nEnd), ++nEnds) {
      AddCandidates(nFrom, *nEnd, bSkipPasted, anMarks);
      nFrom = *nEnd;
      if (!MayEndAt(*nEnd)) continue;
      if (!nFirstPossible) nFirstPossible = nEnd;
      if (nTries > 0 && anMarks.size() == nTried) continue;  // the same candidates again
      nTried = anMarks.size();
      ++nTries;
      std::optional<TReading> tReading = ReadUpTo(*nEnd, anMarks);
      if (tReading) return BeyondPasted(std::move(*tReading), bSkipPasted);
    }
  }
  return WhatIsThere(nFirstPossible.value_or(nFirstEnd));
}

bool CLogReader::ComesBefore(const TMark& tFirst, const TMark& tSecond) const {
  return WalkedBefore(m_oPath.Cut(tFirst.ptHeader->strRcsPath), m_oPath.Cut(tSecond.ptHeader->strRcsPath));
}

/// Moves the end on where it is one of a pasted log: rule 3 of the class.
CLogReader::TReading CLogReader::BeyondPasted(TReading tReading, bool bSkipPasted) {
  if (!HoldsHeader(tReading.nEnd)) return tReading;
  std::vector<std::size_t> anEnds;
  for (std::optional<std::size_t> nEnd = tReading.nEnd;
       nEnd && WithinReach(tReading.nEnd, *nEnd, anEnds.size()); nEnd = EndAfter(*nEnd))
    anEnds.push_back(*nEnd);
  // What speaks against each end: files behind it that come twice, and files out of order.
  using TOdds = std::pair<std::size_t, std::size_t>;
  std::vector<TOdds> atOdds(anEnds.size());
  TOdds tBehind;
  std::set<std::string_view> strPaths;
  const TMark* pBehind = nullptr;
  for (std::size_t n = anEnds.size(); n-- > 0;) {
    const std::size_t nHeader = anEnds[n] + 1;
    if (nHeader >= m_atMarks.size()) continue;
    const TMark& tHeader = m_atMarks[nHeader];
    const std::string& strPath = tHeader.ptHeader->strRcsPath;
    const bool bTwice = !strPaths.insert(strPath).second || m_nPathHashes.contains(HashOf(strPath)) ||
                        strPath == m_atMarks.front().ptHeader->strRcsPath;
    tBehind.first += bTwice ? 1 : 0;
    tBehind.second += m_bInOrder && pBehind != nullptr && !ComesBefore(tHeader, *pBehind) ? 1 : 0;
    pBehind = &tHeader;
    atOdds[n] = tBehind;
    atOdds[n].second += m_bInOrder && !ComesBefore(m_atMarks.front(), tHeader) ? 1 : 0;
  }
  TOdds tBest = atOdds.front();
  for (std::size_t n = 1; n < anEnds.size(); ++n) {
    if (atOdds[n] >= tBest || !MayEndAt(anEnds[n])) continue;
    std::vector<std::size_t> anMarks;
    AddCandidates(1, anEnds[n], bSkipPasted, anMarks);
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
  for (const std::size_t i : anMarks)
    atCandidates.push_back({m_atMarks[i].ptRevision.get(), &m_atMarks[i].anBranches});
  for (const std::size_t i : ChooseWhatIsThere(atCandidates, m_atMarks.front().ptHeader->nSelected))
    tReading.anRevisions.push_back(anMarks[i]);
  return tReading;
}

/// A message may begin like a line "branches:". The line names branches that have revisions in the file.
void CLogReader::SettleBranchLines(const TReading& tReading) {
  const TLogHeader& tHeader = *m_atMarks.front().ptHeader;
  const auto HasBranches = [&](std::size_t i) { return !m_atMarks[i].anBranches.empty(); };
  if (!std::any_of(tReading.anRevisions.begin(), tReading.anRevisions.end(), HasBranches)) return;
  std::set<TNumber> nLines;
  for (const std::size_t i : tReading.anRevisions) {
    const TNumber& nNumber = m_atMarks[i].ptRevision->nNumber;
    nLines.insert(TNumber(nNumber.begin(), nNumber.end() - 1));
  }
  const bool bAll = tReading.bMet && tHeader.nSelected == tHeader.nTotal;
  CLogBuffer::TLine tLine;
  for (const std::size_t i : tReading.anRevisions) {
    TMark& tMark = m_atMarks[i];
    const bool bIsLine = HasBranches(i) &&
                         (!bAll || std::all_of(tMark.anBranches.begin(), tMark.anBranches.end(),
                                               [&](const TNumber& nLine) { return nLines.contains(nLine); }));
    if (bIsLine && m_oLog.Line(tMark.nNext, tLine)) tMark.nNext = tLine.nNext;
  }
}

void CLogReader::MakeFile(const TReading& tReading, TRcsFile& tFile) {
  TLogHeader& tHeader = *m_atMarks.front().ptHeader;
  tFile.strPath = m_oPath.Cut(tHeader.strRcsPath);
  tFile.nHead = std::move(tHeader.nHead);
  tFile.nDefaultBranch = std::move(tHeader.nDefaultBranch);
  tFile.atNames = std::move(tHeader.atNames);
  tFile.bIncomplete = !tReading.bMet;
  NoteRepairs(tReading, tFile);
  if (m_bLogEnded && m_bCut && tReading.nEnd + 1 == m_atMarks.size()) {
    tFile.bIncomplete = true;
    AddSentence(tFile.strRepair, "the log is cut off here");
  }
  tFile.atRevisions.reserve(tReading.anRevisions.size());
  for (std::size_t n = 0; n < tReading.anRevisions.size(); ++n) {
    TMark& tMark = m_atMarks[tReading.anRevisions[n]];
    const bool bLast = n + 1 == tReading.anRevisions.size();
    const TMark& tAfter = m_atMarks[bLast ? tReading.nEnd : tReading.anRevisions[n + 1]];
    std::string_view strMessage = m_oLog.Text(tMark.nNext, tAfter.nAt);
    if (strMessage.ends_with('\n')) strMessage.remove_suffix(1);
    tMark.ptRevision->strMessage = strMessage;
    tFile.atRevisions.push_back(std::move(*tMark.ptRevision));
  }
  if (!m_nPathHashes.insert(HashOf(tHeader.strRcsPath)).second)
    AddSentence(tFile.strRepair, "the log holds this file twice");
  if (!m_strLastPath.empty() && !WalkedBefore(m_strLastPath, tFile.strPath)) m_bInOrder = false;
  m_strLastPath = tFile.strPath;
}

void CLogReader::NoteRepairs(const TReading& tReading, TRcsFile& tFile) const {
  const TLogHeader& tHeader = *m_atMarks.front().ptHeader;
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
  const std::size_t nAt = m_atMarks[nBehindDescription].nAt;
  const std::string_view strDescription = m_oLog.Text(m_atMarks.front().nNext, nAt);
  if (tHeader.bWhole && !m_bCut && !strDescription.empty() && !strDescription.ends_with('\n'))
    AddSentence(tFile.strRepair, "its description ends without a line end");
}

}  // namespace TALVEK::EXACT
