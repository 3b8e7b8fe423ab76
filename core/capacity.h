#pragma once

#include <cstddef>

namespace TALVEK::VCM {

/// The first allocation of arrays and maps, in elements; from then on a full one doubles.
inline constexpr int FIRST_CAPACITY = 16;

/// What has been allocated once `nCount` elements have been added one by one; 0 for none.
constexpr std::size_t GrownCapacity(std::size_t nCount) {
  if (nCount == 0) return 0;
  std::size_t nCapacity = FIRST_CAPACITY;
  while (nCapacity < nCount)
    nCapacity *= 2;
  return nCapacity;
}

}  // namespace TALVEK::VCM
