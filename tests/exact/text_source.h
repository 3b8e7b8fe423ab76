#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "exact/log_buffer.h"

namespace TALVEK::EXACT {

/// A log that lies in memory, given in pieces.
class CTextSource : public CLogBytes {
 public:
  explicit CTextSource(std::string_view strText, std::size_t nPieceBytes = SIZE_MAX)
      : m_strText(strText), m_nPieceBytes(nPieceBytes) {}
  std::size_t Read(char* pTo, std::size_t nBytes) override {
    const std::string_view strPiece = m_strText.substr(0, std::min(nBytes, m_nPieceBytes));
    std::copy(strPiece.begin(), strPiece.end(), pTo);
    m_strText.remove_prefix(strPiece.size());
    return strPiece.size();
  }

 private:
  std::string_view m_strText;
  const std::size_t m_nPieceBytes;
};

}  // namespace TALVEK::EXACT
