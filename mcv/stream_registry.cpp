// The list of streams: adding, finding, updating, printing and linking them.

#include "core/timestamp.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::MCV {

namespace {

VCM::CString FormatUTC(std::uint32_t nTime) {
  return VCM::CTimestamp(nTime).Format(VCM::ZONE_GMT0);
}

}  // namespace

void CProvider::AddStream(TStreamInfo& tStream) {
  tStream.nID = static_cast<std::uint32_t>(m_atStreams.GetCount()) + 1;
  m_atStreams.Add(tStream);
  if (IsLogOpen()) LogStreamUpdate(tStream, true);
}

void CProvider::AddTrunkStream() {
  TStreamInfo tTrunk(0, 0, VCM::CFilePath(), VCM::CFilePath(), L"Main");
  AddStream(tTrunk);
}

void CProvider::UpdateStream(const TStreamInfo& tStream) {
  if (IsLogOpen()) LogStreamUpdate(tStream, false);
  TStreamInfo& tListed = m_atStreams[static_cast<int>(tStream.nID) - 1];
  if (tListed.strName != tStream.strName) m_oStreamNames.Forget();
  tListed = tStream;
}

void CProvider::ResetStreams() {
  CProviderBase::ResetStreams();
  m_oStreamNames.Forget();
}

int CProvider::FindStreamByName(const VCM::CString& strName) const {
  return m_oStreamNames.Find(m_atStreams, strName.View());
}

bool CProvider::GetStreamByName(const VCM::CString& strName, TStreamInfo& tStream) const {
  const int nStream = FindStreamByName(strName);
  if (nStream >= 0) tStream = m_atStreams[nStream];
  return nStream >= 0;
}

bool CProvider::GetStreamByID(unsigned int nStreamID, TStreamInfo& tStream) const {
  if (nStreamID > static_cast<unsigned int>(m_atStreams.GetCount())) return false;
  tStream = m_atStreams[static_cast<int>(nStreamID) - 1];
  return true;
}

int CProvider::ResolveStreamLinkage() {
  for (int i = 0; i < m_atStreams.GetCount(); ++i) {
    TStreamInfo& tStream = m_atStreams[i];
    if (tStream.nParentID == 0) continue;
    TStreamInfo tParent;
    if (!GetStreamByID(tStream.nParentID, tParent)) continue;
    tStream.nBaseChangeID = FindNearestChange(tParent, tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0));
  }
  return 0;
}

void CProvider::LogStreamUpdate(const TStreamInfo& tStream, bool bAdding) {
  VCM::CString strParent = L"[NONE]";
  if (tStream.nParentID != 0) {
    TStreamInfo tParent;
    GetStreamByID(tStream.nParentID, tParent);
    strParent = tParent.strName;
  }
  WriteLog(L"%s stream '%s'. Parent is '%s'. Creation time is %s UTC. Max creation time is %s UTC",
           bAdding ? L"Adding" : L"Updating", tStream.strName.c_str(), strParent.c_str(),
           FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0)).c_str(),
           FormatUTC(tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0)).c_str());
}

int CProvider::CompareCreationTime(const TStreamInfo* ptLeft, const TStreamInfo* ptRight) {
  const std::uint32_t nLeft = ptLeft->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  const std::uint32_t nRight = ptRight->oProps.GetNumber(MCE::STREAM_CREATED, 0);
  return static_cast<std::int32_t>(nLeft - nRight);
}

void CProvider::DumpStreamChildren(unsigned int nParentID, const wchar_t* pszIndent) {
  TChildren atChildren;
  for (const TStreamInfo& tStream : m_atStreams)
    atChildren[tStream.nParentID].Add(tStream);
  DumpChildren(atChildren, nParentID, pszIndent);
}

void CProvider::DumpChildren(TChildren& atChildren, unsigned int nParentID, const wchar_t* pszIndent) {
  const auto it = atChildren.find(nParentID);
  if (it == atChildren.end()) return;
  VCM::CString strDeeper;
  strDeeper.Format(L"%s  ", pszIndent);
  it->second.Sort(CompareCreationTime);
  for (const TStreamInfo& tChild : it->second) {
    WriteLog(L"%s%s", pszIndent, tChild.strName.c_str());
    DumpChildren(atChildren, tChild.nID, strDeeper.c_str());
  }
}

}  // namespace TALVEK::MCV
