// What the real client makes of the names in CVSROOT/modules.

#include <gtest/gtest.h>

#include <string>

#include "tests/exact_road/client_tree.h"
#include "tests/exact_road/module_world.h"
#include "tests/support/cvs_world.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {
namespace {

class ClientModulesTest : public ::testing::Test {
 protected:
  /// In a folder of the test's.
  TShellResult Try(const std::string& strArguments) const {
    return RunShell("cd " + ShellQuote(m_oWorld.Folder().string()) + "; " + ClockOfClient(2000000000) +
                    " cvs -f -Q -d " + ShellQuote(m_oWorld.Root().string()) + " " + strArguments + " 2>&1");
  }
  /// The paths of a log, below the root.
  std::string Logged(const std::string& strName) const {
    return ShellOutput("cvs -f -Q -d " + ShellQuote(m_oWorld.Root().string()) + " rlog -R " + strName +
                       " | sed 's|^" + m_oWorld.Root().string() + "/||'");
  }
  std::string CheckedOut(const std::string& strName) const {
    std::string strPaths;
    const auto mapFiles = AskClient({m_oWorld.Root(), strName, true}, "checkout -A");
    if (!mapFiles) return "refused";
    for (const auto& [strPath, tFile] : *mapFiles)
      strPaths += strPath + "\n";
    return strPaths;
  }

  CModuleWorld m_oWorld;
};

TEST_F(ClientModulesTest, LongModulesGoOnInAnotherLineAndCommentsComeBehind) {
  const std::string strModules = Try("checkout -c").strOutput;
  EXPECT_NE(strModules.find("\nverylong     -a www/mk www/other lib/in app/m.txt tools/t1 tools/t2 tools/t3\n"
                            "             www/top.txt rootfile lib/l.txt\n"
                            "             # all\n"),
            std::string::npos)
      << strModules;
}

TEST_F(ClientModulesTest, RepositoryWithoutModulesRefusesToListThemAndLogsAllTheSame) {
  std::filesystem::remove(m_oWorld.Root() / "CVSROOT/modules");
  EXPECT_EQ(Try("checkout -c").nStatus, 1);
  EXPECT_EQ(Logged("www/other"), "www/other/o.txt,v\n");
}

TEST_F(ClientModulesTest, LogHasWhatAnAliasLeavesOut) {
  EXPECT_EQ(Logged("less"),
            "www/top.txt,v\nwww/mk/a.txt,v\nwww/mk/sub/b.txt,v\nwww/other/o.txt,v\nlib/l.txt,v\n");
  EXPECT_EQ(CheckedOut("less"), "lib/l.txt\nwww/mk/a.txt\nwww/other/o.txt\nwww/top.txt\n");
}

TEST_F(ClientModulesTest, FolderIsLeftOutOfWhatIsNamedBehindIt) {
  EXPECT_EQ(CheckedOut("late"), "app/m.txt\nlib/in/i.txt\nlib/l.txt\n");
}

TEST_F(ClientModulesTest, LogNamesAFileAsOftenAsItsModuleDoes) {
  EXPECT_EQ(Logged("twice"), "app/m.txt,v\napp/m.txt,v\n");
  EXPECT_EQ(CheckedOut("twice"), "twice/app/m.txt\ntwice/m.txt\n");
}

TEST_F(ClientModulesTest, FolderWrittenWithASlashIsLoggedWithTwo) {
  EXPECT_EQ(Logged("slashed"), "www/mk//a.txt,v\nwww/mk//sub/b.txt,v\n");
}

// A folder that is there stands for a folder of the repository, and so do those above it.
TEST_F(ClientModulesTest, FileIsRefusedInAFolderThatStandsForAnother) {
  EXPECT_EQ(Try("checkout -r 1.1 -d here/mk www/mk/a.txt").nStatus, 0);
  const TShellResult tRefused = Try("checkout -r 1.1 -d here app/m.txt");
  EXPECT_EQ(tRefused.nStatus, 1);
  EXPECT_NE(tRefused.strOutput.find("/www does not match "), std::string::npos) << tRefused.strOutput;
  EXPECT_EQ(Try("checkout -r 1.1 -d there/www/mk www/mk/a.txt").nStatus, 0);
  EXPECT_EQ(Try("checkout -r 1.1 -d there/app app/m.txt").nStatus, 0);
  EXPECT_EQ(Try("checkout -r 1.1 -d there rootfile").nStatus, 0);
}

}  // namespace
}  // namespace TALVEK::TEST
