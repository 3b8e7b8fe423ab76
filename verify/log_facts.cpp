#include "verify/log_facts.h"

#include <algorithm>

namespace TALVEK::VERIFY {
namespace {

using EXACT::TNumber;

bool IsRevision(const TNumber& nNumber) {
  const std::size_t nCount = nNumber.size();
  return nCount % 2 == 0 && !(nCount >= 4 && nNumber[nCount - 2] == 0);
}

/// The branch that a name's number stands for: 1.2.2 for 1.2.0.2.
TNumber BranchNumber(TNumber nNumber) {
  if (nNumber.size() % 2 == 0) nNumber.erase(nNumber.end() - 2);
  return nNumber;
}

/// The line on which a revision lies: "" for the trunk, 1.2.2 for 1.2.2.7.
std::string LineOf(const TNumber& nRevision) {
  if (nRevision.size() <= 2) return "";
  return NumberText(TNumber(nRevision.begin(), nRevision.end() - 1));
}

constexpr const char* VENDOR_LINE = "1.1.1";

}  // namespace

/// The revisions of a file on one line.
struct CLogFacts::TLine {
  std::vector<const EXACT::TRcsRevision*> aptRevisions;  // in ascending order, after Sort

  void Sort() {
    std::sort(aptRevisions.begin(), aptRevisions.end(),
              [](const auto* ptLeft, const auto* ptRight) { return ptLeft->nNumber < ptRight->nNumber; });
  }
};

std::string NumberText(const TNumber& nNumber) {
  std::string strText;
  for (const std::uint32_t nPart : nNumber)
    strText += (strText.empty() ? "" : ".") + std::to_string(nPart);
  return strText;
}

void CLogFacts::Add(const EXACT::TRcsFile& tFile) {
  m_astrPaths.insert(tFile.strPath);
  std::map<std::string, TLine> atLines;
  for (const EXACT::TRcsRevision& tRevision : tFile.atRevisions) {
    if (m_tScope.nEndTime && tRevision.nTime > *m_tScope.nEndTime) continue;
    atLines[LineOf(tRevision.nNumber)].aptRevisions.push_back(&tRevision);
  }
  for (auto& [strNumber, tLine] : atLines)
    tLine.Sort();
  AddNames(tFile, atLines);
  if (!m_bTimes) return;
  if (const auto oTrunk = atLines.find(""); oTrunk != atLines.end()) AddTimes("", oTrunk->second);
  // The trunk shows imports as long as nobody has changed the file there.
  if (const auto oVendor = atLines.find(VENDOR_LINE); oVendor != atLines.end()) AddTimes("", oVendor->second);
}

void CLogFacts::AddNames(const EXACT::TRcsFile& tFile, const std::map<std::string, TLine>& atLines) {
  std::set<std::string> astrNamedLines;
  for (const EXACT::TRcsName& tName : tFile.atNames) {
    if (tName.nNumber.empty()) continue;
    TNameFacts& tFacts = m_atNames[tName.strName];
    if (IsRevision(tName.nNumber)) {
      ++tFacts.nTagFiles;
      tFacts.bAfterEnd |= std::any_of(tFile.atRevisions.begin(), tFile.atRevisions.end(),
                                      [&](const EXACT::TRcsRevision& tRevision) {
                                        return m_tScope.nEndTime && tRevision.nTime > *m_tScope.nEndTime &&
                                               tRevision.nNumber == tName.nNumber;
                                      });
      continue;
    }
    ++tFacts.nBranchFiles;
    const std::string strLine = NumberText(BranchNumber(tName.nNumber));
    astrNamedLines.insert(strLine);
    const auto oLine = atLines.find(strLine);
    if (oLine == atLines.end()) continue;
    if (m_bTimes) AddTimes(tName.strName, oLine->second);
    m_anFirstTimes[tName.strName][tFile.strPath] = oLine->second.aptRevisions.front()->nTime;
  }
  for (const auto& [strNumber, tLine] : atLines) {
    if (!strNumber.empty() && !astrNamedLines.contains(strNumber))
      m_astrUnnamed[strNumber].insert(tFile.strPath);
  }
}

void CLogFacts::AddTimes(const std::string& strStream, const TLine& tLine) {
  CQuietMoments& oMoments = m_aoMoments[strStream];
  std::int64_t nLatest = INT64_MIN;
  for (const EXACT::TRcsRevision* ptRevision : tLine.aptRevisions) {
    oMoments.AddRevision(ptRevision->nTime);
    if (ptRevision->nTime < nLatest) oMoments.AddSpan(ptRevision->nTime, nLatest);
    nLatest = std::max(nLatest, ptRevision->nTime);
    if (ptRevision->strCommitId.empty()) continue;
    auto& [nFirst, nLast] = m_anCommits
                                .try_emplace({strStream, ptRevision->strCommitId},
                                             std::pair{ptRevision->nTime, ptRevision->nTime})
                                .first->second;
    nFirst = std::min(nFirst, ptRevision->nTime);
    nLast = std::max(nLast, ptRevision->nTime);
  }
}

bool CLogFacts::IsInScope(const std::string& strName, const TNameFacts& tFacts) const {
  if (!m_tScope.bBranches) return false;
  if (!tFacts.IsBranch() && (!m_tScope.bTags || tFacts.bAfterEnd)) return false;
  return !m_tScope.fnWanted || m_tScope.fnWanted(strName);
}

void CLogFacts::Finish() {
  std::erase_if(m_atNames, [this](const auto& tName) { return !IsInScope(tName.first, tName.second); });
  for (const auto& [tKey, tSpan] : m_anCommits)
    m_aoMoments[tKey.first].AddSpan(tSpan.first, tSpan.second);
  m_anCommits.clear();
}

const std::map<std::string, std::set<std::string>>& CLogFacts::UnnamedBranches() const {
  static const std::map<std::string, std::set<std::string>> s_astrNone;
  return m_tScope.bBranches && m_tScope.bUnnamedBranches ? m_astrUnnamed : s_astrNone;
}

bool CLogFacts::IsUnnamed(const std::string& strNumber, const std::string& strPath) const {
  const auto oFound = m_astrUnnamed.find(strNumber);
  return oFound != m_astrUnnamed.end() && oFound->second.contains(strPath);
}

bool CLogFacts::HasChanged(const std::string& strBranch, const std::string& strPath) const {
  const auto oFound = m_anFirstTimes.find(strBranch);
  return oFound != m_anFirstTimes.end() && oFound->second.contains(strPath);
}

std::vector<std::string> CLogFacts::ChangedBy(const std::string& strBranch, std::int64_t nTime) const {
  std::vector<std::string> astrPaths;
  const auto oBranch = m_anFirstTimes.find(strBranch);
  if (oBranch == m_anFirstTimes.end()) return astrPaths;
  for (const auto& [strPath, nFirst] : oBranch->second) {
    if (nFirst <= nTime) astrPaths.push_back(strPath);
  }
  return astrPaths;
}

std::vector<std::int64_t> CLogFacts::Moments(const std::string& strName, std::size_t nCount) {
  const auto oFound = m_aoMoments.find(strName);
  return oFound == m_aoMoments.end() ? std::vector<std::int64_t>() : oFound->second.Pick(nCount);
}

}  // namespace TALVEK::VERIFY
