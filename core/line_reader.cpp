#include "core/line_reader.h"

#include <algorithm>
#include <string_view>

#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

constexpr std::size_t BLOCK_BYTES = 64 * 1024;
constexpr std::size_t MOST_KEPT_BYTES = 1024 * 1024;

// Both searches are memchr. In windows, because an input whose lines all end in \r would otherwise be
// searched for \n up to the end of the block once a line.
constexpr std::size_t WINDOW_BYTES = 256;

/// Index of the first \n or \r, or npos.
std::size_t FindLineEnd(std::string_view strBytes) {
  for (std::size_t nStart = 0; nStart < strBytes.size(); nStart += WINDOW_BYTES) {
    const std::string_view strWindow = strBytes.substr(nStart, WINDOW_BYTES);
    const std::size_t nLineFeed = strWindow.find('\n');
    const std::size_t nFound = std::min(nLineFeed, strWindow.substr(0, nLineFeed).find('\r'));
    if (nFound != std::string_view::npos) return nStart + nFound;
  }
  return std::string_view::npos;
}

}  // namespace

CLineReader::CLineReader(wxInputStream* poInput, std::size_t nMostBytes)
    : m_poInput(poInput), m_nMostBytes(nMostBytes), m_strBuffer(BLOCK_BYTES, '\0'), m_bInputEnded(!poInput) {}

bool CLineReader::IsAtEnd() {
  return m_nPosition == m_nFilled && !FillBuffer();
}

bool CLineReader::ReadLine(CString& strLine) {
  if (IsAtEnd()) {
    strLine.Clear();
    return false;
  }
  m_strLineBytes.clear();
  // A line that is far longer than others would else hold its memory, four bytes for each of its characters
  // and two more, as long as there are lines.
  if (m_strLineBytes.capacity() > MOST_KEPT_BYTES) {
    m_strLineBytes.shrink_to_fit();
    strLine.Release();
  }
  do {
    const std::string_view strRest(m_strBuffer.data() + m_nPosition, m_nFilled - m_nPosition);
    const std::size_t nLineEnd = FindLineEnd(strRest);
    if (nLineEnd != std::string_view::npos) {
      TakeLine(strRest.substr(0, nLineEnd), strLine);
      return true;
    }
    m_strLineBytes += strRest;
    m_nPosition = m_nFilled;
  } while (m_strLineBytes.size() < m_nMostBytes && FillBuffer());
  DecodeBytes(m_strLineBytes, strLine);
  return true;
}

/// Hands out a line whose last bytes, `strBytes`, lie in the buffer with the line end behind them.
void CLineReader::TakeLine(std::string_view strBytes, CString& strLine) {
  if (m_strLineBytes.empty()) {
    DecodeBytes(strBytes, strLine);
  } else {
    DecodeBytes(m_strLineBytes += strBytes, strLine);
  }
  m_nPosition += strBytes.size();
  const bool bReturn = m_strBuffer[m_nPosition++] == '\r';
  // The \n of a \r\n may be the first byte of the next block.
  if (bReturn && !IsAtEnd() && m_strBuffer[m_nPosition] == '\n') ++m_nPosition;
}

bool CLineReader::FillBuffer() {
  m_nPosition = m_nFilled = 0;
  if (m_bInputEnded) return false;
  m_nFilled = m_poInput->Read(m_strBuffer.data(), m_strBuffer.size()).LastRead();
  // A stream that failed is not asked again: it might go on behind a gap.
  m_bInputEnded = m_nFilled == 0 || !m_poInput->IsOk();
  return m_nFilled > 0;
}

}  // namespace TALVEK::VCM
