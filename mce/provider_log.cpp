// The import log as the host sees it, and the dump of all streams and changes.

#include <cstdarg>

#include "core/timestamp.h"
#include "mce/provider_base.h"

namespace TALVEK::MCE {

namespace {

constexpr std::uint32_t ABSENT_TIME = 0xFFFFFFFF;

VCM::CString FormatUTC(std::uint32_t nTime) {
  return VCM::CTimestamp(nTime).Format(VCM::ZONE_GMT0);
}

}  // namespace

void CProviderBase::LogToConnection() {
  m_oLog.LogToConnection();
}

void CProviderBase::OpenLog(bool bOpen) {
  if (!bOpen) {
    m_oLog.Pause();
  } else if (m_oLog.Open()) {
    WriteLog(L"Beginning Import with %s", m_strDisplayName.c_str());
  }
}

VCM::CString CProviderBase::GetLogPath() {
  return m_oLog.Close();
}

void CProviderBase::WriteLog(const wchar_t* pszFormat, ...) {
  std::va_list args;
  va_start(args, pszFormat);
  m_oLog.WriteV(pszFormat, args);
  va_end(args);
}

void CProviderBase::LogStreamsAndChanges() {
  PrepareForChanges(false);
  // The iterator isn't open if another transaction was open when it was made.
  if (!IsLogOpen() || !m_poChangeIterator || !m_poChangeIterator->IsOpen()) return;
  for (const TStreamInfo& tStream : m_oStreams) {
    WriteLog(L"Processing stream '%s' (id=%d,parentid=%d,destpath=%s,srcpath=%s,basechangeid=%d)",
             tStream.strName.c_str(), static_cast<int>(tStream.nID), static_cast<int>(tStream.nParentID),
             tStream.oDestPath.GeneratePath().c_str(), tStream.oSrcPath.GeneratePath().c_str(),
             static_cast<int>(tStream.nBaseChangeID));
    LogChangesOfStream(tStream);
  }
}

void CProviderBase::LogChangesOfStream(const TStreamInfo& tStream) {
  m_tChange.nStreamID = tStream.nID;
  m_tChange.nTime = 0;
  int nCount = 1;
  for (bool bFound = m_poChangeIterator->GetGTE(m_tChange); bFound && m_tChange.nStreamID == tStream.nID;
       bFound = m_poChangeIterator->GetNext(m_tChange)) {
    const std::uint32_t nBaseTime = m_tChange.oProps.GetNumber(CHANGE_BASE_TIME, ABSENT_TIME);
    const std::uint32_t nMaxTime = m_tChange.oProps.GetNumber(CHANGE_MAX_TIME, ABSENT_TIME);
    WriteLog(
        L"\tChange (count=%d,id=%d,providerid=%d,user=%s,time=%s UTC,comment=%s,"
        L"basetime=%s UTC(%d),maxtime=%s UTC(%d))",
        nCount++, static_cast<int>(m_tChange.nID), static_cast<int>(m_tChange.nProviderID),
        m_tChange.strUser.c_str(), FormatUTC(m_tChange.nTime).c_str(), m_tChange.strComment.c_str(),
        FormatUTC(nBaseTime).c_str(), static_cast<int>(nBaseTime), FormatUTC(nMaxTime).c_str(),
        static_cast<int>(nMaxTime));
  }
}

}  // namespace TALVEK::MCE
