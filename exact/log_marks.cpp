#include "exact/log_marks.h"

#include <utility>

namespace TALVEK::EXACT {

namespace {
constexpr std::size_t MAX_PREFACE_BYTES = 1000;
}

bool CLogMarks::FindFirstHeader() {
  CLogBuffer::TLine tLine;
  while (m_oLog.Line(m_nScanned, tLine)) {
    const std::size_t nAt = m_nScanned;
    const std::size_t nNext = tLine.nNext;
    const std::size_t nRoom = MAX_PREFACE_BYTES - m_strPreface.size();
    std::string strLine(tLine.strText.substr(0, nRoom));
    if (tLine.strText.starts_with(HEADER_BEGIN) && FindHeader(nAt, true)) {
      return true;
    }
    if (!strLine.empty() && strLine.size() < nRoom) m_strPreface += strLine + '\n';
    m_nScanned = nNext;
    m_oLog.Drop(m_nScanned);
  }
  return false;
}

/// Looks for marks up to and with the next one that may end a file; false at the end of the log.
bool CLogMarks::FindEnd() {
  if (m_bLogEnded) return false;
  CLogBuffer::TLine tLine;
  while (m_oLog.Line(m_nScanned, tLine)) {
    const std::size_t nAt = m_nScanned;
    m_nScanned = tLine.nNext;
    const std::string_view strLine = tLine.strText;
    bool bIsEnd = false;
    if (strLine == REVISION_SEPARATOR) {
      FindRevision(nAt, tLine.nNext);
    } else if (strLine == FILE_SEPARATOR) {
      bIsEnd = FindRule(nAt, tLine.nNext);
    } else if (strLine.starts_with(HEADER_BEGIN)) {
      FindHeader(nAt, false);
    } else if (m_bFirstText) {
      FindInFirstText(strLine, nAt, tLine.nNext, bIsEnd);
    }
    if (bIsEnd) return true;
  }
  return AddEnd(m_nScanned, m_nScanned, true);
}

/// The client prints a description as it is: when it has no last line end, the separator stands behind it on
/// the same line.
void CLogMarks::FindInFirstText(std::string_view strLine, std::size_t nAt, std::size_t nNext, bool& bIsEnd) {
  if (strLine.size() > REVISION_SEPARATOR.size() && strLine.ends_with(REVISION_SEPARATOR)) {
    FindRevision(nAt + strLine.size() - REVISION_SEPARATOR.size(), nNext);
  } else if (strLine.size() > FILE_SEPARATOR.size() && strLine.ends_with(FILE_SEPARATOR)) {
    bIsEnd = FindRule(nAt + strLine.size() - FILE_SEPARATOR.size(), nNext);
  }
}

void CLogMarks::FindRevision(std::size_t nSeparator, std::size_t nNext) {
  auto ptRevision = std::make_unique<TRcsRevision>();
  CLogBuffer::TLine tLine;
  if (!m_oLog.Line(nNext, tLine) || !ReadRevisionLine(tLine.strText, *ptRevision)) return;
  if (!m_oLog.Line(tLine.nNext, tLine) || !ReadDateLine(tLine.strText, *ptRevision)) return;
  TMark tMark;
  tMark.nKind = TMarkKind::REVISION;
  tMark.nAt = nSeparator;
  tMark.nNext = m_nScanned = tLine.nNext;
  if (m_oLog.Line(tMark.nNext, tLine)) ReadBranchesLine(tLine.strText, ptRevision->nNumber, tMark.anBranches);
  tMark.ptRevision = std::move(ptRevision);
  m_atMarks.push_back(std::move(tMark));
  m_bFirstText = false;
}

/// A line of equals signs; true: a header or the end of the log follows.
bool CLogMarks::FindRule(std::size_t nRule, std::size_t nNext) {
  CLogBuffer::TLine tLine;
  std::size_t nAt = nNext;
  // A log that was saved together with the client's messages has these between the files.
  while (m_oLog.Line(nAt, tLine) && tLine.strText.starts_with("cvs ") &&
         tLine.strText.find(": ") != std::string_view::npos)
    nAt = tLine.nNext;
  while (m_oLog.Line(nAt, tLine) && tLine.strText.empty())
    nAt = tLine.nNext;
  if (!m_oLog.Line(nAt, tLine)) return AddEnd(nRule, nNext, false);
  const bool bHalfLine = HEADER_BEGIN.starts_with(tLine.strText) && tLine.nNext == nAt + tLine.strText.size();
  if (nAt > nNext && bHalfLine) return AddEnd(nRule, nNext, true);
  TMark tMark;
  tMark.nAt = nRule;
  tMark.nNext = nNext;
  m_atMarks.push_back(std::move(tMark));
  if (nAt == nNext || !FindHeader(nAt, true)) return false;
  m_atMarks[m_atMarks.size() - 2].bFileEnd = true;
  return true;
}

bool CLogMarks::FindHeader(std::size_t nAt, bool bBehindRule) {
  auto ptHeader = std::make_unique<TLogHeader>();
  // Within a text a header that the log ends in is no sign of anything.
  if (!ReadHeader(m_oLog, nAt, *ptHeader) || (!ptHeader->bWhole && !bBehindRule)) return false;
  TMark tMark;
  tMark.nKind = TMarkKind::HEADER;
  tMark.nAt = nAt;
  tMark.nNext = m_nScanned = ptHeader->nNext;
  tMark.bFileEnd = bBehindRule;
  tMark.ptHeader = std::move(ptHeader);
  m_atMarks.push_back(std::move(tMark));
  m_bFirstText = true;
  return true;
}

/// The mark that ends the last file.
bool CLogMarks::AddEnd(std::size_t nAt, std::size_t nNext, bool bCut) {
  m_bLogEnded = true;
  m_bCut = bCut;
  TMark tMark;
  tMark.nAt = nAt;
  tMark.nNext = nNext;
  tMark.bFileEnd = true;
  m_atMarks.push_back(std::move(tMark));
  return true;
}

std::optional<std::size_t> CLogMarks::EndAfter(std::size_t nMark) {
  for (std::size_t i = nMark + 1;; ++i) {
    while (i >= m_atMarks.size())
      if (!FindEnd()) return std::nullopt;
    if (m_atMarks[i].nKind == TMarkKind::RULE && m_atMarks[i].bFileEnd) return i;
  }
}

void CLogMarks::DropFile(std::size_t nEnd) {
  m_atMarks.erase(m_atMarks.begin(), m_atMarks.begin() + static_cast<std::ptrdiff_t>(nEnd) + 1);
  if (!m_atMarks.empty()) m_oLog.Drop(m_atMarks.front().nAt);
}

}  // namespace TALVEK::EXACT
