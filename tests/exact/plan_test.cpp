#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "exact/check.h"
#include "exact/make_plan.h"
#include "tests/exact/plan_dump.h"
#include "tests/exact/rcs_builder.h"

namespace TALVEK::EXACT::TEST {

namespace {

/// The plan of these files, as text; its check has found no difference.
struct TPlanned {
  explicit TPlanned(const std::vector<TRcsFile>& atFiles, THistoryOptions tOptions = {})
      : oHistory(std::move(tOptions)), tMade(Make(atFiles)) {
    EXPECT_EQ(0U, tMade.tCheck.nDifferences);
  }

  TMadePlan Make(const std::vector<TRcsFile>& atFiles) {
    for (const TRcsFile& tFile : atFiles)
      oHistory.AddFile(tFile);
    oHistory.Finish();
    return MakePlan(oHistory);
  }
  std::string Text() const { return Dump(tMade.oPlan); }

  CHistory oHistory;
  TMadePlan tMade;
};

std::string PlanOf(const std::vector<TRcsFile>& atFiles) {
  return TPlanned(atFiles).Text();
}

using B = CRcsBuilder;

}  // namespace

// Grouping and order.

TEST(PlanTest, CommitOfOneIdIsOneChangesetHoweverLongItTook) {
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 500 joe: m\n"
      "  a 1.1\n"
      "  b 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "m", "id1"), B("b").Rev("1.1", 500, "joe", "m", "id1")}));
}

// `cvs admin -m` has given one of them another message since.
TEST(PlanTest, CommitOfOneIdWithTwoMessagesKeepsBoth) {
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 100 joe: m\n"
      "  a 1.1\n"
      "#1 Main own 101 joe: n\n"
      "  b 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "m", "id1"), B("b").Rev("1.1", 101, "joe", "n", "id1")}));
}

TEST(PlanTest, WithoutIdsEachRevisionFollowsWithin300Seconds) {
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 700 joe: m\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "  c 1.1\n"
      "#1 Main own 1001 joe: m\n"
      "  d 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "m"), B("b").Rev("1.1", 400, "joe", "m"),
              B("c").Rev("1.1", 700, "joe", "m"), B("d").Rev("1.1", 1001, "joe", "m")}));
}

TEST(PlanTest, FileThatComesTwiceCutsAtTheWidestGap) {
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 110 joe: m\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 Main own 220 joe: m\n"
      "  a 1.2 was 1.1\n"
      "  c 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "m").Rev("1.2", 220, "joe", "m"),
              B("b").Rev("1.1", 110, "joe", "m"), B("c").Rev("1.1", 210, "joe", "m")}));
}

// One group holds a 1.2 and b 1.1, another a 1.1 and b 1.2: each would have to come before the other.
TEST(PlanTest, CircleIsCutAtItsWidestGap) {
  const TPlanned tPlanned({B("a").Rev("1.1", 100, "joe", "x").Rev("1.2", 200, "joe", "y"),
                           B("b").Rev("1.1", 190, "joe", "y").Rev("1.2", 250, "joe", "x")});
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 Main own 200 joe: y\n"
      "  a 1.2 was 1.1\n"
      "  b 1.1\n"
      "#2 Main own 250 joe: x\n"
      "  b 1.2 was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(1U, tPlanned.tMade.tNotes.nCircles);
}

TEST(PlanTest, ClockThatRanBackwardsIsNotedAndMovesNoContent) {
  const TPlanned tPlanned({B("a").Rev("1.1", 900, "joe", "x").Rev("1.2", 100, "joe", "y")});
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 900 joe: x\n"
      "  a 1.1\n"
      "#1 Main own 900 (100) joe: y\n"
      "  a 1.2 was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(1U, tPlanned.tMade.tNotes.nClocks);
  EXPECT_EQ(
      std::vector<std::string>{
          "The clock ran backwards by 800 s before a 1.2 (Main): the change gets the later time"},
      tPlanned.tMade.tNotes.astrLines);
}

TEST(PlanTest, RevisionInAnyStateButDeadIsAliveAndDeadOneDeletesOnce) {
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 Main own 900 joe: y\n"
      "  a deleted was 1.1\n"
      "#2 Main own 3000 joe: z\n"
      "  a 1.4\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.2", 900, "joe", "y")
                  .Dead()
                  .Rev("1.3", 2000, "joe", "again")
                  .Dead()
                  .Rev("1.4", 3000, "joe", "z")}));
}

// Vendor branches.

TEST(PlanTest, ImportIsAChangeOfVendorBranchAndTrunk) {
  EXPECT_EQ(
      "Main trunk\n"
      "R1 tag from Main #0\n"
      "V vendor\n"
      "#0 Main own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#1 V own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#2 Main own 500 joe: import 2\n"
      "  a 1.1.1.2 was 1.1.1.1\n"
      "#3 V own 500 joe: import 2\n"
      "  a 1.1.1.2 was 1.1.1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "Initial revision")
                  .Rev("1.1.1.1", 100, "joe", "import")
                  .Rev("1.1.1.2", 500, "joe", "import 2")
                  .Name("V", "1.1.1")
                  .Name("R1", "1.1.1.1")
                  .Default("1.1.1")}));
}

TEST(PlanTest, FirstRevisionWithAnotherContentThanTheImportIsAChangeBeforeIt) {
  EXPECT_EQ(
      "Main trunk\n"
      "V vendor\n"
      "#0 Main own 100 joe: first\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 Main own 100 joe: import\n"
      "  a 1.1.1.1 was 1.1\n"
      "  b deleted was 1.1\n"
      "#2 V own 100 joe: import\n"
      "  a 1.1.1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "first")
                  .Rev("1.1.1.1", 100, "joe", "import")
                  .Differs()
                  .Name("V", "1.1.1")
                  .Default("1.1.1"),
              B("b")
                  .Rev("1.1", 100, "joe", "first")
                  .Rev("1.1.1.1", 100, "joe", "import")
                  .Dead()
                  .Name("V", "1.1.1")
                  .Default("1.1.1")}));
}

TEST(PlanTest, BranchThatImportGaveAnEvenNumberIsAVendorBranch) {
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #1\n"
      "V vendor\n"
      "#0 Main own 100 joe: first\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 Main own 200 joe: second\n"
      "  a 1.2 was 1.1\n"
      "#2 V own 500 joe: import\n"
      "  a 1.1.2.1\n"
      "#3 B own 900 joe: on the branch\n"
      "  b 1.1.2.1 was 1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "first")
                  .Rev("1.2", 200, "joe", "second")
                  .Rev("1.1.2.1", 500, "joe", "import")
                  .Name("V", "1.1.2")
                  .Name("B", "1.2.0.2"),
              B("b")
                  .Rev("1.1", 100, "joe", "first")
                  .Rev("1.1.2.1", 900, "joe", "on the branch")
                  .Name("B", "1.1.0.2")}));
}

TEST(PlanTest, TrunkShowsNoImportAfterItsOwnChange) {
  EXPECT_EQ(
      "Main trunk\n"
      "V vendor\n"
      "#0 Main own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#1 V own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#2 Main own 300 ann: local\n"
      "  a 1.2 was 1.1.1.1\n"
      "#3 V own 500 joe: import 2\n"
      "  a 1.1.1.2 was 1.1.1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "Initial revision")
                  .Rev("1.2", 300, "ann", "local")
                  .Rev("1.1.1.1", 100, "joe", "import")
                  .Rev("1.1.1.2", 500, "joe", "import 2")
                  .Name("V", "1.1.1")}));
}

// `cvs admin -b1.1.1` after a change of the trunk: the client shows the vendor's last revision again.
TEST(PlanTest, EndOfTrunkFollowsDefaultBranches) {
  const TPlanned tPlanned({B("a")
                               .Rev("1.1", 100, "joe", "Initial revision")
                               .Rev("1.2", 300, "ann", "local")
                               .Rev("1.1.1.1", 100, "joe", "import")
                               .Name("V", "1.1.1")
                               .Default("1.1.1"),
                           B("b").Rev("1.1", 300, "ann", "local").Default("1.1.1")});
  EXPECT_EQ(
      "Main trunk\n"
      "V vendor\n"
      "#0 Main own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#1 V own 100 joe: import\n"
      "  a 1.1.1.1\n"
      "#2 Main own 300 ann: local\n"
      "  a 1.2 was 1.1.1.1\n"
      "  b 1.1\n"
      "#3 Main end 300 (100)\n"
      "  a 1.1.1.1 was 1.2\n"
      "  b deleted was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(
      "The trunk as default branches have it: 2 files\n\n"
      "CVS has no such commit: default branches show these files otherwise than the trunk's last "
      "revisions.\n\n"
      "a 1.1.1.1 instead of 1.2\n"
      "b isn't in it",
      tPlanned.tMade.oPlan.Message(3));
  EXPECT_EQ("cvsexact", tPlanned.tMade.oPlan.Author(3));
}

// Branches.

TEST(PlanTest, BranchWithoutRevisionsPointsToItsBase) {
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #1\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 Main own 900 joe: y\n"
      "  a 1.2 was 1.1\n"
      "#2 Main own 2000 joe: z\n"
      "  a 1.3 was 1.2\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.2", 900, "joe", "y")
                  .Rev("1.3", 2000, "joe", "z")
                  .Name("B", "1.2.0.2")}));
}

TEST(PlanTest, StartChangeTurnsTheNearestStateIntoTheBranch) {
  const TPlanned tPlanned(
      {B("a").Rev("1.1", 100, "joe", "x").Rev("1.2", 900, "joe", "y").Name("B", "1.2.0.2"),
       B("b")
           .Rev("1.1", 100, "joe", "x")
           .Rev("1.2", 900, "joe", "y")
           .Rev("1.1.2.1", 5000, "ann", "z")
           .Name("B", "1.1.0.2"),
       B("c").Rev("1.1", 100, "joe", "x").Name("B", "1.1.0.2"), B("d").Rev("1.1", 100, "joe", "x")});
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "  c 1.1\n"
      "  d 1.1\n"
      "#1 Main own 900 joe: y\n"
      "  a 1.2 was 1.1\n"
      "  b 1.2 was 1.1\n"
      "#2 B start 900\n"
      "  a 1.2 was 1.1\n"
      "  d deleted was 1.1\n"
      "#3 B own 5000 ann: z\n"
      "  b 1.1.2.1 was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(
      "Start of branch B: 1 file differs from Main at 1970-01-01 00:01:40 UTC, 1 is not in it\n\n"
      "CVS has no such commit: it keeps names file by file, and no change left the files in this state.\n\n"
      "a 1.2 instead of 1.1\n"
      "d isn't in it",
      tPlanned.tMade.oPlan.Message(2));
}

// Both changes of the trunk have all files of the tag in place: the later one has more to take away.
TEST(PlanTest, BaseWithTheFewestFilesToTakeAwayWins) {
  EXPECT_EQ(
      "Main trunk\n"
      "T tag from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 T start 100\n"
      "  b deleted was 1.1\n"
      "#2 Main own 900 joe: y\n"
      "  c 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "x").Name("T", "1.1"), B("b").Rev("1.1", 100, "joe", "x"),
              B("c").Rev("1.1", 900, "joe", "y")}));
}

// Branch and trunk have one file of two in place, and nothing to take away; the branch had it earlier.
TEST(PlanTest, TrunkComesFirstAmongEqualBases) {
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "T tag from Main #2\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 B own 400 ann: y\n"
      "  a 1.1.2.1 was 1.1\n"
      "#2 Main own 900 joe: z\n"
      "  b 1.2 was 1.1\n"
      "#3 T start 900 (400)\n"
      "  a 1.1.2.1 was 1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.1.2.1", 400, "ann", "y")
                  .Name("B", "1.1.0.2")
                  .Name("T", "1.1.2.1"),
              B("b")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.2", 900, "joe", "z")
                  .Name("B", "1.1.0.2")
                  .Name("T", "1.2")}));
}

TEST(PlanTest, FileJoinsABranchWhenItsRevisionComes) {
  const TPlanned tPlanned(
      {B("a").Rev("1.1", 100, "joe", "x").Rev("1.1.2.1", 400, "ann", "y").Name("B", "1.1.0.2"),
       B("b").Rev("1.1", 900, "joe", "z").Rev("1.1.2.1", 2000, "ann", "w").Name("B", "1.1.0.2")});
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 B own 400 ann: y\n"
      "  a 1.1.2.1 was 1.1\n"
      "#2 Main own 900 joe: z\n"
      "  b 1.1\n"
      "#3 B join 900\n"
      "  b 1.1\n"
      "#4 B own 2000 ann: w\n"
      "  b 1.1.2.1 was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(
      "Files that joined branch B: 1 file\n\n"
      "CVS has no such commit: files were put on the branch after its first change.\n\n"
      "b 1.1 is new",
      tPlanned.tMade.oPlan.Message(3));
}

// `cvs add` on a branch: a dead 1.1 on the trunk, which isn't a change of it.
TEST(PlanTest, FileAddedOnABranchOnlyIsNoChangeOfTheTrunk) {
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 B own 400 ann: y\n"
      "  b 1.1.2.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "x").Name("B", "1.1.0.2"),
              B("b")
                  .Rev("1.1", 400, "ann", "file b was initially added on branch B.")
                  .Dead()
                  .Rev("1.1.2.1", 400, "ann", "y")
                  .Name("B", "1.1.0.2")}));
}

// A file of the trunk that is added to the branch: CVS begins its line with a dead revision of 1.1's time.
TEST(PlanTest, DeadFirstRevisionThatCvsMadeIsNoChange) {
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 Main own 450 joe: b\n"
      "  b 1.1\n"
      "#2 B own 900 ann: y\n"
      "  b 1.1.2.2\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "x").Name("B", "1.1.0.2"),
              B("b")
                  .Rev("1.1", 450, "joe", "b")
                  .Rev("1.1.2.1", 450, "ann", "file b was added on branch B on 2001-01-01 00:00:00 +0000")
                  .Dead()
                  .Rev("1.1.2.2", 900, "ann", "y")
                  .Name("B", "1.1.0.2")}));
}

// Two names for one line: more files know B, so it owns the changes, and A is a name for their end.
TEST(PlanTest, SecondNameOfALineIsANameForItsState) {
  EXPECT_EQ(
      "Main trunk\n"
      "A branch from B #1\n"
      "B branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 B own 400 ann: y\n"
      "  a 1.1.2.1 was 1.1\n"
      "#2 A start 400\n"
      "  b deleted was 1.1\n",
      PlanOf({B("a")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.1.2.1", 400, "ann", "y")
                  .Name("A", "1.1.0.2")
                  .Name("B", "1.1.0.2"),
              B("b").Rev("1.1", 100, "joe", "x").Name("B", "1.1.0.2")}));
}

TEST(PlanTest, NameThatIsABranchHereAndATagThereGivesWhatTheClientGives) {
  EXPECT_EQ(
      "Main trunk\n"
      "N branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 N own 400 ann: y\n"
      "  a 1.1.2.1 was 1.1\n"
      "#2 Main own 900 joe: z\n"
      "  b 1.2 was 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "x").Rev("1.1.2.1", 400, "ann", "y").Name("N", "1.1.0.2"),
              B("b").Rev("1.1", 100, "joe", "x").Rev("1.2", 900, "joe", "z").Name("N", "1.1")}));
}

TEST(PlanTest, LineWithoutANameIsAStreamUnlessThatIsOff) {
  const std::vector<TRcsFile> atFiles{B("a").Rev("1.1", 100, "joe", "x").Rev("1.1.2.1", 400, "ann", "y")};
  EXPECT_EQ(
      "Main trunk\n"
      "unnamed-1.1.2 branch from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "#1 unnamed-1.1.2 own 400 ann: y\n"
      "  a 1.1.2.1 was 1.1\n",
      PlanOf(atFiles));
  THistoryOptions tOptions;
  tOptions.bUnnamedBranches = false;
  EXPECT_EQ(
      "Main trunk\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n",
      TPlanned(atFiles, tOptions).Text());
}

// T is on a revision of the branch that is left out: its state comes in a start change.
TEST(PlanTest, NamesThatAreLeftOutLeaveTheRestExact) {
  THistoryOptions tOptions;
  tOptions.fnWanted = [](std::string_view strName) { return strName != "B"; };
  const TPlanned tPlanned({B("a")
                               .Rev("1.1", 100, "joe", "x")
                               .Rev("1.1.2.1", 400, "ann", "y")
                               .Name("B", "1.1.0.2")
                               .Name("T", "1.1.2.1"),
                           B("b").Rev("1.1", 100, "joe", "x").Name("T", "1.1")},
                          tOptions);
  EXPECT_EQ(
      "Main trunk\n"
      "T tag from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 T start 400\n"
      "  a 1.1.2.1 was 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(1U, tPlanned.tMade.tNotes.nNamesLeftOut);
}

// In a and a2, branch C sprouts from branch B; in b, branch B from branch C. B changed first, so it is the
// parent, and what it has of C joined it later.
TEST(PlanTest, OfBranchesThatWouldBeEachOthersParentsTheFirstOneIsTheParent) {
  const auto File = [](const char* pszPath) {
    return B(pszPath)
        .Rev("1.1", 100, "joe", "x")
        .Rev("1.1.2.1", 1000, "ann", "b1")
        .Rev("1.1.2.1.2.1", 2000, "ann", "c1")
        .Name("B", "1.1.0.2")
        .Name("C", "1.1.2.1.0.2");
  };
  EXPECT_EQ(
      "Main trunk\n"
      "B branch from Main #0\n"
      "C branch from B #2\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  a2 1.1\n"
      "  b 1.1\n"
      "#1 B start 100\n"
      "  b deleted was 1.1\n"
      "#2 B own 1000 ann: b1\n"
      "  a 1.1.2.1 was 1.1\n"
      "  a2 1.1.2.1 was 1.1\n"
      "#3 C start 1000 (100)\n"
      "  b 1.1\n"
      "#4 C own 2000 ann: c1\n"
      "  a 1.1.2.1.2.1 was 1.1.2.1\n"
      "  a2 1.1.2.1.2.1 was 1.1.2.1\n"
      "#5 C own 3000 ann: c2\n"
      "  b 1.1.2.1 was 1.1\n"
      "#6 B join 3000\n"
      "  b 1.1.2.1\n"
      "#7 B own 4000 ann: b2\n"
      "  b 1.1.2.1.2.1 was 1.1.2.1\n",
      PlanOf({File("a"), File("a2"),
              B("b")
                  .Rev("1.1", 100, "joe", "x")
                  .Rev("1.1.2.1", 3000, "ann", "c2")
                  .Rev("1.1.2.1.2.1", 4000, "ann", "b2")
                  .Name("C", "1.1.0.2")
                  .Name("B", "1.1.2.1.0.2")}));
}

TEST(PlanTest, TagOnDeadOrMissingRevisionsOnlyHasNoFile) {
  EXPECT_EQ(
      "Main trunk\n"
      "T tag\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n"
      "  b 1.1\n"
      "#1 Main own 900 joe: y\n"
      "  a deleted was 1.1\n",
      PlanOf({B("a").Rev("1.1", 100, "joe", "x").Rev("1.2", 900, "joe", "y").Dead().Name("T", "1.2"),
              B("b").Rev("1.1", 100, "joe", "x").Name("T", "1.9")}));
}

TEST(PlanTest, EndTimeLeavesOutWhatIsLaterAndTagsOfIt) {
  THistoryOptions tOptions;
  tOptions.nEndTime = 500;
  const TPlanned tPlanned(
      {B("a").Rev("1.1", 100, "joe", "x").Rev("1.2", 900, "joe", "y").Name("T1", "1.1").Name("T2", "1.2")},
      tOptions);
  EXPECT_EQ(
      "Main trunk\n"
      "T1 tag from Main #0\n"
      "#0 Main own 100 joe: x\n"
      "  a 1.1\n",
      tPlanned.Text());
  EXPECT_EQ(std::vector<std::string>{"tag T2 names revisions after the end date: left out"},
            tPlanned.tMade.tNotes.astrLines);
}

// The check, against plans that are wrong in one place.

TEST(CheckTest, NamesWhatIsLostAndWhatDiffers) {
  const std::vector<TRcsFile> atFiles{
      B("a").Rev("1.1", 100, "joe", "x").Rev("1.2", 900, "joe", "y").Name("T", "1.1")};
  TPlanned tPlanned(atFiles);
  CPlan& oPlan = tPlanned.tMade.oPlan;
  oPlan.EditStreams()[TRUNK].anChanges.pop_back();
  oPlan.EditStreams()[1].nBase = NONE;
  const TPlanCheck tCheck = CheckPlan(oPlan, MakeTrunkView(tPlanned.oHistory));
  std::vector<std::string> strWhat;
  for (const TPlanDifference& tDifference : tCheck.atFirst)
    strWhat.push_back(tDifference.strWhat);
  EXPECT_EQ((std::vector<std::string>{"Main: a isn't what the client gives (history: 1.2, plan: 1.1)",
                                      "T: a isn't what the client gives (history: 1.1, plan: no file)",
                                      "Main: a is in no change (history: 1.2, plan: no file)"}),
            strWhat);
  EXPECT_EQ(3U, tCheck.nDifferences);
}

}  // namespace TALVEK::EXACT::TEST
