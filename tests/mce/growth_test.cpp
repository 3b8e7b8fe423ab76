#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>

#include "mce/open_changes.h"
#include "tests/mce/engine_fixture.h"

// Guards against work that grows faster than the history, by counting what is read and looked at: a clock
// would measure the machine.
namespace TALVEK::TEST {
namespace {

constexpr int FEW = 250;
constexpr int MANY = 16 * FEW;
constexpr double LIMIT = 1.3;

using TAdd = std::function<void(CEngine&, int)>;

/// Rows read and changes looked at for each item of a history of `nItems`.
double WorkPerItem(int nItems, const TAdd& fnAdd, const TAdd& fnBegin = {}) {
  CEngine oEngine;
  if (fnBegin) fnBegin(oEngine, nItems);
  for (int i = 0; i < nItems; ++i)
    fnAdd(oEngine, i);
  oEngine.PrepareForChanges(false);  // the rows are brought up to date
  return static_cast<double>(oEngine.m_poDatabase->GetRowsRead() + oEngine.GetChangesLookedAt()) / nItems;
}

void ExpectLinear(const TAdd& fnAdd, const TAdd& fnBegin = {}) {
  const double fFew = WorkPerItem(FEW, fnAdd, fnBegin);
  EXPECT_GT(fFew, 0);
  EXPECT_LE(WorkPerItem(MANY, fnAdd, fnBegin), LIMIT * fFew);
}

/// Has room for four groups of changes only, so that most items read one from the database.
void ForgetSoon(CEngine& oEngine, int) {
  oEngine.m_oOpenChanges = MCE::COpenChanges(1);
}

std::string File(int nNumber) {
  return "folder/file" + std::to_string(nNumber) + ".c";
}

TEST(GrowthTest, LargeChangeCostsNoMoreAnItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); });
}

TEST(GrowthTest, BusyWindowCostsNoMoreAnItem) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i % 50).c_str())
        .Saying(("comment " + std::to_string(i / 50)).c_str())
        .At(1000 + i % 100);
  });
}

// Items that come again, as when two saved logs of one module are joined.
TEST(GrowthTest, LargeChangeOfKnownFilesCostsNoMoreAnItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); },
               [](CEngine& oEngine, int nItems) {
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add(File(i).c_str()).By("ann").At(1000);
               });
}

TEST(GrowthTest, LargeChangeWhoseFilesComeAgainCostsNoMoreAnItem) {
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i / 2).c_str()).At(1000); });
  ExpectLinear([](CEngine& oEngine, int i) { oEngine.Add(File(i).c_str()).At(1000); },
               [](CEngine& oEngine, int nItems) {
                 for (int i = 0; i < nItems; ++i)
                   oEngine.Add(File(i).c_str()).At(1000);
               });
}

// Each item is replaced before another could come to it: the search passes by all their changes.
TEST(GrowthTest, CrowdOfClosedChangesIsPassedBySecondForSecond) {
  const auto fnAdd = [](CEngine& oEngine, int i) {
    oEngine.Add(File(i).c_str()).Until(1000).At(1000 + i % 100);
  };
  EXPECT_LE(WorkPerItem(MANY, fnAdd), 100);
}

TEST(GrowthTest, CrowdOfClosedChangesCostsNoMoreAnItemThatStays) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i).c_str()).Until(i % 2 == 0 ? 1000 : 5000).At(1000 + i % 100);
  });
}

// One file, one author, one message, and times that jump about within five minutes: each item could join a
// good part of all the changes before.
TEST(GrowthTest, JumpingClockLooksAtNoMoreThanTheWindowsSeconds) {
  std::mt19937 oRandom(1);
  long nTime = 1000;
  const double fWork = WorkPerItem(4 * MANY, [&](CEngine& oEngine, int) {
    const long nNext = 1000 + static_cast<long>(oRandom() % 300);
    oEngine.Add("a.c").Until(nNext).At(nTime);
    nTime = nNext;
  });
  EXPECT_LT(fWork, 2 * MCE::TGroupingWindow::SECONDS);
}

TEST(GrowthTest, CyclingClockLooksAtNoMoreThanTheWindowsSeconds) {
  const double fWork = WorkPerItem(4 * MANY, [](CEngine& oEngine, int i) {
    oEngine.Add("a.c").Until(1000 + (i + 1) % 300).At(1000 + i % 300);
  });
  EXPECT_LT(fWork, 2 * MCE::TGroupingWindow::SECONDS);
}

TEST(GrowthTest, GroupThatHasLeftIsReadAtTheSameCost) {
  ExpectLinear(
      [](CEngine& oEngine, int i) {
        oEngine.Add(File(i).c_str()).Saying(("comment " + std::to_string(i % 50)).c_str()).At(1000 + i % 100);
      },
      ForgetSoon);
}

TEST(GrowthTest, LongHistoryCostsNoMoreAnItem) {
  ExpectLinear([](CEngine& oEngine, int i) {
    oEngine.Add(File(i % 10).c_str()).Until(5000L + i * 400L).At(1000L + i * 400L);
  });
}

}  // namespace
}  // namespace TALVEK::TEST
