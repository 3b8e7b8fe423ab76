#include "client/file_retrieval.h"

#include "core/file_stream.h"
#include "core/file_system.h"

namespace TALVEK::CLIENT {

namespace {

/// A folder beside those of the streams, which has the repository's own folders.
constexpr wchar_t PSZ_REPOSITORY_FOLDER[] = L".repository";

/// The folder of a file's path, below another folder.
VCM::CString FolderBelow(const VCM::CString& strFolder, const VCM::CFilePath& oPath) {
  return oPath.GetCount() >= 2 ? strFolder + L"/" + oPath.GenerateFolderPath() : strFolder;
}

}  // namespace

void CFileRetrieval::CheckOut(const TWantedFile& tFile, const VCM::CString& strTargetPath) {
  if (VCM::MakeFileWritable(strTargetPath)) VCM::RemoveFile(strTargetPath);
  if (tFile.oPathInRepository.GetCount() != 0) return CheckOutByRepositoryPath(tFile, strTargetPath);

  const wchar_t* const pszSlash = tFile.tModule.strName.IsEmpty() ? L"" : L"/";
  const VCM::CString strPathInModule = pszSlash + tFile.oPath.GeneratePath();
  const VCM::CString strFolder = FolderBelow(tFile.strStream, tFile.oPath);
  if (!Allows(strFolder, strPathInModule)) return;
  // A client that fails half-way, on a full disk for example, leaves half a file.
  if (!m_oFolder.Execute(CommandFor(tFile, strFolder, strPathInModule))) RemoveUnfinished(strTargetPath);
}

// The client notes for each folder, and for those above it, which folder of the repository it stands for, and
// refuses files of another one. A module may put folders anywhere, so its files are fetched into folders like
// the repository's, and moved.
void CFileRetrieval::CheckOutByRepositoryPath(const TWantedFile& tFile, const VCM::CString& strTargetPath) {
  const VCM::CString strPath = tFile.oPathInRepository.GeneratePath();
  const VCM::CString strFolder = FolderBelow(PSZ_REPOSITORY_FOLDER, tFile.oPathInRepository);
  if (!Allows(FolderBelow(tFile.strStream, tFile.oPath), strPath) || !Allows(strFolder, strPath)) return;
  VCM::CFilePath oFetched = m_oFolder.GetPath();
  oFetched.Add(PSZ_REPOSITORY_FOLDER);
  oFetched.Add(strPath);
  const VCM::CString strFetchedPath = oFetched.GeneratePath();
  if (VCM::MakeFileWritable(strFetchedPath)) VCM::RemoveFile(strFetchedPath);
  if (!m_oFolder.Execute(CommandFor(tFile, strFolder, strPath))) {
    RemoveUnfinished(strFetchedPath);
  } else if (!VCM::MoveFile(strFetchedPath, strTargetPath)) {
    m_oLog.WriteLog(L"Failed to move '%s' to '%s'.", strFetchedPath.c_str(), strTargetPath.c_str());
  }
}

bool CFileRetrieval::Allows(const VCM::CString& strOutputFolder, const VCM::CString& strPathInModule) const {
  if (!m_oFolder.Allows(strOutputFolder)) return false;
  if (!HasNul(strPathInModule)) return true;
  m_oLog.WriteLog(L"Not checking out '%s': its name holds a NUL character.", strPathInModule.c_str());
  return false;
}

VCM::CString CFileRetrieval::CommandFor(const TWantedFile& tFile, const VCM::CString& strOutputFolder,
                                        const VCM::CString& strPathInModule) const {
  return CCommandLine(m_oClient.GetCommand(), tFile.tModule, L"checkout")
      .Word(L"-r")
      .Word(tFile.strRevision)
      .Quoted(L"-d", CClientFolder::AsArgument(strOutputFolder))
      .Module(strPathInModule);
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
