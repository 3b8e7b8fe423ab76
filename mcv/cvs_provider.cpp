// The host's calls, and the one pass over the log that finds the streams and records every file revision as a
// change item.
//
// ReadFiles runs that pass: CLogParser cuts the lines into items, CFileEnum puts the items together into
// files; then the names of each file go to CStreamSearch and its revisions to AddFileChanges.

#include "mcv/cvs_provider.h"

#include <ctime>

#include "client/client_properties.h"
#include "mce/import_log_texts.h"
#include "mcv/change_items.h"
#include "mcv/stream_search.h"

namespace TALVEK::MCV {

const MCE::TPropertyInfo CProvider::s_atPropertyInfo[] = {
    CLIENT::PROPERTY_CVS_PATH,
    CLIENT::PROPERTY_REPOS_PATH,
    CLIENT::PROPERTY_MODULE_NAME,
    {L"Start Date", L"StartDate", L"", MCE::TPropertyInfo::TYPE_TEXT},
    CLIENT::PROPERTY_END_DATE,
    {L"Create streams for tags", L"StreamsForTags", L"", MCE::TPropertyInfo::TYPE_SWITCH},
    CLIENT::PROPERTY_CREATE_BRANCHES,
    {L"Create nested branches", L"NestedBranches", L"", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Force file-by-file Checkout", L"ForceFileByFile", L"0", MCE::TPropertyInfo::TYPE_SWITCH},
    CLIENT::PROPERTY_INCLUDE_TAGS,
    CLIENT::PROPERTY_EXCLUDE_TAGS,
    CLIENT::PROPERTY_CMD_REPEAT_COUNT,
    CLIENT::PROPERTY_LOG_FILE,
    CLIENT::END_OF_PROPERTIES};

CProvider::CProvider()
    : CProviderBase(L"cvs", L"CVS", L"Streams originally converted from CVS", true, true),
      m_oLogSink([this](const VCM::CString& strText) { WriteLog(L"%s", strText.c_str()); },
                 [this] { return IsLogOpen(); }) {}

int CProvider::CheckEnvironment(VCM::CString& strMessage) {
  return CLIENT::CheckClientPath(GetStringProperty(L"CVSPath"), strMessage);
}

CLIENT::TModule CProvider::GetModule() const {
  return {GetStringProperty(L"ReposPath"), GetStringProperty(L"ModuleName")};
}

bool CProvider::SearchForStreams() {
  const CLIENT::CLogScope oScope(m_oLogSource);
  WriteLog(L"Generating Log");
  m_oClient.SetCommand(GetStringProperty(L"CVSPath"),
                       CLIENT::ParseRepeatCount(GetStringProperty(L"CmdRepeatCount")));
  GenerateLog();
  WriteLog(L"Generated Log");
  if (!m_oLogSource.GetInput()) {
    WriteLog(L"Failed to get input stream after generating log.");
    return false;
  }

  GetTagFilters();
  AddTrunkStream();
  if (!PrepareForChanges(true)) ReportLostChanges();
  WriteLog(L"Parsing Log");
  ReadFiles();
  WriteLog(L"Finished Parsing Log");
  if (IsLogOpen()) DumpStreamChildren(0, L"");
  // Not IsOk(), which is false at the end as well as after an error.
  return m_oLogSource.GetInput()->Eof();
}

void CProvider::ReadFiles() {
  const bool bStreamsForTags = GetBooleanProperty(L"StreamsForTags");
  CFileEnum oFiles(m_oLogSource.GetInput(), GetStringProperty(L"ModuleName"),
                   CLIENT::GetRootDirectory(GetStringProperty(L"ReposPath")));
  CStreamSearch oSearch(m_oRegistry, *this, m_oLogSink, GetBooleanProperty(L"NestedBranches"));
  TFileInfo tFile;
  TStreamInfo tStream;  // the working record of the search
  int nFiles = 0;
  while (oFiles.GetNextFile(tFile, m_oTagFilters.GetInclude(), m_oTagFilters.GetExclude(), bStreamsForTags)) {
    WriteLog(MCE::LOG_FILE, tFile.oPath.GeneratePath().c_str(), nFiles++);
    oSearch.ProcessFileNames(tFile, tStream);
    AddFileChanges(tFile, tStream, m_oStreams, *this);
  }
  if (nFiles == 0) WriteLog(L"Failed to parse any files from rlog.");
}

bool CProvider::ExecuteCommand(const VCM::CString& strCommandLine) {
  const bool bSuccess = m_oClient.Execute(strCommandLine);
  m_oLogSource.SetInput(m_oClient.GetOutput(), m_oLogSource.OwnsInput());
  return bSuccess;
}

void CProvider::GenerateLog() {
  m_oLogSource.Generate({GetStringProperty(L"LogFile"), GetModule(), GetStringProperty(L"StartDate"),
                         GetStringProperty(L"EndDate")});
}

void CProvider::GetTagFilters() {
  m_oTagFilters.Read(GetStringProperty(L"IncludeTags"), GetStringProperty(L"ExcludeTags"));
}

// A branch starts from its parent's last change at or before the time at which it was made.
int CProvider::ResolveStreamLinkage() {
  for (int i = 0; i < m_oStreams.GetCount(); ++i) {
    if (m_oStreams[i].nParentID == 0) continue;
    const int nParent = m_oStreams.FindByID(m_oStreams[i].nParentID);
    if (nParent < 0) continue;
    const std::uint32_t nCreated = m_oStreams[i].oProps.GetNumber(MCE::STREAM_CREATED, 0);
    m_oStreams.SetBaseChange(i, FindNearestChange(m_oStreams[nParent], nCreated));
  }
  return 0;
}

bool CProvider::InitialiseClients(const VCM::CString& strClientFolder) {
  return m_oCheckout.Initialise(strClientFolder, GetBooleanProperty(L"ForceFileByFile"));
}

int CProvider::RetrieveChangeFiles(const MCE::TChangeRecord& tChange) {
  const bool bWhole = m_oCheckout.WantsModule(tChange);
  if (bWhole && !RetrieveFiles(tChange.nTime)) return MCE::RESULT_FAILED;
  m_oCheckout.BeginChange(!bWhole, tChange.nTime);
  return MCE::RESULT_OK;
}

bool CProvider::RetrieveFiles(unsigned int nTime) {
  if (m_oCheckout.IsForcedFileByFile()) return true;
  m_oCheckout.CheckOutModule(GetModule(), m_tCurrentStream, nTime == 0 ? std::time(nullptr) : nTime);
  return true;
}

int CProvider::RetrieveChangeItemFile(const MCE::TChangeItemRecord& tItem,
                                      const VCM::CString& strTargetPath) {
  m_oCheckout.RetrieveItem(GetModule(), m_tCurrentStream, tItem, strTargetPath);
  return MCE::RESULT_OK;
}

}  // namespace TALVEK::MCV
