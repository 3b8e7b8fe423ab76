// The bundled client brings the same history as the plain one, and is used unless the administrator says
// otherwise.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

const std::string BUNDLED = TALVEK_BIN_DIR "/cvs-session";

/// How many lines of an import log begin with this behind their number.
int CountLines(const std::string& strLog, const std::string& strHead) {
  return std::stoi(
      ShellOutput("grep -c " + ShellQuote("^[0-9]*: " + strHead) + " " + ShellQuote(strLog) + " || :"));
}

std::string Refs(const std::string& strImport) {
  return ShellOutput("git -C " + ShellQuote(strImport + "/git") + " for-each-ref");
}

TEST(ClientsRoadTest, BothClientsGiveTheSameCommits) {
  EXPECT_EQ(Refs(TALVEK_EXAMPLE_IMPORT), Refs(TALVEK_PLAIN_IMPORT));
  EXPECT_NE(Refs(TALVEK_EXAMPLE_IMPORT), "");
}

TEST(ClientsRoadTest, BundledClientIsUsedUnlessAnotherIsNamed) {
  const int nFiles = CountLines(TALVEK_EXAMPLE_IMPORT "/import.log", "Performing command .* checkout -r ");
  EXPECT_GT(nFiles, 40);
  EXPECT_EQ(CountLines(TALVEK_EXAMPLE_IMPORT "/import.log", "Performing command \"" + BUNDLED + "\" -d "),
            nFiles + 1);
  EXPECT_EQ(CountLines(TALVEK_PLAIN_IMPORT "/import.log", "Performing command \"cvs\" -d "), nFiles + 1);
}

/// A folder with the programs and the plug-in, as an installation has them.
class CInstallation {
 public:
  CInstallation() {
    ShellOutput("cd " + ShellQuote(Folder()) +
                " && mkdir -p 'my programs' lib && cp " TALVEK_BIN_DIR "/talvek-import " TALVEK_BIN_DIR
                "/cvs-session 'my programs' && cp " TALVEK_BIN_DIR "/../lib/talvek-em-cvs.so " TALVEK_BIN_DIR
                "/../lib/libtalvek-core.so* lib");
  }
  std::string Folder() const { return m_oFolder.Path().string(); }
  /// Runs the installed program on the example repository. What it says, and "status N".
  std::string Run(const std::string& strEnvironment, const std::string& strArguments) const {
    const TShellResult tRun =
        RunShell("cd " + ShellQuote(Folder()) + " && " + strEnvironment + " 'my programs/talvek-import' " +
                 strArguments + " --provider cvs --module-name calculator --repos-path " +
                 ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " 2>&1");
    return tRun.strOutput + "status " + std::to_string(tRun.nStatus) + "\n";
  }

 private:
  CTempFolder m_oFolder;
};

TEST(ClientsRoadTest, ProgramsMayLieInAFolderWithABlank) {
  const CInstallation oInstallation;
  const std::string strSays = oInstallation.Run(
      "", "run --no-verify --quiet --nested-branches --streams-for-tags --bare --into git --import-log log");
  EXPECT_NE(strSays.find("0 losses"), std::string::npos) << strSays;
  EXPECT_EQ(Refs(oInstallation.Folder()), Refs(TALVEK_EXAMPLE_IMPORT));
  EXPECT_EQ(CountLines(oInstallation.Folder() + "/log", "Performing command \"cvs\""), 0);
}

TEST(ClientsRoadTest, ClientBehindTheBundledOneMustBeThere) {
  const CInstallation oInstallation;
  EXPECT_EQ(
      oInstallation.Run("CVS_SESSION_CVS=/no/such/cvs", "run --no-verify --quiet --into git"),
      "talvek-import: the program '/no/such/cvs' can't be found; install it, or say where it is with the "
      "environment variable CVS_SESSION_CVS\nstatus 1\n");
  const std::string strCheck = oInstallation.Run("CVS_SESSION_CVS=/no/such/cvs", "check --quiet");
  EXPECT_NE(strCheck.find(
                "program      '/no/such/cvs' is nowhere; install it or say where it is with the environment "
                "variable CVS_SESSION_CVS\n"),
            std::string::npos)
      << strCheck;
}

TEST(ClientsRoadTest, RunSaysWhenTheBundledClientIsMissing) {
  const CInstallation oInstallation;
  std::filesystem::remove(oInstallation.Folder() + "/my programs/cvs-session");
  const std::string strWarning =
      "talvek-import: warning: cvs-session doesn't lie beside talvek-import: each file revision will take a "
      "second\n";
  const std::string strDates = " --start-date 2004-05-01 --end-date 2004-05-20";
  EXPECT_EQ(oInstallation.Run("", "run --no-verify --quiet --into git" + strDates).find(strWarning), 0U);
  EXPECT_EQ(
      oInstallation.Run("", "run --no-verify --quiet --cvs-path cvs --into git2" + strDates).find(strWarning),
      std::string::npos);
}

TEST(ClientsRoadTest, CheckTellsWhoseDefaultsAreUsed) {
  const CInstallation oInstallation;
  const std::string strCheck = oInstallation.Run("", "check --quiet");
  const std::string strBundled = oInstallation.Folder() + "/my programs/cvs-session";
  for (const std::string& strLine :
       {"program      " + strBundled, "    CVSPath = " + strBundled + " (default of talvek-import)",
        std::string("    ForceFileByFile = 1 (default of talvek-import)"),
        std::string("    CreateBranches = 1 (default)"), std::string("status 0")}) {
    EXPECT_NE(strCheck.find(strLine + "\n"), std::string::npos) << strLine << " in\n" << strCheck;
  }
  const std::string strGiven = oInstallation.Run("", "check --quiet --cvs-path cvs --no-force-file-by-file");
  for (const char* pszLine : {"    CVSPath = cvs\n", "    ForceFileByFile = 0\n"})
    EXPECT_NE(strGiven.find(pszLine), std::string::npos) << strGiven;
}

TEST(ClientsRoadTest, PropertiesShowTheProvidersDefaultsAndOurs) {
  const std::string strText = ShellOutput(TALVEK_BIN_DIR "/talvek-import properties --provider cvs");
  EXPECT_NE(strText.find("    default  cvs\n    instead  " + BUNDLED + " (default of talvek-import)\n"),
            std::string::npos)
      << strText;
  EXPECT_NE(strText.find("    default  0\n    instead  1 (default of talvek-import)\n"), std::string::npos);
}

}  // namespace
}  // namespace TALVEK::TEST
