#include <gtest/gtest.h>

#include <string>

#include "core/string_pool.h"
#include "mcv/number_lookup.h"
#include "tests/mcv/provider_fixture.h"
#include "tests/support/growth.h"

// Guards against work that grows faster than the history.
namespace TALVEK::TEST {
namespace {

constexpr int FEW = 100;
constexpr int MANY = 16 * FEW;
constexpr double LIMIT = 5;  // work that grows with the square gives 16

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

TEST(LookupGrowthTest, LookupsInAFileCostHardlyMoreAmongManyThanAmongFew) {
  const auto fnLookUpAll = [](int nRevisions) {
    const MCV::TFileInfo tFile = BushyFile(nRevisions);
    for (int i = 1; i <= nRevisions; ++i) {
      ASSERT_NE(MCV::FindRevision(tFile, Number("1." + Text(i))), nullptr);
      ASSERT_GE(MCV::FindTagOfRevision(tFile, Number("1." + Text(i) + ".2.7")), 0);
    }
    MCV::CTagNesting oNesting(tFile);
    for (int i = 0; i < tFile.atTags.GetCount(); ++i)
      oNesting.NextParent();
  };
  EXPECT_LE(CostGrowth(FEW, MANY, fnLookUpAll), LIMIT);
}

TEST(LookupGrowthTest, ParentsOfDeeplyNestedNamesCostNoMoreForEachComponent) {
  // The components of all numbers grow with the square of the names, so fewer names do.
  const auto fnNest = [](int nNames) {
    MCV::TFileInfo tFile;
    std::string strNumber = "1.1";
    for (int i = 0; i < nNames; ++i) {
      strNumber += ".2";
      tFile.atTags.Add({VCM::CStringRef(), Number(strNumber), true});
      strNumber += ".1";
    }
    tFile.atTags.Sort(MCV::CompareTags);
    MCV::CTagNesting oNesting(tFile);
    for (int i = 0; i < nNames; ++i)
      EXPECT_EQ(oNesting.NextParent(), i - 1);
  };
  EXPECT_LE(CostGrowth(FEW, 4 * FEW, fnNest), 4 * LIMIT);
}

/// One search, with a provider of its own.
class COneSearch : public ProviderTest {
 public:
  void TestBody() override {}
  /// Reads a log whose files were all committed together, three times.
  void Run(int nFiles) {
    CLogText oLog;
    for (int i = 0; i < nFiles; ++i) {
      oLog.File("/repo/mod/file" + Text(i) + ".c,v").Name("BR: 1.1.0.2");
      oLog.At("1.2", 2000000 + i % 50).At("1.1", 1000000 + i % 50).At("1.1.2.1", 1500000 + i % 50);
    }
    EXPECT_TRUE(Search(oLog));
  }
};

TEST(SearchGrowthTest, FilesOfOneCommitCostHardlyMoreEach) {
  EXPECT_LE(CostGrowth(FEW, MANY, [](int nFiles) { COneSearch().Run(nFiles); }), LIMIT);
}

}  // namespace
}  // namespace TALVEK::TEST
