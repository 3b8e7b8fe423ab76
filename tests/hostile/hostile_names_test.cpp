// Branches whose names mean something else, and trees that are none.

#include <gtest/gtest.h>

#include "tests/hostile/import_world.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {
namespace {

class HostileNameTest : public ImportWorldTest {
 protected:
  /// A file with these branches, and a revision on each.
  static CLogText Branches(const std::vector<std::string>& astrNames) {
    CLogText oLog;
    oLog.File("/repo/mod/a,v");
    int nBranch = 0;
    for (const std::string& strName : astrNames)
      oLog.Name(strName + ": 1.1.0." + std::to_string(nBranch += 2));
    oLog.At("1.1", 1000);
    for (int n = 2; n <= nBranch; n += 2)
      oLog.At("1.1." + std::to_string(n) + ".1", 1000 + n * 1000);
    return oLog;
  }
  /// A file in which the second branch sprouts from the first one.
  static void Nest(CLogText& oLog, const std::string& strOuter, const std::string& strInner, long nTime) {
    oLog.File("/repo/mod/" + strOuter + strInner + ",v")
        .Name(strOuter + ": 1.1.0.2")
        .Name(strInner + ": 1.1.2.1.0.2")
        .At("1.1", nTime)
        .At("1.1.2.1", nTime + 1000)
        .At("1.1.2.1.2.1", nTime + 2000);
  }
};

TEST_F(HostileNameTest, BranchesCalledAsTheTrunkGoIntoTheTrunk) {
  CLogText oLog = Branches({"Main", "HEAD"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), "HEAD_\nmain\n");
  EXPECT_EQ(
      Calls(),
      "[-d][/repo][checkout][-r][1.1][-d][Main][mod/a]\n[-d][/repo][checkout][-r][1.1.2.1][-d][Main][mod/a]\n"
      "[-d][/repo][checkout][-r][1.1.4.1][-d][HEAD][mod/a]\n");
  ExpectNothingElse();
}

TEST_F(HostileNameTest, NamesThatLeadOutOfTheClientFolderMakeNothingThere) {
  const std::string strAbsolute = (m_oFolder / "outside").string();
  CLogText oLog = Branches({"a/../../y", "a/..", "b/.", strAbsolute, "good"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 3) << tResult.strMessages;
  EXPECT_NE(tResult.strMessages.find("; 4 losses;"), std::string::npos) << tResult.strMessages;
  EXPECT_EQ(Calls(),
            "[-d][/repo][checkout][-r][1.1][-d][Main][mod/a]\n"
            "[-d][/repo][checkout][-r][1.1.10.1][-d][good][mod/a]\n");
  ExpectNothingElse();
}

// No filter takes a name that begins with a dot, so "../x" never becomes a stream.
TEST_F(HostileNameTest, NamesThatBeginWithADotAreNoStreams) {
  CLogText oLog = Branches({"../x", "..", ".", "./x", ".hidden", "good"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), "good\nmain\n");
  ExpectNothingElse();
}

TEST_F(HostileNameTest, NamesAreOneWordOfTheCommandLine) {
  CLogText oLog = Branches({"a b", "x\"y", "-d", "--", "b\\", "%s", "$(x)"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  std::string strExpected = "[-d][/repo][checkout][-r][1.1][-d][Main][mod/a]\n";
  int nBranch = 0;
  for (const char* pszName : {"a b", "x\"y", "-d", "--", "b\\", "%s", "$(x)"})
    strExpected +=
        "[-d][/repo][checkout][-r][1.1." + std::to_string(nBranch += 2) + ".1][-d][" + pszName + "][mod/a]\n";
  EXPECT_EQ(Calls(), strExpected);
  EXPECT_EQ(GitBranches(), "$(x)\n%s\n_-\n_d\na_b\nb_\nmain\nx\"y\n");
  ExpectNothingElse();
}

TEST_F(HostileNameTest, NamesThatDifferOnlyInCaseAreOneStream) {
  CLogText oLog = Branches({"Rel", "REL"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), "Rel\nmain\n");
  EXPECT_EQ(ShellOutput("git -C " + ShellQuote((m_oFolder / "git").string()) + " rev-list --count Rel"),
            "3\n");
}

TEST_F(HostileNameTest, StreamsInCirclesOfOneTwoAndThreeAreImported) {
  CLogText oLog;
  Nest(oLog, "A", "a", 10000);
  Nest(oLog, "B", "C", 20000);
  Nest(oLog, "C", "B", 30000);
  Nest(oLog, "D", "E", 40000);
  Nest(oLog, "E", "F", 50000);
  Nest(oLog, "F", "D", 60000);
  Nest(oLog, "F", "G", 70000);  // below a circle
  const TResult tResult = Import(oLog, "--nested-branches");
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  for (const char* pszName : {"A", "B", "C", "D", "E", "F", "G"}) {
    EXPECT_NE(tResult.strMessages.find(std::string("stream '") + pszName +
                                       "' is a root: its parents stand in a circle\n"),
              std::string::npos)
        << pszName << " in\n"
        << tResult.strMessages;
  }
  EXPECT_EQ(GitBranches(), "A\nB\nC\nD\nE\nF\nG\nmain\n");
  EXPECT_NE(tResult.strMessages.find("imported 8 streams, 21 changesets, 21 items; 0 losses"),
            std::string::npos)
      << tResult.strMessages;
}

TEST_F(HostileNameTest, TrunkInACircleIsImported) {
  CLogText oLog;
  Nest(oLog, "A", "main", 10000);
  const TResult tResult = Import(oLog, "--nested-branches");
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_NE(tResult.strMessages.find("imported 2 streams, 3 changesets, 3 items; 0 losses"),
            std::string::npos)
      << tResult.strMessages;
}

}  // namespace
}  // namespace TALVEK::TEST
