#include "exact/log_text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace TALVEK::EXACT {

namespace {

bool TakePrefix(std::string_view& strText, std::string_view strPrefix) {
  if (!strText.starts_with(strPrefix)) return false;
  strText.remove_prefix(strPrefix.size());
  return true;
}

std::string_view Trimmed(std::string_view strText) {
  while (!strText.empty() && (strText.front() == ' ' || strText.front() == '\t'))
    strText.remove_prefix(1);
  while (!strText.empty() && (strText.back() == ' ' || strText.back() == '\t'))
    strText.remove_suffix(1);
  return strText;
}

template <class TValue>
bool TakeDecimal(std::string_view& strText, TValue& nValue) {
  if (strText.empty() || strText.front() < '0' || strText.front() > '9') return false;
  const auto [pEnd, nError] = std::from_chars(strText.data(), strText.data() + strText.size(), nValue);
  if (nError != std::errc()) return false;
  strText.remove_prefix(static_cast<std::size_t>(pEnd - strText.data()));
  return true;
}

bool TakeDigit(std::string_view& strText, char chBefore, std::int64_t& nValue, std::int64_t nLast) {
  if (chBefore != 0) {
    if (strText.empty() || strText.front() != chBefore) return false;
    strText.remove_prefix(1);
  }
  return TakeDecimal(strText, nValue) && nValue <= nLast;
}

/// Days from 1 January 1970 to a day of the Gregorian calendar.
std::int64_t DaysTo(std::int64_t nYear, std::int64_t nMonth, std::int64_t nDay) {
  // The year begins in March here, so that the leap day is its last one.
  const std::int64_t nShifted = nYear - (nMonth <= 2 ? 1 : 0);
  const std::int64_t nDayOfYear = (153 * (nMonth + (nMonth > 2 ? -3 : 9)) + 2) / 5 + nDay - 1;
  return 365 * nShifted + nShifted / 4 - nShifted / 100 + nShifted / 400 + nDayOfYear - 719468;
}

bool ReadCounts(std::string_view strLine, TLogHeader& tHeader) {
  strLine = Trimmed(strLine);
  if (!TakeDecimal(strLine, tHeader.nTotal)) return false;
  tHeader.nSelected = tHeader.nTotal;
  // A pasted log often has blanks where the client prints a tab.
  if (!TakePrefix(strLine, ";")) return true;
  strLine = Trimmed(strLine);
  if (!TakePrefix(strLine, "selected revisions:")) return true;
  strLine = Trimmed(strLine);
  return TakeDecimal(strLine, tHeader.nSelected);
}

void ReadName(std::string_view strLine, std::vector<TRcsName>& atNames) {
  strLine.remove_prefix(1);
  const std::size_t nColon = strLine.rfind(':');
  if (nColon == std::string_view::npos) return;
  TRcsName tName;
  tName.strName = strLine.substr(0, nColon);
  ReadNumber(Trimmed(strLine.substr(nColon + 1)), tName.nNumber);
  atNames.push_back(std::move(tName));
}

/// Lines of a header in the order of the client. Those of a list begin with a tab.
class CHeaderLines {
 public:
  explicit CHeaderLines(TLogHeader& tHeader) : m_tHeader(tHeader) {}

  bool Ended() const { return m_bEnded; }
  /// false: such a line stands in no header.
  bool Take(std::string_view strLine) {
    if (strLine.starts_with('\t')) {
      if (m_bInNames) ReadName(strLine, m_tHeader.atNames);
      return m_bHead;
    }
    m_bInNames = false;
    if (!m_bHead) {
      if (TakePrefix(strLine, "Working file: ")) return m_tHeader.bWorkingFile = true;
      if (!TakePrefix(strLine, "head:")) return false;
      ReadNumber(Trimmed(strLine), m_tHeader.nHead);
      return m_bHead = true;
    }
    if (TakePrefix(strLine, "branch:")) return ReadNumber(Trimmed(strLine), m_tHeader.nDefaultBranch), true;
    if (strLine == "symbolic names:") return m_bInNames = true;
    if (TakePrefix(strLine, "total revisions:")) return m_bCounts = ReadCounts(strLine, m_tHeader);
    if (strLine == "description:") return m_bEnded = m_bCounts;
    return strLine.starts_with("locks:") || strLine.starts_with("access list:") ||
           strLine.starts_with("keyword substitution:") || strLine.starts_with("comment leader:");
  }

 private:
  TLogHeader& m_tHeader;
  bool m_bHead = false;
  bool m_bInNames = false;
  bool m_bCounts = false;
  bool m_bEnded = false;
};

}  // namespace

bool ReadHeader(CLogBuffer& oLog, std::size_t nAt, TLogHeader& tHeader) {
  CLogBuffer::TLine tLine;
  if (!oLog.Line(nAt, tLine) || !TakePrefix(tLine.strText, HEADER_BEGIN)) return false;
  tHeader = {};
  tHeader.strRcsPath = tLine.strText;
  tHeader.nNext = tLine.nNext;
  CHeaderLines oLines(tHeader);
  while (oLog.Line(tHeader.nNext, tLine)) {
    // The log may be cut off within this line.
    const bool bHalfLine =
        tLine.nNext == tHeader.nNext + tLine.strText.size() && tLine.strText != FILE_SEPARATOR;
    if (!oLines.Take(tLine.strText) && !bHalfLine) return false;
    tHeader.nNext = tLine.nNext;
    if (!oLines.Ended()) continue;
    tHeader.bWhole = true;
    return true;
  }
  return true;
}

bool ReadNumber(std::string_view strText, TNumber& nNumber) {
  nNumber.clear();
  // One pass to count, so that the numbers, of which there are millions, are allocated once.
  nNumber.reserve(1 + static_cast<std::size_t>(std::count(strText.begin(), strText.end(), '.')));
  for (;;) {
    std::uint32_t nPart = 0;
    if (!TakeDecimal(strText, nPart)) break;
    nNumber.push_back(nPart);
    if (strText.empty()) return true;
    if (!TakePrefix(strText, ".")) break;
  }
  nNumber.clear();
  return false;
}

bool ReadTime(std::string_view strText, std::int64_t& nTime) {
  std::int64_t nYear = 0, nMonth = 0, nDay = 0, nHour = 0, nMinute = 0, nSecond = 0;
  if (!TakeDigit(strText, 0, nYear, 9999) || strText.empty()) return false;
  const char chBetween = strText.front();
  if (chBetween != '/' && chBetween != '-') return false;
  if (!TakeDigit(strText, chBetween, nMonth, 12) || !TakeDigit(strText, chBetween, nDay, 31) ||
      !TakeDigit(strText, ' ', nHour, 23) || !TakeDigit(strText, ':', nMinute, 59) ||
      !TakeDigit(strText, ':', nSecond, 60) || nMonth == 0 || nDay == 0)
    return false;
  if (nYear < 100) nYear += 1900;  // RCS writes the years before 2000 with two digits
  nTime = DaysTo(nYear, nMonth, nDay) * 86400 + nHour * 3600 + nMinute * 60 + nSecond;
  if (strText.empty()) return true;
  if (strText.size() != 6 || strText[0] != ' ' || (strText[1] != '+' && strText[1] != '-')) return false;
  const bool bEast = strText[1] == '+';
  strText.remove_prefix(2);
  std::int64_t nZone = 0;
  if (!TakeDecimal(strText, nZone) || !strText.empty()) return false;
  const std::int64_t nOffset = (nZone / 100) * 3600 + (nZone % 100) * 60;
  nTime += bEast ? -nOffset : nOffset;
  return true;
}

bool ReadRevisionLine(std::string_view strLine, TRcsRevision& tRevision) {
  if (!TakePrefix(strLine, "revision ")) return false;
  const std::size_t nLock = strLine.find("\tlocked by: ");
  return ReadNumber(strLine.substr(0, nLock), tRevision.nNumber) && tRevision.nNumber.size() % 2 == 0;
}

bool ReadDateLine(std::string_view strLine, TRcsRevision& tRevision) {
  if (!TakePrefix(strLine, "date: ")) return false;
  bool bTime = false, bAuthor = false, bState = false;
  tRevision.bDiffers = false;
  while (!strLine.empty()) {
    const std::size_t nEnd = std::min(strLine.find(';'), strLine.size());
    std::string_view strField = strLine.substr(0, nEnd);
    strLine.remove_prefix(std::min(nEnd + 1, strLine.size()));
    if (!bTime) {
      if (!ReadTime(strField, tRevision.nTime)) return false;
      bTime = true;
      continue;
    }
    strField = Trimmed(strField);
    if (TakePrefix(strField, "author: ")) {
      tRevision.strAuthor = strField;
      bAuthor = true;
    } else if (TakePrefix(strField, "state: ")) {
      tRevision.bDead = strField == "dead";
      bState = true;
    } else if (TakePrefix(strField, "commitid: ")) {
      tRevision.strCommitId = strField;
    } else if (TakePrefix(strField, "lines: ")) {
      tRevision.bDiffers = strField != "+0 -0";
    }
  }
  return bTime && bAuthor && bState;
}

bool ReadBranchesLine(std::string_view strLine, const TNumber& nNumber, std::vector<TNumber>& anBranches) {
  anBranches.clear();
  if (!TakePrefix(strLine, "branches:")) return false;
  while (!strLine.empty()) {
    const std::size_t nEnd = strLine.find(';');
    TNumber nBranch;
    if (nEnd == std::string_view::npos || !TakePrefix(strLine, "  ") ||
        !ReadNumber(strLine.substr(0, nEnd - 2), nBranch))
      return false;
    if (nBranch.size() != nNumber.size() + 1 || !std::equal(nNumber.begin(), nNumber.end(), nBranch.begin()))
      return false;
    anBranches.push_back(std::move(nBranch));
    strLine.remove_prefix(nEnd - 1);
  }
  return !anBranches.empty();
}

}  // namespace TALVEK::EXACT
