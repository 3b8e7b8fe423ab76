#pragma once

#include <cstddef>
#include <cstdint>

namespace TALVEK::FUZZ {

/// What the program's operators new have given out. Linking this file replaces them.
struct THeapUse {
  std::size_t nLiveBytes;
  std::size_t nPeakBytes;  ///< the most since the last ResetHeapPeak
  std::uint64_t nAllocations;
};

THeapUse GetHeapUse();
/// The peak is what is live now.
void ResetHeapPeak();
/// The allocation after the next `nAllocations` fails, once.
void FailAllocationAfter(std::uint64_t nAllocations);

}  // namespace TALVEK::FUZZ
