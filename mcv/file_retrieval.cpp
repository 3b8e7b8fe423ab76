// How the files of a change get into the client folder.

#include <ctime>

#include "core/file_stream.h"
#include "core/file_system.h"
#include "mcv/client_entries.h"
#include "mcv/cvs_provider.h"

namespace TALVEK::MCV {

namespace {

/// A change is checked out file by file up to this "NextItem" (one more than its items), else as a whole.
constexpr std::uint32_t MAX_FILE_BY_FILE = 30;

/// A command line ends at a NUL. A name that holds one would come out as another name: what stands before it.
bool HasNul(const VCM::CString& strText) {
  return strText.Find(L'\0') >= 0;
}

void StampFile(const VCM::CString& strPath, const VCM::CTimestamp& oTime) {
  bool bWasReadOnly = false;
  if (!VCM::MakeFileWritable(strPath, &bWasReadOnly)) return;
  VFH::CFileWriteStream oFile;
  if (oFile.Open(strPath, VFH::CFileWriteStream::MODE_EXISTING, 0)) oFile.SetModificationTime(oTime);
  oFile.Close();
  if (bWasReadOnly) VCM::MakeFileReadOnly(strPath);
}

}  // namespace

int CProvider::RetrieveChangeFiles(const MCE::TChangeRecord& tChange) {
  if (!m_bForceFileByFile && tChange.nNextItem > MAX_FILE_BY_FILE) {
    if (!RetrieveFiles(tChange.nTime)) return MCE::RESULT_FAILED;
    m_bFileByFile = false;
    return MCE::RESULT_OK;
  }
  m_bFileByFile = true;
  m_nChangeTime = tChange.nTime;
  return MCE::RESULT_OK;
}

bool CProvider::RetrieveFiles(unsigned int nTime) {
  if (m_bForceFileByFile) return true;
  const VCM::CString strDate =
      FormatUTCDateTime(nTime == 0 ? std::time(nullptr) : static_cast<long long>(nTime));
  const VCM::CString strRoot = GetStringProperty(L"ReposPath");
  const VCM::CString strModule = GetModuleArgument();
  const VCM::CString strStream = VCM::EscapeQuoted(m_tCurrentStream.strName);
  if (!StaysInClientFolder(m_tCurrentStream.strName)) return true;
  VCM::CString strCommand;
  if (m_tCurrentStream.nParentID == 0) {
    strCommand.Format(L"%s -d %s checkout -D \"%s UTC\" -d \"%s\" %s", m_strCvsCommand.c_str(),
                      strRoot.c_str(), strDate.c_str(), strStream.c_str(), strModule.c_str());
  } else {
    strCommand.Format(L"%s -d %s checkout -r \"%s\" -D \"%s UTC\" -d \"%s\" %s", m_strCvsCommand.c_str(),
                      strRoot.c_str(), strStream.c_str(), strDate.c_str(), strStream.c_str(),
                      strModule.c_str());
  }
  m_bCheckoutFailed = !ExecuteInClientFolder(strCommand);
  return true;
}

int CProvider::RetrieveChangeItemFile(const MCE::TChangeItemRecord& tItem,
                                      const VCM::CString& strTargetPath) {
  if (m_bFileByFile) {
    CheckOutItem(tItem, strTargetPath);
  } else if (m_bCheckoutFailed) {
    RemoveUnfinished(tItem, strTargetPath);
  }
  StampFile(strTargetPath, tItem.oTimestamp);
  return MCE::RESULT_OK;
}

// Half a file must not pass for the whole one. Most files of a checkout that failed are as they should be.
void CProvider::RemoveUnfinished(const MCE::TChangeItemRecord& tItem,
                                 const VCM::CString& strTargetPath) const {
  if (FindEntry(strTargetPath, GetRevisionArgument(tItem)) == ENTRY_MISSING) VCM::RemoveFile(strTargetPath);
}

void CProvider::CheckOutItem(const MCE::TChangeItemRecord& tItem, const VCM::CString& strTargetPath) {
  if (VCM::MakeFileWritable(strTargetPath)) VCM::RemoveFile(strTargetPath);

  VCM::CString strOutputFolder = m_tCurrentStream.strName;
  if (tItem.oFilePath.GetCount() >= 2) strOutputFolder += L"/" + tItem.oFilePath.GenerateFolderPath();
  const VCM::CString strFilePath = L"/" + tItem.oFilePath.GeneratePath();
  if (!StaysInClientFolder(strOutputFolder) || HasNul(strFilePath)) return;
  VCM::CString strCommand;
  strCommand.Format(L"%s -d %s checkout -r %s -d \"%s\" %s", m_strCvsCommand.c_str(),
                    GetStringProperty(L"ReposPath").c_str(), GetRevisionArgument(tItem).c_str(),
                    VCM::EscapeQuoted(strOutputFolder).c_str(), GetModuleArgument(strFilePath).c_str());
  // A client that fails half-way, on a full disk say, leaves the half behind.
  if (!ExecuteInClientFolder(strCommand)) VCM::RemoveFile(strTargetPath);
}

VCM::CString CProvider::GetRevisionArgument(const MCE::TChangeItemRecord& tItem) const {
  VCM::CString strRevision;
  if (!tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision)) {
    return FormatUTCDateTime(m_nChangeTime);
  }
  return MCE::TCVSRevision(strRevision).GetText();
}

// Stream and file names come from the log. One with ".." would have `cvs` write beside the client folder.
bool CProvider::StaysInClientFolder(const VCM::CString& strOutputFolder) const {
  VCM::CFilePath oFolder;
  return strOutputFolder.Find(L'/') != 0 && !HasNul(strOutputFolder) &&
         oFolder.Parse(strOutputFolder, VCM::CFilePath::PARSE_REPOSITORY);
}

bool CProvider::ExecuteInClientFolder(const VCM::CString& strCommandLine) {
  const VCM::CWorkingFolderScope oScope(m_oClientPath.GeneratePath());
  return oScope.HasEntered() && ExecuteCommand(strCommandLine);
}

}  // namespace TALVEK::MCV
