#include "tests/support/cvs_world.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/exact_road/random_world.h"
#include "tests/exact_road/rcs_file.h"

namespace TALVEK::TEST {
namespace {

TRcsFile Read(const CCvsWorld& oWorld, const std::string& strPath) {
  return ReadRcsFile(oWorld.Master(strPath));
}

TEST(CvsWorldTest, RevisionHasTheTimeTheAuthorAndTheMessageGiven) {
  CCvsWorld oWorld;
  oWorld.At(1100000000);
  oWorld.As("boris");
  oWorld.Put("dir/sub/a.txt", "a\n", "A 'quoted' message\nof two lines");
  const TRcsRevision tRevision = Read(oWorld, "dir/sub/a.txt").atRevisions.at("1.1");
  EXPECT_EQ(tRevision.nTime, 1100000000);
  EXPECT_EQ(tRevision.strAuthor, "boris");
  EXPECT_EQ(tRevision.strLog, "A 'quoted' message\nof two lines\n");
  EXPECT_EQ(tRevision.strText, "a\n");
}

// The client sees a change by the file's time, which has seconds only.
TEST(CvsWorldTest, QuickWritesOfOneLengthAreAllCommitted) {
  CCvsWorld oWorld;
  for (const char* pszText : {"1\n", "2\n", "3\n", "4\n"})
    oWorld.Put("a.txt", pszText, "change");
  EXPECT_EQ(Read(oWorld, "a.txt").strHead, "1.4");
}

TEST(CvsWorldTest, CommitMovesTheClockAnHourOn) {
  CCvsWorld oWorld;
  oWorld.At(1100000000);
  oWorld.Put("a.txt", "1\n", "one");
  oWorld.Put("a.txt", "2\n", "two");
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.2").nTime, 1100003600);
}

TEST(CvsWorldTest, BranchesHaveWorkingCopiesOfTheirOwn) {
  CCvsWorld oWorld;
  oWorld.Put("a.txt", "1\n", "one");
  oWorld.BranchTag("b1");
  oWorld.On("b1");
  oWorld.Put("a.txt", "on b1\n", "on b1");
  oWorld.On("");
  oWorld.Put("a.txt", "2\n", "two");
  oWorld.On("b1");
  EXPECT_EQ(ReadFile(oWorld.Copy() / "a.txt"), "on b1\n");
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1.2.1").strText, "on b1\n");
}

TEST(CvsWorldTest, SetDateChangesOneRevision) {
  CCvsWorld oWorld;
  oWorld.At(1100000000);
  oWorld.Put("a.txt", "1\n", "one");
  oWorld.Put("a.txt", "2\n", "two");
  oWorld.SetDate("a.txt", "1.2", 1000000000);
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1").nTime, 1100000000);
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.2").nTime, 1000000000);
  EXPECT_THROW(oWorld.SetDate("a.txt", "1.3", 0), std::runtime_error);
}

TEST(CvsWorldTest, DropCommitIdsLeavesNone) {
  CCvsWorld oWorld;
  oWorld.Put("a.txt", "1\n", "one");
  EXPECT_NE(Read(oWorld, "a.txt").atRevisions.at("1.1").strCommitId, "");
  oWorld.DropCommitIds();
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1").strCommitId, "");
}

// Imports write their files in a style of their own, with blanks for tabs.
TEST(CvsWorldTest, ImportedFilesCanBeEdited) {
  CCvsWorld oWorld;
  oWorld.Import({{"a.txt", "1\n"}}, "one", "VENDOR", "V1");
  oWorld.SetDate("a.txt", "1.1.1.1", 1100000000);
  oWorld.DropCommitIds();
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1.1.1").nTime, 1100000000);
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1.1.1").strCommitId, "");
  EXPECT_EQ(Read(oWorld, "a.txt").atRevisions.at("1.1").strCommitId, "");
}

TEST(CvsWorldTest, RefusalOfTheClientThrowsItsWords) {
  CCvsWorld oWorld;
  try {
    oWorld.Tag("3x");
    FAIL() << "the client took the name 3x";
  } catch (const std::runtime_error& oError) {
    EXPECT_STREQ(oError.what(),
                 "cvs tag 3x : status 1\ncvs [tag aborted]: tag `3x' must start with a letter\n");
  }
}

TEST(RandomWorldTest, SameSeedGivesTheSameHistory) {
  const CRandomWorld oOne(7), oOther(7);
  EXPECT_EQ(oOne.Story(), oOther.Story());
  const auto atOne = ReadRcsFiles(oOne.World().Root() / "m");
  const auto atOther = ReadRcsFiles(oOther.World().Root() / "m");
  ASSERT_EQ(atOne.size(), atOther.size());
  for (std::size_t n = 0; n < atOne.size(); ++n) {
    EXPECT_EQ(atOne[n].strPath, atOther[n].strPath);
    EXPECT_EQ(atOne[n].astrNames, atOther[n].astrNames);
    ASSERT_EQ(atOne[n].atRevisions.size(), atOther[n].atRevisions.size()) << atOne[n].strPath;
    for (const auto& [strNumber, tRevision] : atOne[n].atRevisions) {
      EXPECT_EQ(tRevision.nTime, atOther[n].atRevisions.at(strNumber).nTime);
      EXPECT_EQ(tRevision.strText, atOther[n].atRevisions.at(strNumber).strText);
    }
  }
}

}  // namespace
}  // namespace TALVEK::TEST
