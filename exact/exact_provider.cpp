#include "exact/exact_provider.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "client/client_properties.h"
#include "client/command_line.h"
#include "core/file_system.h"
#include "core/text_codec.h"
#include "exact/end_date.h"
#include "exact/folder_names.h"
#include "exact/import_writer.h"
#include "exact/log_line_ends.h"
#include "exact/stream_bytes.h"
#include "mce/import_log_texts.h"

namespace TALVEK::EXACT {

const MCE::TPropertyInfo CProvider::s_atPropertyInfo[] = {
    CLIENT::PROPERTY_CVS_PATH,
    CLIENT::PROPERTY_REPOS_PATH,
    CLIENT::PROPERTY_MODULE_NAME,
    CLIENT::PROPERTY_END_DATE,
    CLIENT::PROPERTY_CREATE_BRANCHES,
    {L"Create streams for tags", L"StreamsForTags", L"1", MCE::TPropertyInfo::TYPE_SWITCH},
    {L"Create streams for unnamed branches", L"UnnamedBranches", L"1", MCE::TPropertyInfo::TYPE_SWITCH},
    CLIENT::PROPERTY_INCLUDE_TAGS,
    CLIENT::PROPERTY_EXCLUDE_TAGS,
    CLIENT::PROPERTY_CMD_REPEAT_COUNT,
    CLIENT::PROPERTY_LOG_FILE,
    CLIENT::END_OF_PROPERTIES};

namespace {

/// The stream's folder, below the client folder. The client can't make one whose path has an empty item, as
/// in "a//b" or "/a".
VCM::CString FolderOf(const VCM::CString& strStream) {
  VCM::CFilePath oFolder;
  oFolder.Parse(strStream);
  return oFolder.GeneratePath();
}

/// What a summary tells of the plan. The trunk and vendor branches start from nothing, so they aren't
/// counted.
std::string PlanText(const TMadePlan& tMade) {
  const std::vector<TPlanStream>& atStreams = tMade.oPlan.Streams();
  const auto nNames = std::count_if(atStreams.begin(), atStreams.end(), [](const TPlanStream& tStream) {
    return tStream.nKind == TStreamKind::BRANCH || tStream.nKind == TStreamKind::TAG;
  });
  const TPlanNotes& tNotes = tMade.tNotes;
  return std::to_string(tNotes.nExactNames) + " of " + std::to_string(nNames) +
         " branches and tags start exactly as a changeset; " +
         CountText(tNotes.nStartChanges, "start change") + ", " + CountText(tNotes.nJoinChanges, "change") +
         " for files that joined a branch later";
}

}  // namespace

CProvider::CProvider()
    : CProviderBase(L"cvsexact", L"CVS, exact", L"Streams originally converted from CVS", true, true),
      m_oLogSink([this](const VCM::CString& strText) { WriteLog(L"%s", strText.c_str()); },
                 [this] { return IsLogOpen(); }) {}

int CProvider::CheckEnvironment(VCM::CString& strMessage) {
  return CLIENT::CheckClientPath(GetStringProperty(L"CVSPath"), strMessage);
}

bool CProvider::InitialiseClients(const VCM::CString& strClientFolder) {
  return m_oClientFolder.SetPath(strClientFolder);
}

bool CProvider::SearchForStreams() {
  const CLIENT::CLogScope oScope(m_oLogSource);
  THistoryOptions tOptions;
  if (!ReadOptions(tOptions) || !OpenLogOfModule()) return false;
  try {
    CHistory oHistory(std::move(tOptions));
    if (!ReadHistory(oHistory)) return false;
    WriteLog(L"Planning changesets, branches and tags");
    const TMadePlan tMade = MakePlan(oHistory);
    return LogResult(tMade) && Write(tMade);
  } catch (const std::system_error& oError) {
    WriteLog(L"Failed to keep the history in temporary files: %s", VCM::FromBytes(oError.what()).c_str());
    return false;
  }
}

bool CProvider::ReadOptions(THistoryOptions& tOptions) {
  m_oTagFilters.Read(GetStringProperty(L"IncludeTags"), GetStringProperty(L"ExcludeTags"));
  tOptions.bCreateBranches = GetBooleanProperty(L"CreateBranches");
  tOptions.bStreamsForTags = GetBooleanProperty(L"StreamsForTags");
  tOptions.bUnnamedBranches = GetBooleanProperty(L"UnnamedBranches");
  tOptions.fnWanted = [this](std::string_view strName) {
    return CLIENT::PassesFilters(VCM::FromBytes(strName).View(), m_oTagFilters.GetInclude(),
                                 m_oTagFilters.GetExclude());
  };
  const VCM::CString strEndDate = GetStringProperty(L"EndDate");
  if (strEndDate.IsEmpty()) return true;
  tOptions.nEndTime = ReadEndDate(VCM::ToBytes(strEndDate));
  if (!tOptions.nEndTime) {
    WriteLog(L"Failed to read the end date '%s': write it as 2004-12-31 or 2004-12-31 23:59:59 (UTC).",
             strEndDate.c_str());
  }
  return tOptions.nEndTime.has_value();
}

// A log that the client broke off lacks files or revisions, and nothing made of it would equal the
// repository.
bool CProvider::OpenLogOfModule() {
  WriteLog(L"Generating Log");
  m_oClient.SetCommand(GetStringProperty(L"CVSPath"),
                       CLIENT::ParseRepeatCount(GetStringProperty(L"CmdRepeatCount")));
  m_strModule = PlainModuleName(VCM::ToBytes(GetStringProperty(L"ModuleName")));
  const VCM::CString strLogFile = GetStringProperty(L"LogFile");
  const bool bWhole = m_oLogSource.Generate({strLogFile,
                                             {GetStringProperty(L"ReposPath"), VCM::FromBytes(m_strModule)},
                                             VCM::CString(),
                                             VCM::CString()});
  const std::optional<TModules> oModules = bWhole && strLogFile.IsEmpty() ? AskForModules() : std::nullopt;
  m_bKnowsModules = oModules.has_value();
  m_oPaths = CModulePaths(m_strModule, oModules.value_or(TModules()));
  WriteLog(L"Generated Log");
  if (!m_oLogSource.GetInput()) WriteLog(L"Failed to get input stream after generating log.");
  return bWhole && m_oLogSource.GetInput();
}

// A repository without the file "modules" refuses, and gives its log all the same.
std::optional<TModules> CProvider::AskForModules() {
  const CLIENT::TModule tModule{GetStringProperty(L"ReposPath"), VCM::CString()};
  CLIENT::CCvsClient oClient(m_oLogSink);  // the other one holds the log
  oClient.SetCommand(GetStringProperty(L"CVSPath"),
                     CLIENT::ParseRepeatCount(GetStringProperty(L"CmdRepeatCount")));
  const CLIENT::CCommandLine oLine =
      CLIENT::CCommandLine(oClient.GetCommand(), tModule, L"checkout").Word(L"-c");
  if (!oClient.Execute(oLine.Line()) || !oClient.GetOutput()) return std::nullopt;
  std::string strText;
  char achBlock[4096];
  while (const std::size_t nBytes = oClient.GetOutput()->Read(achBlock, sizeof achBlock).LastRead())
    strText.append(achBlock, nBytes);
  return ReadModules(strText);
}

// A saved log is read without its repository where it names what it was made of: a folder. Else that is a
// module, or the log is of another place, and its paths are taken as they are.
bool CProvider::ChoosePaths(const std::string& strFirstFile) {
  if (m_bKnowsModules || !m_oPaths.InModule(strFirstFile).empty()) return true;
  if (GetStringProperty(L"LogFile").IsEmpty()) {
    WriteLog(
        L"Failed to place '%s': the client doesn't tell the repository's modules, and '%s' is no folder.",
        VCM::FromBytes(strFirstFile).c_str(), VCM::FromBytes(m_strModule).c_str());
    return false;
  }
  const std::optional<TModules> oModules = AskForModules();
  const bool bModule = oModules && oModules->contains(m_strModule);
  m_oPaths = bModule ? CModulePaths(m_strModule, *oModules) : CModulePaths(".");
  return true;
}

bool CProvider::ReadHistory(CHistory& oHistory) {
  WriteLog(L"Parsing Log");
  CStreamBytes oBytes(*m_oLogSource.GetInput());
  CLogLineEnds oLines(oBytes);
  CLogReader oReader(oLines, VCM::ToBytes(CLIENT::GetRootDirectory(GetStringProperty(L"ReposPath"))),
                     m_strModule);
  TRcsFile tFile;
  int nFiles = 0;
  std::unordered_set<std::string> astrSeen;  // modules may name a file twice
  while (oReader.Next(tFile)) {
    LogFile(tFile, nFiles++);
    if (nFiles == 1 && !ChoosePaths(tFile.strPath)) return false;
    if (!HasPlace(tFile)) continue;
    if (!m_oPaths.IsOneFolder() && !astrSeen.insert(tFile.strPath).second) continue;
    const CModulePaths::TResult nResult = m_oPaths.Add(tFile.strPath);
    if (nResult == CModulePaths::TAKEN) oHistory.AddFile(tFile);
    if (nResult == CModulePaths::LEFT_OUT) WriteLog(L"Left out: a checkout doesn't give it.");
    if (nResult == CModulePaths::CLASHES) {
      WriteLog(
          L"Failed to place '%s': '%s' puts two folders or files of the repository in its place, of which "
          L"the client gives one. Import the parts of '%s' one by one.",
          VCM::FromBytes(tFile.strPath).c_str(), VCM::FromBytes(m_strModule).c_str(),
          VCM::FromBytes(m_strModule).c_str());
      return false;
    }
  }
  oHistory.Finish();
  if (nFiles == 0) WriteLog(L"Failed to parse any files from rlog.");
  WriteLog(L"Finished Parsing Log");
  return m_oLogSource.GetInput()->Eof();
}

// With "." or ".." in its path a file would come to lie outside its stream's folder.
bool CProvider::HasPlace(const TRcsFile& tFile) {
  const VCM::CString strPath = VCM::FromBytes(tFile.strPath);
  VCM::CFilePath oPath;
  if (oPath.Parse(strPath, VCM::CFilePath::PARSE_REPOSITORY) && oPath.GetCount() > 0) return true;
  WriteLog(MCE::LOG_FILE_INCOMPLETE, strPath.c_str(), L"its path leads to no file");
  return false;
}

void CProvider::LogFile(const TRcsFile& tFile, int nFiles) {
  const VCM::CString strPath = VCM::FromBytes(tFile.strPath);
  WriteLog(MCE::LOG_FILE, strPath.c_str(), nFiles);
  if (tFile.bIncomplete) {
    WriteLog(MCE::LOG_FILE_INCOMPLETE, strPath.c_str(), VCM::FromBytes(tFile.strRepair).c_str());
  } else if (!tFile.strRepair.empty()) {
    WriteLog(MCE::LOG_FILE_REPAIRED, strPath.c_str(), VCM::FromBytes(tFile.strRepair).c_str());
  }
}

bool CProvider::LogResult(const TMadePlan& tMade) {
  for (const std::string& strLine : tMade.tNotes.astrLines)
    WriteLog(L"%s", VCM::FromBytes(strLine).c_str());
  WriteLog(MCE::LOG_PLAN, VCM::FromBytes(PlanText(tMade)).c_str());
  WriteLog(L"Proved %s branches, tags and trunk, and %s revisions.",
           VCM::FromBytes(std::to_string(tMade.tCheck.nRefs)).c_str(),
           VCM::FromBytes(std::to_string(tMade.tCheck.nRevisions)).c_str());
  if (tMade.tCheck.nDifferences == 0) return true;
  WriteLog(L"Failed to plan an import that equals the repository: %s differences. The first ones:",
           VCM::FromBytes(std::to_string(tMade.tCheck.nDifferences)).c_str());
  for (const TPlanDifference& tDifference : tMade.tCheck.atFirst)
    WriteLog(L"    %s", VCM::FromBytes(tDifference.strWhat).c_str());
  return false;
}

bool CProvider::Write(const TMadePlan& tMade) {
  m_strNamedLikeFolders = FilesNamedLikeFolders(tMade.oPlan.History());
  CImportWriter oWriter(tMade.oPlan, m_oPaths, *this);
  if (!PrepareForChanges(true) || !oWriter.WriteChanges()) {
    ReportLostChanges();
    return true;  // EstablishChangesets fails then, and says why
  }
  oWriter.WriteStreams(m_oStreams);
  return true;
}

int CProvider::RetrieveChangeFiles(const MCE::TChangeRecord& tChange) {
  m_nWantedChange = tChange.nID;
  return MCE::RESULT_OK;
}

int CProvider::RetrieveChangeItemFile(const MCE::TChangeItemRecord& tItem,
                                      const VCM::CString& strTargetPath) {
  if (tItem.nID != m_nWantedChange || tItem.nType == MCE::CHANGE_ITEM_DELETE) return MCE::RESULT_OK;
  VCM::CString strRevision;
  tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision);
  const std::string strPath = m_oPaths.InRepository(VCM::ToBytes(tItem.oFilePath.GeneratePath()));
  CLIENT::TWantedFile tFile{
      {GetStringProperty(L"ReposPath"), VCM::FromBytes(m_oPaths.IsOneFolder() ? m_oPaths.Folder() : "")},
      FolderOf(m_tCurrentStream.strName),
      tItem.oFilePath,
      strRevision,
      {}};
  if (!m_oPaths.IsOneFolder()) tFile.oPathInRepository.Parse(VCM::FromBytes(strPath));
  bool bFromFolder = m_strNamedLikeFolders.contains(strPath);
  if (!bFromFolder) {
    m_oFiles.CheckOut(tFile, strTargetPath);
    // The log doesn't name a folder that holds no file, but the client takes it for what is wanted all the
    // same.
    bFromFolder = !VCM::FileExists(strTargetPath) && m_oFiles.IsFolder(tFile);
  }
  if (bFromFolder) {
    m_strNamedLikeFolders.insert(strPath);
    m_oFiles.CheckOutFromFolder(tFile, strTargetPath);
  }
  CLIENT::CFileRetrieval::Stamp(strTargetPath, tItem.oTimestamp);
  return MCE::RESULT_OK;
}

}  // namespace TALVEK::EXACT
