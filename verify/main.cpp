#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/descriptor.h"
#include "host/console.h"
#include "host/exit_status.h"
#include "host/git_repository.h"
#include "host/progress.h"
#include "host/stop_signal.h"
#include "host/text_output.h"
#include "host/work_folder.h"
#include "verify/report.h"
#include "verify/settings.h"
#include "verify/verification.h"

namespace TALVEK::VERIFY {
namespace {

/// A client notes in the repository each name that it has found there. It can be kept from that in a local
/// repository; of a remote one the server is the master.
void KeepFromWriting(const std::string& strRoot) {
  if (strRoot.starts_with('/') || strRoot.starts_with(":local:")) setenv("CVSREADONLYFS", "1", 1);
}

int Verify(const TCommandLine& tCommandLine, HOST::CConsole& oConsole) {
  HOST::RequireGit();
  const HOST::CScratchFolder oScratch;
  CGitSide oGit(tCommandLine.oFolder, oScratch.GetPath());
  const TSettings tSettings = MakeSettings(tCommandLine, HOST::ReadImportRecord(oGit.GetFolder()));
  KeepFromWriting(tSettings.tSource.strRoot);
  CCvsModule oModule(tSettings.tSource, oScratch.GetPath(), tCommandLine.oCommandLog);
  CFileContents oContents(oModule, oGit);
  CComparison oComparison(oGit, oContents, tCommandLine.nMostShown);
  HOST::CProgress oProgress(oConsole, tCommandLine.bQuiet);
  const TResult tResult = CVerification(tSettings, {tCommandLine.nDates, tCommandLine.bAll}, oModule, oGit,
                                        oContents, oComparison, oProgress)
                              .Run();
  HOST::WriteOutput(tCommandLine.bJson ? MakeJson(tResult, tSettings, tCommandLine.bBrief)
                                       : MakeText(tResult, tCommandLine.bBrief));
  return tResult.IsEqual() ? HOST::STATUS_IMPORTED : HOST::STATUS_LOSSES;
}

int Run(const std::vector<std::string>& astrArguments) {
  HOST::CConsole oConsole;
  try {
    const TCommandLine tCommandLine = ParseCommandLine(astrArguments);
    if (tCommandLine.strShow.empty()) return Verify(tCommandLine, oConsole);
    HOST::WriteOutput(tCommandLine.strShow);
    return HOST::STATUS_IMPORTED;
  } catch (const HOST::EHostError& oError) {
    oConsole.Line(oError.what());
    return oError.GetStatus();
  } catch (const HOST::EStopped& oStopped) {
    oConsole.Line("stopped; nothing is verified");
    return 128 + oStopped.GetSignal();
  } catch (const std::exception& oError) {
    oConsole.Line(std::string("failed: ") + oError.what());
    return HOST::STATUS_FAILED;
  }
}

}  // namespace
}  // namespace TALVEK::VERIFY

int main(int argc, char** argv) {
  // As for an import: the same in every locale and time zone.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  setenv("TZ", "UTC", 1);
  TALVEK::VCM::OpenStandardDescriptors();
  TALVEK::HOST::CatchStopSignals();
  return TALVEK::VERIFY::Run(std::vector<std::string>(argv + 1, argv + argc));
}
