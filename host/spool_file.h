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

/// A temporary file without a name. It is written sequentially, and then read at any offset.
///
/// Errors   EHostError (STATUS_FAILED) when the disk is full or can't be read.
class CSpoolFile {
 public:
  CSpoolFile();
  CSpoolFile(const CSpoolFile&) = delete;
  CSpoolFile& operator=(const CSpoolFile&) = delete;

  /// Returns the offset at which `strBytes` begin.
  std::uint64_t Append(std::string_view strBytes);
  /// Sets the offset of the next Read. No Append after this.
  void Seek(std::uint64_t nOffset);
  /// Exactly `nSize` bytes.
  std::string Read(std::size_t nSize);
  /// Writes `nSize` bytes from an offset on to the sink.
  void Copy(std::uint64_t nOffset, std::uint64_t nSize, CByteSink& oSink);

 private:
  struct TClose {
    void operator()(std::FILE* poFile) const { std::fclose(poFile); }
  };

  std::unique_ptr<std::FILE, TClose> m_poFile;
  std::uint64_t m_nSize = 0;
};

/// The paths of the items of all changesets: spooled to disk in one walk over the history, and read in the
/// same order in the next walk. A history can have millions of items.
class CItemSpool {
 public:
  void AddPath(std::string strPath) { m_astrPaths.push_back(std::move(strPath)); }
  void EndChange();
  /// Goes back to the first changeset. No AddPath after this.
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
