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
  const MCV::TFileInfo tFew = BushyFile(FEW), tMany = BushyFile(MANY);
  const auto fnLookUpAll = [&](int nRevisions) {
    const MCV::TFileInfo& tFile = nRevisions == FEW ? tFew : tMany;
    for (const MCV::TRevInfo& tRevision : tFile.atRevisions)
      ASSERT_EQ(MCV::FindRevision(tFile, tRevision.oRevision), &tRevision);
    for (int i = 0; i < tFile.atTags.GetCount(); ++i) {
      MCE::TCVSRevision oRevision = tFile.atTags[i].oRevision;
      oRevision.Add(7);
      ASSERT_EQ(MCV::FindTagOfRevision(tFile, oRevision), i);
    }
  };
  EXPECT_LE(CostGrowth(FEW, MANY, fnLookUpAll), LIMIT);
}

TEST(LookupGrowthTest, ParentsOfNamesCostHardlyMoreAmongManyThanAmongFew) {
  const MCV::TFileInfo tFew = BushyFile(FEW), tMany = BushyFile(MANY);
  const auto fnNest = [&](int nRevisions) {
    const MCV::TFileInfo& tFile = nRevisions == FEW ? tFew : tMany;
    MCV::CTagNesting oNesting(tFile);
    for (int i = 0; i < tFile.atTags.GetCount(); ++i)
      oNesting.NextParent();
  };
  EXPECT_LE(CostGrowth(FEW, MANY, fnNest), LIMIT);
}

/// A file with one name on each of `nNames` branches, each of which sprouts from the one before.
MCV::TFileInfo DeepFile(int nNames) {
  MCV::TFileInfo tFile;
  std::string strNumber = "1.1";
  for (int i = 0; i < nNames; ++i) {
    strNumber += ".2";
    tFile.atTags.Add({VCM::CStringRef(), Number(strNumber), true});
    strNumber += ".1";
  }
  tFile.atTags.Sort(MCV::CompareTags);
  return tFile;
}

// The numbers get longer with the depth, so the cost per name may grow linearly with the number of names.
// Comparing each name with all before it would make that quadratic.
TEST(LookupGrowthTest, ParentsOfDeeplyNestedNamesCostNoMorePerComponent) {
  const MCV::TFileInfo tFew = DeepFile(FEW), tMany = DeepFile(MANY);
  const auto fnNest = [&](int nNames) {
    const MCV::TFileInfo& tFile = nNames == FEW ? tFew : tMany;
    MCV::CTagNesting oNesting(tFile);
    for (int i = 0; i < nNames; ++i)
      ASSERT_EQ(oNesting.NextParent(), i - 1);
  };
  EXPECT_LE(CostGrowth(FEW, MANY, fnNest), LIMIT * MANY / FEW);
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
