// Logs of repositories that the real client made, held against what it says of each revision alone.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "exact/log_reader.h"
#include "tests/exact/rcs_file_text.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::EXACT {
namespace {

/// A repository with the module "mod" and a working folder.
class LogClientTest : public testing::Test {
 protected:
  void SetUp() override {
    Run("cvs init && mkdir $CVSROOT/mod && mkdir $HOME/work && cd $HOME/work && cvs -Q co mod");
    // A group of its own may use `cvs admin` otherwise.
    Run("echo UserAdminOptions=bmot >> $CVSROOT/CVSROOT/config");
  }

  std::string Root() const { return (m_oFolder / "root").string(); }
  std::string Run(const std::string& strCommands) const {
    return TEST::ShellOutput("export HOME=" + TEST::ShellQuote(m_oFolder.Path().string()) + " CVSROOT=" +
                             TEST::ShellQuote(Root()) + " && set -e; exec 2>$HOME/errors; " + strCommands);
  }
  /// In the working folder of the module.
  std::string Work(const std::string& strCommands) const { return Run("cd $HOME/work/mod; " + strCommands); }
  /// Commits file f with the message.
  void Commit(const std::string& strMessage) const {
    TEST::WriteFile(m_oFolder / "message", strMessage);
    Work("echo x >> f; test -d CVS; cvs -Q add f || true; cvs -Q commit -F ../../message f");
  }
  std::vector<TRcsFile> ReadLog() const { return ReadAll(Run("cvs -Q rlog mod"), Root(), "mod"); }
  /// The message of one revision: between the only date line that belongs to it and the last line of the log.
  std::string MessageOf(const std::string& strPath, const TRcsRevision& tRevision, bool bBranches) const {
    const std::string strNumber = NumberText(tRevision.nNumber);
    const std::string strLog = Run("cvs -Q rlog -N -r" + strNumber + " " + strPath);
    std::size_t nFrom = strLog.find("----------------------------\nrevision " + strNumber + "\n");
    for (int nLines = bBranches ? 4 : 3; nLines > 0; --nLines)
      nFrom = strLog.find('\n', nFrom) + 1;
    const std::size_t nTo = strLog.rfind(std::string(FILE_SEPARATOR) + "\n");
    return strLog.substr(nFrom, nTo - nFrom - 1);
  }
  void ExpectEachMessage(const TRcsFile& tFile, const std::vector<std::string>& strWithBranches = {}) const {
    EXPECT_FALSE(tFile.bIncomplete);
    for (const TRcsRevision& tRevision : tFile.atRevisions) {
      const std::string strNumber = NumberText(tRevision.nNumber);
      const bool bBranches =
          std::find(strWithBranches.begin(), strWithBranches.end(), strNumber) != strWithBranches.end();
      EXPECT_EQ(tRevision.strMessage, MessageOf(tFile.strPath, tRevision, bBranches)) << strNumber;
    }
  }
  static std::string Numbers(const TRcsFile& tFile) {
    std::string strText;
    for (const TRcsRevision& tRevision : tFile.atRevisions)
      strText += NumberText(tRevision.nNumber) + " ";
    return strText;
  }

  TEST::CTempFolder m_oFolder;
};

TEST_F(LogClientTest, PastedLogsInMessages) {
  Commit("one");
  Commit("two");
  Commit("cvs log of it:\n" + Work("cvs -Q log f"));
  Commit("cvs rlog of it:\n" + Run("cvs -Q rlog mod") + "end\n");
  Commit("five");
  const std::vector<TRcsFile> atFiles = ReadLog();
  ASSERT_EQ(atFiles.size(), 1U);
  EXPECT_EQ(Numbers(atFiles.front()), "1.5 1.4 1.3 1.2 1.1 ");
  EXPECT_EQ(atFiles.front().strRepair, "its texts hold a pasted log (3 headers, 7 revisions)");
  ExpectEachMessage(atFiles.front());
}

TEST_F(LogClientTest, LogOfTheWholeModulePastedIntoTheOnlyMessage) {
  Work("for n in b g h; do echo $n > $n; cvs -Q add $n; done; cvs -Q commit -m first");
  Commit("The module was:\n" + Run("cvs -Q rlog mod"));
  const std::vector<TRcsFile> atFiles = ReadLog();
  ASSERT_EQ(atFiles.size(), 4U);
  EXPECT_EQ(atFiles[0].strPath, "mod/b");
  EXPECT_EQ(atFiles[1].strPath, "mod/f");
  EXPECT_EQ(atFiles[2].strPath, "mod/g");
  EXPECT_EQ(atFiles[3].strPath, "mod/h");
  for (const TRcsFile& tFile : atFiles) {
    EXPECT_EQ(Numbers(tFile), "1.1 ");
    ExpectEachMessage(tFile);
  }
}

TEST_F(LogClientTest, BranchesOnBranchesAndGaps) {
  for (const char* pszMessage : {"one", "two", "three", "four", "five"})
    Commit(pszMessage);
  Work("cvs -Q tag -b -r1.1 b1 f; cvs -Q tag -b -r1.1 b2 f; cvs -Q tag -b -r1.3 b3 f; cvs -Q update -rb1 f");
  Commit("on b1");
  Commit("branches:  1.1.2.2.2;\n");
  Work("cvs -Q tag -b -r1.1.2.1 b11 f; cvs -Q update -rb11 f");
  Commit("on b11");
  Work("cvs -Q update -rb2 f");
  Commit("on b2");
  Work("cvs -Q update -rb3 f");
  Commit("on b3\n" + Work("cvs -Q log f"));
  Work("cvs -Q update -A f; cvs -Q admin -o1.2 f; cvs -Q admin -o1.4 f; cvs -Q commit -f -r2.1 -m major f");
  const std::vector<TRcsFile> atFiles = ReadLog();
  ASSERT_EQ(atFiles.size(), 1U);
  EXPECT_EQ(Numbers(atFiles.front()), "2.1 1.5 1.3 1.1 1.1.4.1 1.1.2.2 1.1.2.1 1.1.2.1.2.1 1.3.2.1 ");
  ExpectEachMessage(atFiles.front(), {"1.1", "1.3", "1.1.2.1"});
}

TEST_F(LogClientTest, ImportsAndDescriptionWithoutLineEnd) {
  Run("mkdir $HOME/import; cd $HOME/import; echo 1 > v; cvs -Q import -m 'vendor 1' mod V V1; echo 2 > v; "
      "cvs -Q import -m 'vendor 2' mod V V2");
  Commit("one");
  Work("printf 'no line end' > ../text; cvs -Q admin -t../text f; cvs -Q update");
  const std::vector<TRcsFile> atFiles = ReadLog();
  ASSERT_EQ(atFiles.size(), 2U);
  EXPECT_EQ(Numbers(atFiles[0]), "1.1 ");
  EXPECT_EQ(Numbers(atFiles[1]), "1.1 1.1.1.2 1.1.1.1 ");
  EXPECT_EQ(NumberText(atFiles[1].nDefaultBranch), "1.1.1");
  ExpectEachMessage(atFiles[0]);
  ExpectEachMessage(atFiles[1], {"1.1"});
}

TEST_F(LogClientTest, SelectedRevisionsOfABranch) {
  Commit("one");
  Commit("two");
  Work("cvs -Q tag -b b f; cvs -Q update -rb f");
  Commit("on b\n" + Work("cvs -Q log f"));
  Commit("branches:  1.2.2.2.2;\n");
  const std::vector<TRcsFile> atFiles = ReadAll(Run("cvs -Q rlog -r1.2.2.1 mod"), Root(), "mod");
  ASSERT_EQ(atFiles.size(), 1U);
  EXPECT_EQ(Numbers(atFiles.front()), "1.2.2.1 ");
  ExpectEachMessage(atFiles.front());
}

}  // namespace
}  // namespace TALVEK::EXACT
