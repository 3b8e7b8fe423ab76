#include "core/line_reader.h"

#include <algorithm>
#include <string_view>

#include "core/text_codec.h"

namespace TALVEK::VCM {

namespace {

constexpr std::size_t BLOCK_BYTES = 64UL * 1024;
constexpr std::size_t WIDE_CHARACTERS = 4096;

/// Position of the first such byte at or after `nStart`; the size when there is none.
std::size_t FindByte(std::string_view strBytes, char chWanted, std::size_t nStart) {
  return std::min(strBytes.find(chWanted, nStart), strBytes.size());
}

}  // namespace

CLineReader::CLineReader(wxInputStream* poInput, std::size_t nMostBytes)
    : m_poInput(poInput),
      m_nMostBytes(nMostBytes),
      m_strBuffer(BLOCK_BYTES, '\0'),
      m_strWide(WIDE_CHARACTERS, L'\0'),
      m_bInputEnded(!poInput) {}

bool CLineReader::ReadLine(CString& strLine) {
  if (HasHeldLongLine()) strLine.Release();
  std::wstring_view strView;
  const bool bRead = ReadLineView(strView);
  strLine.Assign(strView);
  return bRead;
}

bool CLineReader::ReadLineView(std::wstring_view& strLine) {
  strLine = {};
  if (IsAtEnd()) return false;
  m_strLineBytes.clear();
  if (HasHeldLongLine()) ReleaseLongLine();
  do {
    const std::size_t nLineEnd = FindLineEnd();
    if (nLineEnd < m_nFilled) {
      strLine = DecodeLine(nLineEnd);
      m_nPosition = nLineEnd + 1;
      // The \n of a \r\n may be the first byte of the next block.
      const bool bReturn = m_strBuffer[nLineEnd] == '\r';
      if (bReturn && !IsAtEnd() && m_strBuffer[m_nPosition] == '\n') ++m_nPosition;
      return true;
    }
    m_strLineBytes.append(m_strBuffer, m_nPosition, m_nFilled - m_nPosition);
    m_nPosition = m_nFilled;
  } while (m_strLineBytes.size() < m_nMostBytes && FillBuffer());
  strLine = Decode(m_strLineBytes);
  return true;
}

void CLineReader::ReleaseLongLine() {
  m_strLineBytes.shrink_to_fit();
  m_strLine.Release();
}

/// Position of the next \n or \r in the buffer; m_nFilled when there is none. Both are remembered until they
/// are passed, so that a block without \r is searched for it once, and not once a line.
std::size_t CLineReader::FindLineEnd() {
  const std::string_view strFilled(m_strBuffer.data(), m_nFilled);
  if (m_nLineFeed < m_nPosition) m_nLineFeed = FindByte(strFilled, '\n', m_nPosition);
  if (m_nReturn < m_nPosition) m_nReturn = FindByte(strFilled, '\r', m_nPosition);
  return std::min(m_nLineFeed, m_nReturn);
}

/// The line that ends at `nLineEnd` in the buffer. Its beginning may be in m_strLineBytes, from earlier
/// blocks.
std::wstring_view CLineReader::DecodeLine(std::size_t nLineEnd) {
  const std::size_t nLength = nLineEnd - m_nPosition;
  const std::string_view strBytes(m_strBuffer.data() + m_nPosition, nLength);
  if (!m_strLineBytes.empty()) return Decode(m_strLineBytes += strBytes);
  if (nLineEnd > m_nWideEnd) WidenAhead();
  if (nLineEnd > m_nWideEnd) return Decode(strBytes);
  return {m_strWide.data() + (m_nPosition - m_nWideStart), nLength};
}

/// Decodes up to WIDE_CHARACTERS bytes ahead, as far as they are ASCII: much faster than line by line.
void CLineReader::WidenAhead() {
  const std::size_t nAhead = std::min(m_nFilled - m_nPosition, m_strWide.size());
  m_nWideStart = m_nPosition;
  m_nWideEnd = m_nPosition + WidenAscii({m_strBuffer.data() + m_nPosition, nAhead}, m_strWide.data());
}

std::wstring_view CLineReader::Decode(std::string_view strBytes) {
  DecodeBytes(strBytes, m_strLine);
  return m_strLine.View();
}

bool CLineReader::FillBuffer() {
  m_nPosition = m_nFilled = m_nWideStart = m_nWideEnd = 0;
  if (m_bInputEnded) return false;
  m_nFilled = m_poInput->Read(m_strBuffer.data(), m_strBuffer.size()).LastRead();
  // A stream that failed is not read again: it could go on after a gap.
  m_bInputEnded = m_nFilled == 0 || !m_poInput->IsOk();
  const std::string_view strFilled(m_strBuffer.data(), m_nFilled);
  m_nLineFeed = FindByte(strFilled, '\n', 0);
  m_nReturn = FindByte(strFilled, '\r', 0);
  return m_nFilled > 0;
}

}  // namespace TALVEK::VCM
