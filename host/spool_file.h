#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/byte_sink.h"

namespace TALVEK::HOST {

/// A temporary file without a name that is written from front to back and then read.
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

/// The item paths of all changesets, written in one walk over the history and read back in a second one that
/// goes the same way. On disk: a history can have millions of items.
class CItemSpool {
 public:
  void AddPath(std::string strPath) { m_astrPaths.push_back(std::move(strPath)); }
  void EndChange();
  /// Ends the writing; the next changeset read is the first.
  void Rewind() { m_oFile.Seek(0); }
  /// The paths of the next changeset, in the order of its items. Call it at most as often as EndChange.
  std::vector<std::string> ReadChange();

 private:
  void AppendNumber(std::size_t nNumber);
  std::size_t ReadNumber();

  CSpoolFile m_oFile;
  std::vector<std::string> m_astrPaths;
};

}  // namespace TALVEK::HOST
