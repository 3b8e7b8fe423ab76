#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TALVEK::MCE {

/// Tells for certain of most hashes that are new that they are: a Bloom filter. Of 400,000 noted ones, one
/// new hash in 1000 passes for one of them; of ten times as many, every second one does.
///
/// Memory   1 MiB.
class CSeenHashes {
 public:
  CSeenHashes() : m_anWords(WORDS) {}

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
  static constexpr std::size_t WORDS = std::size_t{1} << 17;
  static constexpr int BITS_OF_HASH = 4;

  template <class TVisit>
  static void ForEachBit(std::uint32_t nHigh, std::uint32_t nLow, TVisit fnVisit) {
    std::uint64_t nBit = nLow;
    for (int i = 0; i < BITS_OF_HASH; ++i, nBit += nHigh | 1U)
      fnVisit(nBit / 64 % WORDS, std::uint64_t{1} << (nBit % 64));
  }

  std::vector<std::uint64_t> m_anWords;
};

}  // namespace TALVEK::MCE
