#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "exact/records.h"

namespace TALVEK::EXACT {

/// The sizes of a stream's state after its changes, and the smallest one of a stretch of them. The smallest
/// of each block is noted: a trunk of a million changes is asked for each name.
class CSizeRow {
 public:
  void Append(TIndex nSize) {
    if (m_anSizes.size() % BLOCK == 0) m_anBlocks.push_back(nSize);
    m_anBlocks.back() = std::min(m_anBlocks.back(), nSize);
    m_anSizes.push_back(nSize);
  }
  TIndex At(std::size_t nPlace) const { return m_anSizes[nPlace]; }

  /// The first place in [nFirst, nEnd) with the smallest size. REQUIRES: nFirst < nEnd.
  std::size_t FirstSmallest(std::size_t nFirst, std::size_t nEnd) const {
    std::size_t nBest = nFirst;
    for (std::size_t n = nFirst; n < nEnd;) {
      if (n % BLOCK == 0 && nEnd - n >= BLOCK && m_anBlocks[n / BLOCK] >= m_anSizes[nBest]) {
        n += BLOCK;
        continue;
      }
      if (m_anSizes[n] < m_anSizes[nBest]) nBest = n;
      ++n;
    }
    return nBest;
  }

 private:
  static constexpr std::size_t BLOCK = 256;
  std::vector<TIndex> m_anSizes;
  std::vector<TIndex> m_anBlocks;
};

}  // namespace TALVEK::EXACT
