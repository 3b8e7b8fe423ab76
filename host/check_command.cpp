#include "host/commands.h"
#include "host/exit_status.h"
#include "host/git_process.h"
#include "host/import_session.h"
#include "host/import_source.h"
#include "host/programs.h"
#include "host/text_output.h"
#include "host/work_folder.h"

namespace TALVEK::HOST {
namespace {

std::string GitText(bool& bGood) {
  const TProcessResult tResult = RunGit({"--version"});
  if (tResult.nStatus == 0) return tResult.strOutput.substr(0, tResult.strOutput.find('\n'));
  bGood = false;
  return "git can't be run; install git";
}

std::string ProgramText(const VCM::CString& strProgram, const std::string& strHint, bool& bGood) {
  const std::string strFile = FindProgram(strProgram);
  if (!strFile.empty()) return "program      " + ShowBytes(strFile) + '\n';
  bGood = false;
  return "program      '" + ShowText(strProgram) + "' is nowhere; install it or " + strHint + '\n';
}

std::string ProgramsText(const CPropertyTable& oTable, bool& bGood) {
  std::string strText;
  for (const TProperty& tProperty : oTable.GetProperties()) {
    if (tProperty.nType == MCE::TPropertyInfo::TYPE_EXECUTABLE)
      strText += ProgramText(tProperty.strValue, "give another with --" + tProperty.strOption, bGood);
  }
  const VCM::CString strBehind = ClientBehindBundled(oTable);
  if (!strBehind.IsEmpty()) strText += ProgramText(strBehind, PLACE_OF_CLIENT_HINT, bGood);
  return strText;
}

std::string ModuleText(const TCommandContext& tContext, bool& bGood) {
  const std::optional<TModuleProblem> tProblem =
      FindModuleProblem(tContext.oTable, tContext.oLibrary.GetProvider().GetName());
  if (!tProblem) return "";
  bGood = false;
  return "module       " + tProblem->strWhat + "\n             " + tProblem->strRemedy + '\n';
}

std::string OriginText(const TProperty& tProperty) {
  if (tProperty.bGiven) return "";
  return tProperty.strHostDefault == tProperty.strDefault ? " (default)" : " (default of talvek-import)";
}

std::string PropertiesText(const CPropertyTable& oTable) {
  std::string strText = "properties\n";
  for (const TProperty& tProperty : oTable.GetProperties()) {
    strText += "    " + ShowText(tProperty.strKey) + " = " + ShowText(tProperty.strValue) +
               OriginText(tProperty) + '\n';
  }
  return strText;
}

std::string HistoryText(const CImportSession& oSession) {
  std::string strText = "will import  " + ShowCount(oSession.GetStreams().size(), "stream") + ", " +
                        ShowCount(oSession.GetChangeCount(), "changeset") + '\n';
  if (oSession.GetChangeCount() == 0) strText += "             there is nothing to import\n";
  if (oSession.IsCutShort())
    strText += "             only a part of the history" + oSession.CutShortText() + '\n';
  return strText;
}

}  // namespace

int CheckCommand(const TCommandContext& tContext) {
  RequireSource(tContext.oTable, false);
  bool bGood = true;
  CProgress oProgress(tContext.oConsole, tContext.tCommandLine.bQuiet);
  CReport oReport(tContext.oConsole);
  const CScratchFolder oScratch;
  CImportSession oSession(
      {tContext.oLibrary.GetProvider(), tContext.oTable, tContext.oConsole, oProgress, oReport},
      tContext.tCommandLine.strImportLog);
  const VCM::CString strEnvironment = oSession.Configure();
  std::string strText = "provider     " + ShowText(tContext.oLibrary.GetDisplayName()) + " (" +
                        ShowBytes(tContext.oLibrary.GetFile().string()) + ")\n";
  strText +=
      "environment  " + (strEnvironment.IsEmpty() ? "nothing to report" : ShowText(strEnvironment)) + '\n';
  strText += ProgramsText(tContext.oTable, bGood) + "git          " + GitText(bGood) + '\n' +
             ModuleText(tContext, bGood);
  WriteOutput(strText + PropertiesText(tContext.oTable));
  oSession.Open(oScratch.GetPath().string());
  oSession.ReadHistory();
  WriteOutput(HistoryText(oSession));
  oSession.Succeed();
  return bGood ? STATUS_IMPORTED : STATUS_FAILED;
}

}  // namespace TALVEK::HOST
