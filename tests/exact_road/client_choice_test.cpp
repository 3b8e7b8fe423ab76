// Which revision of a file the real client chooses, for histories written by hand: the client itself makes
// some of them in no way, or not any more.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/cvs_world.h"
#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

std::string RcsRevision(const std::string& strNumber, const std::string& strDate, const std::string& strState,
                        const std::string& strBranches, const std::string& strNext) {
  return strNumber + "\ndate\t" + strDate + ";\tauthor joe;\tstate " + strState + ";\nbranches" +
         strBranches + ";\nnext\t" + strNext + ";\n\n";
}

/// A module m whose one file f has 1.1, 1.2 and the imports 1.1.1.1 and 1.1.1.2, which say their numbers.
class ClientChoiceTest : public testing::Test {
 protected:
  void SetUp() override {
    ShellOutput(Cvs() + " init && mkdir " + ShellQuote((m_oFolder / "root/m").string()));
  }

  void WriteRcs(const std::string& strNames, const std::string& strDefault,
                const std::string& strStateOf12 = "Exp",
                const std::string& strDateOf1111 = "2001.01.01.00.00.00") {
    WriteFile(m_oFolder / "root/m/f,v",
              "head\t1.2;\n" + (strDefault.empty() ? "" : "branch\t" + strDefault + ";\n") +
                  "access;\nsymbols" + strNames + ";\nlocks; strict;\ncomment\t@# @;\n\n\n" +
                  RcsRevision("1.2", "2001.01.03.00.00.00", strStateOf12, "", "1.1") +
                  RcsRevision("1.1", "2001.01.01.00.00.00", "Exp", "\n\t1.1.1.1", "") +
                  RcsRevision("1.1.1.1", strDateOf1111, "Exp", "", "1.1.1.2") +
                  RcsRevision("1.1.1.2", "2001.01.02.00.00.00", "Exp", "", "") +
                  "\ndesc\n@@\n\n\n1.2\nlog\n@m\n@\ntext\n@1.2\n@\n\n\n1.1\nlog\n@m\n@\ntext\n@"
                  "d1 1\na1 1\n1.1\n@\n\n\n"
                  "1.1.1.1\nlog\n@m\n@\ntext\n@d1 1\na1 "
                  "1\n1.1.1.1\n@\n\n\n1.1.1.2\nlog\n@m\n@\ntext\n@d1 1\na1 1\n1.1.1.2\n@\n");
  }

  std::string Cvs() const {
    return ClockOfClient(2000000000) + " cvs -Q -d " + ShellQuote((m_oFolder / "root").string());
  }

  /// The revision of the file that the client gives, or nothing.
  std::string Given(const std::string& strOptions) const {
    const std::string strFolder = ShellQuote((m_oFolder / "out").string());
    RunShell("rm -rf " + strFolder + "; cd " + ShellQuote(m_oFolder.Path().string()) + " && " + Cvs() +
             " checkout -d out " + strOptions + " m 2>&1");
    return RunShell("cat " + strFolder + "/f 2>/dev/null | tr -d '\\n'").strOutput;
  }

  CTempFolder m_oFolder;
};

TEST_F(ClientChoiceTest, NameGivesARevisionOrTheTipOfItsBranch) {
  WriteRcs("\n\tT:1.1\n\tGONE:1.9\n\tV:1.1.1\n\tNOBRANCH:1.1.3\n\tEMPTY:1.1.0.2\n\tTRUNK:1\n\tSECOND:2", "");
  EXPECT_EQ("1.1", Given("-r T"));
  EXPECT_EQ("", Given("-r GONE"));
  EXPECT_EQ("1.1.1.2", Given("-r V"));
  EXPECT_EQ("", Given("-r NOBRANCH"));
  EXPECT_EQ("1.1", Given("-r EMPTY"));
  EXPECT_EQ("1.2", Given("-r TRUNK"));
  EXPECT_EQ("", Given("-r SECOND"));
}

TEST_F(ClientChoiceTest, FirstOfTwoEqualNamesCounts) {
  WriteRcs("\n\tT:1.1.1.1\n\tT:1.1", "");
  EXPECT_EQ("1.1.1.1", Given("-r T"));
}

TEST_F(ClientChoiceTest, RevisionOfAnyOtherStateIsAlive) {
  WriteRcs("", "", "Dev");
  EXPECT_EQ("1.2", Given("-A"));
}

TEST_F(ClientChoiceTest, TrunkFollowsTheDefaultBranchWithoutADate) {
  WriteRcs("", "1.1.1");
  EXPECT_EQ("1.1.1.2", Given("-A"));
  WriteRcs("", "1.1.5");
  EXPECT_EQ("", Given("-A"));
  WriteRcs("", "1");
  EXPECT_EQ("1.2", Given("-A"));
}

TEST_F(ClientChoiceTest, TrunkByDateShowsImportsUntilItsOwnNextRevision) {
  WriteRcs("", "");
  EXPECT_EQ("1.1.1.1", Given("-D '2001-01-01 12:00 UTC'"));
  EXPECT_EQ("1.1.1.2", Given("-D '2001-01-02 12:00 UTC'"));
  EXPECT_EQ("1.2", Given("-D '2001-01-03 12:00 UTC'"));
}

TEST_F(ClientChoiceTest, TrunkByDateShowsNoImportOfAnotherTimeThanTheFirstRevision) {
  WriteRcs("", "", "Exp", "2001.01.01.00.00.01");
  EXPECT_EQ("1.1", Given("-D '2001-01-02 12:00 UTC'"));
}

}  // namespace
}  // namespace TALVEK::TEST
