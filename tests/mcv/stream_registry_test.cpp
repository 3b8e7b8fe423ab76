#include <gtest/gtest.h>

#include <tuple>

#include "tests/mcv/provider_fixture.h"

namespace TALVEK::TEST {
namespace {

using TStreamInfo = MCE::CProvider::TStreamInfo;

TStreamInfo Stream(unsigned nParentID, const wchar_t* pszName, std::uint32_t nCreated = 0,
                   std::uint32_t nMaxCreated = 0) {
  TStreamInfo tStream(0, nParentID, VCM::CFilePath(), VCM::CFilePath(), pszName);
  if (nCreated != 0) tStream.oProps.SetProperty(MCE::STREAM_CREATED, nCreated);
  if (nMaxCreated != 0) tStream.oProps.SetProperty(MCE::STREAM_MAX_CREATED, nMaxCreated);
  return tStream;
}

/// Starts with the trunk.
class StreamRegistryTest : public ProviderTest {
 protected:
  StreamRegistryTest() { m_oProvider.AddTrunkStream(); }

  unsigned Add(TStreamInfo tStream) {
    m_oProvider.AddStream(tStream);
    return tStream.nID;
  }
  /// The lines that the action adds to the import log.
  template <class TAction>
  std::string Logged(TAction fnAction) {
    const std::size_t nBefore = Log().size();
    fnAction();
    return Log().substr(nBefore);
  }
};

TEST_F(StreamRegistryTest, TrunkIsFoundInAnyCaseAsStreamOneWithoutParent) {
  TStreamInfo tStream;
  ASSERT_TRUE(m_oProvider.GetStreamByName(L"main", tStream));
  EXPECT_EQ(tStream.nID, 1u);
  EXPECT_EQ(tStream.nParentID, 0u);
  EXPECT_EQ(Narrow(tStream.strName), "Main");
  EXPECT_EQ(tStream.oDestPath.GetCount(), 0);
  EXPECT_EQ(tStream.oSrcPath.GetCount(), 0);
  EXPECT_EQ(tStream.nBaseChangeID, 0u);
  EXPECT_FALSE(tStream.oProps.HasProperty(MCE::STREAM_CREATED));
}

TEST_F(StreamRegistryTest, IdsCountUpAndTheCallerGetsThem) {
  EXPECT_EQ(Add(Stream(1, L"A")), 2u);
  TStreamInfo tStream = Stream(2, L"B", 100, 200);
  tStream.nID = 77;
  m_oProvider.AddStream(tStream);
  EXPECT_EQ(tStream.nID, 3u);
  EXPECT_EQ(m_oProvider.Streams(), "1 Main below 0 [0,0]\n2 A below 1 [0,0]\n3 B below 2 [100,200]\n");
}

TEST_F(StreamRegistryTest, NameThatNobodyHasLeavesTheRecordAlone) {
  TStreamInfo tStream = Stream(7, L"kept", 5);
  tStream.nID = 9;
  EXPECT_FALSE(m_oProvider.GetStreamByName(L"nobody", tStream));
  EXPECT_FALSE(m_oProvider.GetStreamByName(L"", tStream));
  EXPECT_EQ(tStream.nID, 9u);
  EXPECT_EQ(tStream.nParentID, 7u);
  EXPECT_EQ(Narrow(tStream.strName), "kept");
  EXPECT_EQ(tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0), 5u);
}

TEST_F(StreamRegistryTest, FirstOfTwoNamesEqualButForCaseIsFound) {
  Add(Stream(1, L"Rel", 100));
  Add(Stream(1, L"REL", 200));
  TStreamInfo tStream;
  ASSERT_TRUE(m_oProvider.GetStreamByName(L"REL", tStream));
  EXPECT_EQ(tStream.nID, 2u);
}

TEST_F(StreamRegistryTest, NamesAreFoundInThePresentList) {
  const auto IdOf = [this](const wchar_t* pszName) {
    TStreamInfo tStream;
    return m_oProvider.GetStreamByName(pszName, tStream) ? tStream.nID : 0U;
  };
  Add(Stream(1, L"A"));
  TStreamInfo tB = Stream(1, L"B");
  m_oProvider.AddStream(tB);
  EXPECT_EQ(IdOf(L"a"), 2u);
  tB.strName = L"B2";
  m_oProvider.UpdateStream(tB);
  EXPECT_EQ(IdOf(L"b"), 0u);
  EXPECT_EQ(IdOf(L"b2"), 3u);
  // As many streams as before: an index that is only checked by their number would be stale.
  m_oProvider.ResetStreams();
  EXPECT_EQ(IdOf(L"main"), 0u);
  m_oProvider.ResetStreams();
  Add(Stream(0, L"X"));
  Add(Stream(0, L"B2"));
  Add(Stream(0, L"A"));
  EXPECT_EQ(IdOf(L"main"), 0u);
  EXPECT_EQ(IdOf(L"b2"), 2u);
  EXPECT_EQ(IdOf(L"a"), 3u);
}

// Hosts call the base class's ResetStreams. No lookup between it and the new streams may be needed.
TEST_F(StreamRegistryTest, NamesOfAnEmptiedListAreForgottenWithoutALookupInBetween) {
  Add(Stream(1, L"A"));
  TStreamInfo tStream;
  EXPECT_TRUE(m_oProvider.GetStreamByName(L"A", tStream));
  m_oProvider.CProviderBase::ResetStreams();
  Add(Stream(0, L"X"));
  Add(Stream(0, L"Y"));
  EXPECT_FALSE(m_oProvider.GetStreamByName(L"A", tStream));
  EXPECT_TRUE(m_oProvider.GetStreamByName(L"Y", tStream));
  EXPECT_EQ(tStream.nID, 2u);
}

TEST_F(StreamRegistryTest, IdBeyondTheListIsNotFoundAndLeavesTheRecordAlone) {
  Add(Stream(1, L"A"));
  TStreamInfo tStream = Stream(7, L"kept");
  EXPECT_FALSE(m_oProvider.GetStreamByID(3, tStream));
  EXPECT_FALSE(m_oProvider.GetStreamByID(4294967295u, tStream));
  EXPECT_EQ(Narrow(tStream.strName), "kept");
  EXPECT_EQ(tStream.nParentID, 7u);
  ASSERT_TRUE(m_oProvider.GetStreamByID(2, tStream));
  EXPECT_EQ(Narrow(tStream.strName), "A");
}

TEST_F(StreamRegistryTest, UpdateOverwritesTheEntryOfThatId) {
  Add(Stream(1, L"A"));
  Add(Stream(1, L"B"));
  TStreamInfo tStream = Stream(3, L"A2", 10, 20);
  tStream.nID = 2;
  m_oProvider.UpdateStream(tStream);
  EXPECT_EQ(m_oProvider.Streams(), "1 Main below 0 [0,0]\n2 A2 below 3 [10,20]\n3 B below 1 [0,0]\n");
}

TEST_F(StreamRegistryTest, LineForTheTrunkShowsNoParentAndBothTimesFromZero) {
  EXPECT_EQ(Log(),
            "Adding stream 'Main'. Parent is '[NONE]'. Creation time is 1970-01-01 00:00:00 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n");
}

TEST_F(StreamRegistryTest, AddingIsLoggedWithParentAndTimes) {
  EXPECT_EQ(Logged([this] { Add(Stream(1, L"A", 1041502272, 1044180673)); }),
            "Adding stream 'A'. Parent is 'Main'. Creation time is 2003-01-02 10:11:12 UTC. "
            "Max creation time is 2003-02-02 10:11:13 UTC\n");
}

TEST_F(StreamRegistryTest, UpdatingIsLogged) {
  TStreamInfo tStream = Stream(1, L"A");
  m_oProvider.AddStream(tStream);
  tStream.oProps.SetProperty(MCE::STREAM_CREATED, 60);
  EXPECT_EQ(Logged([&] { m_oProvider.UpdateStream(tStream); }),
            "Updating stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:01:00 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n");
}

// A stream that is its own parent finds its name, so it was in the list before it was logged.
TEST_F(StreamRegistryTest, AddingIsLoggedOnceTheStreamIsThere) {
  EXPECT_EQ(Logged([this] { Add(Stream(2, L"A")); }),
            "Adding stream 'A'. Parent is 'A'. Creation time is 1970-01-01 00:00:00 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n");
}

TEST_F(StreamRegistryTest, UpdatingIsLoggedBeforeTheStreamIsOverwritten) {
  TStreamInfo tStream = Stream(2, L"A");
  m_oProvider.AddStream(tStream);
  tStream.strName = L"B";
  EXPECT_EQ(Logged([&] { m_oProvider.UpdateStream(tStream); }),
            "Updating stream 'B'. Parent is 'A'. Creation time is 1970-01-01 00:00:00 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n");
}

TEST_F(StreamRegistryTest, ParentThatIsNoStreamShowsAsAnEmptyName) {
  EXPECT_EQ(Logged([this] { Add(Stream(99, L"A")); }),
            "Adding stream 'A'. Parent is ''. Creation time is 1970-01-01 00:00:00 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n");
}

TEST_F(StreamRegistryTest, NothingIsLoggedWhileTheLogIsClosed) {
  m_oProvider.OpenLog(false);
  EXPECT_EQ(Logged([this] {
              TStreamInfo tStream = Stream(1, L"A");
              m_oProvider.AddStream(tStream);
              m_oProvider.UpdateStream(tStream);
            }),
            "");
}

TEST_F(StreamRegistryTest, ChildrenArePrintedByCreationTime) {
  Add(Stream(1, L"later", 100));
  Add(Stream(1, L"earlier", 50));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(1, L""); }), "earlier\nlater\n");
}

TEST_F(StreamRegistryTest, StreamWithoutCreationTimeIsPrintedFirst) {
  Add(Stream(1, L"known", 1));
  Add(Stream(1, L"unknown"));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(1, L""); }), "unknown\nknown\n");
}

TEST_F(StreamRegistryTest, TreeIsPrintedDepthFirstAndIndentedByTwo) {
  Add(Stream(1, L"A", 10));
  Add(Stream(2, L"A1", 11));
  Add(Stream(1, L"B", 5));
  Add(Stream(3, L"A1x", 12));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(0, L""); }),
            "Main\n  B\n  A\n    A1\n      A1x\n");
}

// Depth 200,000 must not overflow the stack. The log is closed because the indented text would grow with the
// square of the depth.
TEST_F(StreamRegistryTest, TreeOfAnyDepthIsWalked) {
  m_oProvider.OpenLog(false);
  for (unsigned i = 1; i < 200000; ++i)
    m_oProvider.m_oStreams.Add(
        MCE::CProvider::TStreamInfo(i + 1, i, VCM::CFilePath(), VCM::CFilePath(), L"S"));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(0, L""); }), "");
}

TEST_F(StreamRegistryTest, CircleIsPrintedOnceFromWithin) {
  Add(Stream(3, L"A"));
  Add(Stream(2, L"B"));
  Add(Stream(4, L"C"));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(2, L"  "); }), "  B\n    A\n");
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(4, L""); }), "C\n");
}

TEST_F(StreamRegistryTest, StreamWithoutChildrenPrintsNothing) {
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(1, L"  "); }), "");
}

TEST_F(StreamRegistryTest, StreamsInACircleAreNotPrintedFromTheTop) {
  Add(Stream(3, L"A"));
  Add(Stream(2, L"B"));
  EXPECT_EQ(Logged([this] { m_oProvider.DumpStreamChildren(0, L""); }), "Main\n");
}

TEST_F(StreamRegistryTest, CreationTimesCompareByTheirSignedDifference) {
  const struct {
    std::uint32_t nLeft, nRight;
    int nExpected;
  } atCases[] = {{100, 50, 50}, {50, 100, -50},      {7, 7, 0}, {0, 0, 0},
                 {0, 1, -1},    {0xFFFFFFFF, 1, -2}, {1, 0, 1}, {0x80000000, 0, INT_MIN}};
  for (const auto& tCase : atCases) {
    const TStreamInfo tLeft = Stream(1, L"l", tCase.nLeft), tRight = Stream(1, L"r", tCase.nRight);
    EXPECT_EQ(m_oProvider.CompareCreationTime(&tLeft, &tRight), tCase.nExpected)
        << tCase.nLeft << " " << tCase.nRight;
  }
}

class StreamLinkageTest : public StreamRegistryTest {
 protected:
  std::string BaseChanges() const {
    std::string strText;
    for (const TStreamInfo& tStream : m_oProvider.m_oStreams)
      strText += Narrow(tStream.strName) + "=" + std::to_string(tStream.nBaseChangeID) + " ";
    return strText;
  }
  unsigned Change(unsigned nStreamID, long nTime) {
    return m_oProvider.AddChange(0, nStreamID, L"joe", L"work", nTime);
  }
};

TEST_F(StreamLinkageTest, BranchStartsFromTheLastChangeOfItsParentAtOrBeforeItsCreation) {
  Add(Stream(1, L"before", 999));
  Add(Stream(1, L"at", 1000));
  Add(Stream(1, L"between", 1999));
  Add(Stream(1, L"after", 5000));
  EXPECT_EQ(Change(1, 2000), 1u);
  EXPECT_EQ(Change(1, 1000), 2u);
  EXPECT_EQ(m_oProvider.ResolveStreamLinkage(), 0);
  EXPECT_EQ(BaseChanges(), "Main=0 before=0 at=2 between=2 after=1 ");
}

TEST_F(StreamLinkageTest, NestedBranchStartsFromAChangeOfItsOwnParent) {
  Add(Stream(1, L"A", 1500));
  Add(Stream(2, L"B", 3000));
  Change(1, 1000);
  Change(2, 2000);
  Change(1, 2500);
  m_oProvider.ResolveStreamLinkage();
  EXPECT_EQ(BaseChanges(), "Main=0 A=1 B=2 ");
}

TEST_F(StreamLinkageTest, BranchWithoutCreationTimeIsLinkedAtTimeZero) {
  Add(Stream(1, L"A"));
  Change(1, 1000);
  m_oProvider.ResolveStreamLinkage();
  EXPECT_EQ(BaseChanges(), "Main=0 A=0 ");
  Change(1, 0);
  m_oProvider.ResolveStreamLinkage();
  EXPECT_EQ(BaseChanges(), "Main=0 A=2 ");
}

TEST_F(StreamLinkageTest, ParentIsTheStreamWithThatIdWhereverItStands) {
  m_oProvider.ResetStreams();
  for (const auto& [nID, nParentID, pszName] :
       {std::tuple{5U, 0U, L"root"}, {9U, 5U, L"child"}, {2U, 9U, L"inner"}, {7U, 1U, L"lost"}}) {
    TStreamInfo tStream = Stream(nParentID, pszName, 3000);
    tStream.nID = nID;
    tStream.nBaseChangeID = 42;
    m_oProvider.m_oStreams.Add(tStream);
  }
  EXPECT_EQ(Change(5, 1000), 1u);
  EXPECT_EQ(Change(9, 2000), 2u);
  m_oProvider.ResolveStreamLinkage();
  EXPECT_EQ(BaseChanges(), "root=42 child=1 inner=2 lost=42 ");
}

TEST_F(StreamLinkageTest, BranchThatStartsBeforeEveryChangeLosesItsBaseChange) {
  TStreamInfo tStream = Stream(1, L"A", 999);
  tStream.nBaseChangeID = 42;
  Add(tStream);
  Change(1, 1000);
  m_oProvider.ResolveStreamLinkage();
  EXPECT_EQ(BaseChanges(), "Main=0 A=0 ");
}

TEST_F(StreamLinkageTest, BranchOfUnknownParentKeepsItsBaseChange) {
  TStreamInfo tStream = Stream(99, L"A", 5000);
  tStream.nBaseChangeID = 42;
  Add(tStream);
  Change(1, 1000);
  EXPECT_EQ(m_oProvider.ResolveStreamLinkage(), 0);
  EXPECT_EQ(BaseChanges(), "Main=0 A=42 ");
}

}  // namespace
}  // namespace TALVEK::TEST
