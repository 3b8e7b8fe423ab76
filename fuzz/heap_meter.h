#pragma once

#include <cstddef>
#include <cstdint>

namespace TALVEK::FUZZ {

/// The program's allocations by operator new. Linking this file replaces all such operators.
struct THeapUse {
  std::size_t nLiveBytes;
  std::size_t nPeakBytes;  ///< the largest nLiveBytes since the last ResetHeapPeak
  std::uint64_t nAllocations;
};

THeapUse GetHeapUse();
/// Sets the peak to the bytes that are live now.
void ResetHeapPeak();
/// Lets `nAllocations` allocations succeed and fails the next one, once.
void FailAllocationAfter(std::uint64_t nAllocations);

}  // namespace TALVEK::FUZZ
