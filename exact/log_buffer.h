#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace TALVEK::EXACT {

/// Gives the bytes of a log in blocks.
class CLogBytes {
 public:
  virtual ~CLogBytes() = default;
  /// Writes at most nBytes (never 0) bytes to pTo; returns how many, 0 at the end of the log.
  virtual std::size_t Read(char* pTo, std::size_t nBytes) = 0;
};

/// A window on the log. Places are counted in bytes from the beginning of the log.
class CLogBuffer {
 public:
  explicit CLogBuffer(CLogBytes& oSource) : m_oSource(oSource) {}

  struct TLine {
    std::string_view strText;  ///< without the line end; valid until the next call of Line or Begins
    std::size_t nNext = 0;     ///< where the next line begins
  };
  /// The line that begins at nAt; false when the log ends there.
  bool Line(std::size_t nAt, TLine& tLine);
  /// The bytes between two places that were read and not dropped.
  std::string_view Text(std::size_t nFrom, std::size_t nTo) const;
  /// Bytes before nAt are needed no longer.
  void Drop(std::size_t nAt);

 private:
  bool Fill();

  CLogBytes& m_oSource;
  std::string m_strBytes;
  std::size_t m_nBase = 0;  // place of the first byte in m_strBytes
  bool m_bEnded = false;
};

}  // namespace TALVEK::EXACT
