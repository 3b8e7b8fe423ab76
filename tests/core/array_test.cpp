#include "core/array.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "tests/support/print.h"

namespace TALVEK::VCM {
namespace {

std::vector<int> Items(const CArray<int>& anItems) {
  return {anItems.begin(), anItems.end()};
}

CArray<int> Numbers(int nCount) {
  CArray<int> anItems;
  for (int i = 0; i < nCount; ++i)
    anItems.Add(i);
  return anItems;
}

/// Never "equal", as the comparisons of names and revisions are.
int CompareNumbers(const int* pnLeft, const int* pnRight) {
  return *pnLeft < *pnRight ? -1 : 1;
}

TEST(ArrayTest, AddReturnsTheIndexOfTheNewElement) {
  CArray<int> anItems;
  EXPECT_EQ(anItems.Add(7), 0);
  EXPECT_EQ(anItems.Add(8), 1);
  EXPECT_EQ(Items(anItems), (std::vector<int>{7, 8}));
}

TEST(ArrayTest, FirstElementMakesRoomForSixteenAndAFullArrayDoubles) {
  CArray<int> anItems;
  std::vector<int> anCapacities{anItems.GetCapacity()};
  for (int i = 0; i < 65; ++i) {
    anItems.Add(i);
    if (anItems.GetCapacity() != anCapacities.back()) anCapacities.push_back(anItems.GetCapacity());
  }
  EXPECT_EQ(anCapacities, (std::vector<int>{0, 16, 32, 64, 128}));
  EXPECT_EQ(Items(anItems), Items(Numbers(65)));
}

TEST(ArrayTest, IndexOutsideTheArrayThrowsWithItsNumber) {
  CArray<int> anItems = Numbers(3);
  for (const int nIndex : {-1, 3, INT_MIN, INT_MAX}) {
    CString strExpected;
    strExpected.Format(L"Array index (%d) out of range", nIndex);
    try {
      anItems[nIndex] = 0;
      FAIL() << nIndex << " was accepted";
    } catch (const EArrayIndexOutOfRange& oError) {
      EXPECT_EQ(oError.GetErrorMessage(), strExpected);
      EXPECT_EQ(oError.GetIndex(), nIndex);
    }
  }
  EXPECT_EQ(Items(anItems), Items(Numbers(3)));
}

TEST(ArrayTest, BadIndexIsCaughtAsTheBaseExceptionAndAsTheStandardOne) {
  const CArray<int> anItems;
  EXPECT_THROW(anItems.GetAt(0), EBaseException);
  try {
    anItems.GetAt(-5);
    FAIL() << "was accepted";
  } catch (const std::exception& oError) {
    EXPECT_STREQ(oError.what(), "Array index (-5) out of range");
  }
}

TEST(ArrayTest, RemoveAtClosesTheGap) {
  CArray<int> anItems = Numbers(4);
  anItems.RemoveAt(1);
  EXPECT_EQ(Items(anItems), (std::vector<int>{0, 2, 3}));
  EXPECT_THROW(anItems.RemoveAt(3), EArrayIndexOutOfRange);
}

TEST(ArrayTest, RemoveAllFreesOrKeepsTheStorage) {
  CArray<int> anItems = Numbers(20);
  anItems.RemoveAll(false);
  EXPECT_EQ(anItems.GetCount(), 0);
  EXPECT_EQ(anItems.GetCapacity(), 32);
  anItems.Add(1);
  anItems.RemoveAll(true);
  EXPECT_EQ(anItems.GetCount(), 0);
  EXPECT_EQ(anItems.GetCapacity(), 0);
  anItems.Add(1);
  EXPECT_EQ(anItems.GetCapacity(), 16);
}

TEST(ArrayTest, AddMarksAsUnsortedAndSortClearsTheMark) {
  CArray<int> anItems;
  EXPECT_FALSE(anItems.IsUnsorted());
  anItems.Add(2);
  anItems.Add(1);
  EXPECT_TRUE(anItems.IsUnsorted());
  anItems.Sort(CompareNumbers);
  EXPECT_FALSE(anItems.IsUnsorted());
  EXPECT_EQ(Items(anItems), (std::vector<int>{1, 2}));
  anItems.Add(0);
  EXPECT_TRUE(anItems.IsUnsorted());
}

// An emptied array may still be handed over as unsorted; whoever searches it only takes the longer way.
TEST(ArrayTest, OnlySortClearsTheMark) {
  for (const bool bFreeStorage : {false, true}) {
    CArray<int> anItems = Numbers(3);
    anItems.RemoveAt(0);
    EXPECT_TRUE(anItems.IsUnsorted());
    anItems.RemoveAll(bFreeStorage);
    EXPECT_TRUE(anItems.IsUnsorted());
    anItems.Sort(CompareNumbers);
    EXPECT_FALSE(anItems.IsUnsorted());
  }
}

TEST(ArrayTest, CopyCarriesTheMark) {
  CArray<int> anSorted = Numbers(3);
  anSorted.Sort(CompareNumbers);
  EXPECT_FALSE(CArray<int>(anSorted).IsUnsorted());
  EXPECT_TRUE(CArray<int>(Numbers(3)).IsUnsorted());
  CArray<int> anAssigned = Numbers(3);
  anAssigned = anSorted;
  EXPECT_FALSE(anAssigned.IsUnsorted());
}

TEST(ArrayTest, CopyHasRoomAsIfItsElementsHadBeenAdded) {
  const struct {
    int nCount, nCapacity;
  } atCases[] = {{0, 0}, {1, 16}, {16, 16}, {17, 32}, {33, 64}, {100, 128}};
  for (const auto& tCase : atCases) {
    const CArray<int> anItems = Numbers(tCase.nCount);
    const CArray<int> anCopy = anItems;
    EXPECT_EQ(anCopy.GetCapacity(), tCase.nCapacity);
    EXPECT_EQ(Items(anCopy), Items(anItems));
    CArray<int> anAssigned;
    anAssigned = anItems;
    EXPECT_EQ(anAssigned.GetCapacity(), tCase.nCapacity);
    EXPECT_EQ(Items(anAssigned), Items(anItems));
  }
}

TEST(ArrayTest, AssignmentKeepsRoomThatIsLargeEnough) {
  CArray<int> anItems = Numbers(20);
  const CArray<int>& anSame = anItems;
  anItems = anSame;
  EXPECT_EQ(Items(anItems), Items(Numbers(20)));
  anItems = Numbers(0);
  const CArray<int> anTwo = Numbers(2);
  anItems = anTwo;
  EXPECT_EQ(anItems.GetCapacity(), 16);
  anItems = Numbers(20);
  anItems = anTwo;
  EXPECT_EQ(anItems.GetCapacity(), 32);
  EXPECT_EQ(Items(anItems), Items(anTwo));
}

TEST(ArrayTest, SortKeepsTheCapacity) {
  CArray<int> anItems = Numbers(17);
  anItems.Sort(CompareNumbers);
  EXPECT_EQ(anItems.GetCapacity(), 32);
}

// The argument may be an element of the array whose storage is about to move.
TEST(ArrayTest, ElementOfTheFullArrayItselfCanBeAdded) {
  CArray<CString> astrItems;
  for (int i = 0; i < 16; ++i)
    astrItems.Add(L"a text that is too long to be stored in place");
  astrItems.Add(astrItems[0]);
  EXPECT_EQ(astrItems[16], astrItems[0]);
}

}  // namespace
}  // namespace TALVEK::VCM
