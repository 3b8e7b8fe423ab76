#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/mce/engine_fixture.h"
#include "tests/mce/plain_grouping.h"

// The grouping against CPlainGrouping, a simple version of it, on random histories.
namespace TALVEK::TEST {
namespace {

constexpr std::uint32_t ABSENT = 0xFFFFFFFF;

std::string Text(const MCE::TChangeRecord& tChange) {
  return std::to_string(tChange.nID) + " " + std::to_string(tChange.nTime) + " " +
         VCM::ToUtf8(tChange.strUser) + " [" + VCM::ToUtf8(tChange.strComment) + "] next " +
         std::to_string(tChange.nNextItem) + " base " +
         std::to_string(tChange.oProps.GetNumber(MCE::CHANGE_BASE_TIME, ABSENT)) + " max " +
         std::to_string(tChange.oProps.GetNumber(MCE::CHANGE_MAX_TIME, ABSENT));
}

std::string Text(std::uint32_t nNumber, const VCM::CFilePath& oPath, std::int32_t nRevision,
                 long long nTime) {
  return " (" + std::to_string(nNumber) + " " + VCM::ToUtf8(oPath.GeneratePath()) + " " +
         std::to_string(nRevision) + " " + std::to_string(nTime) + ")";
}

std::string Dump(CEngine& oEngine, unsigned nStream) {
  std::string strText;
  oEngine.VisitChanges(nStream, [&](const MCE::TChangeRecord& tChange) {
    strText += Text(tChange);
    MCE::TChangeItemRecord tItem;
    tItem.nID = tChange.nID;
    for (bool bFound = oEngine.m_poChangeItemIterator->GetGTE(tItem); bFound && tItem.nID == tChange.nID;
         bFound = oEngine.m_poChangeItemIterator->GetNext(tItem)) {
      strText += Text(tItem.nItem, tItem.oFilePath, tItem.nRevision, tItem.oTimestamp.GetUTC());
    }
    strText += "\n";
  });
  return strText;
}

std::string Dump(const CPlainGrouping& oPlain, unsigned nStream) {
  std::string strText;
  for (const CPlainGrouping::TChange& tChange : oPlain.InOrder()) {
    if (tChange.nStream != nStream) continue;
    MCE::TChangeRecord tRecord;
    tRecord.nID = tChange.nID;
    tRecord.nTime = tChange.nTime;
    tRecord.strUser = tChange.strUser;
    tRecord.strComment = tChange.strComment;
    tRecord.nNextItem = tChange.nNextItem;
    tRecord.oProps.SetProperty(MCE::CHANGE_BASE_TIME, tChange.nBaseTime);
    tRecord.oProps.SetProperty(MCE::CHANGE_MAX_TIME, tChange.nMaxTime);
    strText += Text(tRecord);
    for (const CPlainGrouping::TItem& tItem : tChange.atItems)
      strText += Text(tItem.nNumber, tItem.oPath, tItem.nRevision, tItem.nTime);
    strText += "\n";
  }
  return strText;
}

/// Adds the same random changes and items to both. Few texts and a short time span give many candidates to
/// join.
class CHistoryMaker {
 public:
  CHistoryMaker(unsigned nSeed, std::uint32_t nStart, unsigned nFiles, bool bMixed)
      : m_oRandom(nSeed), m_nStart(nStart), m_nFiles(nFiles), m_bMixed(bMixed) {}

  void Step(CEngine& oEngine, CPlainGrouping& oPlain) {
    static const wchar_t* const s_apszUsers[] = {L"joe", L"JOE", L"ann"};
    static const wchar_t* const s_apszComments[] = {L"Fix. Test", L"fix. test", L"fix", L"", L"New. Fix"};
    const unsigned nStream = 1 + Pick(2);
    const VCM::CString strUser = s_apszUsers[Pick(3)];
    const VCM::CString strComment = s_apszComments[Pick(5)];
    const std::uint32_t nTime = m_nStart + Pick(2500);
    if (m_bMixed && Pick(20) == 0) {
      oEngine.AddChange(0, nStream, strUser, strComment, nTime);
      oPlain.AddChange(nStream, strUser, strComment, nTime);
      return;
    }
    static constexpr std::uint32_t ANLIVES[] = {0, 1, 20, 400};
    const std::uint32_t nEnd = Pick(2) == 0 ? ABSENT : nTime + ANLIVES[Pick(4)];
    const bool bMatchComment = !m_bMixed || Pick(3) > 0;
    const int nRevision = static_cast<int>(Pick(3));
    VCM::CFilePath oPath;
    oPath.Add(VCM::CString(L"f" + std::to_wstring(Pick(m_nFiles))));
    MCE::CProvider::TStreamInfo tStream;
    tStream.nID = nStream;
    ASSERT_TRUE(oEngine.AddChangeItem(tStream, strUser, MCE::CHANGE_ITEM_EDIT, oPath, nTime, strComment,
                                      nRevision, MCE::TCVSRevision(), bMatchComment, nEnd));
    oPlain.AddItem(nStream, strUser, oPath, nTime, strComment, nRevision, bMatchComment, nEnd);
  }

 private:
  unsigned Pick(unsigned nCount) { return static_cast<unsigned>(m_oRandom() % nCount); }

  std::mt19937 m_oRandom;
  std::uint32_t m_nStart;
  unsigned m_nFiles;
  bool m_bMixed;
};

TEST(GroupingModelTest, GivesTheSameAsThePlainVersion) {
  const struct {
    std::uint32_t nStart;
    unsigned nFiles;
    bool bMixed;
  } atCases[] = {
      {1000000000, 1, false},    // nothing but the same file
      {1000000000, 6, false},    // the same file again and again
      {1000000000, 300, false},  // changes with many items
      {1000000000, 300, true},   // merged comments and changes without items among them
      {100, 30, false},          // windows that begin before 1970
      {4294964900, 30, false},   // windows that end after the last 32-bit second
      {4294964900, 30, true},
  };
  unsigned nSeed = 20070;
  for (const auto& tCase : atCases) {
    for (int nRun = 0; nRun < 4; ++nRun, ++nSeed) {
      SCOPED_TRACE("seed " + std::to_string(nSeed));
      CEngine oEngine;
      CPlainGrouping oPlain;
      CHistoryMaker oMaker(nSeed, tCase.nStart, tCase.nFiles, tCase.bMixed);
      for (int i = 0; i < (tCase.nFiles == 1 ? 1500 : 300); ++i)
        oMaker.Step(oEngine, oPlain);
      EXPECT_EQ(Dump(oEngine, 1), Dump(oPlain, 1));
      EXPECT_EQ(Dump(oEngine, 2), Dump(oPlain, 2));
    }
  }
}

// When texts or paths have the same hash, their rows decide.
TEST(GroupingModelTest, GivesTheSameAsThePlainVersionWhenTextsShareAHash) {
  for (unsigned nSeed = 1; nSeed <= 8; ++nSeed) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    CEngine oEngine;
    oEngine.m_oGrouping.SetHash([](std::wstring_view strText) { return strText.size() % 2; });
    CPlainGrouping oPlain;
    CHistoryMaker oMaker(nSeed, 1000000000, 30, nSeed % 2 == 0);
    for (int i = 0; i < 300; ++i)
      oMaker.Step(oEngine, oPlain);
    EXPECT_EQ(Dump(oEngine, 1), Dump(oPlain, 1));
    EXPECT_EQ(Dump(oEngine, 2), Dump(oPlain, 2));
  }
}

// A reset discards what wasn't committed; the grouping must then be rebuilt from the committed rows.
TEST(GroupingModelTest, GivesTheSameAsThePlainVersionAfterAReset) {
  for (unsigned nSeed = 1; nSeed <= 8; ++nSeed) {
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    CEngine oEngine;
    CPlainGrouping oPlain;
    CHistoryMaker oMaker(nSeed, 1000000000, 6, nSeed % 2 == 0);
    for (int i = 0; i < 100; ++i)
      oMaker.Step(oEngine, oPlain);
    oEngine.CommitChanges();
    CPlainGrouping oDiscarded = oPlain;
    for (int i = 0; i < 100; ++i)
      oMaker.Step(oEngine, oDiscarded);
    ASSERT_TRUE(oEngine.PrepareForChanges(true));
    for (int i = 0; i < 100; ++i)
      oMaker.Step(oEngine, oPlain);
    EXPECT_EQ(Dump(oEngine, 1), Dump(oPlain, 1));
    EXPECT_EQ(Dump(oEngine, 2), Dump(oPlain, 2));
  }
}

// After a failed search the item record is as a loop over the change's items would leave it.
TEST(GroupingModelTest, FailedSearchEndsBehindTheChange) {
  CEngine oEngine;
  for (int i = 0; i < 12; ++i)
    oEngine.Add(("f" + std::to_string(i)).c_str()).At(1000);
  VCM::CFilePath oAbsent;
  oAbsent.Add(L"absent");
  MCE::TChangeRecord tChange;
  tChange.nID = 1;
  int nRevision = 0;
  EXPECT_FALSE(oEngine.CheckForExistingItem(tChange, oAbsent, nRevision));
  EXPECT_EQ(std::make_pair(oEngine.m_tChangeItem.nID, oEngine.m_tChangeItem.nItem), std::make_pair(1u, 12u));

  oEngine.Add("other").By("ann").At(2000);
  EXPECT_FALSE(oEngine.CheckForExistingItem(tChange, oAbsent, nRevision));
  EXPECT_EQ(std::make_pair(oEngine.m_tChangeItem.nID, oEngine.m_tChangeItem.nItem), std::make_pair(2u, 1u));
}

}  // namespace
}  // namespace TALVEK::TEST
