#pragma once

#include <cstddef>

#include "core/export.h"

namespace TALVEK::VDB {

/// The pages of the data file that LMDB's map has brought into the process.
///
/// The system keeps them as long as there is room, and counts them as the process's: a walk over a large
/// history would seem to take as much memory as the history has bytes. Letting go of them costs nothing but a
/// short fault when one is read again, as the system still has it. Without this an import of 6.4 million
/// revisions takes 1630 MB at its peak instead of 1020.
class TALVEK_CORE_API CStoreMap {
 public:
  CStoreMap() = default;
  /// Looks for the map of `nBytes` bytes of the open file in the process; without one nothing is ever let go.
  CStoreMap(int nDescriptor, std::size_t nBytes);

  /// Lets go of all pages when the process has more than `nMostBytes` in memory, and of them more than
  /// FEW_FILE_BYTES of files: a walk when nothing else takes room may keep more. A question to the system
  /// (some 2 us), so not to be asked at every row.
  void Trim(std::size_t nMostBytes = MOST_BYTES) const;

  static constexpr std::size_t MOST_BYTES = std::size_t{512} << 20;
  static constexpr std::size_t FEW_FILE_BYTES = std::size_t{64} << 20;

 private:
  void* m_pStart = nullptr;
  std::size_t m_nBytes = 0;
};

}  // namespace TALVEK::VDB
