// A changeset that is checked out as a whole, behind one that was checked out file by file.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

constexpr int LARGE = 31;

std::string RcsFile(const std::string& strDate, const std::string& strContent) {
  return "head\t1.1;\naccess;\nsymbols;\nlocks; strict;\ncomment\t@# @;\n\n\n1.1\ndate\t" + strDate +
         ";\tauthor ana;\tstate Exp;\nbranches;\nnext\t;\n\n\ndesc\n@@\n\n\n1.1\nlog\n@on " + strDate +
         "\n@\ntext\n@" + strContent + "@\n";
}

// The client passes over folders that it finds without its own notes in them, and all that they should hold.
TEST(LargeChangesetTest, FolderOfAnEarlierFileHidesNoFileOfALaterWholeCheckout) {
  const CTempFolder oFolder;
  const std::string strRoot = (oFolder / "root").string();
  const std::string strGit = (oFolder / "git").string();
  ShellOutput("cvs -d " + ShellQuote(strRoot) + " init");
  WriteFile(oFolder / "root/mod/sub/deep/first,v", RcsFile("2004.01.12.09.00.00", "first\n"));
  std::string strExpected = "sub/deep/first\n";
  for (int i = 10; i < 10 + LARGE; ++i) {
    const std::string strName = "sub/" + std::to_string(i);
    WriteFile(oFolder / "root/mod" / (strName + ",v"), RcsFile("2004.02.12.09.00.00", strName + "\n"));
    strExpected.insert(strExpected.size() - std::string("sub/deep/first\n").size(), strName + "\n");
  }
  const TShellResult tRun =
      RunShell(TALVEK_BIN_DIR "/talvek-import run --no-verify --provider cvs --quiet --bare --repos-path " +
               ShellQuote(strRoot) + " --module-name mod --into " + ShellQuote(strGit) + " 2>&1");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strOutput;
  EXPECT_EQ(ShellOutput("git -C " + ShellQuote(strGit) + " ls-tree -r --name-only main"), strExpected);
  EXPECT_EQ(ShellOutput("git -C " + ShellQuote(strGit) + " cat-file blob main:sub/17"), "sub/17\n");
}

}  // namespace
}  // namespace TALVEK::TEST
