#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace TALVEK::MCE {

/// Tells for certain of nearly all hashes that are new that they are: Bloom filters, each twice as large as
/// the one before, which is full. As long as there is room for another one, one new hash in some millions
/// passes for one that was noted.
///
/// Memory   At most 24 bytes for each noted hash, never more than it is made for.
class CSeenHashes {
 public:
  explicit CSeenHashes(std::size_t nMostBytes) : m_nMostBytes(nMostBytes) {}

  /// False: the hash was never noted.
  bool Has(std::uint32_t nHigh, std::uint32_t nLow) const {
    return std::any_of(m_atFilters.begin(), m_atFilters.end(), [&](const TFilter& tFilter) {
      bool bHas = true;
      for (unsigned i = 0; bHas && i < BITS_OF_HASH; ++i)
        bHas = tFilter.Has(Bit(nHigh, nLow, i));
      return bHas;
    });
  }

  void Note(std::uint32_t nHigh, std::uint32_t nLow) {
    if (m_nRoom == 0) AddFilter();
    if (m_nRoom > 0) --m_nRoom;
    for (unsigned i = 0; i < BITS_OF_HASH; ++i)
      m_atFilters.back().Set(Bit(nHigh, nLow, i));
  }

 private:
  static constexpr std::size_t FIRST_BYTES = std::size_t{16} << 10;
  static constexpr std::size_t BYTES_OF_HASH = 8;
  static constexpr unsigned BITS_OF_HASH = 8;

  struct TFilter {
    bool Has(std::uint64_t nBit) const {
      return (anWords[nBit / 64 % anWords.size()] >> nBit % 64 & 1U) != 0;
    }
    void Set(std::uint64_t nBit) { anWords[nBit / 64 % anWords.size()] |= std::uint64_t{1} << nBit % 64; }

    std::vector<std::uint64_t> anWords;
  };

  static std::uint64_t Bit(std::uint32_t nHigh, std::uint32_t nLow, unsigned i) {
    return nLow + std::uint64_t{i} * (nHigh | 1U);
  }

  /// When there is no room for another one, the last one takes what comes.
  void AddFilter() {
    const std::size_t nBytes = FIRST_BYTES << m_atFilters.size();
    if (!m_atFilters.empty() && m_nBytes + nBytes > m_nMostBytes) return;
    m_atFilters.push_back({std::vector<std::uint64_t>(nBytes / sizeof(std::uint64_t))});
    m_nBytes += nBytes;
    m_nRoom = nBytes / BYTES_OF_HASH;
  }

  std::size_t m_nMostBytes;
  std::vector<TFilter> m_atFilters;
  std::size_t m_nBytes = 0;  // of all filters
  std::size_t m_nRoom = 0;   // hashes that the last one can still take
};

}  // namespace TALVEK::MCE
