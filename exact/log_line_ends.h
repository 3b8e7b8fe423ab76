#pragma once

#include <cstddef>

#include "exact/log_buffer.h"

namespace TALVEK::EXACT {

/// A log as the client writes it, made from one that was saved with other line ends or with a byte-order
/// mark.
///
/// The first line end decides: after CR LF the CR before each LF is left out, after a lone CR each CR is a
/// line end. In a log whose lines end with LF every CR is text of a message.
class CLogLineEnds : public CLogBytes {
 public:
  /// The source is lent.
  explicit CLogLineEnds(CLogBytes& oSource) : m_oSource(oSource) {}

  /// REQUIRES: room for four bytes, so that a byte-order mark and a CR that was held back fit.
  std::size_t Read(char* pTo, std::size_t nBytes) override;

 private:
  enum class TLineEnd { UNKNOWN, LF, CR_LF, CR };

  std::size_t ReadRaw(char* pTo, std::size_t nBytes);
  std::size_t Convert(char* pText, std::size_t nBytes);

  CLogBytes& m_oSource;
  TLineEnd m_nLineEnd = TLineEnd::UNKNOWN;
  bool m_bAtBegin = true;
  bool m_bHoldsCr = false;  // the last byte that was read, as the next one decides about it
};

}  // namespace TALVEK::EXACT
