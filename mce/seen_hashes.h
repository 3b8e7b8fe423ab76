#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TALVEK::MCE {

/// Tells for certain of most hashes that are new that they are: a Bloom filter. When it has 3 bytes for each
/// noted hash, one new hash in 2000 passes for one of them; with 8 bytes, one in 70,000.
///
/// Memory   As many bytes as it is made for.
class CSeenHashes {
 public:
  explicit CSeenHashes(std::size_t nBytes) : m_anWords(nBytes / sizeof(std::uint64_t)) {}

  /// False: the hash was never noted.
  bool Has(std::uint32_t nHigh, std::uint32_t nLow) const {
    bool bAll = true;
    ForEachBit(nHigh, nLow, [&](std::size_t nWord, std::uint64_t nMask) {
      bAll = bAll && (m_anWords[nWord] & nMask) != 0;
    });
    return bAll;
  }
  void Note(std::uint32_t nHigh, std::uint32_t nLow) {
    ForEachBit(nHigh, nLow, [&](std::size_t nWord, std::uint64_t nMask) { m_anWords[nWord] |= nMask; });
  }

 private:
  static constexpr int BITS_OF_HASH = 4;

  template <class TVisit>
  void ForEachBit(std::uint32_t nHigh, std::uint32_t nLow, TVisit fnVisit) const {
    std::uint64_t nBit = nLow;
    for (int i = 0; i < BITS_OF_HASH; ++i, nBit += nHigh | 1U)
      fnVisit(nBit / 64 % m_anWords.size(), std::uint64_t{1} << (nBit % 64));
  }

  std::vector<std::uint64_t> m_anWords;
};

}  // namespace TALVEK::MCE
