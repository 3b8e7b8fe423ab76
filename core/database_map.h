#pragma once

#include <cstddef>

#include "core/export.h"

namespace TALVEK::VDB {

/// Unmaps pages of the data file that LMDB's memory map holds.
///
/// The kernel counts mapped pages as the process's memory for as long as there is room: a walk over a large
/// history would seem to need as much memory as the data file has bytes. An unmapped page stays in the page
/// cache, so reading it again costs only a minor fault. Without this the peak of an import of 6.4 million
/// revisions is 600 MB higher.
class TALVEK_CORE_API CStoreMap {
 public:
  CStoreMap() = default;
  /// Finds the process's map of the open file that is `nBytes` long. If there is none, Trim does nothing.
  CStoreMap(int nDescriptor, std::size_t nBytes);

  /// Unmaps all pages when the process has more than `nMostBytes` in memory, and since the constructor
  /// FEW_FILE_BYTES of that have come from mapped files. Costs a system call (2 us); don't call it per row.
  void Trim(std::size_t nMostBytes = MOST_BYTES) const;

  static constexpr std::size_t MOST_BYTES = std::size_t{512} << 20;
  static constexpr std::size_t FEW_FILE_BYTES = std::size_t{8} << 20;

 private:
  void* m_pStart = nullptr;
  std::size_t m_nBytes = 0;
  std::size_t m_nFileBytesBefore = 0;  // of mapped files in memory: mostly the program itself
};

}  // namespace TALVEK::VDB
