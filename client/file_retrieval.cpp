#include "client/file_retrieval.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "core/file_stream.h"
#include "core/file_system.h"
#include "core/text_codec.h"

namespace TALVEK::CLIENT {

namespace {

namespace fs = std::filesystem;

// Folders in the client folder. No stream has such a name: those of CVS don't begin with a dot.
/// For a checkout that is looked into and goes.
constexpr const wchar_t* SINGLE_FOLDER = L".folder";
/// Has the repository's own folders.
constexpr const wchar_t* REPOSITORY_FOLDER = L".repository";

/// Empty for a text that names no file.
fs::path SystemPath(const VCM::CString& strPath) {
  std::string strBytes;
  VCM::ToSystemPath(strPath, strBytes);
  return strBytes;
}

/// The folder of a file's path, below another folder.
VCM::CString FolderBelow(const VCM::CString& strFolder, const VCM::CFilePath& oPath) {
  return oPath.GetCount() >= 2 ? strFolder + L"/" + oPath.GenerateFolderPath() : strFolder;
}

/// Where the file is in the repository: below its module, unless it is said.
VCM::CFilePath PathInRepository(const TWantedFile& tFile) {
  if (tFile.oPathInRepository.GetCount() != 0) return tFile.oPathInRepository;
  VCM::CFilePath oPath;
  oPath.Add(tFile.tModule.strName);
  oPath.Add(tFile.oPath.GeneratePath());
  return oPath;
}

/// The folder for a checkout that is looked into and goes.
class CSingleFolder {
 public:
  explicit CSingleFolder(const VCM::CFilePath& oClientPath) {
    VCM::CFilePath oPath;
    oPath.Add(SINGLE_FOLDER);
    m_oPath = SystemPath(oPath.GeneratePath(oClientPath));
    Remove();
  }
  ~CSingleFolder() { Remove(); }
  CSingleFolder(const CSingleFolder&) = delete;
  CSingleFolder& operator=(const CSingleFolder&) = delete;

  const fs::path& GetPath() const { return m_oPath; }

 private:
  void Remove() const {
    std::error_code oError;
    fs::remove_all(m_oPath, oError);
  }

  fs::path m_oPath;
};

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
  const VCM::CString strFolder = FolderBelow(REPOSITORY_FOLDER, tFile.oPathInRepository);
  if (!Allows(FolderBelow(tFile.strStream, tFile.oPath), strPath) || !Allows(strFolder, strPath)) return;
  VCM::CFilePath oFetched = m_oFolder.GetPath();
  oFetched.Add(REPOSITORY_FOLDER);
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

bool CFileRetrieval::IsFolder(const TWantedFile& tFile) {
  const CSingleFolder oFolder(m_oFolder.GetPath());
  const VCM::CFilePath oPath = PathInRepository(tFile);
  if (!m_oFolder.Allows(FolderBelow(tFile.strStream, tFile.oPath)) ||
      !CheckOutFilesOf(tFile, VCM::CString(), oPath))
    return false;
  // The client notes whose files these are: "mod/lib", or "/cvs/mod/lib".
  std::ifstream oNote(oFolder.GetPath() / "CVS/Repository");
  std::string strNoted;
  std::getline(oNote, strNoted);
  return ("/" + strNoted).ends_with("/" + SystemPath(oPath.GeneratePath()).string());
}

void CFileRetrieval::CheckOutFromFolder(const TWantedFile& tFile, const VCM::CString& strTargetPath) {
  if (!m_oFolder.Allows(FolderBelow(tFile.strStream, tFile.oPath))) return;
  const CSingleFolder oFolder(m_oFolder.GetPath());
  const fs::path oTarget = SystemPath(strTargetPath);
  std::error_code oError;
  fs::remove(oTarget, oError);
  // A client that was asked for this file notes that the files here are those of the folder of its name, and
  // brings no other file from then on.
  fs::remove_all(oTarget.parent_path() / "CVS", oError);
  const VCM::CFilePath oWanted = PathInRepository(tFile);
  VCM::CFilePath oPath;
  oPath.Add(oWanted.GetCount() >= 2 ? oWanted.GenerateFolderPath() : VCM::CString(L"."));
  if (!CheckOutFilesOf(tFile, L" -r " + tFile.strRevision, oPath)) return;
  fs::create_directories(oTarget.parent_path(), oError);
  fs::rename(oFolder.GetPath() / oTarget.filename(), oTarget, oError);
}

/// Of a folder of the repository, its files without its folders; of a file, itself.
bool CFileRetrieval::CheckOutFilesOf(const TWantedFile& tFile, const VCM::CString& strOptions,
                                     const VCM::CFilePath& oPath) {
  if (HasNul(oPath.GeneratePath())) return false;
  return m_oFolder.Execute(CCommandLine(m_oClient.GetCommand(), {tFile.tModule.strRoot, {}}, L"checkout")
                               .Word(L"-l" + strOptions)
                               .Quoted(L"-d", SINGLE_FOLDER)
                               .Module(oPath.GeneratePath()));
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
