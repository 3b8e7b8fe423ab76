#include "mce/open_changes.h"

#include <memory>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace TALVEK::TEST {

using MCE::CChangeGroup;
using MCE::COpenChanges;
using MCE::TChangeGroupKey;
using MCE::TOpenChange;

namespace {

/// A group with one change, whose ID says which group it is.
struct TNumbered {
  explicit TNumbered(std::uint32_t nNumber)
      : strComment(L"comment " + std::to_wstring(nNumber)), tKey(1, L"user", strComment) {}

  std::wstring strComment;
  TChangeGroupKey tKey;
};

std::unique_ptr<CChangeGroup> Insert(COpenChanges& oOpen, std::uint32_t nNumber) {
  const TNumbered tNumbered(nNumber);
  auto poGroup = std::make_unique<CChangeGroup>(tNumbered.tKey);
  CChangeGroup& oGroup = *poGroup;
  std::unique_ptr<CChangeGroup> poLeaving = oOpen.Insert(tNumbered.tKey, std::move(poGroup));
  TOpenChange tChange;
  tChange.nID = nNumber;
  oOpen.Add(oGroup, tChange);
  return poLeaving;
}

/// The number of the group found, or 0.
std::uint32_t Find(COpenChanges& oOpen, std::uint32_t nNumber) {
  const CChangeGroup* const poGroup = oOpen.Find(TNumbered(nNumber).tKey);
  return poGroup ? poGroup->GetChanges()[0].nID : 0;
}

}  // namespace

TEST(OpenChangesTest, EveryGroupIsFoundHoweverManyThereAre) {
  constexpr std::uint32_t MANY = 50'000;
  COpenChanges oOpen;
  EXPECT_EQ(Find(oOpen, 1), 0U);
  std::uint32_t nLeft = 0;
  for (std::uint32_t i = 1; i <= MANY; ++i)
    nLeft += Insert(oOpen, i) ? 1 : 0;
  std::uint32_t nFound = 0;
  for (std::uint32_t i = 1; i <= MANY; ++i) {
    const std::uint32_t nNumber = Find(oOpen, i);
    ASSERT_TRUE(nNumber == i || nNumber == 0) << i;
    nFound += nNumber == i ? 1 : 0;
  }
  EXPECT_EQ(nFound + nLeft, MANY);
  EXPECT_LT(nLeft, MANY / 100);  // where more than four would have to share a set
  EXPECT_EQ(Find(oOpen, MANY + 1), 0U);
  EXPECT_EQ(oOpen.TakeAll().size(), nFound);
  EXPECT_TRUE(oOpen.IsEmpty());
}

TEST(OpenChangesTest, GroupThatWasUsedLongestAgoLeavesAFullSet) {
  COpenChanges oOpen(1);
  for (const std::uint32_t nNumber : {1U, 2U, 3U, 4U})
    EXPECT_EQ(Insert(oOpen, nNumber), nullptr);
  EXPECT_EQ(Find(oOpen, 1), 1U);
  const std::unique_ptr<CChangeGroup> poLeaving = Insert(oOpen, 5);
  ASSERT_NE(poLeaving, nullptr);
  EXPECT_EQ(poLeaving->GetChanges()[0].nID, 2U);
  EXPECT_EQ(Find(oOpen, 2), 0U);
  EXPECT_EQ(Find(oOpen, 5), 5U);
}

TEST(OpenChangesTest, SurplusLeavesUntilTheBytesFit) {
  COpenChanges oOpen(COpenChanges::MANY_SETS, 100'000);
  std::set<std::uint32_t> anLeft;
  for (std::uint32_t i = 1; i <= 1000; ++i) {
    if (const std::unique_ptr<CChangeGroup> poLeaving = Insert(oOpen, i))
      anLeft.insert(poLeaving->GetChanges()[0].nID);
  }
  while (const std::unique_ptr<CChangeGroup> poLeaving = oOpen.TakeSurplus())
    anLeft.insert(poLeaving->GetChanges()[0].nID);
  std::size_t nBytes = 0;
  for (const std::unique_ptr<CChangeGroup>& poGroup : oOpen.TakeAll()) {
    nBytes += poGroup->GetBytes();
    EXPECT_EQ(anLeft.count(poGroup->GetChanges()[0].nID), 0U);
    anLeft.insert(poGroup->GetChanges()[0].nID);
  }
  EXPECT_EQ(anLeft.size(), 1000U);
  EXPECT_LE(nBytes, 100'000U);
  EXPECT_GT(nBytes, 99'000U);
}

}  // namespace TALVEK::TEST
