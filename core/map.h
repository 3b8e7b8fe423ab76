#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "core/array.h"
#include "core/exceptions.h"

namespace TALVEK::VCM {

/// Key/value pairs kept sorted by key and searched by bisection.
///
/// Shape    Keys are unique and ordered by their `<` (for CString: ordinal, with regard to case).
///          Capacity 16 at first; a full map doubles. A copy has the smallest such capacity for its pairs.
/// Errors   GetKeyAt, GetValueAt and RemoveAt throw EMapIndexOutOfRange unless 0 <= index < count.
/// Owns     Keys and values, by value.
template <class K, class V>
class CMap {
 public:
  explicit CMap(int nCapacity = FIRST_CAPACITY) { m_atPairs.reserve(static_cast<std::size_t>(nCapacity)); }
  CMap(const CMap& oOther) {
    m_atPairs.reserve(std::max<std::size_t>(GrownCapacity(oOther.m_atPairs.size()), FIRST_CAPACITY));
    m_atPairs = oOther.m_atPairs;
  }
  CMap(CMap&&) noexcept = default;
  CMap& operator=(const CMap& oOther) {
    if (oOther.m_atPairs.size() > m_atPairs.capacity()) return *this = CMap(oOther);
    m_atPairs = oOther.m_atPairs;
    return *this;
  }
  CMap& operator=(CMap&&) noexcept = default;
  ~CMap() = default;

  int GetCount() const { return static_cast<int>(m_atPairs.size()); }
  int GetCapacity() const { return static_cast<int>(m_atPairs.capacity()); }

  /// Replaces the value of a key that is there, else inserts the pair in its place. Returns the index.
  int SetAt(const K& key, V value) {
    const int nIndex = Search(key, true);
    if (nIndex < GetCount() && m_atPairs[Position(nIndex)].first == key) {
      m_atPairs[Position(nIndex)].second = std::move(value);
      return nIndex;
    }
    if (m_atPairs.size() == m_atPairs.capacity()) {
      m_atPairs.reserve(m_atPairs.empty() ? FIRST_CAPACITY : m_atPairs.size() * 2);
    }
    m_atPairs.insert(m_atPairs.begin() + nIndex, {key, std::move(value)});
    return nIndex;
  }

  /// Returns the key's index. An absent key gives -1 or, with `bInsertPosition`, the index to insert it at.
  int Search(const K& key, bool bInsertPosition) const {
    int nLow = 0;
    int nHigh = GetCount();
    while (nLow < nHigh) {
      const int nMiddle = nLow + (nHigh - nLow) / 2;
      if (m_atPairs[Position(nMiddle)].first < key) {
        nLow = nMiddle + 1;
      } else {
        nHigh = nMiddle;
      }
    }
    if (bInsertPosition) return nLow;
    return nLow < GetCount() && m_atPairs[Position(nLow)].first == key ? nLow : -1;
  }

  const K& GetKeyAt(int nIndex) const { return m_atPairs[CheckIndex(nIndex)].first; }
  const V& GetValueAt(int nIndex) const { return m_atPairs[CheckIndex(nIndex)].second; }
  V& GetValueAt(int nIndex) { return m_atPairs[CheckIndex(nIndex)].second; }
  void RemoveAt(int nIndex) {
    m_atPairs.erase(m_atPairs.begin() + static_cast<std::ptrdiff_t>(CheckIndex(nIndex)));
  }
  void RemoveAll() { m_atPairs.clear(); }

 private:
  static std::size_t Position(int nIndex) { return static_cast<std::size_t>(nIndex); }
  std::size_t CheckIndex(int nIndex) const {
    if (nIndex < 0 || nIndex >= GetCount()) throw EMapIndexOutOfRange(nIndex);
    return Position(nIndex);
  }

  std::vector<std::pair<K, V>> m_atPairs;
};

}  // namespace TALVEK::VCM
