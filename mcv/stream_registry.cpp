#include "mcv/stream_registry.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/timestamp.h"

namespace TALVEK::MCV {

namespace {

constexpr wchar_t PSZ_INDENT[] = L"  ";

VCM::CString FormatUTC(std::uint32_t nTime) {
  return VCM::CTimestamp(nTime).Format(VCM::ZONE_GMT0);
}

using TStreamInfo = MCE::CProvider::TStreamInfo;

/// A walk over the children of one stream, oldest first.
class CSiblings {
 public:
  CSiblings(const MCE::CStreamList& oStreams, unsigned int nParentID) {
    for (int n = oStreams.FindChild(nParentID, 0); n >= 0; n = oStreams.FindChild(nParentID, n + 1))
      m_aptStreams.push_back(&oStreams[n]);
    std::stable_sort(m_aptStreams.begin(), m_aptStreams.end(),
                     [](const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
                       return CStreamRegistry::CompareCreationTime(ptLeft, ptRight) < 0;
                     });
  }

  const TStreamInfo* Next() { return m_nNext < m_aptStreams.size() ? m_aptStreams[m_nNext++] : nullptr; }

 private:
  std::vector<const TStreamInfo*> m_aptStreams;
  std::size_t m_nNext = 0;
};

}  // namespace

void CStreamRegistry::AddStream(TStreamInfo& tStream) {
  tStream.nID = static_cast<std::uint32_t>(m_oStreams.GetCount()) + 1;
  m_oStreams.Add(tStream);
  if (m_oLog.IsLogOpen()) LogStreamUpdate(tStream, true);
}

void CStreamRegistry::AddTrunkStream() {
  TStreamInfo tTrunk(0, 0, VCM::CFilePath(), VCM::CFilePath(), L"Main");
  AddStream(tTrunk);
}

void CStreamRegistry::UpdateStream(const TStreamInfo& tStream) {
  if (m_oLog.IsLogOpen()) LogStreamUpdate(tStream, false);
  m_oStreams.Replace(static_cast<int>(tStream.nID) - 1, tStream);
}

bool CStreamRegistry::GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const {
  const int nStream = m_oStreams.FindByName(strName.View());
  if (nStream >= 0) tStream = m_oStreams[nStream];
  return nStream >= 0;
}

bool CStreamRegistry::GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const {
  if (nStreamID > static_cast<unsigned int>(m_oStreams.GetCount())) return false;
  tStream = m_oStreams[static_cast<int>(nStreamID) - 1];
  return true;
}

void CStreamRegistry::LogStreamUpdate(const TStreamInfo& tStream, bool bAdding) {
  VCM::CString strParent = L"[NONE]";
  if (tStream.nParentID != 0) {
    TStreamInfo tParent;
    GetStreamByID(tStream.nParentID, tParent);
    strParent = tParent.strName;
  }
  m_oLog.WriteLog(L"%s stream '%s'. Parent is '%s'. Creation time is %s UTC. Max creation time is %s UTC",
                  bAdding ? L"Adding" : L"Updating", tStream.strName.c_str(), strParent.c_str(),
                  FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0)).c_str(),
                  FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0)).c_str());
}

int CStreamRegistry::CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
  const std::uint32_t nLeft = ptLeft->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  const std::uint32_t nRight = ptRight->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  return static_cast<std::int32_t>(nLeft - nRight);
}

// Without recursion, because a log can nest streams to any depth. Each stream's children are printed once, so
// that a circle of parents ends.
void CStreamRegistry::DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent) {
  std::unordered_set<unsigned int> anPrinted{nParentID};
  std::vector<CSiblings> aoOpen{CSiblings(m_oStreams, nParentID)};
  std::wstring strIndent = pszIndent;
  while (!aoOpen.empty()) {
    const TStreamInfo* const ptChild = aoOpen.back().Next();
    if (!ptChild) {
      aoOpen.pop_back();
      if (!aoOpen.empty()) strIndent.resize(strIndent.size() - std::size(PSZ_INDENT) + 1);
      continue;
    }
    m_oLog.WriteLog(L"%s%s", strIndent.c_str(), ptChild->strName.c_str());
    if (!anPrinted.insert(ptChild->nID).second) continue;
    aoOpen.emplace_back(m_oStreams, ptChild->nID);
    strIndent += PSZ_INDENT;
  }
}

}  // namespace TALVEK::MCV
