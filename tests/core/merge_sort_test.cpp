#include "core/merge_sort.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace TALVEK::VCM {
namespace {

/// An element whose place can be followed: elements with the same key differ in their number.
template <int SIZE>
struct TElement {
  int nKey = 0;
  int nNumber = 0;
  char szRest[SIZE] = {};
};

template <class T>
int CompareKeys(const T* pLeft, const T* pRight) {
  return pLeft->nKey < pRight->nKey ? -1 : 1;
}

template <class T>
std::vector<int> Numbers(const std::vector<T>& atItems) {
  std::vector<int> anNumbers;
  for (const T& tItem : atItems)
    anNumbers.push_back(tItem.nNumber);
  return anNumbers;
}

template <class T>
std::vector<T> RandomItems(std::mt19937& oRandom, int nCount, unsigned nKeys) {
  std::vector<T> atItems(static_cast<std::size_t>(nCount));
  for (int i = 0; i < nCount; ++i) {
    atItems[static_cast<std::size_t>(i)].nKey = static_cast<int>(oRandom() % nKeys);
    atItems[static_cast<std::size_t>(i)].nNumber = i;
  }
  return atItems;
}

/// The rule in its plainest form, to compare with: recursion on copies.
template <class T>
std::vector<T> SortByTheRule(const std::vector<T>& atItems) {
  if (atItems.size() <= 1) return atItems;
  const auto itMiddle = atItems.begin() + static_cast<std::ptrdiff_t>(atItems.size() / 2);
  std::vector<T> atLeft = SortByTheRule(std::vector<T>(atItems.begin(), itMiddle));
  std::vector<T> atRight = SortByTheRule(std::vector<T>(itMiddle, atItems.end()));
  std::vector<T> atMerged;
  while (!atLeft.empty() || !atRight.empty()) {
    const bool bLeft =
        atRight.empty() || (!atLeft.empty() && CompareKeys(&atLeft.front(), &atRight.front()) <= 0);
    std::vector<T>& atFrom = bLeft ? atLeft : atRight;
    atMerged.push_back(atFrom.front());
    atFrom.erase(atFrom.begin());
  }
  return atMerged;
}

template <class T>
class MergeSortSizesTest : public testing::Test {};
// The C library sorts elements of more than 32 bytes through pointers; 4 and 8 bytes have ways of their own.
using TSizes = testing::Types<TElement<1>, TElement<8>, TElement<24>, TElement<25>, TElement<200>>;
TYPED_TEST_SUITE(MergeSortSizesTest, TSizes);

TYPED_TEST(MergeSortSizesTest, LeavesElementsThatNeverCompareEqualAsTheRuleSays) {
  std::mt19937 oRandom(1);
  for (int nCount = 0; nCount <= 200; ++nCount) {
    for (const unsigned nKeys : {1U, 3U, 50U, 100000U}) {
      auto atItems = RandomItems<TypeParam>(oRandom, nCount, nKeys);
      const auto anExpected = Numbers(SortByTheRule(atItems));
      MergeSort(atItems, CompareKeys<TypeParam>);
      ASSERT_EQ(Numbers(atItems), anExpected) << nCount << " elements, " << nKeys << " keys";
    }
  }
}

#if defined(__GLIBC__) && (__GLIBC__ == 2 && __GLIBC_MINOR__ < 37)
TYPED_TEST(MergeSortSizesTest, LeavesThemWhereTheCLibraryDoes) {
  std::mt19937 oRandom(2);
  for (int nCount = 1; nCount <= 200; ++nCount) {
    for (const unsigned nKeys : {1U, 3U, 50U, 100000U}) {
      auto atItems = RandomItems<TypeParam>(oRandom, nCount, nKeys);
      auto atExpected = atItems;
      std::qsort(
          atExpected.data(), atExpected.size(), sizeof(TypeParam), [](const void* pLeft, const void* pRight) {
            return CompareKeys(static_cast<const TypeParam*>(pLeft), static_cast<const TypeParam*>(pRight));
          });
      MergeSort(atItems, CompareKeys<TypeParam>);
      ASSERT_EQ(Numbers(atItems), Numbers(atExpected)) << nCount << " elements, " << nKeys << " keys";
    }
  }
}
#endif

TEST(MergeSortTest, ElementsThatCompareAsGreaterEitherWayComeOutInReverse) {
  std::vector<TElement<1>> atItems(7);
  for (int i = 0; i < 7; ++i)
    atItems[static_cast<std::size_t>(i)].nNumber = i;
  MergeSort(atItems, CompareKeys<TElement<1>>);
  EXPECT_EQ(Numbers(atItems), (std::vector<int>{6, 5, 4, 3, 2, 1, 0}));
}

TEST(MergeSortTest, ElementsThatCompareAsEqualKeepTheirOrder) {
  std::vector<TElement<1>> atItems(7);
  for (int i = 0; i < 7; ++i)
    atItems[static_cast<std::size_t>(i)].nNumber = i;
  MergeSort(atItems, [](const TElement<1>*, const TElement<1>*) { return 0; });
  EXPECT_EQ(Numbers(atItems), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
}

TEST(MergeSortTest, SortsElementsThatOwnStorage) {
  std::vector<std::string> astrItems{"pear", "an apple that is too long to be stored in place", "fig",
                                     "apple"};
  MergeSort(astrItems,
            [](const std::string* pLeft, const std::string* pRight) { return *pLeft < *pRight ? -1 : 1; });
  EXPECT_EQ(astrItems, (std::vector<std::string>{"an apple that is too long to be stored in place", "apple",
                                                 "fig", "pear"}));
}

}  // namespace
}  // namespace TALVEK::VCM
