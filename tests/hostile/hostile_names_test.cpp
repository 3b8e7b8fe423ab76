// Branches whose names mean something else, and trees that are none.

#include <gtest/gtest.h>

#include <utility>

#include "tests/hostile/import_world.h"
#include "tests/support/shell.h"
#include "tests/support/tested_provider.h"

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

// To cvs they are the trunk; cvsexact keeps them apart from it.
TEST_F(HostileNameTest, BranchesCalledAsTheTrunkAreImported) {
  CLogText oLog = Branches({"Main", "HEAD"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), ByProvider("HEAD_\nmain\n", "HEAD_\nMain\nmain\n"));
  EXPECT_EQ(SortedCalls(),
            "[-d][/repo][checkout][-r][1.1.2.1][-d][Main][mod/a]\n"
            "[-d][/repo][checkout][-r][1.1.4.1][-d][HEAD][mod/a]\n"
            "[-d][/repo][checkout][-r][1.1][-d][Main][mod/a]\n");
  ExpectNothingElse();
}

// The client can't make a folder whose path has an empty item.
TEST_F(HostileNameTest, SlashesInARowAreOneInTheCommandLine) {
  CLogText oLog = Branches({"With///Three_D", "end//"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(SortedCalls(),
            "[-d][/repo][checkout][-r][1.1.2.1][-d][With/Three_D][mod/a]\n"
            "[-d][/repo][checkout][-r][1.1.4.1][-d][end][mod/a]\n"
            "[-d][/repo][checkout][-r][1.1][-d][Main][mod/a]\n");
  EXPECT_EQ(GitBranches(), "With/_/_/Three_D\nend/_/_\nmain\n");
  EXPECT_EQ(GitFiles("With/_/_/Three_D"), "a\n");
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
  EXPECT_EQ(SortedCalls(), Sorted(strExpected));
  EXPECT_EQ(GitBranches(), "$(x)\n%s\n_-\n_d\na_b\nb_\nmain\nx\"y\n");
  ExpectNothingElse();
}

// One stream to cvs, which doesn't look at case, and two to cvsexact and the client.
TEST_F(HostileNameTest, NamesThatDifferOnlyInCaseAreImported) {
  CLogText oLog = Branches({"Rel", "REL"});
  const TResult tResult = Import(oLog);
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), ByProvider("Rel\nmain\n", "REL\nRel\nmain\n"));
  EXPECT_EQ(ShellOutput("git -C " + ShellQuote((m_oFolder / "git").string()) + " rev-list --count Rel"),
            ByProvider("3\n", "2\n"));
}

// In cvs the streams of a circle become roots. In cvsexact no circle comes to be, and each branch has its
// files.
TEST_F(HostileNameTest, StreamsInCirclesOfOneTwoAndThreeAreImported) {
  CLogText oLog;
  Nest(oLog, "A", "a", 10000);
  Nest(oLog, "B", "C", 20000);
  Nest(oLog, "C", "B", 30000);
  Nest(oLog, "D", "E", 40000);
  Nest(oLog, "E", "F", 50000);
  Nest(oLog, "F", "D", 60000);
  Nest(oLog, "F", "G", 70000);  // below a circle
  const TResult tResult = Import(oLog, ByProvider("--nested-branches", ""));
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  for (const char* pszName : {"A", "B", "C", "D", "E", "F", "G"}) {
    EXPECT_EQ(tResult.strMessages.find(std::string("stream '") + pszName +
                                       "' is a root: its parents stand in a circle\n") == std::string::npos,
              TestsExact())
        << pszName << " in\n"
        << tResult.strMessages;
  }
  EXPECT_EQ(GitBranches(), ByProvider("A\nB\nC\nD\nE\nF\nG\nmain\n", "A\nB\nC\nD\nE\nF\nG\na\nmain\n"));
  EXPECT_NE(tResult.strMessages.find(
                ByProvider("imported 8 streams, 21 changesets, 21 items; 0 losses", "imported 9 streams, ")),
            std::string::npos)
      << tResult.strMessages;
  if (!TestsExact()) return;
  const std::pair<const char*, const char*> astrFiles[] = {{"main", "Aa\nBC\nCB\nDE\nEF\nFD\nFG\n"},
                                                           {"A", "Aa\n"},
                                                           {"a", "Aa\n"},
                                                           {"B", "BC\nCB\n"},
                                                           {"C", "BC\nCB\n"},
                                                           {"D", "DE\nFD\n"},
                                                           {"E", "DE\nEF\n"},
                                                           {"F", "EF\nFD\nFG\n"},
                                                           {"G", "FG\n"}};
  for (const auto& [pszBranch, pszFiles] : astrFiles)
    EXPECT_EQ(GitFiles(pszBranch), pszFiles) << pszBranch;
}

TEST_F(HostileNameTest, TrunkInACircleIsImported) {
  CLogText oLog;
  Nest(oLog, "A", "main", 10000);
  const TResult tResult = Import(oLog, ByProvider("--nested-branches", ""));
  EXPECT_EQ(tResult.nStatus, 0) << tResult.strMessages;
  EXPECT_EQ(GitBranches(), ByProvider("A\nMain\n", "A\nmain\nmain-2\n"));
  EXPECT_NE(tResult.strMessages.find(ByProvider("imported 2 streams, 3 changesets, 3 items; 0 losses",
                                                "imported 3 streams, 3 changesets, 3 items; 0 losses")),
            std::string::npos)
      << tResult.strMessages;
}

}  // namespace
}  // namespace TALVEK::TEST
