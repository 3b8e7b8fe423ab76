#include "exact/log_line_ends.h"

#include <algorithm>
#include <string_view>

namespace TALVEK::EXACT {

namespace {
constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";
}

std::size_t CLogLineEnds::Read(char* pTo, std::size_t nBytes) {
  for (;;) {
    const std::size_t nHeld = m_bHoldsCr ? 1 : 0;
    const std::size_t nRead = ReadRaw(pTo + nHeld, nBytes - nHeld);
    if (nHeld != 0) *pTo = '\r';
    m_bHoldsCr = false;
    if (nRead == 0) {
      if (nHeld != 0 && m_nLineEnd != TLineEnd::CR_LF) *pTo = '\n';
      return nHeld;
    }
    const std::size_t nConverted = Convert(pTo, nHeld + nRead);
    if (nConverted > 0) return nConverted;
  }
}

/// The source's bytes without a mark at their beginning.
std::size_t CLogLineEnds::ReadRaw(char* pTo, std::size_t nBytes) {
  if (!m_bAtBegin) return m_oSource.Read(pTo, nBytes);
  m_bAtBegin = false;
  std::size_t nRead = 0, nMore = 0;
  while (nRead < BYTE_ORDER_MARK.size() && (nMore = m_oSource.Read(pTo + nRead, nBytes - nRead)) > 0)
    nRead += nMore;
  if (!std::string_view(pTo, nRead).starts_with(BYTE_ORDER_MARK)) return nRead;
  nRead -= BYTE_ORDER_MARK.size();
  std::copy_n(pTo + BYTE_ORDER_MARK.size(), nRead, pTo);
  return nRead > 0 ? nRead : m_oSource.Read(pTo, nBytes);
}

/// Converts in place; a CR at the end is held back where the next byte decides. Returns how many bytes
/// remain.
std::size_t CLogLineEnds::Convert(char* pText, std::size_t nBytes) {
  if (m_nLineEnd == TLineEnd::UNKNOWN) {
    const std::string_view strText(pText, nBytes);
    const std::size_t nEnd = std::min(strText.find_first_of("\r\n"), nBytes);
    if (nEnd < nBytes && strText[nEnd] == '\n') {
      m_nLineEnd = TLineEnd::LF;
    } else if (nEnd + 1 < nBytes) {
      m_nLineEnd = strText[nEnd + 1] == '\n' ? TLineEnd::CR_LF : TLineEnd::CR;
    }
  }
  if (m_nLineEnd == TLineEnd::LF) return nBytes;
  if (m_nLineEnd == TLineEnd::CR) {
    std::replace(pText, pText + nBytes, '\r', '\n');
    return nBytes;
  }
  m_bHoldsCr = pText[nBytes - 1] == '\r';
  const char* const pEnd = pText + nBytes - (m_bHoldsCr ? 1 : 0);
  char* pTo = pText;
  for (const char* p = pText; p != pEnd; ++p) {
    if (*p == '\n' && pTo != pText && pTo[-1] == '\r') --pTo;
    *pTo++ = *p;
  }
  return static_cast<std::size_t>(pTo - pText);
}

}  // namespace TALVEK::EXACT
