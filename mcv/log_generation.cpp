// Where the history comes from: `cvs rlog`, or a log saved earlier.

#include <memory>

#include "core/file_stream.h"
#include "mce/import_log_texts.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::MCV {

void CProvider::GenerateLog() {
  ClearInputStream();
  const VCM::CString strLogFile = GetStringProperty(L"LogFile");
  if (!strLogFile.IsEmpty()) {
    WriteLog(L"Using log file '%s'.", strLogFile.c_str());
    auto poFile = std::make_unique<VFH::CFileReadStream>(strLogFile);
    if (poFile->IsOk()) {
      WriteLog(L"Successfully created file input stream.");
      m_poInputStream = poFile.release();
      m_bOwnInputStream = true;
    } else {
      WriteLog(L"Failed to create file input stream.");
    }
    return;
  }
  if (!ExecuteCommand(GenerateLogCommand())) {
    WriteLog(L"%s This usually indicated that your cvs repository is corrupted.", MCE::LOG_HISTORY_CUT_SHORT);
  }
}

VCM::CString CProvider::GenerateLogCommand() const {
  const VCM::CString strRoot = GetStringProperty(L"ReposPath");
  const VCM::CString strModule = GetModuleArgument();
  const VCM::CString strStart = VCM::EscapeQuoted(GetStringProperty(L"StartDate"));
  const VCM::CString strEnd = VCM::EscapeQuoted(GetStringProperty(L"EndDate"));
  VCM::CString strCommand;
  if (strStart.IsEmpty()) {
    strCommand.Format(L"%s -d %s rlog %s", m_strCvsCommand.c_str(), strRoot.c_str(), strModule.c_str());
  } else if (strEnd.IsEmpty()) {
    strCommand.Format(L"%s -d %s rlog -d \">%s\" %s", m_strCvsCommand.c_str(), strRoot.c_str(),
                      strStart.c_str(), strModule.c_str());
  } else {
    // "end>start": later than the start and earlier than the end.
    strCommand.Format(L"%s -d %s rlog -d \"%s>%s\" %s", m_strCvsCommand.c_str(), strRoot.c_str(),
                      strEnd.c_str(), strStart.c_str(), strModule.c_str());
  }
  return strCommand;
}

}  // namespace TALVEK::MCV
