#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace TALVEK::VCM {

namespace MergeSortDetail {

template <class T, class TCompare>
void SortPointers(T** papItems, std::size_t nCount, T** papScratch, TCompare& pfnCompare) {
  if (nCount <= 1) return;
  std::size_t nLeft = nCount / 2;
  std::size_t nRight = nCount - nLeft;
  T** papLeft = papItems;
  T** papRight = papItems + nLeft;
  SortPointers(papLeft, nLeft, papScratch, pfnCompare);
  SortPointers(papRight, nRight, papScratch, pfnCompare);

  std::size_t nMerged = 0;
  while (nLeft > 0 && nRight > 0) {
    if (pfnCompare(static_cast<const T*>(*papLeft), static_cast<const T*>(*papRight)) <= 0) {
      papScratch[nMerged++] = *papLeft++;
      --nLeft;
    } else {
      papScratch[nMerged++] = *papRight++;
      --nRight;
    }
  }
  while (nLeft-- > 0)
    papScratch[nMerged++] = *papLeft++;
  // What is left of the right half already stands in its place.
  for (std::size_t i = 0; i < nMerged; ++i)
    papItems[i] = papScratch[i];
}

}  // namespace MergeSortDetail

/// Sorts `atItems` with `pfnCompare(const T*, const T*)`, an int: at most 0 when the first may stand first.
///
/// The comparisons used on revisions and names never say "equal": equal keys compare as +1 either way. Their
/// order is then whatever the algorithm leaves, and stream ids hang on it. So the algorithm is fixed here: a
/// merge sort whose left half has n/2 elements and whose merge takes the left element only when it compares
/// <= 0. That is what qsort of the GNU C library did up to 2.36; later ones, and other libraries, differ.
/// Elements that compare as +1 either way come out in reverse.
///
/// Cost: n log n comparisons, one pointer per element twice, one move per element.
template <class T, class TCompare>
void MergeSort(std::vector<T>& atItems, TCompare pfnCompare) {
  if (atItems.size() <= 1) return;
  std::vector<T*> apItems;
  apItems.reserve(atItems.size());
  for (T& item : atItems)
    apItems.push_back(&item);
  std::vector<T*> apScratch(atItems.size());
  MergeSortDetail::SortPointers(apItems.data(), apItems.size(), apScratch.data(), pfnCompare);

  std::vector<T> atSorted;
  atSorted.reserve(atItems.capacity());
  for (T* pItem : apItems)
    atSorted.push_back(std::move(*pItem));
  atItems = std::move(atSorted);
}

}  // namespace TALVEK::VCM
