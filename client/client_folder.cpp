#include "client/client_folder.h"

#include "core/file_system.h"

namespace TALVEK::CLIENT {

bool CClientFolder::Allows(const VCM::CString& strOutputFolder) const {
  VCM::CFilePath oFolder;
  if (strOutputFolder.Find(L'/') != 0 && !HasNul(strOutputFolder) &&
      oFolder.Parse(strOutputFolder, VCM::CFilePath::PARSE_REPOSITORY))
    return true;
  m_oLog.WriteLog(L"Not checking out to '%s', which is no folder below the client folder.",
                  strOutputFolder.c_str());
  return false;
}

VCM::CString CClientFolder::AsArgument(const VCM::CString& strOutputFolder) {
  VCM::CFilePath oFolder;
  oFolder.Parse(strOutputFolder);
  return oFolder.GeneratePath();
}

bool CClientFolder::Execute(const VCM::CString& strCommandLine) {
  const VCM::CString strFolder = m_oClientPath.GeneratePath();
  const VCM::CWorkingFolderScope oScope(strFolder);
  if (oScope.HasEntered()) return m_oClient.Execute(strCommandLine);
  m_oLog.WriteLog(L"Not checking out: the client folder '%s' can't be entered.", strFolder.c_str());
  return false;
}

}  // namespace TALVEK::CLIENT
