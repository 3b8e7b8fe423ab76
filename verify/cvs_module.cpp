#include "verify/cvs_module.h"

#include <fstream>

#include "core/line_reader.h"
#include "core/text_codec.h"
#include "exact/log_reader.h"
#include "exact/module_paths.h"
#include "exact/stream_bytes.h"
#include "host/exit_status.h"
#include "host/stop_signal.h"
#include "host/stream_folder.h"
#include "mce/import_log_texts.h"

namespace fs = std::filesystem;

namespace TALVEK::VERIFY {
namespace {

/// The client's own name for the end of the trunk.
constexpr const wchar_t* TRUNK = L"HEAD";
/// Before every revision. Other clients than 1.12 take no revision "0" for it.
constexpr const wchar_t* BEFORE_ALL = L"1970-01-01 00:00:00 UTC";
constexpr const char* EXPORTS_FOLDER = "exports";
constexpr const char* EXPORT_FOLDER = "export";
constexpr const char* FILE_FOLDER = "file";

VCM::CString DateText(std::int64_t nTime) {
  return CLIENT::FormatUTCDateTime(nTime) + L" UTC";
}

}  // namespace

CCvsModule::CCvsModule(const TModuleSource& tSource, const fs::path& oFolder, const fs::path& oCommandLog)
    : m_tSource(tSource),
      m_oFolder(oFolder),
      m_oCommandLog(oCommandLog),
      m_oLog([this](const VCM::CString& strText) { TakeLogLine(strText); }, [] { return true; }),
      m_oClient(m_oLog),
      m_oOnce(m_oLog),
      m_oClientFolder(m_oClient, m_oLog),
      m_oFiles(m_oClient, m_oClientFolder, m_oLog),
      m_tModule{VCM::FromBytes(tSource.strRoot), VCM::FromBytes(tSource.strModule)},
      m_oAhead(oFolder) {
  const VCM::CString strClient = VCM::FromBytes(tSource.strClient);
  m_oClient.SetCommand(strClient, tSource.nRepeatCount);
  m_oOnce.SetCommand(strClient, 1);
  m_oClientFolder.SetPath(VCM::FromBytes(oFolder.string()));
}

void CCvsModule::TakeLogLine(const VCM::CString& strText) {
  if (MCE::IsLogLine(strText.View(), MCE::LOG_CLIENT_LINE)) {
    m_astrWords.push_back(
        VCM::ToBytes(VCM::CString(MCE::LogLineArgument(strText.View(), MCE::LOG_CLIENT_LINE))));
  }
  if (m_oCommandLog.empty()) return;
  std::ofstream(m_oCommandLog, std::ios::app) << VCM::ToBytes(strText) << '\n';
}

std::string CCvsModule::Words() const {
  std::string strWords;
  for (const std::string& strLine : m_astrWords) {
    // A command that is repeated says the same again.
    if (strWords.find(strLine) == std::string::npos) strWords += (strWords.empty() ? "" : "; ") + strLine;
  }
  return strWords;
}

bool CCvsModule::ReadLog(const std::function<void(const EXACT::TRcsFile& tFile)>& fnTake) {
  m_astrWords.clear();
  CLIENT::CLogSource oSource(m_oClient, m_oLog);
  const CLIENT::CLogScope oScope(oSource);
  const bool bWhole =
      oSource.Generate({VCM::FromBytes(m_tSource.strLogFile), m_tModule, VCM::CString(), VCM::CString()});
  HOST::ThrowIfStopped();
  if (!bWhole || !oSource.GetInput()) return false;
  const std::string strFolder = EXACT::PlainModuleName(m_tSource.strModule);
  EXACT::CStreamBytes oBytes(*oSource.GetInput());
  EXACT::CLogReader oReader(oBytes, VCM::ToBytes(CLIENT::GetRootDirectory(m_tModule.strRoot)),
                            m_tSource.strModule);
  EXACT::TRcsFile tFile;
  while (oReader.Next(tFile)) {
    HOST::ThrowIfStopped();
    const std::optional<std::string> strPath = PathInFolder(strFolder, tFile.strPath);
    m_bFolder = m_bFolder && strPath;
    if (strPath) tFile.strPath = *strPath;
    fnTake(tFile);
  }
  return oSource.GetInput()->Eof();
}

void CCvsModule::AddSelection(const TQuestion& tQuestion, CLIENT::CCommandLine& oLine) const {
  // With a date the client must not be asked for HEAD: that is the trunk's end at any time.
  if (!tQuestion.strName.empty()) {
    oLine.Quoted(L"-r", VCM::FromBytes(tQuestion.strName));
  } else if (!tQuestion.nTime) {
    oLine.Quoted(L"-r", TRUNK);
  }
  if (tQuestion.nTime) oLine.Quoted(L"-D", DateText(*tQuestion.nTime));
}

std::optional<TRevisionList> CCvsModule::List(const TQuestion& tQuestion, TListing eListing) {
  HOST::ThrowIfStopped();
  m_astrWords.clear();
  CLIENT::CCommandLine oLine(m_oOnce.GetCommand(), m_tModule, eListing == TListing::RLS ? L"rls" : L"rdiff");
  oLine.Word(eListing == TListing::RLS ? L"-e -R" : L"-s");
  if (eListing == TListing::RDIFF) {
    // Two dates are the two sides of the comparison, so a branch at a date can't be asked for.
    if (tQuestion.nTime && !tQuestion.strName.empty()) return std::nullopt;
    oLine.Quoted(L"-D", BEFORE_ALL);
  }
  AddSelection(tQuestion, oLine);
  const bool bDone = m_oOnce.Execute(oLine.Module());
  HOST::ThrowIfStopped();
  if (!bDone || !m_oOnce.GetOutput()) return std::nullopt;
  return eListing == TListing::RLS ? ReadListing(*m_oOnce.GetOutput(), m_tSource.strModule)
                                   : ReadDifferences(*m_oOnce.GetOutput(), m_tSource.strModule);
}

VCM::CString CCvsModule::ExportCommand(const TQuestion& tQuestion) const {
  CLIENT::CCommandLine oLine(m_oClient.GetCommand(), m_tModule, L"export");
  AddSelection(tQuestion, oLine);
  return oLine.Quoted(L"-d", VCM::FromBytes(EXPORT_FOLDER)).Module();
}

bool CCvsModule::ExportAhead(const TQuestion& tQuestion) {
  if (!m_oAhead.CanBegin()) return false;
  const VCM::CString strCommandLine = ExportCommand(tQuestion);
  if (!m_oAhead.Has(strCommandLine)) m_oAhead.Begin(strCommandLine, EXPORT_FOLDER);
  return true;
}

std::optional<fs::path> CCvsModule::Export(const TQuestion& tQuestion) {
  HOST::ThrowIfStopped();
  m_astrWords.clear();
  ++m_nExports;
  const VCM::CString strCommandLine = ExportCommand(tQuestion);
  std::optional<fs::path> oTarget = m_oAhead.Take(strCommandLine);
  HOST::ThrowIfStopped();
  if (!oTarget) {
    oTarget = m_oFolder / EXPORTS_FOLDER / EXPORT_FOLDER;
    if (!RunExport(strCommandLine, *oTarget)) return std::nullopt;
  }
  // A client that finds no file makes no folder.
  std::error_code oError;
  fs::create_directory(*oTarget, oError);
  return oTarget;
}

bool CCvsModule::RunExport(const VCM::CString& strCommandLine, const fs::path& oTarget) {
  for (unsigned nAttempt = 0; nAttempt < m_tSource.nRepeatCount; ++nAttempt) {
    if (TryExport(strCommandLine, oTarget)) return true;
    HOST::ThrowIfStopped();
  }
  Remove(oTarget);
  return false;
}

// In a new folder: an export that failed leaves a folder CVS behind, and refuses to run where there is one.
bool CCvsModule::TryExport(const VCM::CString& strCommandLine, const fs::path& oTarget) {
  Remove(oTarget);
  std::error_code oError;
  fs::create_directories(oTarget.parent_path(), oError);
  CLIENT::CClientFolder oFolder(m_oOnce, m_oLog);
  oFolder.SetPath(VCM::FromBytes(oTarget.parent_path().string()));
  return oFolder.Execute(strCommandLine);
}

void CCvsModule::Remove(const fs::path& oExport) {
  std::error_code oError;
  fs::remove_all(oExport.parent_path(), oError);
}

std::optional<fs::path> CCvsModule::Fetch(const std::string& strPath, const std::string& strRevision) {
  HOST::ThrowIfStopped();
  m_astrWords.clear();
  ++m_nFetches;
  const std::optional<HOST::CItemPath> oItem = HOST::CItemPath::Parse(strPath);
  if (!oItem) return std::nullopt;
  const HOST::CStreamFolder oStream(m_oFolder / FILE_FOLDER);
  oStream.Make();
  oStream.Clear(*oItem);
  const std::string strFolder = EXACT::PlainModuleName(m_tSource.strModule);
  VCM::CFilePath oPath;
  if (!oPath.Parse(VCM::FromBytes(strPath), VCM::CFilePath::PARSE_REPOSITORY)) return std::nullopt;
  const fs::path oTarget = oStream.GetPath() / oItem->GetText();
  // As for an import: the client makes the last folder only.
  std::error_code oError;
  fs::create_directories(oTarget.parent_path(), oError);
  m_oFiles.CheckOut({{m_tModule.strRoot, strFolder == "." ? VCM::CString() : VCM::FromBytes(strFolder)},
                     VCM::FromBytes(FILE_FOLDER),
                     oPath,
                     VCM::FromBytes(strRevision)},
                    VCM::FromBytes(oTarget.string()));
  HOST::ThrowIfStopped();
  if (!oStream.Open(*oItem).oDescriptor.IsOpen()) return std::nullopt;
  return oTarget;
}

std::string CCvsModule::StateOf(const std::string& strPath, const std::string& strRevision) {
  constexpr std::string_view DATE = "date: ";
  constexpr std::string_view STATE = "state: ";
  HOST::ThrowIfStopped();
  m_astrWords.clear();
  const VCM::CString strCommandLine = CLIENT::CCommandLine(m_oOnce.GetCommand(), m_tModule, L"rlog")
                                          .Word(L"-N")
                                          .Word(L"-r" + VCM::FromBytes(strRevision))
                                          .Module(L"/" + VCM::FromBytes(strPath));
  if (!m_oOnce.Execute(strCommandLine) || !m_oOnce.GetOutput()) return "";
  VCM::CLineReader oLines(m_oOnce.GetOutput());
  VCM::CString strText;
  while (oLines.ReadLine(strText)) {
    const std::string strLine = VCM::ToBytes(strText);
    const std::size_t nState = strLine.starts_with(DATE) ? strLine.find(STATE) : std::string::npos;
    if (nState == std::string::npos) continue;
    const std::size_t nBegin = nState + STATE.size();
    return strLine.substr(nBegin, strLine.find(';', nBegin) - nBegin);
  }
  return "";
}

}  // namespace TALVEK::VERIFY
