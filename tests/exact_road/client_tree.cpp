#include "tests/exact_road/client_tree.h"

#include <set>
#include <sstream>
#include <stdexcept>

#include "tests/support/cvs_world.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

namespace fs = std::filesystem;

namespace {

/// The client may not write: it would note each name in the repository. Its clock is ours, as it sleeps a
/// second after each checkout.
std::string Client(const TCvsModule& tModule) {
  return "umask 022; CVSREADONLYFS=1 TZ=UTC LC_ALL=C " + ClockOfClient(2000000000) + " cvs -f -Q -d " +
         ShellQuote(tModule.oRoot.string()) + " ";
}

}  // namespace

std::optional<TClientTree> AskClient(const TCvsModule& tModule, const std::string& strCommand) {
  const CTempFolder oFolder;
  const std::string strFolder = ShellQuote(oFolder.Path().string());
  const TShellResult tResult = RunShell(
      "cd " + strFolder + (tModule.bWithFolders ? "; mkdir x; cd x; " : "; ") + Client(tModule) + strCommand +
      (tModule.bWithFolders ? " " : " -d x ") + ShellQuote(tModule.strModule) + " 2>/dev/null");
  if (tResult.nStatus != 0) return std::nullopt;
  TClientTree mapFiles;
  if (!fs::exists(oFolder / "x")) return mapFiles;
  for (const auto& oEntry : fs::recursive_directory_iterator(oFolder / "x")) {
    if (!oEntry.is_regular_file() || oEntry.path().parent_path().filename() == "CVS") continue;
    const fs::perms nMode = oEntry.status().permissions();
    mapFiles[fs::relative(oEntry.path(), oFolder / "x").string()] = {
        ReadFile(oEntry.path()), (nMode & fs::perms::owner_exec) != fs::perms::none};
  }
  return mapFiles;
}

std::vector<std::string> NamesInLog(const TCvsModule& tModule) {
  std::istringstream oLines(ShellOutput(Client(tModule) + "rlog -h " + ShellQuote(tModule.strModule)));
  std::set<std::string> astrNames;
  bool bInNames = false;
  for (std::string strLine; std::getline(oLines, strLine);) {
    if (!bInNames || strLine[0] != '\t') {
      bInNames = strLine == "symbolic names:";
    } else {
      astrNames.insert(strLine.substr(1, strLine.rfind(": ") - 1));
    }
  }
  astrNames.erase("HEAD");
  astrNames.erase("BASE");
  return {astrNames.begin(), astrNames.end()};
}

std::string RevisionFromClient(const TCvsModule& tModule, const std::string& strPath,
                               const std::string& strRevision) {
  const fs::path oPath = strPath;
  const TCvsModule tFolder = {tModule.oRoot, (fs::path(tModule.strModule) / oPath.parent_path()).string()};
  const auto mapFiles = AskClient(tFolder, "checkout -l -r " + strRevision);
  if (!mapFiles) throw std::runtime_error("the client refuses " + strPath + " " + strRevision);
  return mapFiles->at(oPath.filename().string()).strBytes;
}

}  // namespace TALVEK::TEST
