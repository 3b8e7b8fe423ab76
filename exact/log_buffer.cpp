#include "exact/log_buffer.h"

namespace TALVEK::EXACT {

namespace {
constexpr std::size_t BLOCK_BYTES = std::size_t{256} * 1024;
}

bool CLogBuffer::Line(std::size_t nAt, TLine& tLine) {
  const std::size_t nFrom = nAt - m_nBase;
  std::size_t nSearched = nFrom;
  for (;;) {
    const std::size_t nEnd = m_strBytes.find('\n', nSearched);
    if (nEnd != std::string::npos) {
      tLine = {std::string_view(m_strBytes).substr(nFrom, nEnd - nFrom), m_nBase + nEnd + 1};
      return true;
    }
    nSearched = m_strBytes.size();
    if (Fill()) continue;
    if (nFrom >= m_strBytes.size()) return false;
    tLine = {std::string_view(m_strBytes).substr(nFrom), m_nBase + m_strBytes.size()};
    return true;
  }
}

std::string_view CLogBuffer::Text(std::size_t nFrom, std::size_t nTo) const {
  return nTo <= nFrom ? std::string_view()
                      : std::string_view(m_strBytes).substr(nFrom - m_nBase, nTo - nFrom);
}

void CLogBuffer::Drop(std::size_t nAt) {
  // Moving the rest to the front costs as much as the rest is long: it is done when it is the smaller part.
  const std::size_t nDropped = nAt - m_nBase;
  if (nDropped < BLOCK_BYTES || nDropped < m_strBytes.size() / 2) return;
  m_strBytes.erase(0, nDropped);
  m_nBase = nAt;
}

bool CLogBuffer::Fill() {
  if (m_bEnded) return false;
  const std::size_t nOld = m_strBytes.size();
  m_strBytes.resize(nOld + BLOCK_BYTES);
  const std::size_t nRead = m_oSource.Read(m_strBytes.data() + nOld, BLOCK_BYTES);
  m_strBytes.resize(nOld + nRead);
  m_bEnded = nRead == 0;
  return nRead > 0;
}

}  // namespace TALVEK::EXACT
