// What the real client does and shows. An exact import stands on these facts; a client that thinks otherwise
// makes these tests fail first.

#include <gtest/gtest.h>

#include <string>

#include "tests/exact_road/client_tree.h"
#include "tests/exact_road/rcs_file.h"
#include "tests/support/cvs_world.h"
#include "tests/support/utc_text.h"

namespace TALVEK::TEST {
namespace {

class ClientFactsTest : public ::testing::Test {
 protected:
  /// "a.txt=a1 b.txt=b1" of what the client gives, or "refused".
  std::string Asked(const std::string& strCommand) const {
    const auto mapFiles = AskClient({m_oWorld.Root(), m_oWorld.Module()}, strCommand);
    if (!mapFiles) return "refused";
    std::string strText;
    for (const auto& [strPath, tFile] : *mapFiles) {
      strText +=
          (strText.empty() ? "" : " ") + strPath + "=" + tFile.strBytes.substr(0, tFile.strBytes.find('\n'));
    }
    return strText;
  }
  std::string AtTime(std::int64_t nSeconds) const { return Asked("checkout -D '" + UtcText(nSeconds) + "'"); }
  TRcsRevision Revision(const std::string& strPath, const std::string& strNumber) const {
    return ReadRcsFile(m_oWorld.Master(strPath)).atRevisions.at(strNumber);
  }

  static constexpr std::int64_t START = 1000000000;
  static constexpr std::int64_t HOUR = 3600;
  CCvsWorld m_oWorld;
};

TEST_F(ClientFactsTest, FileAddedOnABranchHasADeadFirstRevisionOnTheTrunkOfTheSameTimeAndCommit) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.BranchTag("b1");
  m_oWorld.On("b1");
  m_oWorld.Put("new.txt", "new\n", "New on b1");
  const TRcsRevision tTrunk = Revision("new.txt", "1.1"), tBranch = Revision("new.txt", "1.1.2.1");
  EXPECT_TRUE(tTrunk.IsDead());
  EXPECT_EQ(tTrunk.strLog, "file new.txt was initially added on branch b1.\n");
  EXPECT_EQ(tTrunk.nTime, tBranch.nTime);
  EXPECT_EQ(tTrunk.strCommitId, tBranch.strCommitId);
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a1");
}

// The dead revision has the time of the trunk's, which can be years before its commit, and the id of the
// branch's.
TEST_F(ClientFactsTest, FileAddedOnTheTrunkAndThenOnABranchHasADeadRevisionThereOfTheTrunksTime) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.BranchTag("b1");
  m_oWorld.Put("new.txt", "new\n", "New on the trunk");
  m_oWorld.Pass(100 * HOUR);
  m_oWorld.On("b1");
  m_oWorld.Put("new.txt", "new on b1\n", "New on b1");
  const TRcsRevision tDead = Revision("new.txt", "1.1.2.1"), tAlive = Revision("new.txt", "1.1.2.2");
  EXPECT_TRUE(tDead.IsDead());
  EXPECT_EQ(tDead.strLog, "file new.txt was added on branch b1 on 2001-09-13 07:46:40 +0000\n");
  EXPECT_EQ(tDead.nTime, Revision("new.txt", "1.1").nTime);
  EXPECT_EQ(tDead.strCommitId, tAlive.strCommitId);
  EXPECT_EQ(tAlive.nTime - tDead.nTime, 101 * HOUR);
  EXPECT_EQ(Asked("export -r b1"), "a.txt=a1 new.txt=new on b1");
}

TEST_F(ClientFactsTest, TagOnADeadRevisionGivesNoFile) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.Put("b.txt", "b1\n", "b");
  m_oWorld.Remove("b.txt");
  m_oWorld.Commit("Without b");
  m_oWorld.TagInRepository("-r 1.2 DEAD", "b.txt");
  m_oWorld.TagInRepository("-b -r 1.2 dead_branch", "b.txt");
  EXPECT_EQ(Asked("export -r DEAD"), "");
  EXPECT_EQ(Asked("export -r dead_branch"), "");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a1");
}

TEST_F(ClientFactsTest, DefaultBranchWithoutRevisionsGivesNoFileOnTheTrunk) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.Put("b.txt", "b1\n", "b");
  m_oWorld.Admin("-b1.1.1", "b.txt");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a1");
  EXPECT_EQ(Asked("export -r HEAD"), "a.txt=a1");
  EXPECT_EQ(AtTime(START + 10 * HOUR), "a.txt=a1 b.txt=b1");
}

TEST_F(ClientFactsTest, ImportsAreSeenOnTheTrunkAtTheirTime) {
  m_oWorld.Import({{"a.txt", "a1\n"}, {"b.txt", "b1\n"}}, "One", "VENDOR", "V1");
  m_oWorld.Import({{"a.txt", "a2\n"}, {"b.txt", "b2\n"}}, "Two", "VENDOR", "V2");
  EXPECT_EQ(AtTime(START + 1), "a.txt=a1 b.txt=b1");
  EXPECT_EQ(AtTime(START + HOUR + 1), "a.txt=a2 b.txt=b2");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a2 b.txt=b2");
  EXPECT_EQ(Asked("export -r VENDOR"), "a.txt=a2 b.txt=b2");
  EXPECT_EQ(Asked("export -r V1"), "a.txt=a1 b.txt=b1");
}

// With a date the client doesn't ask what the default branch is.
TEST_F(ClientFactsTest, TrunkAfterResetOfTheDefaultBranchDiffersWithAndWithoutADate) {
  m_oWorld.Import({{"a.txt", "a1\n"}}, "One", "VENDOR", "V1");
  m_oWorld.Import({{"a.txt", "a2\n"}}, "Two", "VENDOR", "V2");
  m_oWorld.On("");
  m_oWorld.Admin("-b", "a.txt");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a1");
  EXPECT_EQ(AtTime(START + 10 * HOUR), "a.txt=a2");
}

// A file that is new with `import -b 1.1.3` gets 1.1.3 as its default branch: the trunk does show such a
// vendor branch.
TEST_F(ClientFactsTest, OtherVendorBranchIsSeenOnTheTrunkOfFilesThatItBroughtFirst) {
  m_oWorld.Import({{"w.txt", "w1\n"}}, "Others", "OTHERS", "O1", "-b 1.1.3");
  m_oWorld.Import({{"w.txt", "w2\n"}}, "Others again", "OTHERS", "O2", "-b 1.1.3");
  EXPECT_EQ(ReadRcsFile(m_oWorld.Master("w.txt")).strBranch, "1.1.3");
  EXPECT_EQ(Asked("checkout -A"), "w.txt=w2");
  EXPECT_EQ(Asked("export -r HEAD"), "w.txt=w2");
  EXPECT_EQ(AtTime(START + 10 * HOUR), "w.txt=w2");
}

TEST_F(ClientFactsTest, ImportOfOthersBesideTheVendorIsNotSeenOnTheTrunk) {
  m_oWorld.Import({{"a.txt", "a1\n"}}, "One", "VENDOR", "V1");
  m_oWorld.Import({{"a.txt", "a other\n"}, {"w.txt", "w\n"}}, "Others", "OTHERS", "O1", "-b 1.1.3");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a1 w.txt=w");
  EXPECT_EQ(Asked("export -r OTHERS"), "a.txt=a other w.txt=w");
  EXPECT_EQ(AtTime(START + 10 * HOUR), "a.txt=a1 w.txt=w");
}

TEST_F(ClientFactsTest, RemovedVendorRevisionOfAnImportStaysOnTheTrunk) {
  m_oWorld.Import({{"a.txt", "a1\n"}, {"b.txt", "b1\n"}}, "One", "VENDOR", "V1");
  m_oWorld.Import({{"a.txt", "a2\n"}}, "Two", "VENDOR", "V2");
  EXPECT_EQ(Asked("checkout -A"), "a.txt=a2 b.txt=b1");
  EXPECT_EQ(Asked("export -r V2"), "a.txt=a2");
}

TEST_F(ClientFactsTest, BranchWithoutRevisionsGivesTheRevisionItSproutsFrom) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.BranchTag("b1");
  m_oWorld.Put("a.txt", "a2\n", "a again");
  EXPECT_EQ(Asked("export -r b1"), "a.txt=a1");
}

TEST_F(ClientFactsTest, NameThatIsABranchHereAndATagThereGivesBoth) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.Put("b.txt", "b1\n", "b");
  m_oWorld.BranchTag("both", "a.txt");
  m_oWorld.Tag("both", "b.txt");
  m_oWorld.On("both");
  m_oWorld.Put("a.txt", "a on both\n", "a on both");
  m_oWorld.On("");
  m_oWorld.Put("b.txt", "b2\n", "b again");
  EXPECT_EQ(Asked("export -r both"), "a.txt=a on both b.txt=b1");
}

// A log can name what the client never gives: such names came in by other programs.
TEST_F(ClientFactsTest, NamesThatDoNotBeginWithALetterAreRefused) {
  m_oWorld.Put("a.txt", "a1\n", "a");
  m_oWorld.Edit("a.txt", "\nsymbols;", "\nsymbols\n\t#x:1.1\n\t3x:1.1\n\tfine:1.1\n\tabsent:1.7;");
  EXPECT_EQ(Asked("export -r '#x'"), "refused");
  EXPECT_EQ(Asked("export -r 3x"), "refused");
  EXPECT_EQ(Asked("export -r fine"), "a.txt=a1");
  EXPECT_EQ(Asked("export -r absent"), "");
}

TEST_F(ClientFactsTest, FolderInThePlaceOfAFileHidesItExceptFromCheckoutsOfItsFolderAlone) {
  m_oWorld.Put("a", "file\n", "a is a file");
  m_oWorld.Tag("AS_FILE");
  m_oWorld.Remove("a");
  m_oWorld.Commit("Make room");
  std::filesystem::create_directory(m_oWorld.Root() / "m/a");
  m_oWorld.On("");
  m_oWorld.Put("a/b", "in folder\n", "a is a folder");
  EXPECT_EQ(Asked("checkout -A"), "a/b=in folder");
  EXPECT_EQ(Asked("export -r AS_FILE"), "refused");
  EXPECT_EQ(Asked("export -l -r AS_FILE"), "a=file");
  const std::string strRoot = ShellQuote(m_oWorld.Root().string());
  EXPECT_EQ(ShellOutput("cvs -f -Q -d " + strRoot + " checkout -p -r 1.1 m/a 2>/dev/null"), "in folder\n");
  EXPECT_EQ(RevisionFromClient({m_oWorld.Root(), "m"}, "a", "1.1"), "file\n");
}

TEST_F(ClientFactsTest, FolderWithoutFilesHidesAFileToo) {
  m_oWorld.Put("a", "file\n", "a is a file");
  m_oWorld.Remove("a");
  m_oWorld.Commit("Make room");
  std::filesystem::create_directory(m_oWorld.Root() / "m/a");
  const TShellResult tResult =
      RunShell("cd " + ShellQuote(m_oWorld.Copy().string()) + " && cvs -f -Q -d " +
               ShellQuote(m_oWorld.Root().string()) + " checkout -r 1.1 -d x m/a && ls x");
  EXPECT_EQ(tResult.nStatus, 0);
  EXPECT_EQ(tResult.strOutput, "CVS\n");
  EXPECT_EQ(RevisionFromClient({m_oWorld.Root(), "m"}, "a", "1.1"), "file\n");
}

// A name that both have is refused; one that only the folder's files have is given.
TEST_F(ClientFactsTest, FileAndFolderOfOneNameAliveAtOneTimeAreRefused) {
  m_oWorld.Import({{"thing/part", "part\n"}}, "In a folder", "VENDOR", "V1");
  m_oWorld.Import({{"thing", "file\n"}}, "A file", "VENDOR", "V2");
  EXPECT_EQ(Asked("checkout -A"), "refused");
  EXPECT_EQ(Asked("export -r VENDOR"), "refused");
  EXPECT_EQ(Asked("export -r V2"), "refused");
  EXPECT_EQ(Asked("export -r V1"), "thing/part=part");
  EXPECT_EQ(AtTime(START + 1), "thing/part=part");
  EXPECT_EQ(AtTime(START + 2 * HOUR), "refused");
}

TEST_F(ClientFactsTest, FirstRevisionAndTheImportBesideItHaveOneContentTimeAndAuthor) {
  m_oWorld.Import({{"v.txt", "v $Log$\n"}}, "Words", "VENDOR", "V1");
  m_oWorld.Import({{"o.txt", "o\n"}}, "Words of others", "OTHERS", "O1", "-b 1.1.3");
  for (const auto& [pszPath, pszImport] : {std::pair{"v.txt", "1.1.1.1"}, std::pair{"o.txt", "1.1.3.1"}}) {
    const TRcsRevision tFirst = Revision(pszPath, "1.1"), tImport = Revision(pszPath, pszImport);
    EXPECT_EQ(tFirst.strText, tImport.strText);
    EXPECT_EQ(tFirst.nTime, tImport.nTime);
    EXPECT_EQ(tFirst.strAuthor, tImport.strAuthor);
    EXPECT_EQ(tFirst.strLog, "Initial revision\n");
  }
  // The client writes the message into what it gives.
  const TCvsModule tModule = {m_oWorld.Root(), m_oWorld.Module()};
  EXPECT_NE(RevisionFromClient(tModule, "v.txt", "1.1"), RevisionFromClient(tModule, "v.txt", "1.1.1.1"));
}

}  // namespace
}  // namespace TALVEK::TEST
