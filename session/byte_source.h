#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// The source of a reply's bytes.
class CByteSource {
 public:
  virtual ~CByteSource() = default;
  /// The next bytes, at least one. Throws EBrokenConnection at the end, EFailure when none come in time.
  virtual std::string Read() = 0;
};

/// Cuts a source's bytes into lines and blocks. Lines are limited to 64 KiB, so that a server can't fill the
/// memory with one that never ends.
class CReplyReader {
 public:
  explicit CReplyReader(CByteSource& oSource) : m_oSource(oSource) {}

  /// The next line, without its end. Throws EFailure for one that is too long or holds a NUL.
  std::string ReadLine();
  /// Hands the next `nBytes` bytes to `fnTake`, piece by piece.
  void ReadBytes(std::uint64_t nBytes, const std::function<void(std::string_view)>& fnTake);

 private:
  CByteSource& m_oSource;
  std::string m_strPending;
  std::size_t m_nUsed = 0;
};

}  // namespace TALVEK::SESSION
