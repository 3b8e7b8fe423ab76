#include "client/log_source.h"

#include <memory>

#include "core/file_stream.h"
#include "mce/import_log_texts.h"

namespace TALVEK::CLIENT {

bool CLogSource::Generate(const TLogRequest& tRequest) {
  Clear();
  if (!tRequest.strLogFile.IsEmpty()) return OpenSavedLog(tRequest.strLogFile);
  const bool bSuccess = m_oClient.Execute(MakeLogCommand(m_oClient.GetCommand(), tRequest));
  SetInput(m_oClient.GetOutput(), false);
  if (!bSuccess) {
    m_oLog.WriteLog(L"%s This usually indicated that your cvs repository is corrupted.",
                    MCE::LOG_HISTORY_CUT_SHORT);
  }
  return bSuccess;
}

bool CLogSource::OpenSavedLog(const VCM::CString& strLogFile) {
  m_oLog.WriteLog(L"Using log file '%s'.", strLogFile.c_str());
  auto poFile = std::make_unique<VFH::CFileReadStream>(strLogFile);
  if (!poFile->IsOk()) {
    m_oLog.WriteLog(L"Failed to create file input stream.");
    return false;
  }
  m_oLog.WriteLog(L"Successfully created file input stream.");
  SetInput(poFile.release(), true);
  return true;
}

void CLogSource::SetInput(wxInputStream* poInputStream, bool bOwn) {
  m_poInputStream = poInputStream;
  m_bOwnInputStream = bOwn;
}

void CLogSource::Clear() {
  if (m_bOwnInputStream) delete m_poInputStream;
  SetInput(nullptr, false);
}

VCM::CString MakeLogCommand(const VCM::CString& strCvsCommand, const TLogRequest& tRequest) {
  CCommandLine oLine(strCvsCommand, tRequest.tModule, L"rlog");
  if (!tRequest.strStartDate.IsEmpty()) {
    // "end>start": later than the start and earlier than the end.
    VCM::CString strRange;
    strRange.Format(L"%s>%s", tRequest.strEndDate.c_str(), tRequest.strStartDate.c_str());
    oLine.Quoted(L"-d", strRange);
  }
  return oLine.Module();
}

}  // namespace TALVEK::CLIENT
