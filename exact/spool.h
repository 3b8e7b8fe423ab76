#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/descriptor.h"

namespace TALVEK::EXACT {

/// Bytes that are appended and read back by their offset: in memory up to a limit, then in a temporary file
/// without a name below TMPDIR (else /tmp).
///
/// A history of 5 million revisions has half a GiB of messages, and names on files make more records than
/// revisions: those go here, so that memory stays below 1 GB.
///
/// Errors   Append and Read throw std::system_error when the file can't be made, written or read.
/// Threads  One.
class CSpool {
 public:
  explicit CSpool(std::size_t nMemoryBytes = std::size_t{64} << 20) : m_nMemoryBytes(nMemoryBytes) {}

  /// Returns the offset at which the bytes lie.
  std::uint64_t Append(const void* pBytes, std::size_t nBytes);
  /// REQUIRES: all of the bytes were appended.
  void Read(std::uint64_t nOffset, void* pBytes, std::size_t nBytes) const;
  std::uint64_t Size() const { return m_nFileBytes + m_abBuffer.size(); }

 private:
  void Flush();

  std::size_t m_nMemoryBytes;
  std::vector<char> m_abBuffer;  ///< all bytes, or those behind the file's end that aren't written yet
  std::uint64_t m_nFileBytes = 0;
  VCM::CDescriptor m_oFile;
};

}  // namespace TALVEK::EXACT
