#include "tests/host/host_fixture.h"

#include <algorithm>
#include <regex>

#include "tests/support/shell.h"

namespace fs = std::filesystem;

namespace TALVEK::TEST {

namespace {

/// Sets the seconds of the summary to 0.
std::string WithoutSeconds(const std::string& strText) {
  static const std::regex s_oSeconds("(es|loss); [0-9]+ seconds?\n");
  return std::regex_replace(strText, s_oSeconds, "$1; 0 seconds\n");
}

}  // namespace

CHostTest::CHostTest() {
  fs::create_directory(Folder() / "tmp");
}

void CHostTest::Script(const std::string& strLines) {
  std::string strScript = strLines;
  std::replace(strScript.begin(), strScript.end(), '|', '\t');
  WriteFile(Folder() / "script", strScript);
}

TRun CHostTest::Run(const std::string& strArguments) {
  return RunPlain(strArguments + " --provider fake --provider-path " + ShellQuote(TALVEK_FAKE_FOLDER) +
                  " --set ScriptPath=script");
}

TRun CHostTest::RunPlain(const std::string& strArguments, const std::string& strEnvironment) {
  const std::string strTemp = "TMPDIR=" + ShellQuote((Folder() / "tmp").string());
  const std::string strProgram = ShellQuote(std::string(TALVEK_BIN_DIR) + "/talvek-import");
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(Folder().string()) + " && env " + strTemp + ' ' + strEnvironment + ' ' +
               strProgram + ' ' + strArguments + " > out 2> err");
  return {tResult.nStatus, ReadFile(Folder() / "out"), WithoutSeconds(ReadFile(Folder() / "err"))};
}

std::string CHostTest::Git(const std::string& strRepository, const std::string& strArguments) {
  return ShellOutput("git -C " + ShellQuote((Folder() / strRepository).string()) + ' ' + strArguments);
}

std::vector<std::string> CHostTest::Entries(const fs::path& oFolder) {
  std::vector<std::string> astrNames;
  for (const fs::directory_entry& oEntry : fs::directory_iterator(oFolder)) {
    astrNames.push_back(oEntry.path().filename().string());
  }
  std::sort(astrNames.begin(), astrNames.end());
  return astrNames;
}

}  // namespace TALVEK::TEST
