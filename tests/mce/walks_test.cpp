#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <utility>
#include <vector>

#include "tests/mce/engine_fixture.h"
#include "tests/support/environment_scope.h"
#include "tests/support/import_log.h"
#include "tests/support/layout.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

using TStreamInfo = MCE::CProvider::TStreamInfo;
using TChangeInfo = MCE::CProvider::TChangeInfo;
using TChangeItemInfo = MCE::CProvider::TChangeItemInfo;

/// Names of the streams below a parent, in walk order.
std::string Children(MCE::CProvider& oProvider, unsigned nParentID) {
  std::string strNames;
  MCE::POSITION* poPosition = nullptr;
  TStreamInfo tStream;
  while (oProvider.GetNextStream(poPosition, tStream, nParentID) == MCE::RESULT_OK) {
    strNames += VCM::ToUtf8(tStream.strName) + " ";
  }
  return strNames;
}

class WalkTest : public ::testing::Test {
 protected:
  WalkTest() {
    m_oEngine.m_atFound = {Stream(1, 0, L"Main"), Stream(2, 1, L"B"), Stream(3, 2, L"C"), Stream(4, 1, L"D")};
    m_oEngine.OpenLog(true);
  }

  /// Closes the log and returns its lines without the first.
  std::string Log() {
    const std::string strLog = WithoutSeconds(ReadFile(VCM::ToBytes(m_oEngine.GetLogPath())));
    const std::string strFirst = "Beginning Import with Test\n";
    EXPECT_TRUE(strLog.starts_with(strFirst)) << strLog;
    return strLog.substr(std::min(strFirst.size(), strLog.size()));
  }
  void Begin(unsigned nStream) {
    m_oEngine.OnBeginStream(nStream, VCM::FromBytes(m_oFolder.Path().string()).c_str());
  }

  CTempFolder m_oTemp;
  CEnvironmentScope m_oTempVariable{"TMPDIR", m_oTemp.Path().string()};
  CTempFolder m_oFolder;
  CEngine m_oEngine;
};

TEST_F(WalkTest, StreamsComeByParent) {
  unsigned nCount = 0;
  ASSERT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 4u);
  EXPECT_EQ(Children(m_oEngine, 0), "Main ");
  EXPECT_EQ(Children(m_oEngine, 1), "B D ");
  EXPECT_EQ(Children(m_oEngine, 2), "C ");
  EXPECT_EQ(Children(m_oEngine, 3), "");
}

TEST_F(WalkTest, StreamComesBelowItsNewParent) {
  EXPECT_EQ(Children(m_oEngine, 1), "B D ");
  m_oEngine.m_oStreams.Replace(3, Stream(4, 2, L"D"));
  EXPECT_EQ(Children(m_oEngine, 1), "B ");
  EXPECT_EQ(Children(m_oEngine, 2), "C D ");
}

// The second search finds as many streams as the first, so an index kept by their number would be stale.
TEST_F(WalkTest, ChildrenAreThoseOfTheLastSearch) {
  EXPECT_EQ(Children(m_oEngine, 1), "B D ");
  m_oEngine.m_atFound = {Stream(1, 0, L"Main"), Stream(2, 1, L"X"), Stream(3, 1, L"Y"), Stream(4, 3, L"Z")};
  m_oEngine.ResetStreams();
  EXPECT_EQ(Children(m_oEngine, 1), "X Y ");
  EXPECT_EQ(Children(m_oEngine, 3), "Z ");
}

TEST_F(WalkTest, UnknownParentMeansTheRoots) {
  EXPECT_EQ(Children(m_oEngine, 99), "Main ");
}

TEST_F(WalkTest, EndOfWalkLeavesTheLastStreamLookedAt) {
  MCE::POSITION* poPosition = nullptr;
  TStreamInfo tStream;
  ASSERT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 0), MCE::RESULT_OK);
  ASSERT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 0), MCE::RESULT_END);
  EXPECT_TRUE(tStream.strName == L"D");
  poPosition = reinterpret_cast<MCE::POSITION*>(-1L);
  EXPECT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 0), MCE::RESULT_END);
}

TEST_F(WalkTest, StreamsAreSearchedOnceUntilReset) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.EstablishStreams(nCount);
  EXPECT_EQ(m_oEngine.m_nSearches, 1);
  m_oEngine.ResetStreams();
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_OK);
  EXPECT_EQ(m_oEngine.m_nSearches, 2);
  EXPECT_EQ(nCount, 4u);
}

TEST_F(WalkTest, FailedSearchIsTriedAgain) {
  m_oEngine.m_bSearchSucceeds = false;
  unsigned nCount = 77;
  MCE::POSITION* poPosition = nullptr;
  TStreamInfo tStream;
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 0), MCE::RESULT_FAILED);
  EXPECT_EQ(nCount, 77u);
  m_oEngine.m_bSearchSucceeds = true;
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_OK);
  EXPECT_EQ(Log(), "");
}

// A provider may use any IDs; they needn't count from 1.
TEST_F(WalkTest, ParentIsFoundByItsNumberWhereverItStands) {
  m_oEngine.m_atFound = {Stream(5, 0, L"R"), Stream(9, 5, L"A"), Stream(4, 9, L"B"), Stream(7, 2, L"lost")};
  EXPECT_EQ(Children(m_oEngine, 5), "A ");
  EXPECT_EQ(Children(m_oEngine, 9), "B ");
  EXPECT_EQ(Children(m_oEngine, 2), "R ");
  EXPECT_EQ(Children(m_oEngine, 1), "R ");
  EXPECT_EQ(m_oEngine.OnBeginStream(4, L"/work"), 0);
  EXPECT_TRUE(m_oEngine.m_tCurrentStream.strName == L"B");
  EXPECT_EQ(m_oEngine.OnBeginStream(1, L"/work"), 0);
  EXPECT_TRUE(m_oEngine.m_tCurrentStream.strName == L"B");
}

TEST_F(WalkTest, SearchBeginsWithAnEmptyList) {
  m_oEngine.m_oStreams.Add(Stream(1, 0, L"left over"));
  unsigned nCount = 0;
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 4u);
}

TEST_F(WalkTest, WalkSearchesByItselfWithoutEmptyingTheList) {
  m_oEngine.m_oStreams.Add(Stream(9, 0, L"kept"));
  EXPECT_EQ(Children(m_oEngine, 0), "kept Main ");
  EXPECT_EQ(m_oEngine.m_nSearches, 1);
  m_oEngine.ResetStreams();
  EXPECT_EQ(m_oEngine.m_oStreams.GetCount(), 0);
  EXPECT_EQ(Children(m_oEngine, 0), "Main ");
  EXPECT_EQ(m_oEngine.m_nSearches, 2);
}

TEST_F(WalkTest, PositionIsTheIndexOfTheNextStreamToLookAt) {
  MCE::POSITION* poPosition = nullptr;
  TStreamInfo tStream;
  ASSERT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 2), MCE::RESULT_OK);
  EXPECT_EQ(reinterpret_cast<std::intptr_t>(poPosition), 3);
  poPosition = reinterpret_cast<MCE::POSITION*>(4L);
  EXPECT_EQ(m_oEngine.GetNextStream(poPosition, tStream, 2), MCE::RESULT_END);
  EXPECT_EQ(reinterpret_cast<std::intptr_t>(poPosition), 4);
  EXPECT_TRUE(tStream.strName == L"C");
}

TEST_F(WalkTest, NoStreamsIsAFailureEveryTime) {
  m_oEngine.m_atFound.clear();
  unsigned nCount = 0;
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.m_nSearches, 1);
  EXPECT_EQ(Log(), "No streams were found.\nNo streams were found.\n");
}

TEST_F(WalkTest, UnknownStreamKeepsTheCurrentOneAndMovesTheWorkFolder) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  EXPECT_EQ(m_oEngine.OnBeginStream(2, L"/work/b"), 0);
  EXPECT_EQ(m_oEngine.OnBeginStream(99, L"/work/other"), 0);
  EXPECT_TRUE(m_oEngine.m_tCurrentStream.strName == L"B");
  EXPECT_TRUE(m_oEngine.m_oWorkFolder.GeneratePath() == L"/work/other");
}

TEST_F(WalkTest, ChangesetsAreEnumeratedOnceAndCounted) {
  m_oEngine.Add("a.c").At(1000);
  m_oEngine.Add("a.c").At(9000);
  unsigned nCount = 0;
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 2u);
  EXPECT_EQ(m_oEngine.m_nEnumerations, 1);
  EXPECT_EQ(m_oEngine.m_poTransaction, nullptr);  // committed
  m_oEngine.ResetStreams();
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(m_oEngine.m_nEnumerations, 1);
}

TEST_F(WalkTest, FailedEnumerationIsTriedAgain) {
  m_oEngine.m_bEnumerationSucceeds = false;
  unsigned nCount = 0;
  m_oEngine.Add("a.c").At(1000);
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_FAILED);
  EXPECT_NE(m_oEngine.m_poTransaction, nullptr);  // nothing is committed
  EXPECT_EQ(nCount, 0u);
  m_oEngine.m_bEnumerationSucceeds = true;
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 1u);
  EXPECT_EQ(Log(), "");
}

// Whole records, in order of time and not of ID.
TEST_F(WalkTest, ChangesetsCarryWhatWasAdded) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.AddChange(7, 1, L"ann", L"later", 5000);
  m_oEngine.AddChange(7, 2, L"ann", L"elsewhere", 10);
  m_oEngine.Add("a.c").By("joe").Saying("first").At(0);
  m_oEngine.AddChange(7, 1, L"ann", L"again", 5000);
  Begin(1);
  std::string strChanges;
  TChangeInfo tChange;
  for (int nResult = m_oEngine.OnFirstChangeset(tChange); nResult == MCE::RESULT_OK;
       nResult = m_oEngine.OnNextChangeset(tChange)) {
    strChanges += std::to_string(tChange.nID) + " " + VCM::ToUtf8(tChange.strUser) + " " +
                  std::to_string(tChange.nTime) + " " + VCM::ToUtf8(tChange.strComment) + " " +
                  std::to_string(tChange.nItemCount) + "\n";
  }
  EXPECT_EQ(strChanges, "3 joe 0 first 2\n1 ann 5000 later 0\n4 ann 5000 again 0\n");
  EXPECT_EQ(m_oEngine.OnNextChangeset(tChange), MCE::RESULT_END);
  EXPECT_EQ(Log(), "");
}

TEST_F(WalkTest, ChangesetsOfTheStreamComeInOrderOfTime) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.Add("a.c").At(9000);
  m_oEngine.Add("b.c").At(1000);
  m_oEngine.Add("c.c").In(2).At(5000);
  m_oEngine.EstablishChangesets(nCount);
  Begin(1);
  TChangeInfo tChange;
  ASSERT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nTime, 1000);
  EXPECT_EQ(tChange.nID, 2u);
  EXPECT_TRUE(tChange.strUser == L"joe");
  EXPECT_TRUE(tChange.strComment == L"work");
  ASSERT_EQ(m_oEngine.OnNextChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nTime, 9000);
  EXPECT_EQ(m_oEngine.OnNextChangeset(tChange), MCE::RESULT_END);
  Begin(4);
  EXPECT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_END);
}

TEST_F(WalkTest, FirstChangesetBeginsTheWalkAgain) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.Add("a.c").At(1000);
  m_oEngine.Add("b.c").At(9000);
  Begin(1);
  TChangeInfo tChange;
  m_oEngine.OnFirstChangeset(tChange);
  m_oEngine.OnNextChangeset(tChange);
  ASSERT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nTime, 1000);
}

TEST_F(WalkTest, WalkWithoutABeginningIsAtItsEnd) {
  TChangeInfo tChange;
  TChangeItemInfo tItem;
  EXPECT_EQ(m_oEngine.OnNextChangeset(tChange), MCE::RESULT_END);
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(tItem), MCE::RESULT_END);
  EXPECT_EQ(m_oEngine.OnNextChangeItem(tItem), MCE::RESULT_END);
}

TEST_F(WalkTest, ChangeWithoutItemsHasNoFirstItem) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.AddChange(0, 1, L"joe", L"empty", 1000);
  m_oEngine.Add("a.c").At(9000);
  Begin(1);
  TChangeInfo tChange;
  TChangeItemInfo tItem;
  ASSERT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nItemCount, 0u);
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(tItem), MCE::RESULT_END);
  EXPECT_EQ(m_oEngine.m_astrTargets, std::vector<std::string>());
}

TEST_F(WalkTest, TimesBeyond2038ArePositive) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.AddChange(0, 1, L"joe", L"x", 4294967295L);
  Begin(1);
  TChangeInfo tChange;
  ASSERT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nTime, 4294967295LL);
}

TEST_F(WalkTest, ItemCountIsOneMoreThanTheItems) {
  unsigned nCount = 0;
  m_oEngine.EstablishStreams(nCount);
  m_oEngine.Add("a.c").At(1000);
  m_oEngine.Add("b.c").At(1000);
  Begin(1);
  TChangeInfo tChange;
  ASSERT_EQ(m_oEngine.OnFirstChangeset(tChange), MCE::RESULT_OK);
  EXPECT_EQ(tChange.nItemCount, 3u);
}

class ItemWalkTest : public WalkTest {
 protected:
  void SetUp() override {
    unsigned nCount = 0;
    m_oEngine.EstablishStreams(nCount);
    m_oEngine.Add("top.c").At(1000);
    m_oEngine.Add("dir/sub/deep.c").At(1000);
    m_oEngine.Add("other.c").At(90000);
    Begin(1);
    ASSERT_EQ(m_oEngine.OnFirstChangeset(m_tChange), MCE::RESULT_OK);
  }

  TChangeInfo m_tChange;
  TChangeItemInfo m_tItem;
};

TEST_F(ItemWalkTest, ItemsOfTheChangeComeWithTheirFoldersAndTargets) {
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(m_tItem.nChangeID, 1u);
  EXPECT_EQ(m_tItem.nType, MCE::CHANGE_ITEM_EDIT);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"top.c");
  EXPECT_TRUE(std::filesystem::is_empty(m_oFolder.Path()));
  ASSERT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"dir/sub/deep.c");
  EXPECT_TRUE(std::filesystem::is_directory(m_oFolder / "dir/sub"));
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_END);
  const std::string strFolder = m_oFolder.Path().string();
  EXPECT_EQ(m_oEngine.m_astrTargets,
            (std::vector<std::string>{strFolder + "/top.c", strFolder + "/dir/sub/deep.c"}));
}

TEST_F(ItemWalkTest, FirstItemBeginsTheWalkAgain) {
  m_oEngine.OnFirstChangeItem(m_tItem);
  m_oEngine.OnNextChangeItem(m_tItem);
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"top.c");
}

TEST_F(ItemWalkTest, ItemCarriesTheRankAsASignedNumber) {
  m_oEngine.Add("ranked.c").Ranked(-3).At(50000);
  Begin(1);
  m_oEngine.OnFirstChangeset(m_tChange);
  m_oEngine.OnNextChangeset(m_tChange);
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(m_tItem.nRevision, -3);
}

TEST_F(ItemWalkTest, ProcessingAChangeRetrievesTheOneThatTheWalkStandsOn) {
  TChangeInfo tOther;
  EXPECT_EQ(m_oEngine.OnProcessChange(tOther), 0);
  m_oEngine.m_nRetrieveChangeResult = 5;
  EXPECT_EQ(m_oEngine.OnProcessChange(tOther), 5);
  EXPECT_EQ(m_oEngine.m_anChangesRetrieved, (std::vector<std::uint32_t>{1, 1}));
}

TEST_F(ItemWalkTest, FirstItemThatFailsIsNotLoggedAndTheOthersAre) {
  m_oEngine.m_nRetrieveItemResult = 1;
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"dir/sub/deep.c");
  EXPECT_EQ(Log(), "Failed to retrieve change item file 'dir/sub/deep.c'\n");
}

TEST_F(ItemWalkTest, AnyResultOtherThanSuccessIsAFailure) {
  for (const int nResult : {2, 5, -1}) {
    m_oEngine.m_nRetrieveItemResult = nResult;
    EXPECT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_FAILED) << nResult;
    EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_FAILED) << nResult;
  }
}

TEST_F(ItemWalkTest, ItemsCarryWhatWasAdded) {
  const unsigned nChange = m_oEngine.AddChange(0, 1, L"joe", L"all kinds", 50000);
  VCM::CFilePath oPath;
  for (unsigned nItem = 4; nItem > 0; --nItem) {
    oPath.Parse(VCM::FromBytes("f" + std::to_string(nItem)));
    ASSERT_TRUE(m_oEngine.AddChangeItem(nChange, nItem, static_cast<MCE::TChangeItemType>(nItem - 1), oPath,
                                        4294967290u + nItem));
  }
  Begin(1);
  m_oEngine.OnFirstChangeset(m_tChange);
  ASSERT_EQ(m_oEngine.OnNextChangeset(m_tChange), MCE::RESULT_OK);
  std::string strItems;
  for (int nResult = m_oEngine.OnFirstChangeItem(m_tItem); nResult == MCE::RESULT_OK;
       nResult = m_oEngine.OnNextChangeItem(m_tItem)) {
    strItems += std::to_string(m_tItem.nChangeID) + " " + std::to_string(m_tItem.nType) + " " +
                VCM::ToUtf8(m_tItem.oFilePath.GeneratePath()) + " " + std::to_string(m_tItem.nRevision) +
                "\n";
  }
  EXPECT_EQ(strItems, "3 0 f1 -5\n3 1 f2 -4\n3 2 f3 -3\n3 3 f4 -2\n");
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_END);
  EXPECT_EQ(Log(), "");
}

TEST_F(ItemWalkTest, WalkBeginsWithItemZeroWhereThereIsOne) {
  const unsigned nChange = m_oEngine.AddChange(0, 1, L"joe", L"from zero on", 50000);
  for (const auto& [nItem, pszPath] : {std::pair{1u, L"b.c"}, {0u, L"a.c"}}) {
    VCM::CFilePath oPath;
    oPath.Parse(pszPath);
    ASSERT_TRUE(m_oEngine.AddChangeItem(nChange, nItem, MCE::CHANGE_ITEM_ADD, oPath, 0u));
  }
  m_oEngine.OnFirstChangeset(m_tChange);
  ASSERT_EQ(m_oEngine.OnNextChangeset(m_tChange), MCE::RESULT_OK);
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(VCM::ToUtf8(m_tItem.oFilePath.GeneratePath()), "a.c");
  ASSERT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(VCM::ToUtf8(m_tItem.oFilePath.GeneratePath()), "b.c");
}

TEST_F(ItemWalkTest, FolderThatCannotBeMadeFailsTheItem) {
  WriteFile(m_oFolder / "dir", "in the way");
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.m_astrTargets, std::vector<std::string>{m_oFolder.Path().string() + "/top.c"});
  EXPECT_EQ(Log(), "Failed to create directory '" + m_oFolder.Path().string() +
                       "/dir'\nFailed to create folder for change item 'dir/sub/deep.c'\n");
}

TEST_F(ItemWalkTest, FirstItemsFolderThatCannotBeMadeFailsWithoutNamingTheItem) {
  WriteFile(m_oFolder / "lib", "in the way");
  m_oEngine.Add("lib/x.c").At(50000);
  Begin(1);
  m_oEngine.OnFirstChangeset(m_tChange);
  m_oEngine.OnNextChangeset(m_tChange);
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"lib/x.c");
  EXPECT_EQ(m_oEngine.m_astrTargets, std::vector<std::string>());
  EXPECT_EQ(Log(), "Failed to create directory '" + m_oFolder.Path().string() + "/lib'\n");
}

TEST_F(WalkTest, FileAtTheTopNeedsNoFolder) {
  Begin(1);
  VCM::CFilePath oPath;
  oPath.Parse(L"top.c");
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(oPath));
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(VCM::CFilePath()));
  EXPECT_TRUE(std::filesystem::is_empty(m_oFolder.Path()));
}

TEST_F(WalkTest, OnlyTheFoldersThatAreMissingAreMade) {
  Begin(1);
  std::filesystem::create_directory(m_oFolder / "dir");
  VCM::CFilePath oPath;
  oPath.Parse(L"dir/sub/a.c");
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(oPath));
  EXPECT_TRUE(std::filesystem::is_directory(m_oFolder / "dir/sub"));
  EXPECT_EQ(Log(), "");
}

TEST_F(WalkTest, FoldersAreMadeWithThePermissionsThatTheMaskLeaves) {
  Begin(1);
  for (const auto& [nMask, pszFolder] : {std::pair{027, "private"}, {0, "public"}, {0777, "none"}}) {
    VCM::CFilePath oPath;
    oPath.Parse(VCM::FromBytes(std::string(pszFolder) + "/a.c"));
    const mode_t nBefore = umask(static_cast<mode_t>(nMask));
    EXPECT_TRUE(m_oEngine.EnsureFolderExists(oPath));
    umask(nBefore);
    struct stat tStat {};
    ASSERT_EQ(stat((m_oFolder / pszFolder).c_str(), &tStat), 0);
    EXPECT_EQ(tStat.st_mode & 0777, 0777u & ~static_cast<unsigned>(nMask)) << pszFolder;
  }
}

TEST_F(WalkTest, WorkFolderItselfIsNotMade) {
  const std::string strAbsent = (m_oFolder / "absent").string();
  m_oEngine.OnBeginStream(1, VCM::FromBytes(strAbsent).c_str());
  VCM::CFilePath oPath;
  oPath.Parse(L"dir/sub/a.c");
  EXPECT_FALSE(m_oEngine.EnsureFolderExists(oPath));
  EXPECT_FALSE(std::filesystem::exists(strAbsent));
  EXPECT_EQ(Log(), "Failed to create directory '" + strAbsent + "/dir'\n");
}

// Hosts read the members at their offsets.
TEST(RecordLayoutTest, MembersStandInTheOrderOfTheInterface) {
  const TStreamInfo s;
  EXPECT_TRUE(AreInOrder(
      &s, {&s.nID, &s.nParentID, &s.oDestPath, &s.oSrcPath, &s.nBaseChangeID, &s.oProps, &s.strName}));
  const TChangeInfo c;
  EXPECT_TRUE(AreInOrder(&c, {&c.nID, &c.strUser, &c.nTime, &c.strComment, &c.nItemCount}));
  const TChangeItemInfo i;
  EXPECT_TRUE(AreInOrder(&i, {&i.nChangeID, &i.nType, &i.oFilePath, &i.nRevision}));
}

std::string Describe(const TStreamInfo& tStream) {
  return std::to_string(tStream.nID) + " below " + std::to_string(tStream.nParentID) + " to '" +
         VCM::ToUtf8(tStream.oDestPath.GeneratePath()) + "' from '" +
         VCM::ToUtf8(tStream.oSrcPath.GeneratePath()) + "' at " + std::to_string(tStream.nBaseChangeID) +
         " " + (tStream.oProps.IsEmpty() ? "[]" : std::to_string(tStream.oProps.GetNumber(7, 0))) + " '" +
         VCM::ToUtf8(tStream.strName) + "'";
}

TEST(StreamInfoTest, DefaultStreamIsEmpty) {
  EXPECT_EQ(Describe(TStreamInfo()), "0 below 0 to '' from '' at 0 [] ''");
}

TEST(StreamInfoTest, CopiesTakeEveryMember) {
  VCM::CFilePath oDest, oSource;
  oDest.Parse(L"imported/B");
  oSource.Parse(L"cvs/branch");
  TStreamInfo tStream(3, 1, oDest, oSource, L"B");
  EXPECT_EQ(Describe(tStream), "3 below 1 to 'imported/B' from 'cvs/branch' at 0 [] 'B'");
  tStream.nBaseChangeID = 9;
  tStream.oProps.SetProperty(7, 77u);
  const std::string strAll = "3 below 1 to 'imported/B' from 'cvs/branch' at 9 77 'B'";
  EXPECT_EQ(Describe(tStream), strAll);
  const TStreamInfo tCopy = tStream;
  EXPECT_EQ(Describe(tCopy), strAll);
  TStreamInfo tAssigned(8, 8, VCM::CFilePath(), VCM::CFilePath(), L"other");
  tAssigned = tCopy;
  EXPECT_EQ(Describe(tAssigned), strAll);
}

TEST(StreamInfoTest, NullNameLeavesTheNameEmpty) {
  const TStreamInfo tStream(3, 1, VCM::CFilePath(), VCM::CFilePath(), nullptr);
  EXPECT_EQ(tStream.nID, 3u);
  EXPECT_EQ(tStream.nParentID, 1u);
  EXPECT_EQ(tStream.nBaseChangeID, 0u);
  EXPECT_TRUE(tStream.strName.IsEmpty() && tStream.oProps.IsEmpty());
}

}  // namespace
}  // namespace TALVEK::TEST
