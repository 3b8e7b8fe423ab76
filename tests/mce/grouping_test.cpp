#include <gtest/gtest.h>

#include "tests/mce/engine_fixture.h"

namespace TALVEK::TEST {
namespace {

// The window is measured from the first item of a change, not from its latest one.
TEST(GroupingTest, ItemBeyondWindowOfFirstItemOpensNewChange) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").At(1299);
  oEngine.Add("c.c").At(1301);
  EXPECT_EQ(oEngine.Changes(), "1299 joe: a.c b.c\n1301 joe: c.c\n");
}

TEST(GroupingTest, WindowHoldsItsBordersOnEitherSide) {
  const struct {
    long nTime;
    const char* pszExpected;
  } atCases[] = {
      {1300, "1300 joe: a.c b.c\n"},
      {1301, "1000 joe: a.c\n1301 joe: b.c\n"},
      {700, "1000 joe: a.c b.c\n"},
      {699, "699 joe: b.c\n1000 joe: a.c\n"},
  };
  for (const auto& tCase : atCases) {
    CEngine oEngine;
    oEngine.Add("a.c").At(1000);
    oEngine.Add("b.c").At(tCase.nTime);
    EXPECT_EQ(oEngine.Changes(), tCase.pszExpected) << tCase.nTime;
  }
}

// The first item is within the window of c.c, but the second has moved the change out of it.
TEST(GroupingTest, ChangeThatHasMovedBeyondTheWindowTakesNoEarlierItem) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").At(1299);
  oEngine.Add("c.c").At(998);
  oEngine.Add("d.c").At(999);
  EXPECT_EQ(oEngine.Changes(), "999 joe: c.c d.c\n1299 joe: a.c b.c\n");
}

TEST(GroupingTest, AuthorsThatDifferOnlyInCaseAreGrouped) {
  CEngine oEngine;
  oEngine.Add("a.c").By("Joe").At(1000);
  oEngine.Add("b.c").By("jOE").At(1010);
  EXPECT_EQ(oEngine.Changes(), "1010 Joe: a.c b.c\n");
}

TEST(GroupingTest, AuthorsAreFoldedBeyondAscii) {
  CEngine oEngine;
  oEngine.Add("a.c").By("Øle").At(1000);
  oEngine.Add("b.c").By("øLE").At(1010);
  EXPECT_EQ(oEngine.Changes(), "1010 Øle: a.c b.c\n");
}

// U+0130 and the Kelvin sign are ASCII letters in lower case.
TEST(GroupingTest, LettersThatFoldIntoAsciiAreGrouped) {
  const struct {
    const char *pszFirst, *pszSecond;
  } atCases[] = {
      {"\u0130smail", "ismail"}, {"ismail", "\u0130SMAIL"}, {"\u212Aelvin", "kelvin"}, {"kay", "\u212AAY"}};
  for (const auto& tCase : atCases) {
    CEngine oEngine;
    oEngine.Add("a.c").By(tCase.pszFirst).At(1000);
    oEngine.Add("b.c").By(tCase.pszSecond).At(1010);
    oEngine.Add("c.c").Saying(tCase.pszFirst).At(2000);
    oEngine.Add("d.c").Saying(tCase.pszSecond).At(2010);
    EXPECT_EQ(oEngine.Changes(), std::string("1010 ") + tCase.pszFirst + ": a.c b.c\n2010 joe: c.c d.c\n");
  }
}

TEST(GroupingTest, CommentsThatDifferOnlyInCaseMatchAndTheFirstStays) {
  CEngine oEngine;
  oEngine.Add("a.c").Saying("Fix. Ärger").At(1000);
  oEngine.Add("b.c").Saying("FIX. äRGER").At(1010);
  EXPECT_EQ(oEngine.Changes(), "1010 joe: a.c b.c\n");
  EXPECT_EQ(oEngine.Comments(), "[Fix. Ärger]");
}

TEST(GroupingTest, FilesThatDifferInCaseAreTwoFiles) {
  CEngine oEngine;
  oEngine.Add("readme").At(1000);
  oEngine.Add("README").At(1001);
  EXPECT_EQ(oEngine.Changes(), "1001 joe: readme README\n");
}

TEST(GroupingTest, OtherAuthorsStreamsAndCommentsStayApart) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").By("ann").At(1001);
  oEngine.Add("c.c").Saying("other").At(1002);
  oEngine.Add("d.c").In(2).At(1003);
  EXPECT_EQ(oEngine.Changes(1), "1000 joe: a.c\n1001 ann: b.c\n1002 joe: c.c\n");
  EXPECT_EQ(oEngine.Changes(2), "1003 joe: d.c\n");
}

TEST(GroupingTest, CommentsAreMergedWhenTheyNeedNotMatch) {
  CEngine oEngine;
  oEngine.Add("a.c").Saying("Fix bug").IgnoringComments().At(1000);
  oEngine.Add("b.c").Saying("fix BUG. Add test.").IgnoringComments().At(1010);
  EXPECT_EQ(oEngine.Comments(), "[Fix bug\nAdd test]");
}

TEST(GroupingTest, SameFileTwiceWithEqualRankGoesBeforeTheChange) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").At(1100);
  oEngine.Add("a.c").At(1050);  // earlier than the change: keeps its own time
  EXPECT_EQ(oEngine.Changes(), "1050 joe: a.c\n1100 joe: a.c b.c\n");
}

TEST(GroupingTest, SameFileTwiceWithEqualRankAtOrAfterTheChangeGoesOneSecondBefore) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("a.c").At(1020);  // would move the change to 1020
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n1019 joe: a.c\n");
}

TEST(GroupingTest, SameFileTwiceWithHigherRankGoesOneSecondAfterTheChange) {
  CEngine oEngine;
  oEngine.Add("a.c").Ranked(1).At(1000);
  oEngine.Add("b.c").Ranked(1).At(1100);
  oEngine.Add("a.c").Ranked(2).At(1050);
  EXPECT_EQ(oEngine.Changes(), "1100 joe: a.c b.c\n1101 joe: a.c\n");
}

TEST(GroupingTest, SameFileTwiceWithLowerRankGoesBeforeTheChange) {
  CEngine oEngine;
  oEngine.Add("a.c").Ranked(2).At(1000);
  oEngine.Add("a.c").Ranked(1).At(1000);
  EXPECT_EQ(oEngine.Changes(), "999 joe: a.c\n1000 joe: a.c\n");
}

TEST(GroupingTest, AdjustedTimeIsTheNewChangesBaseTimeAndItsItemsTime) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("a.c").Until(3000).At(1020);
  EXPECT_EQ(oEngine.m_tChange.nTime, 1019u);
  EXPECT_EQ(oEngine.m_tChange.oProps.GetNumber(MCE::CHANGE_BASE_TIME, 0), 1019u);
  EXPECT_EQ(oEngine.m_tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, 0), 3000u);
  EXPECT_EQ(oEngine.m_tChangeItem.oTimestamp.GetUTC(), 1019);
}

TEST(GroupingTest, ItemThatJoinsKeepsItsOwnTime) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").At(950);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c b.c\n");
  EXPECT_EQ(oEngine.m_tChangeItem.oTimestamp.GetUTC(), 950);
}

TEST(GroupingTest, OpenedChangeTakesNothingFromTheOneBefore) {
  CEngine oEngine;
  oEngine.AddChange(42, 1, L"joe", L"work", 1000);
  oEngine.m_tChange.oProps.SetProperty(9, 9u);
  oEngine.m_tChangeItem.oProps.SetProperty(9, 9u);
  oEngine.Add("a.c").At(9000);
  EXPECT_EQ(oEngine.m_tChange.nID, 2u);
  EXPECT_EQ(oEngine.m_tChange.nProviderID, 0u);
  EXPECT_EQ(oEngine.m_tChange.oProps.GetCount(), 2);
  EXPECT_EQ(oEngine.m_tChangeItem.oProps.GetCount(), 1);
  EXPECT_EQ(oEngine.m_nChangesAdded, 2u);
}

// AddChange gives a change no base time.
TEST(GroupingTest, ChangeWithoutGroupingTakesNoItem) {
  CEngine oEngine;
  oEngine.AddChange(0, 1, L"joe", L"work", 1000);
  oEngine.Add("a.c").At(1000);
  EXPECT_EQ(oEngine.Changes(), "1000 joe:\n1000 joe: a.c\n");
}

TEST(GroupingTest, RanksCompareAsSignedNumbers) {
  CEngine oEngine;
  oEngine.Add("a.c").Ranked(-1).At(1000);
  oEngine.Add("a.c").Ranked(1).At(1000);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n1001 joe: a.c\n");
}

TEST(GroupingTest, ChangeThatTheSecondItemCouldNotJoinIsNotWrittenBack) {
  CEngine oEngine;
  oEngine.Add("a.c").Until(5000).At(1000);
  oEngine.Add("a.c").Until(2000).At(1020);
  oEngine.Add("b.c").At(1015);  // both changes' windows hold it; the first keeps its time and its bound
  EXPECT_EQ(oEngine.Changes(), "1015 joe: a.c b.c\n1019 joe: a.c\n");
}

TEST(GroupingTest, ItemAtOrAfterTheChangesMaximumTimeStaysOut) {
  CEngine oEngine;
  oEngine.Add("a.c").Until(1100).At(1000);
  oEngine.Add("b.c").At(1100);
  oEngine.Add("c.c").At(1099);
  EXPECT_EQ(oEngine.Changes(), "1099 joe: a.c c.c\n1100 joe: b.c\n");
}

TEST(GroupingTest, ItemThatEndsBeforeTheChangesTimeStaysOut) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("b.c").At(1100);
  oEngine.Add("c.c").Until(1099).At(1050);
  oEngine.Add("d.c").Until(1100).At(1099);  // too late for the change of c.c
  EXPECT_EQ(oEngine.Changes(), "1050 joe: c.c\n1100 joe: a.c b.c d.c\n");
}

TEST(GroupingTest, SmallestUpperBoundCounts) {
  CEngine oEngine;
  oEngine.Add("a.c").Until(1200).At(1000);
  oEngine.Add("b.c").Until(1100).At(1000);
  oEngine.Add("c.c").At(1150);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c b.c\n1150 joe: c.c\n");
}

TEST(GroupingTest, FirstMatchingChangeInOrderOfTimeAndIdIsTaken) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);
  oEngine.Add("a.c").At(1000);  // opens a change at 999, which b.c finds first and moves to 1000
  oEngine.Add("b.c").At(1000);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c\n1000 joe: a.c b.c\n");
}

// Before 300 the window's lower end wraps around, and from 2^32 - 300 on its upper end does.
TEST(GroupingTest, ItemsWhoseWindowWrapsAroundAreNeverGrouped) {
  const struct {
    long nTime;
    const char* pszExpected;
  } atCases[] = {
      {299, "299 joe: a.c\n299 joe: b.c\n"},
      {300, "300 joe: a.c b.c\n"},
      {4294966995, "4294966995 joe: a.c b.c\n"},
      {4294966996, "4294966996 joe: a.c\n4294966996 joe: b.c\n"},
  };
  for (const auto& tCase : atCases) {
    CEngine oEngine;
    oEngine.Add("a.c").At(tCase.nTime);
    oEngine.Add("b.c").At(tCase.nTime);
    EXPECT_EQ(oEngine.Changes(), tCase.pszExpected);
  }
}

TEST(GroupingTest, TimesAreReducedTo32Bits) {
  constexpr long BEYOND = 4294967296L;
  CEngine oEngine;
  oEngine.Add("a.c").Until(BEYOND + 1100).At(BEYOND + 1000);
  oEngine.Add("b.c").At(1099);
  oEngine.Add("c.c").At(1100);
  EXPECT_EQ(oEngine.Changes(), "1099 joe: a.c b.c\n1100 joe: c.c\n");
  EXPECT_EQ(oEngine.FindNearestChange(Stream(1, 0, L"s"), BEYOND + 1099), 1u);
}

// At time 0 the window's lower end wraps around to the end of 32-bit time, where there is no change.
TEST(GroupingTest, ItemsAtTimeZeroAreNeverGrouped) {
  CEngine oEngine;
  oEngine.Add("a.c").At(0);
  oEngine.Add("b.c").At(0);
  EXPECT_EQ(oEngine.Changes(), "0 joe: a.c\n0 joe: b.c\n");
}

TEST(GroupingTest, ItemCarriesNumberTypeRevisionAndGroupedTime) {
  CEngine oEngine;
  ASSERT_TRUE(oEngine.Add("dir/a.c").Numbered("1.2.2.10").Ranked(3).At(1000));
  MCE::TChangeItemRecord tItem;
  tItem.nID = 1;
  ASSERT_TRUE(oEngine.m_poChangeItemIterator->GetGTE(tItem));
  VCM::CString strRevision;
  EXPECT_EQ(tItem.nItem, 1u);
  EXPECT_EQ(tItem.nType, MCE::CHANGE_ITEM_EDIT);
  EXPECT_EQ(tItem.nRevision, 3);
  EXPECT_TRUE(tItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision));
  EXPECT_TRUE(strRevision == L"1.2.2.10");
  EXPECT_EQ(tItem.oTimestamp.GetUTC(), 1000);
}

TEST(GroupingTest, ItemWithoutRevisionNumberHasAnEmptyOne) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"a.c");
  ASSERT_TRUE(
      oEngine.AddChangeItem(Stream(1, 0, L"Main"), L"joe", MCE::CHANGE_ITEM_ADD, oPath, 1000, L"x", 5));
  VCM::CString strRevision = L"something";
  EXPECT_TRUE(oEngine.m_tChangeItem.oProps.GetProperty(MCE::ITEM_FOREIGN_REVISION, strRevision));
  EXPECT_TRUE(strRevision.IsEmpty());
  EXPECT_EQ(oEngine.m_tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, 0), 4294967295u);
}

TEST(GroupingTest, RankedItemJoinsWhateverItsComment) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"b.c");
  oEngine.Add("a.c").Saying("One").At(1000);
  ASSERT_TRUE(
      oEngine.AddChangeItem(Stream(1, 0, L"Main"), L"joe", MCE::CHANGE_ITEM_ADD, oPath, 1000, L"Two", 5));
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c b.c\n");
  EXPECT_EQ(oEngine.m_tChangeItem.nRevision, 5);
}

TEST(GroupingTest, NumberedItemHasNoRankAndNeedsTheSameComment) {
  CEngine oEngine;
  const CEngine::TStreamInfo tMain = Stream(1, 0, L"Main");
  VCM::CFilePath oPath;
  oPath.Parse(L"b.c");
  const MCE::TCVSRevision oRevision(L"1.2");
  oEngine.Add("a.c").Saying("One").At(1000);
  ASSERT_TRUE(
      oEngine.AddChangeItem(tMain, L"joe", MCE::CHANGE_ITEM_READD, oPath, 1000, L"Two", oRevision, 2000));
  EXPECT_EQ(oEngine.m_tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, 0), 2000u);
  ASSERT_TRUE(
      oEngine.AddChangeItem(tMain, L"joe", MCE::CHANGE_ITEM_READD, oPath, 1000, L"One", oRevision, 2000));
  EXPECT_EQ(oEngine.m_tChangeItem.nType, 3u);
  EXPECT_EQ(oEngine.m_tChangeItem.nRevision, 0);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c b.c\n1000 joe: b.c\n");
}

TEST(GroupingTest, ItemWithoutGroupingHasTheTimeOfTheOneBefore) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"b.c");
  oEngine.Add("a.c").At(1000);
  ASSERT_TRUE(oEngine.AddChangeItem(1u, 2u, MCE::CHANGE_ITEM_ADD, oPath, 0u));
  EXPECT_EQ(oEngine.m_tChangeItem.oTimestamp.GetUTC(), 1000);
  EXPECT_EQ(oEngine.Changes(), "1000 joe: a.c b.c\n");
}

TEST(GroupingTest, ExistingItemIsTheFirstOfItsPathInThatChange) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"a.c");
  oEngine.AddChangeItem(1u, 1u, MCE::CHANGE_ITEM_ADD, oPath, 7u);
  oEngine.AddChangeItem(1u, 2u, MCE::CHANGE_ITEM_ADD, oPath, 8u);
  oEngine.AddChangeItem(3u, 1u, MCE::CHANGE_ITEM_ADD, oPath, 9u);
  MCE::TChangeRecord tChange;
  int nRevision = -1;
  tChange.nID = 1;
  EXPECT_TRUE(oEngine.CheckForExistingItem(tChange, oPath, nRevision));
  EXPECT_EQ(nRevision, 7);
  tChange.nID = 2;
  EXPECT_FALSE(oEngine.CheckForExistingItem(tChange, oPath, nRevision));
  EXPECT_EQ(nRevision, 7);
}

TEST(GroupingTest, ExistingItemMayHaveTheNumberZero) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"a.c");
  oEngine.AddChangeItem(1u, 0u, MCE::CHANGE_ITEM_ADD, oPath, 7u);
  MCE::TChangeRecord tChange;
  tChange.nID = 1;
  int nRevision = -1;
  EXPECT_TRUE(oEngine.CheckForExistingItem(tChange, oPath, nRevision));
  EXPECT_EQ(nRevision, 7);
}

TEST(GroupingTest, ItemWithoutGroupingKeepsTheNumbersGiven) {
  CEngine oEngine;
  VCM::CFilePath oPath;
  oPath.Parse(L"a.c");
  oEngine.Add("before.c").At(1000);  // leaves a revision number in the record
  ASSERT_TRUE(oEngine.AddChangeItem(7u, 4u, MCE::CHANGE_ITEM_DELETE, oPath, 2u));
  MCE::TChangeItemRecord tItem;
  tItem.nID = 7;
  tItem.nItem = 4;
  ASSERT_TRUE(oEngine.m_poChangeItemIterator->GetEqual(tItem));
  EXPECT_EQ(tItem.nType, MCE::CHANGE_ITEM_DELETE);
  EXPECT_TRUE(tItem.oFilePath.GeneratePath() == L"a.c");
  EXPECT_EQ(tItem.nRevision, 2);
  EXPECT_TRUE(tItem.oProps.IsEmpty());
  EXPECT_EQ(tItem.oTimestamp.GetUTC(), 1000);
}

TEST(GroupingTest, ItemWhoseNumberIsTakenIsNotStored) {
  CEngine oEngine;
  VCM::CFilePath oFirst, oSecond;
  oFirst.Parse(L"a.c");
  oSecond.Parse(L"b.c");
  EXPECT_TRUE(oEngine.AddChangeItem(7u, 4u, MCE::CHANGE_ITEM_ADD, oFirst, 1u));
  EXPECT_FALSE(oEngine.AddChangeItem(7u, 4u, MCE::CHANGE_ITEM_ADD, oSecond, 1u));
  EXPECT_EQ(oEngine.Paths(7), std::vector<std::string>{"a.c"});
}

TEST(GroupingTest, GroupedItemWhoseNumberIsTakenIsNotStored) {
  CEngine oEngine;
  ASSERT_TRUE(oEngine.Add("a.c").At(1000));
  ASSERT_TRUE(oEngine.UpdateChangeItemCount(1, 1));  // the next item gets the number of the first one
  EXPECT_FALSE(oEngine.Add("b.c").At(1000));
  EXPECT_EQ(oEngine.Paths(1), std::vector<std::string>{"a.c"});
}

// The change still has the time of the item that joined before.
TEST(GroupingTest, ItemThatJoinsTakesTheNumberThatWasSet) {
  CEngine oEngine;
  ASSERT_TRUE(oEngine.Add("a.c").At(1000));
  ASSERT_TRUE(oEngine.Add("b.c").At(1010));
  ASSERT_TRUE(oEngine.UpdateChangeItemCount(1, 10));
  ASSERT_TRUE(oEngine.Add("c.c").At(1005));
  EXPECT_EQ(oEngine.m_tChangeItem.nItem, 10U);
  EXPECT_EQ(oEngine.Changes(), "1010 joe: a.c b.c c.c\n");
  oEngine.VisitChanges(1, [](const MCE::TChangeRecord& tChange) { EXPECT_EQ(tChange.nNextItem, 11U); });
}

// A change of AddChange has no base time, and that counts as the latest of all times.
TEST(GroupingTest, ItemAtTheEndOfTimeJoinsAChangeWithoutBaseTime) {
  for (const auto& [nTime, pszExpected] : {std::pair{4294966995L, "4294966995 joe: a.c\n"},
                                           {4294966994L, "4294966994 joe: a.c\n4294966995 joe:\n"}}) {
    CEngine oEngine;
    oEngine.AddChange(0, 1, L"joe", L"work", 4294966995L);
    oEngine.Add("a.c").At(nTime);
    EXPECT_EQ(oEngine.Changes(), pszExpected);
  }
}

TEST(GroupingTest, FirstOfTwoItemsOfAPathIsFoundWhicheverWasAddedFirst) {
  CEngine oEngine;
  const auto Path = [](const std::string& strPath) {
    VCM::CFilePath oPath;
    oPath.Parse(VCM::FromBytes(strPath));
    return oPath;
  };
  oEngine.AddChangeItem(1u, 30u, MCE::CHANGE_ITEM_ADD, Path("twice"), 30u);
  oEngine.AddChangeItem(1u, 20u, MCE::CHANGE_ITEM_ADD, Path("twice"), 20u);
  for (unsigned nItem = 1; nItem < 20; ++nItem)
    oEngine.AddChangeItem(1u, nItem, MCE::CHANGE_ITEM_ADD, Path("f" + std::to_string(nItem)), nItem);
  MCE::TChangeRecord tChange;
  tChange.nID = 1;
  int nRevision = -1;
  EXPECT_TRUE(oEngine.CheckForExistingItem(tChange, Path("twice"), nRevision));
  EXPECT_EQ(nRevision, 20);
  EXPECT_TRUE(oEngine.CheckForExistingItem(tChange, Path("f19"), nRevision));
  EXPECT_EQ(nRevision, 19);
  EXPECT_FALSE(oEngine.CheckForExistingItem(tChange, Path("F19"), nRevision));
}

TEST(GroupingTest, CommentMergeTable) {
  const struct {
    const wchar_t *pszComment, *pszAddition, *pszExpected;
  } atCases[] = {
      {L"Fix bug", L"Fix bug", L"Fix bug"},
      {L"Fix bug", L"fix BUG. Add test.", L"Fix bug\nAdd test"},
      {L"a.b.", L"a.b.", L"a.b."},
      {L"", L"One. Two", L"One\nTwo"},
      {L"", L"", L""},
      {L"x", L"", L"x"},
      {L"x", L". . .", L"x"},
      {L"x", L"One..Two", L"x\nOne\nTwo"},
      {L"x", L".One", L"x\nOne"},
      {L"Fix the bugs", L"the bug.", L"Fix the bugs"},
      {L"x", L"  new \t. new", L"x\nnew"},
      {L"x", L"No stop at all", L"x\nNo stop at all"},
      {L"\x00c4rger", L"\x00e4RGER", L"\x00c4rger"},
  };
  for (const auto& tCase : atCases) {
    VCM::CString strComment = tCase.pszComment;
    CEngine::AddToComment(strComment, tCase.pszAddition);
    EXPECT_TRUE(strComment == tCase.pszExpected) << VCM::ToUtf8(strComment);
  }
}

// Searching the whole comment for each sentence would take hours.
TEST(AddToCommentTest, HugeMessagesThatDifferOnlyInCaseAreMergedAtOnce) {
  VCM::CString strComment, strAddition;
  for (int i = 0; i < 300000; ++i) {
    strComment += L"Fixed. ";
    strComment += static_cast<wchar_t>(L'A' + i % 26);
    strAddition += L"fixed. ";
    strAddition += static_cast<wchar_t>(L'a' + i % 26);
  }
  strComment += L"END";
  strAddition += L"end";
  const VCM::CString strBefore = strComment;
  CEngine::AddToComment(strComment, strAddition);
  EXPECT_TRUE(strComment == strBefore);
}

TEST(NearestChangeTest, IsTheLastOneAtOrBeforeTheTime) {
  CEngine oEngine;
  oEngine.Add("a.c").At(1000);  // change 1
  oEngine.Add("a.c").At(5000);  // change 2
  oEngine.Add("a.c").In(2).At(3000);
  const struct {
    unsigned nStream;
    long nTime;
    unsigned nExpected;
  } atCases[] = {{1, 999, 0},  {1, 1000, 1}, {1, 4999, 1}, {1, 5000, 2},
                 {1, 9999, 2}, {2, 2999, 0}, {2, 3000, 3}, {3, 9999, 0}};
  for (const auto& tCase : atCases) {
    EXPECT_EQ(oEngine.FindNearestChange(Stream(tCase.nStream, 0, L"s"), tCase.nTime), tCase.nExpected)
        << tCase.nStream << " " << tCase.nTime;
  }
}

TEST(NearestChangeTest, AmongEqualTimesIsTheOneAddedLast) {
  CEngine oEngine;
  oEngine.AddChange(0, 1, L"joe", L"first", 1000);
  const unsigned nSecond = oEngine.AddChange(0, 1, L"joe", L"second", 1000);
  EXPECT_EQ(oEngine.FindNearestChange(Stream(1, 0, L"s"), 1000), nSecond);
}

}  // namespace
}  // namespace TALVEK::TEST
