#include "client/file_retrieval.h"

#include "core/file_stream.h"
#include "core/file_system.h"

namespace TALVEK::CLIENT {

void CFileRetrieval::CheckOut(const TWantedFile& tFile, const VCM::CString& strTargetPath) {
  if (VCM::MakeFileWritable(strTargetPath)) VCM::RemoveFile(strTargetPath);

  VCM::CString strOutputFolder = tFile.strStream;
  if (tFile.oPath.GetCount() >= 2) strOutputFolder += L"/" + tFile.oPath.GenerateFolderPath();
  const wchar_t* const pszSlash = tFile.tModule.strName.IsEmpty() ? L"" : L"/";
  const VCM::CString strPathInModule = pszSlash + tFile.oPath.GeneratePath();
  if (!m_oFolder.Allows(strOutputFolder)) return;
  if (HasNul(strPathInModule)) {
    m_oLog.WriteLog(L"Not checking out '%s': its name holds a NUL character.", strPathInModule.c_str());
    return;
  }
  const VCM::CString strCommand = CCommandLine(m_oClient.GetCommand(), tFile.tModule, L"checkout")
                                      .Word(L"-r")
                                      .Word(tFile.strRevision)
                                      .Quoted(L"-d", strOutputFolder)
                                      .Module(strPathInModule);
  // A client that fails half-way, on a full disk for example, leaves half a file.
  if (!m_oFolder.Execute(strCommand)) RemoveUnfinished(strTargetPath);
}

void CFileRetrieval::RemoveUnfinished(const VCM::CString& strTargetPath) const {
  if (VCM::RemoveFile(strTargetPath))
    m_oLog.WriteLog(L"Removed '%s', which the client has not finished.", strTargetPath.c_str());
}

void CFileRetrieval::Stamp(const VCM::CString& strTargetPath, const VCM::CTimestamp& oTime) {
  bool bWasReadOnly = false;
  if (!VCM::MakeFileWritable(strTargetPath, &bWasReadOnly)) return;
  VFH::CFileWriteStream oFile;
  if (oFile.Open(strTargetPath, VFH::CFileWriteStream::MODE_EXISTING, 0)) oFile.SetModificationTime(oTime);
  oFile.Close();
  if (bWasReadOnly) VCM::MakeFileReadOnly(strTargetPath);
}

}  // namespace TALVEK::CLIENT
