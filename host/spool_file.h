#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "host/byte_sink.h"

namespace TALVEK::HOST {

/// An anonymous temporary file that is written from front to back and then read.
///
/// Errors   EHostError (STATUS_FAILED) when the disk is full or can't be read.
class CSpoolFile {
 public:
  CSpoolFile();
  CSpoolFile(const CSpoolFile&) = delete;
  CSpoolFile& operator=(const CSpoolFile&) = delete;

  /// Returns the offset at which `strBytes` begin.
  std::uint64_t Append(std::string_view strBytes);
  /// Sets the place of the next Read and ends the writing.
  void Seek(std::uint64_t nOffset);
  /// Exactly `nSize` bytes.
  std::string Read(std::size_t nSize);
  void Copy(std::uint64_t nOffset, std::uint64_t nSize, CByteSink& oSink);

 private:
  struct TClose {
    void operator()(std::FILE* poFile) const { std::fclose(poFile); }
  };

  std::unique_ptr<std::FILE, TClose> m_poFile;
  std::uint64_t m_nSize = 0;
};

}  // namespace TALVEK::HOST
