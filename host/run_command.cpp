#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/text_codec.h"
#include "host/client_notes.h"
#include "host/commands.h"
#include "host/exit_status.h"
#include "host/git_import.h"
#include "host/git_names.h"
#include "host/git_process.h"
#include "host/git_repository.h"
#include "host/import_record.h"
#include "host/import_session.h"
#include "host/import_source.h"
#include "host/programs.h"
#include "host/stop_signal.h"
#include "host/text_output.h"
#include "host/verify_command.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

/// Visitor of the first of a run's two walks. It spools the paths of every changeset's items; the walk also
/// proves that the whole history can be read before anything is imported.
class CItemNoter : public CHistoryVisitor {
 public:
  CItemNoter(CItemSpool& oSpool, const VCM::CString& strFolder) : m_oSpool(oSpool), m_strFolder(strFolder) {}

  VCM::CString BeginStream(const TStream&) override { return m_strFolder; }
  void Item(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t, bool) override {
    m_oSpool.AddPath(VCM::ToBytes(PathText(tItem.oFilePath)));
  }
  void EndChange(const MCE::CProvider::TChangeInfo&) override { m_oSpool.EndChange(); }

 private:
  CItemSpool& m_oSpool;
  VCM::CString m_strFolder;
};

bool IsWithin(const fs::path& oInner, const fs::path& oOuter) {
  const fs::path oRelative =
      fs::absolute(oInner).lexically_normal().lexically_relative(fs::absolute(oOuter).lexically_normal());
  return !oRelative.empty() && *oRelative.begin() != "..";
}

void CheckTarget(const TCommandLine& tCommandLine) {
  if (tCommandLine.strInto.empty() == tCommandLine.strFastExport.empty()) {
    throw EHostError(STATUS_WRONG_USE,
                     tCommandLine.strInto.empty() ? "it isn't said where the import goes"
                                                  : "an import can't go to two places",
                     "give --into DIR or --fast-export FILE, one of them");
  }
  const std::string& strTrunk = tCommandLine.strTrunkBranch;
  if (strTrunk != GitRefName(strTrunk)) {
    throw EHostError(STATUS_WRONG_USE, "'" + ShowBytes(strTrunk) + "' can't be the name of a branch",
                     "give another with --trunk-branch, such as '" + GitRefName(strTrunk) + "'");
  }
  const bool bNested = !tCommandLine.strInto.empty() && !tCommandLine.strWork.empty() &&
                       (IsWithin(tCommandLine.strWork, tCommandLine.strInto) ||
                        IsWithin(tCommandLine.strInto, tCommandLine.strWork));
  if (bNested) {
    throw EHostError(STATUS_WRONG_USE, "the repository and the work folder lie within each other",
                     "give another folder with --work or --into");
  }
}

/// One run, from the checks to the summary.
class CRun {
 public:
  explicit CRun(const TCommandContext& tContext)
      : m_tContext(tContext),
        m_oProgress(tContext.oConsole, tContext.tCommandLine.bQuiet),
        m_oReport(tContext.oConsole) {}

  int Run() {
    CheckTarget(CommandLine());
    RequireSource(m_tContext.oTable, true);
    RequireFetchableModule(m_tContext.oTable, m_tContext.oLibrary.GetProvider().GetName());
    TakeTarget();
    const CWorkFolder oWork(CommandLine().strWork);
    const CClientNotes oClientNotes;
    CImportSession oSession(
        {m_tContext.oLibrary.GetProvider(), m_tContext.oTable, m_tContext.oConsole, m_oProgress, m_oReport},
        CommandLine().strImportLog);
    RequirePrograms(m_tContext.oTable, oSession.Configure(), m_oReport);
    if (LacksBundledClient(m_tContext.oTable)) {
      m_oReport.Warning(
          "cvs-session doesn't lie beside talvek-import: each file revision will take a second");
    }
    oSession.Open(oWork.GetPath().string());
    ReadHistory(oSession);
    CItemSpool oSpool;
    NoteItems(oSession, oSpool);
    if (m_oRepository) {
      ImportIntoRepository(oSession, oWork, oSpool);
    } else {
      ImportIntoFile(oSession, oWork, oSpool);
    }
    if (m_oReport.GetLossCount() == 0) oSession.Succeed();
    ShowSummary(oSession, oClientNotes);
    const bool bEqual = Verify();
    return bEqual && m_oReport.GetLossCount() == 0 ? STATUS_IMPORTED : STATUS_LOSSES;
  }

 private:
  const TCommandLine& CommandLine() const { return m_tContext.tCommandLine; }

  // Called before the history is read, so that a bad target fails at once.
  void TakeTarget() {
    if (CommandLine().strInto.empty()) {
      m_oExport.emplace(CommandLine().strFastExport);
      return;
    }
    RequireGit();
    m_oRepository.emplace(
        CGitRepository::TOptions{CommandLine().strInto, CommandLine().strTrunkBranch, CommandLine().bBare});
    m_oRepository->Prepare();
  }

  void ReadHistory(CImportSession& oSession) {
    oSession.ReadHistory();
    if (oSession.GetChangeCount() == 0) {
      throw EHostError(STATUS_FAILED,
                       "there is nothing to import: the history has no changesets" + oSession.CutShortText(),
                       "check the module's name, the dates and the filters");
    }
    if (oSession.IsCutShort())
      m_oReport.Loss("a part of the history, which the repository didn't give" + oSession.CutShortText());
    for (const VCM::CString& strFile : oSession.GetLogWatch().GetIncompleteLogs())
      m_oReport.Loss("revisions of '" + ShowText(strFile));
  }

  void NoteItems(CImportSession& oSession, CItemSpool& oSpool) {
    const CScratchFolder oScratch;
    CItemNoter oNoter(oSpool, VCM::FromBytes(oScratch.GetPath().string()));
    m_oProgress.BeginPhase("walking the history", "changesets", oSession.GetChangeCount());
    CHistoryWalk(oSession.GetProvider(), oSession.GetStreams(), oSession.GetChangeCount(), m_oProgress)
        .Run(oNoter);
    oSpool.Rewind();
    m_oProgress.EndPhase();
  }

  void ImportIntoRepository(CImportSession& oSession, const CWorkFolder& oWork, CItemSpool& oSpool) {
    CPipedGit oGit(m_oRepository->Command({"fast-import", "--quiet", "--done", "--date-format=raw"}));
    try {
      Import(oSession, oWork, oSpool, oGit.GetInput(), "git fast-import");
    } catch (const EWriteError&) {
      // git has ended, so its message is the better one; unless a stop signal ended it along with us.
      ThrowIfStopped();
      ThrowGitFailure(oGit.Finish());
    }
    const TProcessResult tResult = oGit.Finish();
    if (tResult.nStatus != 0) ThrowGitFailure(tResult);
    RequireCommits(oSession.GetChangeCount());
    m_oRepository->Keep();
    if (!WriteImportRecord(m_oRepository->GetGitFolder(), Record()))
      m_oReport.Warning("what was imported can't be noted in the repository, so verify needs its options");
    const std::optional<std::string> strProblem = m_oRepository->CheckOut();
    if (strProblem) m_oReport.Warning("all is imported, but the files can't be checked out: " + *strProblem);
  }

  // Every commit belongs to a branch, so counting from all references must find it.
  void RequireCommits(std::uint64_t nExpected) const {
    const std::uint64_t nCommits = m_oRepository->CountCommits("--all");
    if (nCommits == nExpected || (nCommits < nExpected && HasEveryDepth())) return;
    throw EHostError(STATUS_FAILED,
                     "history lost in Git: " + ShowCount(nExpected, "commit") + " written, " +
                         std::to_string(nCommits) + " are there",
                     "see that git works and that there is room for the repository");
  }

  // Git makes one commit of two that are identical, so the total may be lower. Then each branch must still
  // have its full number of commits.
  bool HasEveryDepth() const {
    return std::all_of(m_anDepths.begin(), m_anDepths.end(), [this](const auto& tBranch) {
      return m_oRepository->CountCommits(tBranch.first) == tBranch.second;
    });
  }

  [[noreturn]] static void ThrowGitFailure(const TProcessResult& tResult) {
    const std::string strReason = BestErrorLine(tResult.strError);
    throw EHostError(STATUS_FAILED,
                     "git fast-import failed: " +
                         (strReason.empty() ? "it ended with status " + std::to_string(tResult.nStatus)
                                            : ShowBytes(strReason)),
                     "see that git works and that there is room for the repository");
  }

  void ImportIntoFile(CImportSession& oSession, const CWorkFolder& oWork, CItemSpool& oSpool) {
    const std::string& strFile = CommandLine().strFastExport;
    Import(oSession, oWork, oSpool, m_oExport->GetDescriptor(),
           strFile == "-" ? "standard output" : ShowBytes(strFile));
    m_oExport->Finish();
  }

  void Import(CImportSession& oSession, const CWorkFolder& oWork, CItemSpool& oSpool, int nDescriptor,
              const std::string& strSinkName) {
    CByteSink oSink(nDescriptor, strSinkName);
    CFastImportStream oStream(oSink);
    CGitImport oImport({oSession.GetProvider(), oSession.GetLogWatch(), m_oReport, oWork, oSpool, oStream},
                       oSession.GetStreams(), RefOptions(), CommandLine().nMaxLosses);
    m_oProgress.BeginPhase("importing", "changesets", oSession.GetChangeCount());
    oStream.Begin();
    CHistoryWalk(oSession.GetProvider(), oSession.GetStreams(), oSession.GetChangeCount(), m_oProgress)
        .Run(oImport);
    oStream.End();
    m_oProgress.EndPhase();
    m_nItems = oImport.GetItemCount();
    m_anDepths = oImport.GetDepths();
    m_atRefs = oImport.GetRefs();
  }

  TImportRecord Record() const {
    TImportRecord tRecord;
    tRecord.strProvider = VCM::ToBytes(m_tContext.oLibrary.GetProvider().GetName());
    for (const TProperty& tProperty : m_tContext.oTable.GetProperties()) {
      // A program of the host's choice is found again.
      const bool bOwnProgram = tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE && !tProperty.bGiven;
      if (!bOwnProgram)
        tRecord.astrProperties[VCM::ToBytes(tProperty.strKey)] = VCM::ToBytes(tProperty.strValue);
    }
    // The only file that may be named by a relative path.
    std::string& strLogFile = tRecord.astrProperties["LogFile"];
    if (!strLogFile.empty()) strLogFile = fs::absolute(strLogFile).string();
    tRecord.strTrunkRef = "refs/heads/" + CommandLine().strTrunkBranch;
    tRecord.atRefs = m_atRefs;
    return tRecord;
  }

  /// False when the repository differs from the one it comes from, or nobody could tell.
  bool Verify() {
    const bool bWanted = m_oRepository && CommandLine().bVerify;
    if (!bWanted || !IsVerifiable(m_tContext.oLibrary.GetProvider().GetName())) return true;
    const std::string strReason = WhyNotVerifiable(m_tContext.oTable);
    if (!strReason.empty()) {
      m_oReport.Note("not verified: " + strReason);
      return true;
    }
    if (VerifyProgram().empty()) {
      m_oReport.Warning("cvs-verify doesn't lie beside talvek-import: the import isn't verified");
      return true;
    }
    std::vector<std::string> astrArguments = {"--brief"};
    if (CommandLine().bQuiet) astrArguments.emplace_back("--quiet");
    astrArguments.push_back("--");
    astrArguments.push_back(m_oRepository->GetGitFolder().string());
    const int nStatus = RunVerifyProgram(astrArguments, STDERR_FILENO);
    if (nStatus == STATUS_IMPORTED) return true;
    m_oReport.Warning(nStatus == STATUS_LOSSES ? "the import differs from the CVS repository"
                                               : "the import is not verified");
    return false;
  }

  TRefOptions RefOptions() const {
    return {CommandLine().strTrunkBranch, m_oRepository && m_oRepository->IgnoresCase()};
  }

  void ShowSummary(const CImportSession& oSession, const CClientNotes& oClientNotes) {
    const CImportLogWatch& oWatch = oSession.GetLogWatch();
    const std::string strRepaired =
        oWatch.GetRepairedLogCount() == 0
            ? ""
            : "repaired the malformed logs of " + ShowCount(oWatch.GetRepairedLogCount(), "file");
    for (const std::string& strText :
         {ShowText(oWatch.GetPlan()), strRepaired, m_oReport.RenamedText(), oClientNotes.GetText()}) {
      if (!strText.empty()) m_oReport.Note(strText);
    }
    const auto nSeconds =
        std::chrono::duration_cast<std::chrono::seconds>(CProgress::TClock::now() - m_tBegin).count();
    const std::uint64_t nLosses = m_oReport.GetLossCount();
    m_oReport.Note("imported " + ShowCount(oSession.GetStreams().size(), "stream") + ", " +
                   ShowCount(oSession.GetChangeCount(), "changeset") + ", " + ShowCount(m_nItems, "item") +
                   "; " + std::to_string(nLosses) + (nLosses == 1 ? " loss; " : " losses; ") +
                   ShowCount(static_cast<std::uint64_t>(nSeconds), "second"));
  }

  const TCommandContext& m_tContext;
  CProgress::TClock::time_point m_tBegin = CProgress::TClock::now();
  CProgress m_oProgress;
  CReport m_oReport;
  std::optional<CGitRepository> m_oRepository;  // one of these two is set
  std::optional<CExportTarget> m_oExport;
  std::map<std::string, std::uint64_t> m_anDepths;  // of branches, and of tags with commits
  std::vector<TRecordedRef> m_atRefs;
  std::uint64_t m_nItems = 0;
};

}  // namespace

int RunCommand(const TCommandContext& tContext) {
  return CRun(tContext).Run();
}

}  // namespace TALVEK::HOST
