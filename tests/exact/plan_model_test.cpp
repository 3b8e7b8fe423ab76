#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "exact/make_plan.h"
#include "tests/exact/plain_plan.h"
#include "tests/exact/plan_dump.h"
#include "tests/exact/plan_properties.h"
#include "tests/exact/random_history.h"
#include "tests/exact/rcs_builder.h"

namespace TALVEK::EXACT::TEST {

namespace {

std::string Print(const std::vector<TRcsFile>& atFiles) {
  std::string strText;
  for (const TRcsFile& tFile : atFiles) {
    strText += tFile.strPath + " head " + NumberText(tFile.nHead) + " branch " +
               NumberText(tFile.nDefaultBranch) + "\n";
    for (const TRcsName& t : tFile.atNames)
      strText += "  " + t.strName + " " + NumberText(t.nNumber) + "\n";
    for (const TRcsRevision& t : tFile.atRevisions) {
      strText += "  " + NumberText(t.nNumber) + " " + std::to_string(t.nTime) + " " + t.strAuthor + " " +
                 t.strMessage + " " + t.strCommitId + (t.bDead ? " dead" : "") +
                 (t.bDiffers ? " differs" : "") + "\n";
    }
  }
  return strText;
}

/// TALVEK_EXACT_SEED=123 tries one history, TALVEK_EXACT_SEEDS=100000 more of them.
std::uint64_t FromEnvironment(const char* pszName, std::uint64_t nDefault) {
  const char* pszValue = std::getenv(pszName);
  return pszValue == nullptr ? nDefault : std::strtoull(pszValue, nullptr, 10);
}

THistoryOptions RandomOptions(std::uint64_t nSeed) {
  THistoryOptions tOptions;
  if (nSeed % 4 != 0) return tOptions;
  tOptions.bCreateBranches = nSeed % 16 != 0;
  tOptions.bStreamsForTags = nSeed % 12 != 0;
  tOptions.bUnnamedBranches = nSeed % 20 != 0;
  if (nSeed % 24 == 4) tOptions.fnWanted = [](std::string_view strName) { return strName.back() != '1'; };
  if (nSeed % 28 == 8) tOptions.nEndTime = 2500;
  return tOptions;
}

}  // namespace

// The plan of the passes against the second version of the plan, and against claims that are independent of
// both.
TEST(PlanModelTest, RandomHistories) {
  const std::uint64_t nOnly = FromEnvironment("TALVEK_EXACT_SEED", 0);
  const std::uint64_t nFirst = nOnly != 0 ? nOnly : 1;
  const std::uint64_t nLast = nOnly != 0 ? nOnly : FromEnvironment("TALVEK_EXACT_SEEDS", 4000);
  std::uint64_t nCircles = 0, nTwice = 0, nStarts = 0, nJoins = 0, nExact = 0, nClocks = 0, nWithParent = 0;
  for (std::uint64_t nSeed = nFirst; nSeed <= nLast; ++nSeed) {
    const std::vector<TRcsFile> atFiles = RandomHistory(nSeed);
    const THistoryOptions tOptions = RandomOptions(nSeed);
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    CHistory oHistory(tOptions);
    for (const TRcsFile& tFile : atFiles)
      oHistory.AddFile(tFile);
    oHistory.Finish();
    const TMadePlan tMade = MakePlan(oHistory);
    ASSERT_EQ(PlainPlan(atFiles, tOptions), Dump(tMade.oPlan)) << Print(atFiles);
    ASSERT_EQ(0U, tMade.tCheck.nDifferences) << tMade.tCheck.atFirst[0].strWhat << "\n"
                                             << Print(atFiles) << Dump(tMade.oPlan);
    if (nSeed % 4 != 0) {
      ASSERT_EQ("", BrokenClaim(atFiles, tMade.oPlan)) << Print(atFiles) << Dump(tMade.oPlan);
    }
    nCircles += tMade.tNotes.nCircles;
    nTwice += tMade.tNotes.nTwice;
    nStarts += tMade.tNotes.nStartChanges;
    nJoins += tMade.tNotes.nJoinChanges;
    nExact += tMade.tNotes.nExactNames;
    nClocks += tMade.tNotes.nClocks;
    for (const TPlanStream& tStream : tMade.oPlan.Streams())
      nWithParent += tStream.nBase != NONE ? 1 : 0;
  }
  if (nOnly != 0) return;
  // Each rule was needed, so that the comparison says something about it.
  for (const std::uint64_t nSeen : {nCircles, nTwice, nStarts, nJoins, nExact, nClocks, nWithParent})
    EXPECT_GT(nSeen, 20U);
  RecordProperty("circles", static_cast<int>(nCircles));
  std::printf(
      "circles %llu, files twice %llu, start changes %llu, joins %llu, exact %llu, clocks %llu, parents "
      "%llu\n",
      static_cast<unsigned long long>(nCircles), static_cast<unsigned long long>(nTwice),
      static_cast<unsigned long long>(nStarts), static_cast<unsigned long long>(nJoins),
      static_cast<unsigned long long>(nExact), static_cast<unsigned long long>(nClocks),
      static_cast<unsigned long long>(nWithParent));
}

}  // namespace TALVEK::EXACT::TEST
