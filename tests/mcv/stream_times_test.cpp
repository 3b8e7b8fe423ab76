#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/mcv/provider_fixture.h"

namespace TALVEK::TEST {
namespace {

using MCV::TFileInfo;
using MCV::TTagInfo;
using TStreamInfo = MCE::CProvider::TStreamInfo;

/// Narrows the times of one stream by one file after the other.
class StreamTimesTest : public ProviderTest {
 protected:
  StreamTimesTest() {
    m_oProvider.AddTrunkStream();
    m_tStream.nParentID = 1;
    m_strLogBefore = Log();
  }

  using TRevisions = std::vector<std::pair<const wchar_t*, long>>;

  static TFileInfo File(const TRevisions& atRevisions) {
    TFileInfo tFile;
    tFile.oPath.Parse(L"mod/src/a.c");
    for (const auto& [pszNumber, nTime] : atRevisions) {
      MCV::TRevInfo tRevision;
      tRevision.oRevision = MCE::TCVSRevision(pszNumber);
      tRevision.oTime.Set(nTime);
      tFile.atRevisions.Add(tRevision);
    }
    return tFile;
  }
  TTagInfo Tag(const wchar_t* pszNumber, bool bIsBranch) {
    return {m_oPool.Intern(L"NAME"), MCE::TCVSRevision(pszNumber), bIsBranch};
  }
  TTagInfo Branch(const wchar_t* pszNumber) { return Tag(pszNumber, true); }

  bool Narrow(const TTagInfo& tTag, const TRevisions& atRevisions) {
    return m_oProvider.SetStreamCreationTime(m_tStream, File(atRevisions), tTag);
  }
  /// "[creation,max]".
  std::string Times() const {
    return "[" + std::to_string(m_tStream.oProps.GetNumber(MCE::STREAM_CREATED, 0)) + "," +
           std::to_string(m_tStream.oProps.GetNumber(MCE::STREAM_MAX_CREATED, 0)) + "]";
  }
  void SetTimes(std::uint32_t nCreated, std::uint32_t nMaxCreated) {
    m_tStream.oProps.RemoveAll();
    if (nCreated != 0) m_tStream.oProps.SetProperty(MCE::STREAM_CREATED, nCreated);
    if (nMaxCreated != 0) m_tStream.oProps.SetProperty(MCE::STREAM_MAX_CREATED, nMaxCreated);
  }
  std::string Logged() const { return Log().substr(m_strLogBefore.size()); }

  VCM::CStringPool m_oPool;
  TStreamInfo m_tStream;
  std::string m_strLogBefore;
};

constexpr char PSZ_IGNORED[] =
    "Ignoring file 'mod/src/a.c' tag 'NAME' for establishing branch creation time. "
    "The branch is inconsistent with other branches.\n";

TEST_F(StreamTimesTest, BranchIsMadeBetweenItsRevisionAndTheNextOne) {
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.1", 100}, {L"1.2", 200}, {L"1.3", 300}}));
  EXPECT_EQ(Times(), "[201,300]");
}

TEST_F(StreamTimesTest, SecondFileNarrowsTheRange) {
  SetTimes(201, 300);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 250}, {L"1.3", 280}}));
  EXPECT_EQ(Times(), "[251,280]");
}

TEST_F(StreamTimesTest, WiderFileChangesNothing) {
  SetTimes(251, 280);
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {{L"1.2", 100}, {L"1.3", 500}}));
  EXPECT_EQ(Times(), "[251,280]");
  EXPECT_EQ(Logged(), "");
}

TEST_F(StreamTimesTest, ContradictingFileIsLoggedAndIgnored) {
  SetTimes(251, 280);
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {{L"1.2", 400}}));
  EXPECT_EQ(Times(), "[251,280]");
  EXPECT_EQ(Logged(), PSZ_IGNORED);
}

TEST_F(StreamTimesTest, CreationAtTheBoundItselfContradicts) {
  SetTimes(251, 280);
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {{L"1.2", 279}}));
  EXPECT_EQ(Logged(), PSZ_IGNORED);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 278}}));
  EXPECT_EQ(Times(), "[279,280]");
}

// The range is then empty, until another file lowers the creation time.
TEST_F(StreamTimesTest, ContradictingFileStillLowersTheMax) {
  SetTimes(251, 280);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 150}, {L"1.3", 100}}));
  EXPECT_EQ(Times(), "[251,100]");
  EXPECT_EQ(Logged(), PSZ_IGNORED);
}

TEST_F(StreamTimesTest, BranchFromTheLastRevisionRaisesOnlyTheCreationTime) {
  SetTimes(100, 280);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.1", 50}, {L"1.2", 200}}));
  EXPECT_EQ(Times(), "[201,280]");
}

TEST_F(StreamTimesTest, TagIsMadeBetweenItsOwnRevisionAndTheNextOne) {
  EXPECT_TRUE(Narrow(Tag(L"1.5", false), {{L"1.4", 400}, {L"1.5", 500}, {L"1.6", 600}}));
  EXPECT_EQ(Times(), "[501,600]");
}

TEST_F(StreamTimesTest, TagOnABranchLooksAtTheBranch) {
  EXPECT_TRUE(Narrow(Tag(L"1.2.4.3", false), {{L"1.3", 1}, {L"1.2.4.3", 500}, {L"1.2.4.4", 600}}));
  EXPECT_EQ(Times(), "[501,600]");
}

TEST_F(StreamTimesTest, NestedBranchWithoutItsRevisionFollowsItsParent) {
  TStreamInfo tParent(0, 1, VCM::CFilePath(), VCM::CFilePath(), L"PARENT");
  tParent.oProps.SetProperty(MCE::STREAM_CREATED, 700);
  m_oProvider.AddStream(tParent);
  m_strLogBefore = Log();
  m_tStream.nParentID = tParent.nID;
  EXPECT_TRUE(Narrow(Branch(L"1.2.4.3.2"), {{L"1.2", 200}}));
  EXPECT_EQ(Times(), "[701,0]");
}

TEST_F(StreamTimesTest, ParentWithoutCreationTimeGivesNoEvidence) {
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {{L"1.1", 100}}));
  EXPECT_EQ(Times(), "[0,0]");
}

TEST_F(StreamTimesTest, ParentWithCreationTimeZeroGivesOne) {
  TStreamInfo tParent(0, 1, VCM::CFilePath(), VCM::CFilePath(), L"PARENT");
  tParent.oProps.SetProperty(MCE::STREAM_CREATED, 0);
  m_oProvider.AddStream(tParent);
  m_tStream.nParentID = tParent.nID;
  EXPECT_TRUE(Narrow(Branch(L"1.2.4.3.2"), {}));
  EXPECT_EQ(Times(), "[1,0]");
}

TEST_F(StreamTimesTest, ParentThatIsNoStreamGivesNoEvidence) {
  m_tStream.nParentID = 99;
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {}));
  m_tStream.nParentID = 0;
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {}));
  EXPECT_EQ(Times(), "[0,0]");
}

TEST_F(StreamTimesTest, NewMaxAtOrBelowTheCreationTimeLetsALowerOneReplaceIt) {
  for (const long nMax : {180L, 201L}) {
    SetTimes(201, 300);
    EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 150}, {L"1.3", nMax}}));
    EXPECT_EQ(Times(), "[151," + std::to_string(nMax) + "]");
  }
  EXPECT_EQ(Logged(), "");
}

TEST_F(StreamTimesTest, NewMaxAboveTheCreationTimeKeepsIt) {
  SetTimes(201, 300);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 150}, {L"1.3", 202}}));
  EXPECT_EQ(Times(), "[201,202]");
}

TEST_F(StreamTimesTest, TimesAreComparedUnsigned) {
  SetTimes(0x7FFFFFFF, 0);
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 0x80000000L}, {L"1.3", 0xF0000000L}}));
  EXPECT_EQ(Times(), "[2147483649,4026531840]");
}

TEST_F(StreamTimesTest, UnsignedComparisonTable) {
  constexpr std::uint32_t BEFORE_2038 = 0x7FFFFFFF, AFTER_2038 = 0xF0000000;
  const struct {
    std::uint32_t nCreated, nMaxCreated;  // before
    TRevisions atRevisions;
    const char* pszTimes;
    const char* pszLogged;
  } atCases[] = {
      {0, BEFORE_2038, {{L"1.2", 100}, {L"1.3", AFTER_2038}}, "[101,2147483647]", ""},
      {0, AFTER_2038, {{L"1.2", 100}, {L"1.3", BEFORE_2038}}, "[101,2147483647]", ""},
      {BEFORE_2038, 0, {{L"1.2", 100}, {L"1.3", AFTER_2038}}, "[2147483647,4026531840]", ""},
      {AFTER_2038, 0, {{L"1.2", 100}, {L"1.3", BEFORE_2038}}, "[101,2147483647]", ""},
      {0, AFTER_2038, {{L"1.2", 100}}, "[101,4026531840]", ""},
      {0, 1000, {{L"1.2", AFTER_2038}}, "[0,1000]", PSZ_IGNORED},
      {BEFORE_2038, 0, {{L"1.2", AFTER_2038}}, "[4026531841,0]", ""},
      {AFTER_2038, 0, {{L"1.2", 100}}, "[4026531840,0]", ""},
  };
  for (const auto& tCase : atCases) {
    m_strLogBefore = Log();
    SetTimes(tCase.nCreated, tCase.nMaxCreated);
    const std::string strBefore = Times();
    EXPECT_EQ(Narrow(Branch(L"1.2.4"), tCase.atRevisions), strBefore != tCase.pszTimes) << strBefore;
    EXPECT_EQ(Times(), tCase.pszTimes) << strBefore;
    EXPECT_EQ(Logged(), tCase.pszLogged) << strBefore;
  }
}

TEST_F(StreamTimesTest, SameMaxAgainIsNoChange) {
  SetTimes(201, 300);
  EXPECT_FALSE(Narrow(Branch(L"1.2.4"), {{L"1.2", 150}, {L"1.3", 300}}));
  EXPECT_EQ(Times(), "[201,300]");
}

TEST_F(StreamTimesTest, OnlyTheCallersRecordChanges) {
  m_tStream.nID = 1;
  EXPECT_TRUE(Narrow(Branch(L"1.2.4"), {{L"1.2", 200}, {L"1.3", 300}}));
  EXPECT_EQ(m_oProvider.Streams(), "1 Main below 0 [0,0]\n");
}

TEST_F(StreamTimesTest, OneFilesEvidenceTable) {
  const TRevisions atRevisions = {{L"1.1", 100},     {L"1.2", 200}, {L"1.2.4.3", 230},
                                  {L"1.2.4.4", 240}, {L"1.3", 300}, {L"1.4", 0}};
  const struct {
    const wchar_t* pszNumber;
    bool bIsBranch;
    std::uint32_t nCreated, nMaxCreated;
  } atCases[] = {
      {L"1.2.4", true, 201, 300},      // sprouts from 1.2, which 1.3 replaced
      {L"1.2", false, 201, 300},       //
      {L"1.2.4.3.2", true, 231, 240},  // sprouts on a branch
      {L"1.2.4.4.2", true, 241, 0},    // from that branch's last revision
      {L"1.3.2", true, 301, 0},        // 1.4 has no time
      {L"1.4.2", true, 0, 0},          // nor has this one's own revision
      {L"1.9.2", true, 0, 0},          // no such revision
      {L"1.0.2", true, 0, 100},        // none either, but the next one is there
      {L"1", true, 0, 0},              // the vendor branch: no component is left
      {L"1", false, 0, 0},             //
      {L"", true, 0, 0},               //
      {L"", false, 0, 0},              //
  };
  const TFileInfo tFile = File(atRevisions);
  for (const auto& tCase : atCases) {
    const TTagInfo tTag = Tag(tCase.pszNumber, tCase.bIsBranch);
    EXPECT_EQ(m_oProvider.GetStreamCreationTime(tTag, tFile), tCase.nCreated)
        << TEST::Narrow(tCase.pszNumber);
    EXPECT_EQ(m_oProvider.GetStreamMaxCreationTime(tTag, tFile), tCase.nMaxCreated)
        << TEST::Narrow(tCase.pszNumber);
  }
}

}  // namespace
}  // namespace TALVEK::TEST
