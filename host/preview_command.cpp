#include <unistd.h>

#include "core/text_codec.h"
#include "host/commands.h"
#include "host/exit_status.h"
#include "host/import_session.h"
#include "host/import_source.h"
#include "host/programs.h"
#include "host/text_output.h"
#include "host/work_folder.h"

namespace TALVEK::HOST {
namespace {

void WarnOfGaps(const CImportSession& oSession, CReport& oReport) {
  for (const VCM::CString& strFile : oSession.GetLogWatch().GetIncompleteLogs())
    oReport.Warning("the log lacks revisions of '" + ShowText(strFile));
  if (oSession.IsCutShort()) {
    oReport.Warning("ONLY A PART OF THE HISTORY COULD BE READ" + oSession.CutShortText());
  } else if (oSession.GetChangeCount() == 0) {
    oReport.Note("there is nothing to import: the history has no changesets");
  }
}

}  // namespace

int PreviewCommand(const TCommandContext& tContext) {
  RequireSource(tContext.oTable, false);
  CProgress oProgress(tContext.oConsole, tContext.tCommandLine.bQuiet);
  CReport oReport(tContext.oConsole);
  const CScratchFolder oScratch;
  CImportSession oSession(
      {tContext.oLibrary.GetProvider(), tContext.oTable, tContext.oConsole, oProgress, oReport},
      tContext.tCommandLine.strImportLog);
  const VCM::CString strEnvironment = oSession.Configure();
  if (!ReadsSavedLog(tContext.oTable)) RequirePrograms(tContext.oTable, strEnvironment, oReport);
  oSession.Open(oScratch.GetPath().string());
  oSession.ReadHistory();
  const VCM::CString strFolder = VCM::FromBytes(oScratch.GetPath().string());
  const bool bJson = tContext.tCommandLine.strFormat == "jsonl";
  const std::unique_ptr<CPreview> poPreview = bJson ? MakeJsonPreview(strFolder) : MakeTextPreview(strFolder);
  oProgress.BeginPhase("walking the history", "changesets", oSession.GetChangeCount());
  CHistoryWalk(oSession.GetProvider(), oSession.GetStreams(), oSession.GetChangeCount(), oProgress)
      .Run(*poPreview);
  oProgress.EndPhase();
  CByteSink oSink(STDOUT_FILENO, "standard output");
  poPreview->Write(oSink);
  WarnOfGaps(oSession, oReport);
  oSession.Succeed();
  return STATUS_IMPORTED;
}

}  // namespace TALVEK::HOST
