#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "core/exceptions.h"

namespace TALVEK::VCM {

/// First capacity of an array or a map, in elements. A full one doubles its capacity.
inline constexpr int FIRST_CAPACITY = 16;

/// The capacity after adding `nCount` elements one by one; 0 for no element.
constexpr std::size_t GrownCapacity(std::size_t nCount) {
  if (nCount == 0) return 0;
  std::size_t nCapacity = FIRST_CAPACITY;
  while (nCapacity < nCount)
    nCapacity *= 2;
  return nCapacity;
}

/// A dynamic array with a signed 32-bit count.
///
/// Shape    The first element makes the capacity 16; a full array doubles. A copy has the capacity that
///          adding its elements one by one would have given.
/// Errors   GetAt and operator[] throw EArrayIndexOutOfRange unless 0 <= index < count. Allocation may throw.
/// Owns     Its elements, by value. A reference to an element is good until the next Add, RemoveAt, RemoveAll
///          or Sort.
/// Threads  As a standard container.
template <class T>
class CArray {
 public:
  CArray() = default;
  CArray(const CArray& oOther) : m_bUnsorted(oOther.m_bUnsorted) {
    m_atItems.reserve(GrownCapacity(oOther.m_atItems.size()));
    m_atItems = oOther.m_atItems;
  }
  CArray(CArray&&) noexcept = default;
  CArray& operator=(const CArray& oOther) {
    if (oOther.m_atItems.size() > m_atItems.capacity()) return *this = CArray(oOther);
    m_atItems = oOther.m_atItems;
    m_bUnsorted = oOther.m_bUnsorted;
    return *this;
  }
  CArray& operator=(CArray&&) noexcept = default;
  ~CArray() = default;

  int GetCount() const { return static_cast<int>(m_atItems.size()); }
  int GetCapacity() const { return static_cast<int>(m_atItems.capacity()); }
  bool IsEmpty() const { return m_atItems.empty(); }

  /// True when an element was added since the last Sort.
  bool IsUnsorted() const { return m_bUnsorted; }

  /// Appends and returns the new element's index.
  int Add(T item) {
    if (m_atItems.size() == m_atItems.capacity()) {
      m_atItems.reserve(GrownCapacity(m_atItems.size() + 1));
    }
    m_atItems.push_back(std::move(item));
    m_bUnsorted = true;
    return GetCount() - 1;
  }

  T& GetAt(int nIndex) { return m_atItems[CheckIndex(nIndex)]; }
  const T& GetAt(int nIndex) const { return m_atItems[CheckIndex(nIndex)]; }
  T& operator[](int nIndex) { return GetAt(nIndex); }
  const T& operator[](int nIndex) const { return GetAt(nIndex); }

  void RemoveAt(int nIndex) {
    m_atItems.erase(m_atItems.begin() + static_cast<std::ptrdiff_t>(CheckIndex(nIndex)));
  }

  /// Removes every element. `bFreeStorage` false keeps the storage for the next elements. IsUnsorted() stays
  /// as it was.
  void RemoveAll(bool bFreeStorage) {
    m_atItems.clear();
    if (bFreeStorage) m_atItems.shrink_to_fit();
  }

  /// Sorts by `pfnCompare(const T* a, const T* b)`, which returns -1 when a comes before b, else +1 (never
  /// 0). Elements with equal keys come out in reverse order, as glibc's qsort left them up to version 2.36.
  /// Stream ids depend on that order.
  template <class TCompare>
  void Sort(TCompare pfnCompare) {
    std::reverse(m_atItems.begin(), m_atItems.end());
    std::stable_sort(m_atItems.begin(), m_atItems.end(),
                     [&pfnCompare](const T& left, const T& right) { return pfnCompare(&left, &right) < 0; });
    m_bUnsorted = false;
  }

  auto begin() const { return m_atItems.begin(); }
  auto end() const { return m_atItems.end(); }

  bool operator==(const CArray& oOther) const { return m_atItems == oOther.m_atItems; }

 private:
  std::size_t CheckIndex(int nIndex) const {
    if (nIndex < 0 || nIndex >= GetCount()) throw EArrayIndexOutOfRange(nIndex);
    return static_cast<std::size_t>(nIndex);
  }

  std::vector<T> m_atItems;
  bool m_bUnsorted = false;
};

}  // namespace TALVEK::VCM
