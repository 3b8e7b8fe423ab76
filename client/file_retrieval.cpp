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

/// In the client folder. No stream has this name: those of CVS don't begin with a dot.
constexpr const wchar_t* SINGLE_FOLDER = L".folder";

/// Empty for a text that names no file.
fs::path SystemPath(const VCM::CString& strPath) {
  std::string strBytes;
  VCM::ToSystemPath(strPath, strBytes);
  return strBytes;
}

/// The folder of a wanted file, below the client folder.
VCM::CString OutputFolder(const TWantedFile& tFile) {
  VCM::CString strFolder = tFile.strStream;
  if (tFile.oPath.GetCount() >= 2) strFolder += L"/" + tFile.oPath.GenerateFolderPath();
  return strFolder;
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

  const VCM::CString strOutputFolder = OutputFolder(tFile);
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

bool CFileRetrieval::IsFolder(const TWantedFile& tFile) {
  const CSingleFolder oFolder(m_oFolder.GetPath());
  VCM::CFilePath oPath;
  oPath.Add(tFile.tModule.strName);
  oPath.Add(tFile.oPath.GeneratePath());
  if (!m_oFolder.Allows(OutputFolder(tFile)) || !CheckOutFilesOf(tFile, VCM::CString(), oPath)) return false;
  // The client notes whose files these are: "mod/lib", or "/cvs/mod/lib".
  std::ifstream oNote(oFolder.GetPath() / "CVS/Repository");
  std::string strNoted;
  std::getline(oNote, strNoted);
  return ("/" + strNoted).ends_with("/" + SystemPath(oPath.GeneratePath()).string());
}

void CFileRetrieval::CheckOutFromFolder(const TWantedFile& tFile, const VCM::CString& strTargetPath) {
  if (!m_oFolder.Allows(OutputFolder(tFile))) return;
  const CSingleFolder oFolder(m_oFolder.GetPath());
  const fs::path oTarget = SystemPath(strTargetPath);
  std::error_code oError;
  fs::remove(oTarget, oError);
  // A client that was asked for this file notes that the files here are those of the folder of its name, and
  // brings no other file from then on.
  fs::remove_all(oTarget.parent_path() / "CVS", oError);
  VCM::CFilePath oPath;
  oPath.Add(tFile.tModule.strName);
  if (tFile.oPath.GetCount() >= 2) oPath.Add(tFile.oPath.GenerateFolderPath());
  if (oPath.GetCount() == 0) oPath.Add(L".");
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
