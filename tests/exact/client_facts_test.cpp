// What the passes take for granted about the client, asked of the real one.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::EXACT::TEST {

namespace {

using TALVEK::TEST::CTempFolder;
using TALVEK::TEST::RunShell;
using TALVEK::TEST::ShellOutput;
using TALVEK::TEST::ShellQuote;

std::string RcsRevision(const std::string& strNumber, const std::string& strDate, const std::string& strState,
                        const std::string& strBranches, const std::string& strNext) {
  return strNumber + "\ndate\t" + strDate + ";\tauthor joe;\tstate " + strState + ";\nbranches" +
         strBranches + ";\nnext\t" + strNext + ";\n\n";
}

/// A module m whose one file f has 1.1, 1.2 and the imports 1.1.1.1 and 1.1.1.2, which say their numbers.
class ClientFactsTest : public testing::Test {
 protected:
  void SetUp() override {
    ShellOutput(Cvs() + " init && mkdir " + ShellQuote((m_oFolder / "root/m").string()));
  }

  void WriteRcs(const std::string& strNames, const std::string& strDefault,
                const std::string& strStateOf12 = "Exp",
                const std::string& strDateOf1111 = "2001.01.01.00.00.00") {
    TALVEK::TEST::WriteFile(m_oFolder / "root/m/f,v",
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

  std::string Cvs() const { return "cvs -Q -d " + ShellQuote((m_oFolder / "root").string()); }

  /// The revision of the file that the client gives, or nothing.
  std::string Given(const std::string& strOptions) const {
    const std::string strFolder = ShellQuote((m_oFolder / "out").string());
    RunShell("rm -rf " + strFolder + "; cd " + ShellQuote(m_oFolder.Path().string()) + " && " + Cvs() +
             " checkout -d out " + strOptions + " m 2>&1");
    return RunShell("cat " + strFolder + "/f 2>/dev/null | tr -d '\\n'").strOutput;
  }

  CTempFolder m_oFolder;
};

}  // namespace

TEST_F(ClientFactsTest, NameGivesARevisionOrTheTipOfItsBranch) {
  WriteRcs("\n\tT:1.1\n\tGONE:1.9\n\tV:1.1.1\n\tNOBRANCH:1.1.3\n\tEMPTY:1.1.0.2\n\tTRUNK:1\n\tSECOND:2", "");
  EXPECT_EQ("1.1", Given("-r T"));
  EXPECT_EQ("", Given("-r GONE"));
  EXPECT_EQ("1.1.1.2", Given("-r V"));
  EXPECT_EQ("", Given("-r NOBRANCH"));
  EXPECT_EQ("1.1", Given("-r EMPTY"));
  EXPECT_EQ("1.2", Given("-r TRUNK"));
  EXPECT_EQ("", Given("-r SECOND"));
}

TEST_F(ClientFactsTest, FirstOfTwoEqualNamesCounts) {
  WriteRcs("\n\tT:1.1.1.1\n\tT:1.1", "");
  EXPECT_EQ("1.1.1.1", Given("-r T"));
}

TEST_F(ClientFactsTest, TagOnADeadRevisionGivesNoFile) {
  WriteRcs("\n\tT:1.2\n\tB:1.2.0.2", "", "dead");
  EXPECT_EQ("", Given("-r T"));
  EXPECT_EQ("", Given("-r B"));
  EXPECT_EQ("", Given("-A"));
}

TEST_F(ClientFactsTest, RevisionOfAnyOtherStateIsAlive) {
  WriteRcs("", "", "Dev");
  EXPECT_EQ("1.2", Given("-A"));
}

TEST_F(ClientFactsTest, TrunkFollowsTheDefaultBranchWithoutADate) {
  WriteRcs("", "1.1.1");
  EXPECT_EQ("1.1.1.2", Given("-A"));
  WriteRcs("", "1.1.5");
  EXPECT_EQ("", Given("-A"));
  WriteRcs("", "1");
  EXPECT_EQ("1.2", Given("-A"));
}

TEST_F(ClientFactsTest, TrunkByDateShowsImportsUntilItsOwnNextRevision) {
  WriteRcs("", "");
  EXPECT_EQ("1.1.1.1", Given("-D '2001-01-01 12:00 UTC'"));
  EXPECT_EQ("1.1.1.2", Given("-D '2001-01-02 12:00 UTC'"));
  EXPECT_EQ("1.2", Given("-D '2001-01-03 12:00 UTC'"));
}

TEST_F(ClientFactsTest, TrunkByDateShowsNoImportOfAnotherTimeThanTheFirstRevision) {
  WriteRcs("", "", "Exp", "2001.01.01.00.00.01");
  EXPECT_EQ("1.1", Given("-D '2001-01-02 12:00 UTC'"));
}

}  // namespace TALVEK::EXACT::TEST
