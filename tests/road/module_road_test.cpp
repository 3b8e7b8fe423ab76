// A module that is named by the path of a folder.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

const std::string PROBLEM =
    "'calculator/src' is a folder within a module, of which provider cvs can fetch no file";
const std::string REMEDY =
    "import the module 'calculator'; for the folder alone save its log with 'cvs -d " +
    std::string(TALVEK_EXAMPLE_REPOSITORY) +
    " rlog calculator/src > FILE' and import the module 'calculator' with --log-file FILE";

TShellResult Import(const std::string& strArguments) {
  return RunShell(TALVEK_BIN_DIR "/talvek-import " + strArguments + " --provider cvs --quiet --repos-path " +
                  ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " 2>&1");
}

TEST(ModuleRoadTest, RunRefusesAFolderBeforeItReadsAnything) {
  const CTempFolder oFolder;
  for (const char* pszModule : {"calculator/src", "calculator/src/", "./calculator//src"}) {
    const TShellResult tRun = Import("run --no-verify --cvs-path false --into " +
                                     ShellQuote((oFolder / "git").string()) + " --module-name " + pszModule);
    EXPECT_EQ(tRun.nStatus, 2) << pszModule;
    EXPECT_TRUE(tRun.strOutput.starts_with("talvek-import: '")) << tRun.strOutput;
  }
  EXPECT_EQ(Import("run --no-verify --into " + ShellQuote((oFolder / "git").string()) +
                   " --module-name calculator/src"),
            (TShellResult{2, "talvek-import: " + PROBLEM + "; " + REMEDY + "\n"}));
  EXPECT_FALSE(std::filesystem::exists(oFolder / "git"));
}

TEST(ModuleRoadTest, CheckNamesWhatWorks) {
  const TShellResult tRun = Import("check --module-name calculator/src");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(tRun.strOutput.find("module       " + PROBLEM + "\n             " + REMEDY + "\n"),
            std::string::npos)
      << tRun.strOutput;
  EXPECT_NE(tRun.strOutput.find("\nwill import  "), std::string::npos);
}

TEST(ModuleRoadTest, SlashBehindAModuleMakesNoFolderOfIt) {
  const TShellResult tRun = Import("check --module-name calculator/");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_EQ(tRun.strOutput.find("\nmodule "), std::string::npos);
}

TEST(ModuleRoadTest, FolderIsImportedByTheWayThatIsNamed) {
  const CTempFolder oFolder;
  const std::string strLog = ShellQuote((oFolder / "log").string());
  const std::string strGit = ShellQuote((oFolder / "git").string());
  ShellOutput("cvs -Q -d " + ShellQuote(TALVEK_EXAMPLE_REPOSITORY) + " rlog calculator/src > " + strLog);
  const TShellResult tRun =
      Import("run --no-verify --module-name calculator --log-file " + strLog + " --into " + strGit);
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_EQ(ShellOutput("git -C " + strGit + " ls-tree -r --name-only main"),
            "src/eval/parser.c\nsrc/eval/parser.h\nsrc/eval/stack.c\nsrc/main.c\nsrc/ui/console.c\n");
}

}  // namespace
}  // namespace TALVEK::TEST
