#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>

#include "core/string_pool.h"
#include "mcv/file_lookup.h"
#include "mcv/stream_names.h"
#include "tests/mcv/provider_fixture.h"

// Guards against work that grows faster than the history, by counting what is compared and read: a clock
// would measure the machine.
namespace TALVEK::TEST {
namespace {

constexpr int FEW = 100;
constexpr int MANY = 16 * FEW;
constexpr double LIMIT = 1.3;

MCE::TCVSRevision Number(const std::string& strText) {
  return MCE::TCVSRevision(VCM::FromBytes(strText));
}

std::string Text(int nNumber) {
  return std::to_string(nNumber);
}

/// A file with the revisions 1.1 to 1.n, a tag on each and a branch from each.
MCV::TFileInfo BushyFile(int nRevisions) {
  MCV::TFileInfo tFile;
  for (int i = 1; i <= nRevisions; ++i) {
    tFile.atRevisions.Add({Number("1." + Text(i)), VCM::CTimestamp(i), MCV::REVISION_LIVE, {}, {}});
    tFile.atTags.Add({VCM::CStringRef(), Number("1." + Text(i)), false});
    tFile.atTags.Add({VCM::CStringRef(), Number("1." + Text(i) + ".2"), true});
  }
  tFile.atTags.Sort(MCV::CompareTags);
  tFile.atRevisions.Sort(MCV::CompareRevs);
  return tFile;
}

/// Comparisons of one search by bisection among `nCount` items, with the last one that tells a find.
std::uint64_t Bisections(int nCount) {
  return static_cast<std::uint64_t>(std::bit_width(static_cast<unsigned>(nCount))) + 1;
}

TEST(LookupGrowthTest, RevisionIsFoundByBisection) {
  const MCV::TFileInfo tFile = BushyFile(MANY);
  for (int i = 1; i <= MANY; ++i) {
    std::uint64_t nCompared = 0;
    ASSERT_NE(MCV::FindRevision(tFile, Number("1." + Text(i)), &nCompared), nullptr);
    ASSERT_GT(nCompared, 0U);
    ASSERT_LE(nCompared, Bisections(MANY)) << i;
  }
}

TEST(LookupGrowthTest, NameOfARevisionIsFoundByBisection) {
  const MCV::TFileInfo tFile = BushyFile(MANY);
  for (int i = 1; i <= MANY; ++i) {
    std::uint64_t nCompared = 0;
    ASSERT_GE(MCV::FindTagOfRevision(tFile, Number("1." + Text(i) + ".2.7"), &nCompared), 0);
    ASSERT_GT(nCompared, 0U);
    ASSERT_LE(nCompared, Bisections(2 * MANY)) << i;
  }
}

std::uint64_t ComparedForParents(const MCV::TFileInfo& tFile) {
  MCV::CTagNesting oNesting(tFile);
  for (int i = 0; i < tFile.atTags.GetCount(); ++i)
    oNesting.NextParent();
  return oNesting.GetCompared();
}

TEST(LookupGrowthTest, ParentsOfNamesCostAFewComparisonsEach) {
  const MCV::TFileInfo tFile = BushyFile(MANY);
  EXPECT_GT(ComparedForParents(tFile), 0U);
  EXPECT_LE(ComparedForParents(tFile), 3U * static_cast<unsigned>(tFile.atTags.GetCount()));
}

TEST(LookupGrowthTest, ParentsOfDeeplyNestedNamesCostAFewComparisonsEach) {
  MCV::TFileInfo tFile;
  std::string strNumber = "1.1";
  for (int i = 0; i < MANY; ++i) {
    strNumber += ".2";
    tFile.atTags.Add({VCM::CStringRef(), Number(strNumber), true});
    strNumber += ".1";
  }
  tFile.atTags.Sort(MCV::CompareTags);
  EXPECT_LE(ComparedForParents(tFile), 3U * MANY);
}

TEST(LookupGrowthTest, StreamIsFoundByNameInAFewComparisons) {
  VCM::CArray<MCE::CProvider::TStreamInfo> atStreams;
  MCV::CStreamNames oNames;
  for (int i = 0; i < MANY; ++i) {
    const VCM::CString strName = VCM::FromBytes("BRANCH_" + Text(i));
    EXPECT_EQ(oNames.Find(atStreams, 0, strName.View()), -1);
    atStreams.Add({static_cast<unsigned>(i) + 1, 1, {}, {}, strName.c_str()});
    EXPECT_EQ(oNames.Find(atStreams, 0, strName.View()), i);
  }
  EXPECT_GE(oNames.GetCompared(), static_cast<unsigned>(MANY));
  EXPECT_LE(oNames.GetCompared(), 3U * 2U * MANY);
}

/// One search, with a provider of its own.
class COneSearch : public ProviderTest {
 public:
  void TestBody() override {}
  /// Rows read and changes looked at for each revision of a log whose files were all committed together,
  /// three times.
  double WorkPerRevision(int nFiles) {
    CLogText oLog;
    for (int i = 0; i < nFiles; ++i) {
      oLog.File("/repo/mod/file" + Text(i) + ".c,v").Name("BR: 1.1.0.2");
      oLog.At("1.2", 2000000 + i % 50).At("1.1", 1000000 + i % 50).At("1.1.2.1", 1500000 + i % 50);
    }
    EXPECT_TRUE(Search(oLog));
    const std::uint64_t nRows = m_oProvider.m_poDatabase->GetRowsRead();
    return static_cast<double>(nRows + m_oProvider.GetChangesLookedAt()) / (3 * nFiles);
  }
};

TEST(SearchGrowthTest, FilesOfOneCommitCostNoMoreEach) {
  const double fFew = COneSearch().WorkPerRevision(FEW);
  EXPECT_GT(fFew, 0);
  EXPECT_LE(COneSearch().WorkPerRevision(MANY), LIMIT * fFew);
}

}  // namespace
}  // namespace TALVEK::TEST
