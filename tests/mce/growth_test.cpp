#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>

#include "mce/change_groups.h"
#include "tests/mce/engine_fixture.h"
#include "tests/support/growth.h"

// Guards against work that grows faster than the history: compares the time per item of a long history with
// that of a short one, in the same run.
namespace TALVEK::TEST {
namespace {

constexpr int FEW = 2000;
constexpr int MANY = 16 * FEW;
constexpr double LIMIT = 4;  // quadratic work would be 16 times as much for each item

using TAdd = std::function<void(CEngine&, int)>;

double SecondsOf(int nItems, const TAdd& fnAdd, const TAdd& fnBegin) {
  CEngine oEngine;
  if (fnBegin) fnBegin(oEngine, nItems);
  const double fStart = ThreadSeconds();
  for (int i = 0; i < nItems; ++i)
    fnAdd(oEngine, i);
  oEngine.PrepareForChanges(false);
  return ThreadSeconds() - fStart;
}

void ExpectLinear(const TAdd& fnAdd, const TAdd& fnBegin = {}) {
  EXPECT_LE(CostGrowth(FEW, MANY, [&](int nItems) { return SecondsOf(nItems, fnAdd, fnBegin); }), LIMIT);
}

std::string File(int nNumber) {
  return "folder/file" + std::to_string(nNumber) + ".c";
}

TEST(GrowthTest, LargeChangeCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); });
}

TEST(GrowthTest, BusyWindowCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i % 50).c_str())
        .Saying(("comment " + std::to_string(i / 50)).c_str())
        .At(1000 + i % 100);
  });
}

// Items that come again, as when two saved logs of one module are joined.
TEST(GrowthTest, LargeChangeOfKnownFilesCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); },
               [](CEngine& oEngine, int nItems) {
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add(File(i).c_str()).By("ann").At(1000);
               });
}

TEST(GrowthTest, LargeChangeWhoseFilesComeAgainCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i / 2).c_str()).At(1000); });
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); },
               [](CEngine& oEngine, int nItems) {
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add(File(i).c_str()).At(1000);
               });
}

// The file changes with each item, so each file is selected again for each of its items.
TEST(GrowthTest, FilesThatTakeTurnsCostNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i % 2).c_str()).At(1000L + i * 400L); });
}

// The revision of each item is replaced before any other item: the search must skip all their changes.
TEST(GrowthTest, CrowdOfClosedChangesCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).Until(1000).At(1000 + i % 100); });
}

TEST(GrowthTest, CrowdOfClosedChangesCostsNoMorePerItemThatStays) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i).c_str()).Until(i % 2 == 0 ? 1000 : 5000).At(1000 + i % 100);
  });
}

// One change at this second is open, but too far away in base time; all the others are closed.
TEST(GrowthTest, OpenChangeBeforeACrowdOfClosedOnesCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1300); },
               [](CEngine& oEngine, int nItems) {
                 oEngine.Add("first").At(949);
                 oEngine.Add("second").At(1249);
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add(File(i).c_str()).Until(1248).At(1249);
               });
}

// All of the changes are open, but later than the end of the item.
TEST(GrowthTest, CrowdOfChangesThatAreTooLateCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).Until(1000).At(1001); },
               [](CEngine& oEngine, int nItems) {
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add("one file").Ranked(i).At(1000 + i % 299);
               });
}

// One file, one author, one message, and times that jump about within five minutes: each item could join many
// of the changes before it.
TEST(GrowthTest, JumpingClockCostsNoMorePerItem) {
  std::mt19937 oRandom(1);
  long nTime = 1000;
  ExpectLinear([&](CEngine& oEngine, int) {
    const long nNext = 1000 + static_cast<long>(oRandom() % 300);
    oEngine.Add("a.c").Until(nNext).At(nTime);
    nTime = nNext;
  });
}

TEST(GrowthTest, CyclingClockCostsNoMorePerItem) {
  ExpectLinear(
      [](CEngine& oEngine, int i) { oEngine.Add("a.c").Until(1000 + (i + 1) % 300).At(1000 + i % 300); });
}

// Thousands of files by one author with one message within an hour, several revisions of each.
TEST(GrowthTest, BusyHourCostsNoMorePerItem) {
  std::mt19937 oRandom(1);
  long nTime = 0;
  ExpectLinear([&](CEngine& oEngine, int i) {
    if (i % 20 == 0) nTime = 10'000 + static_cast<long>(oRandom() % 3000);
    const long nNext = nTime + static_cast<long>(oRandom() % 20);
    oEngine.Add(File(i / 20).c_str()).Until(nNext).At(nTime);
    nTime = nNext;
  });
}

TEST(GrowthTest, LongHistoryCostsNoMorePerItem) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i % 10).c_str()).Until(5000L + i * 400L).At(1000L + i * 400L);
  });
}

/// Random changes of one group, closed or open; none of them is what the search wants.
double SecondsOfSearch(int nChanges, bool bSpread) {
  std::mt19937 oRandom(1);
  MCE::CChangeGroups oGroups;
  for (int i = 1; i <= nChanges; ++i) {
    const auto nBase = static_cast<std::uint32_t>(10'000 + (bSpread ? oRandom() % 600 : 0));
    const auto nTime = static_cast<std::uint32_t>(nBase + oRandom() % 300);
    const std::uint32_t nMaxTime = nTime < 10'100 ? 9'900 : 20'000;
    oGroups.Add(static_cast<std::uint32_t>(i), 1, L"joe", L"work", {nBase, nTime, nMaxTime});
  }
  const double fStart = ThreadSeconds();
  for (int i = 0; i < FEW; ++i)
    EXPECT_EQ(oGroups.Find(1, L"joe", L"work", {10'200, 10'050}), 0U);
  return (ThreadSeconds() - fStart) * nChanges;  // so that CostGrowth compares the time of one search
}

// Neither number of changes fits into a processor's nearest caches, which would make the fewer ones seem
// cheap.
TEST(ChangeGroupsGrowthTest, FailedSearchCostsNoMoreAmongMoreChanges) {
  for (const bool bSpread : {false, true}) {
    EXPECT_LE(CostGrowth(8 * FEW, 8 * MANY, [&](int nChanges) { return SecondsOfSearch(nChanges, bSpread); }),
              LIMIT);
  }
}

}  // namespace
}  // namespace TALVEK::TEST
