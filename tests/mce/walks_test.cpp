#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>

#include "tests/mce/engine_fixture.h"
#include "tests/support/environment_scope.h"
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

  std::string Log() { return ReadFile(VCM::ToBytes(m_oEngine.GetLogPath())); }
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
}

TEST_F(WalkTest, SearchBeginsWithAnEmptyList) {
  m_oEngine.m_atStreams.Add(Stream(1, 0, L"left over"));
  unsigned nCount = 0;
  EXPECT_EQ(m_oEngine.EstablishStreams(nCount), MCE::RESULT_OK);
  EXPECT_EQ(nCount, 4u);
}

TEST_F(WalkTest, WalkSearchesByItselfWithoutEmptyingTheList) {
  m_oEngine.m_atStreams.Add(Stream(9, 0, L"kept"));
  EXPECT_EQ(Children(m_oEngine, 0), "kept Main ");
  EXPECT_EQ(m_oEngine.m_nSearches, 1);
  m_oEngine.ResetStreams();
  EXPECT_EQ(m_oEngine.m_atStreams.GetCount(), 0);
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
  const std::string strLog = Log();
  const std::size_t nFirst = strLog.find("No streams were found.\n");
  ASSERT_NE(nFirst, std::string::npos);
  EXPECT_NE(strLog.find("No streams were found.\n", nFirst + 1), std::string::npos);
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
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_FAILED);
  m_oEngine.m_bEnumerationSucceeds = true;
  EXPECT_EQ(m_oEngine.EstablishChangesets(nCount), MCE::RESULT_OK);
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

TEST_F(ItemWalkTest, FirstItemThatFailsIsReportedMoreQuietlyThanTheOthers) {
  m_oEngine.m_nRetrieveItemResult = 1;
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"dir/sub/deep.c");
  const std::string strLog = Log();
  EXPECT_EQ(strLog.find("'top.c'"), std::string::npos);
  EXPECT_NE(strLog.find(": Failed to retrieve change item file 'dir/sub/deep.c'\n"), std::string::npos);
}

TEST_F(ItemWalkTest, FolderThatCannotBeMadeFailsTheItem) {
  WriteFile(m_oFolder / "dir", "in the way");
  ASSERT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_OK);
  EXPECT_EQ(m_oEngine.OnNextChangeItem(m_tItem), MCE::RESULT_FAILED);
  const std::string strLog = Log();
  EXPECT_NE(strLog.find(": Failed to create directory '" + m_oFolder.Path().string() + "/dir'\n"),
            std::string::npos);
  EXPECT_NE(strLog.find(": Failed to create folder for change item 'dir/sub/deep.c'\n"), std::string::npos);
}

TEST_F(ItemWalkTest, FirstItemsFolderThatCannotBeMadeFailsWithoutNamingTheItem) {
  WriteFile(m_oFolder / "lib", "in the way");
  m_oEngine.Add("lib/x.c").At(50000);
  Begin(1);
  m_oEngine.OnFirstChangeset(m_tChange);
  m_oEngine.OnNextChangeset(m_tChange);
  EXPECT_EQ(m_oEngine.OnFirstChangeItem(m_tItem), MCE::RESULT_FAILED);
  EXPECT_TRUE(m_tItem.oFilePath.GeneratePath() == L"lib/x.c");
  const std::string strLog = Log();
  EXPECT_NE(strLog.find("/lib'\n"), std::string::npos);
  EXPECT_EQ(strLog.find("Failed to create folder for change item"), std::string::npos);
}

TEST_F(WalkTest, FileAtTheTopNeedsNoFolder) {
  Begin(1);
  VCM::CFilePath oPath;
  oPath.Parse(L"top.c");
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(oPath));
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(VCM::CFilePath()));
  EXPECT_TRUE(std::filesystem::is_empty(m_oFolder.Path()));
}

TEST_F(WalkTest, FoldersAreMadeWithThePermissionsThatTheMaskLeaves) {
  const mode_t nMask = umask(027);
  Begin(1);
  VCM::CFilePath oPath;
  oPath.Parse(L"dir/a.c");
  EXPECT_TRUE(m_oEngine.EnsureFolderExists(oPath));
  umask(nMask);
  struct stat tStat {};
  ASSERT_EQ(stat((m_oFolder / "dir").c_str(), &tStat), 0);
  EXPECT_EQ(tStat.st_mode & 0777, 0750u);
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
