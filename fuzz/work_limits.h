#pragma once

#include <cstddef>
#include <cstdint>

namespace TALVEK::FUZZ {

/// Holds one piece of work to what an input of its size may cost: memory, allocations (which count the work)
/// and processor time, each a constant plus a constant for each byte. Measures from construction to Check.
class CWorkLimits {
 public:
  struct TRates {
    std::size_t nHeapBytes = 160;    ///< a byte; text is four times as wide inside
    std::uint64_t nAllocations = 4;  ///< a byte
    double nMicroseconds = 10;       ///< a byte; some five times what it takes with sanitizers
  };

  explicit CWorkLimits(std::size_t nInputBytes) : CWorkLimits(nInputBytes, TRates()) {}
  CWorkLimits(std::size_t nInputBytes, const TRates& tRates);

  void Check() const;

 private:
  std::size_t m_nInputBytes;
  TRates m_tRates;
  std::size_t m_nLiveBefore;
  std::uint64_t m_nAllocationsBefore;
  double m_nSecondsBefore;
};

}  // namespace TALVEK::FUZZ
