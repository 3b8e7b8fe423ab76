#include "tests/exact_road/exact_import.h"

#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

TShellResult ImportModule(const TCvsModule& tModule, const std::string& strProvider,
                          const std::filesystem::path& oGit) {
  // Through a file: cvs-session outlives the import by some seconds, and would hold a pipe open.
  const CTempFolder oFolder;
  const std::string strOptions = strProvider == "cvs" ? " --nested-branches --streams-for-tags" : "";
  TShellResult tResult =
      RunShell(TALVEK_BIN_DIR "/talvek-import run --bare --no-verify --provider " + strProvider + strOptions +
               " --repos-path " + ShellQuote(tModule.oRoot.string()) + " --module-name " +
               ShellQuote(tModule.strModule) + " --into " + ShellQuote(oGit.string()) + " >" +
               ShellQuote((oFolder / "output").string()) + " 2>&1");
  tResult.strOutput = ReadFile(oFolder / "output");
  return tResult;
}

}  // namespace TALVEK::TEST
