#include "core/array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <utility>
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

/// Never returns 0, like the comparisons of names and revisions.
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

// An array that was emptied still counts as unsorted. That is harmless: a search takes the slower, linear
// way.
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

using TKeyed = std::pair<int, int>;  // a key, and a number that tells equal keys apart

int CompareKeys(const TKeyed* ptLeft, const TKeyed* ptRight) {
  return ptLeft->first < ptRight->first ? -1 : 1;
}

/// Sorts arrays of random elements, of all lengths to 200 and with few or many equal keys, and calls
/// `fnCheck(before, after)` for each.
template <class TCheck>
void SortRandomElements(TCheck fnCheck) {
  std::mt19937 oRandom(1);
  for (int nCount = 0; nCount <= 200; ++nCount) {
    for (const unsigned nKeys : {1U, 3U, 50U, 100000U}) {
      CArray<TKeyed> atItems;
      for (int i = 0; i < nCount; ++i)
        atItems.Add({static_cast<int>(oRandom() % nKeys), i});
      const std::vector<TKeyed> atBefore(atItems.begin(), atItems.end());
      atItems.Sort(CompareKeys);
      fnCheck(atBefore, std::vector<TKeyed>(atItems.begin(), atItems.end()));
    }
  }
}

// Equal keys compare as +1 both ways. Stream ids depend on their order after the sort.
TEST(ArrayTest, SortLeavesEqualKeysInReverse) {
  SortRandomElements([](std::vector<TKeyed> atItems, const std::vector<TKeyed>& atSorted) {
    std::sort(atItems.begin(), atItems.end(), [](const TKeyed& tLeft, const TKeyed& tRight) {
      return tLeft.first != tRight.first ? tLeft.first < tRight.first : tLeft.second > tRight.second;
    });
    ASSERT_EQ(atSorted, atItems);
  });
}

#if defined(__GLIBC__) && (__GLIBC__ == 2 && __GLIBC_MINOR__ < 37)
TEST(ArrayTest, SortLeavesEqualKeysWhereTheCLibraryDoes) {
  SortRandomElements([](std::vector<TKeyed> atItems, const std::vector<TKeyed>& atSorted) {
    if (atItems.empty()) return;  // qsort takes no null pointer
    std::qsort(atItems.data(), atItems.size(), sizeof(TKeyed), [](const void* pLeft, const void* pRight) {
      return CompareKeys(static_cast<const TKeyed*>(pLeft), static_cast<const TKeyed*>(pRight));
    });
    ASSERT_EQ(atSorted, atItems);
  });
}
#endif

TEST(ArrayTest, SortsElementsThatOwnStorage) {
  CArray<CString> astrItems;
  for (const wchar_t* pszItem :
       {L"pear", L"an apple that is too long to be stored in place", L"fig", L"apple"})
    astrItems.Add(pszItem);
  astrItems.Sort([](const CString* pLeft, const CString* pRight) { return *pLeft < *pRight ? -1 : 1; });
  EXPECT_EQ(
      std::vector<CString>(astrItems.begin(), astrItems.end()),
      (std::vector<CString>{L"an apple that is too long to be stored in place", L"apple", L"fig", L"pear"}));
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
