#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/mcv/provider_fixture.h"

namespace TALVEK::TEST {
namespace {

class ChangeItemsTest : public ProviderTest {
 protected:
  /// The change items of a log in the order in which they were recorded.
  std::string Items(CLogText& oLog) {
    EXPECT_TRUE(Search(oLog));
    return m_oProvider.Items();
  }
};

TEST_F(ChangeItemsTest, FileThatLivesOnTheTrunkIsAddedAndThenEdited) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.3", 3000).At("1.2", 2000).At("1.1", 1000);
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.2 edit on Main 2000..3000\n"
            "a.c 1.3 edit on Main 3000..never\n");
}

TEST_F(ChangeItemsTest, RemovedAndRestoredFileIsAddedAgain) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .At("1.5", 5000)
      .At("1.4", 4000)
      .At("1.3", 3000, "dead")
      .At("1.2", 2000)
      .At("1.1", 1000);
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.2 edit on Main 2000..3000\n"
            "a.c 1.3 delete on Main 3000..4000\n"
            "a.c 1.4 readd on Main 4000..5000\n"
            "a.c 1.5 edit on Main 5000..never\n");
}

TEST_F(ChangeItemsTest, DeadFirstRevisionOfAFileAddedOnABranchGivesNothing) {
  CLogText oLog;
  oLog.File("/repo/mod/Attic/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000, "dead").At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1.2.1 add on BR 2000..never\n");
}

TEST_F(ChangeItemsTest, DeadRevisionAfterADeadOneIsASecondDelete) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.3", 3000, "dead").At("1.2", 2000, "dead").At("1.1", 1000);
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.2 delete on Main 2000..3000\n"
            "a.c 1.3 delete on Main 3000..never\n");
}

TEST_F(ChangeItemsTest, BranchRevisionOfAFileThatLivesOnTheTrunkIsAnEdit) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\na.c 1.1.2.1 edit on BR 2000..never\n");
}

TEST_F(ChangeItemsTest, EndOfAnImportedFilesFirstRevisionSkipsTheVendorsOne) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("VENDOR: 1.1.1")
      .Name("V1: 1.1.1.1")
      .At("1.2", 3000)
      .At("1.1", 1000)
      .At("1.1.1.1", 1000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..3000\na.c 1.2 edit on Main 3000..never\n");
}

TEST_F(ChangeItemsTest, EndOfAnImportedFileWithoutFurtherRevisionsIsNever) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("VENDOR: 1.1.1").At("1.1", 1000).At("1.1.1.1", 1000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..never\n");
}

TEST_F(ChangeItemsTest, OnlyTheVendorsFirstRevisionIsSkipped) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000).At("1.1.1.2", 2000).At("1.2", 3000);
  oLog.File("/repo/mod/b.c,v").At("1.1", 11000).At("1.1.1.1", 11000).At("1.1.1.2", 12000).At("1.2", 13000);
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.2 edit on Main 3000..never\n"
            "b.c 1.1 add on Main 11000..12000\n"
            "b.c 1.2 edit on Main 13000..never\n");
}

// 1.1.1.1 is skipped once, whatever comes before it; longer and shorter numbers are not.
TEST_F(ChangeItemsTest, EndTimeTable) {
  const struct {
    std::vector<std::pair<const char*, long>> atRevisions;
    const char* pszExpected;
  } atCases[] = {
      {{{"1.1", 1000}, {"1.1.1.1.2.1", 2000}, {"1.2", 3000}},
       "a.c 1.1 add on Main 1000..2000\na.c 1.2 edit on Main 3000..never\n"},
      {{{"1.1", 1000}, {"1.1.1.1.1.1", 2000}, {"1.2", 3000}},
       "a.c 1.1 add on Main 1000..2000\na.c 1.2 edit on Main 3000..never\n"},
      {{{"1.1", 1000}, {"1.1.1", 2000}, {"1.2", 3000}},
       "a.c 1.1 add on Main 1000..2000\na.c 1.2 edit on Main 3000..never\n"},
      {{{"1.1", 1000}, {"1.1.1.1", 1500}, {"1.1.1.1", 1500}, {"1.2", 3000}},
       "a.c 1.1 add on Main 1000..1500\na.c 1.2 edit on Main 3000..never\n"},
      {{{"1.0", 1000}, {"1.1.1.1", 1500}, {"1.2", 3000}},
       "a.c 1.0 add on Main 1000..3000\na.c 1.2 edit on Main 3000..never\n"},
      {{{"0.9", 1000}, {"1.1.1.1", 1500}}, "a.c 0.9 add on Main 1000..never\n"},
      {{{"1.1", 1000}, {"1.1.1.1", 1500}, {"1.1.1.1.2.1", 2000}, {"1.2", 3000}},
       "a.c 1.1 add on Main 1000..2000\na.c 1.2 edit on Main 3000..never\n"},
  };
  for (const auto& tCase : atCases) {
    m_oProvider.ResetStreams();
    CLogText oLog;
    oLog.File("/repo/mod/a.c,v");
    for (const auto& [pszNumber, nTime] : tCase.atRevisions)
      oLog.At(pszNumber, nTime);
    EXPECT_EQ(Items(oLog), tCase.pszExpected);
  }
}

TEST_F(ChangeItemsTest, BranchThatWasFilteredOutGivesNoItems) {
  Set(L"ExcludeTags", "BR");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\n");
}

TEST_F(ChangeItemsTest, BranchThatWasNeverCreatedGivesNoItems) {
  Set(L"CreateBranches", "0");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\n");
}

// If it changed the flags, the trunk would start with an edit.
TEST_F(ChangeItemsTest, RevisionWithoutStreamLeavesTheFlagsAlone) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .At("1.1", 1000, "dead")
      .At("1.1.2.1", 2000)
      .At("1.1.2.2", 2500, "dead")
      .At("1.2", 3000)
      .At("1.3", 4000);
  EXPECT_EQ(Items(oLog), "a.c 1.2 add on Main 3000..4000\na.c 1.3 edit on Main 4000..never\n");
}

TEST_F(ChangeItemsTest, RevisionEndsWithTheNextOneOfTheListOnWhateverBranch) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.2.0.2").At("1.3", 300).At("1.2", 200).At("1.2.2.1", 250);
  EXPECT_EQ(Items(oLog),
            "a.c 1.2 add on Main 200..250\n"
            "a.c 1.2.2.1 edit on BR 250..300\n"
            "a.c 1.3 edit on Main 300..never\n");
}

TEST_F(ChangeItemsTest, FlagsAreSharedByTrunkAndBranches) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("BR: 1.1.0.2")
      .At("1.2", 3000)
      .At("1.1", 1000)
      .At("1.1.2.1", 2000, "dead");
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.1.2.1 delete on BR 2000..3000\n"
            "a.c 1.2 readd on Main 3000..never\n");
}

TEST_F(ChangeItemsTest, FlagsStartAfreshWithEachFile) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000).At("1.2", 2000, "dead");
  oLog.File("/repo/mod/b.c,v").At("1.1", 11000, "dead").At("1.2", 12000);
  EXPECT_EQ(Items(oLog),
            "a.c 1.1 add on Main 1000..2000\n"
            "a.c 1.2 delete on Main 2000..never\n"
            "b.c 1.2 add on Main 12000..never\n");
}

TEST_F(ChangeItemsTest, OtherStatesGiveNothingAndChangeNothing) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .At("1.1", 1000, "Rel")
      .At("1.2", 2000, "exp")
      .At("1.3", 3000, "DEAD")
      .At("1.4", 4000, "Stab")
      .At("1.5", 5000, "EXP");
  EXPECT_EQ(Items(oLog),
            "a.c 1.2 add on Main 2000..3000\n"
            "a.c 1.3 delete on Main 3000..4000\n"
            "a.c 1.5 readd on Main 5000..never\n");
}

TEST_F(ChangeItemsTest, PathLosesTheModulesFolder) {
  CLogText oLog;
  oLog.File("/repo/mod/src/deep/a.c,v").At("1.1", 1000);
  oLog.File("/repo/top.c,v").At("1.1", 11000);
  EXPECT_EQ(Items(oLog), "src/deep/a.c 1.1 add on Main 1000..never\n 1.1 add on Main 11000..never\n");
}

TEST_F(ChangeItemsTest, FirstNameOfTheBranchesNumberTakesItsRevisions) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").Name("B: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\na.c 1.1.2.1 edit on B 2000..never\n");
}

// A tag with a branch's number (1.1.2 without the magic 0) counts as that branch's name.
TEST_F(ChangeItemsTest, NameWithoutMagicNumberTakesRevisionsToo) {
  Set(L"StreamsForTags", "1");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("PLAIN: 1.1.2").At("1.1", 1000).At("1.1.2.1", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\na.c 1.1.2.1 edit on PLAIN 2000..never\n");
}

TEST_F(ChangeItemsTest, RevisionOfOneOrThreeComponentsHasNoStreamOfItsOwn) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1", 500).At("1.1", 1000).At("1.1.2", 2000);
  EXPECT_EQ(Items(oLog), "a.c 1.1 add on Main 1000..2000\n");
}

TEST_F(ChangeItemsTest, ItemsOfOneCommitAreOneChange) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000, "Exp", "joe", "Start").At("1.2", 2000, "Exp", "ann", "Fix it");
  oLog.File("/repo/mod/b.c,v")
      .At("1.1", 1010, "Exp", "joe", "Start")
      .At("1.2", 2010, "Exp", "ann", "Fix that");
  EXPECT_TRUE(Search(oLog));
  EXPECT_EQ(m_oProvider.Changes(),
            "Main 1010 joe [Start] a.c 1.1, b.c 1.1\n"
            "Main 2000 ann [Fix it] a.c 1.2\n"
            "Main 2010 ann [Fix that] b.c 1.2\n");
}

TEST_F(ChangeItemsTest, BytesOfNamesAndMessagesAreKept) {
  CLogText oLog;
  oLog.File("/repo/mod/caf\xe9/\xc3\xa9.c,v").At("1.1", 1000, "Exp", "j\xf6", "gr\xfc\xdf \xe2\x82\xac");
  EXPECT_TRUE(Search(oLog));
  EXPECT_EQ(m_oProvider.Changes(), "Main 1000 j\xf6 [gr\xfc\xdf \xe2\x82\xac] caf\xe9/\xc3\xa9.c 1.1\n");
}

}  // namespace
}  // namespace TALVEK::TEST
