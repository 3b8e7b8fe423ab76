#pragma once

#include <cstddef>
#include <cstdint>

namespace TALVEK::FUZZ {

/// Limits what a piece of work may cost: memory, allocations (a measure of work) and processor time. Each
/// limit is a constant plus a rate per byte of input. Measures from construction to Check.
class CWorkLimits {
 public:
  struct TRates {
    std::size_t nHeapBytes = 160;    ///< per byte of input; wide text alone takes four
    std::uint64_t nAllocations = 4;  ///< per byte of input
    double nMicroseconds = 10;       ///< per byte of input; about five times what it takes with sanitizers
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
