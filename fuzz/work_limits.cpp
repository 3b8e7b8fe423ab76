#include "fuzz/work_limits.h"

#include <ctime>

#include "fuzz/check.h"
#include "fuzz/heap_meter.h"

namespace TALVEK::FUZZ {

namespace {

// What the smallest history may cost: buffers, an open database, and the engine's caches.
constexpr std::size_t FIXED_BYTES = 6 << 20;
constexpr std::uint64_t FIXED_ALLOCATIONS = 10000;
constexpr double FIXED_SECONDS = 2;

double ProcessorSeconds() {
  timespec tTime{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &tTime);
  return static_cast<double>(tTime.tv_sec) + static_cast<double>(tTime.tv_nsec) / 1e9;
}

}  // namespace

CWorkLimits::CWorkLimits(std::size_t nInputBytes, const TRates& tRates)
    : m_nInputBytes(nInputBytes),
      m_tRates(tRates),
      m_nLiveBefore(GetHeapUse().nLiveBytes),
      m_nAllocationsBefore(GetHeapUse().nAllocations),
      m_nSecondsBefore(ProcessorSeconds()) {
  ResetHeapPeak();
}

void CWorkLimits::Check() const {
  const THeapUse tUse = GetHeapUse();
  FUZZ::Check(tUse.nPeakBytes - m_nLiveBefore <= FIXED_BYTES + m_nInputBytes * m_tRates.nHeapBytes,
              "memory is bounded by the input's size");
  FUZZ::Check(
      tUse.nAllocations - m_nAllocationsBefore <= FIXED_ALLOCATIONS + m_nInputBytes * m_tRates.nAllocations,
      "the number of allocations is bounded by the input's size");
  const double nLimit = FIXED_SECONDS + static_cast<double>(m_nInputBytes) * m_tRates.nMicroseconds / 1e6;
  FUZZ::Check(ProcessorSeconds() - m_nSecondsBefore <= nLimit, "time is bounded by the input's size");
}

}  // namespace TALVEK::FUZZ
