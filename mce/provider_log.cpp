// The import log. Nothing may be said about a file that can't be written; the toolkit would tell the server's
// standard error, hence the wxLogNull.

#include <cstdarg>
#include <ctime>
#include <string>
#include <utility>

#include <wx/filename.h>
#include <wx/log.h>

#include "core/text_codec.h"
#include "core/timestamp.h"
#include "mce/log_line.h"
#include "mce/provider_base.h"

namespace TALVEK::MCE {

namespace {

constexpr std::uint32_t ABSENT_TIME = 0xFFFFFFFF;

VCM::CString FormatUTC(std::uint32_t nTime) {
  return VCM::CTimestamp(nTime).Format(VCM::ZONE_GMT0);
}

}  // namespace

void CProviderBase::LogToConnection() {
  m_bLogToConnection = true;
  m_bLogOpen = true;
}

void CProviderBase::OpenLog(bool bOpen) {
  if (!bOpen) {
    m_bLogOpen = false;
    return;
  }
  if (m_bLogOpen) return;
  m_bLogOpen = true;

  const wxLogNull oQuiet;
  wxFileName oFile;
  oFile.AssignTempFileName("Talvek");
  const wxString strPath = oFile.GetFullPath();
  m_strLogPath = VCM::CString(strPath.ToStdWstring());
  // A log that was only paused has its file open still. It ends here: each of its lines has been flushed.
  CloseLogFile();
  m_poLogFile = std::make_unique<wxFFileOutputStream>(strPath, "wb");
  // The toolkit's checks speak up when a file is written that isn't open; without a stream the lines are lost
  // in silence.
  if (m_poLogFile->IsOk()) {
    m_poLogStream = std::make_unique<CLogStream>(*m_poLogFile);
  }
  WriteLog(L"Beginning Import with %s", m_strDisplayName.c_str());
}

void CProviderBase::CloseLogFile() {
  const wxLogNull oQuiet;
  m_poLogStream.reset();
  m_poLogFile.reset();
}

VCM::CString CProviderBase::GetLogPath() {
  CloseLogFile();
  m_bLogOpen = false;
  return m_strLogPath;
}

void CProviderBase::WriteLog(const wchar_t* pszFormat, ...) {
  if (!m_bLogOpen) return;
  va_list args;
  va_start(args, pszFormat);
  m_strLastLine.FormatV(pszFormat, args);
  va_end(args);
  m_strLastLine = MakeLogLine(std::move(m_strLastLine), std::time(nullptr));

  if (m_poLogStream) {
    const wxLogNull oQuiet;
    m_poLogStream->WriteLine(VCM::ToUtf8(m_strLastLine));
    m_poLogFile->GetFile()->Flush();
  }
  if (m_bLogToConnection && !m_oReposView.IsEmpty()) {
    if (VRM::CConnection* poConnection = m_oReposView->GetConnection()) {
      poConnection->Message(L"%s", m_strLastLine.c_str());
    }
  }
}

void CProviderBase::LogStreamsAndChanges() {
  PrepareForChanges(false);
  // The iterator doesn't open when another transaction is.
  if (!m_bLogOpen || !m_poChangeIterator || !m_poChangeIterator->IsOpen()) return;
  for (const TStreamInfo& tStream : m_atStreams) {
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
