#include "client/error_lines.h"

#include <algorithm>
#include <iterator>

#include <wx/strconv.h>

#include "core/text_codec.h"

namespace TALVEK::CLIENT {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF"sv;
constexpr std::string_view ASTR_WIDE_MARKS[] = {"\xFF\xFE"sv, "\xFE\xFF"sv, "\x00\x00\xFE\xFF"sv};
constexpr std::size_t LONGEST_MARK = 4;
constexpr std::size_t LONGEST_SEQUENCE = 4;
/// Longer lines are cut: a client may write a gigabyte without a line end.
constexpr std::size_t MOST_LINE_BYTES = std::size_t{1} << 20;

/// Appends the decoded text; false, and nothing appended, when it isn't UTF-8.
bool AppendUtf8Text(std::string_view strBytes, std::wstring& strText) {
  const std::size_t nBefore = strText.size();
  strText.resize(nBefore + strBytes.size());
  const std::size_t nLength = wxMBConvStrictUTF8().ToWChar(strText.data() + nBefore, strBytes.size(),
                                                           strBytes.data(), strBytes.size());
  strText.resize(nLength == wxCONV_FAILED ? nBefore : nBefore + nLength);
  return nLength != wxCONV_FAILED;
}

/// Appends the text up to the first bytes that are no UTF-8. Returns the number of bytes decoded.
std::size_t AppendUtf8Prefix(std::string_view strBytes, std::wstring& strText) {
  std::size_t nPosition = 0;
  while (nPosition < strBytes.size()) {
    std::size_t nLength = 1;
    while (!AppendUtf8Text(strBytes.substr(nPosition, nLength), strText)) {
      if (nLength == std::min(LONGEST_SEQUENCE, strBytes.size() - nPosition)) return nPosition;
      ++nLength;
    }
    nPosition += nLength;
  }
  return nPosition;
}

}  // namespace

CErrorLines::CErrorLines(wxInputStream& oInput) : m_oInput(oInput), m_oLines(&oInput, MOST_LINE_BYTES) {
  ReadByteOrderMark();
}

void CErrorLines::ReadByteOrderMark() {
  char achStart[LONGEST_MARK];
  const std::string_view strStart(achStart, m_oInput.Read(achStart, sizeof achStart).LastRead());
  const std::size_t nSkipped = strStart.starts_with(UTF8_MARK) ? UTF8_MARK.size() : 0;
  if (strStart.size() > nSkipped) m_oInput.Ungetch(achStart + nSkipped, strStart.size() - nSkipped);
  if (std::any_of(std::begin(ASTR_WIDE_MARKS), std::end(ASTR_WIDE_MARKS),
                  [&](std::string_view strMark) { return strStart.starts_with(strMark); })) {
    m_poWide = std::make_unique<wxTextInputStream>(m_oInput, " \t", wxConvAuto());
  }
}

bool CErrorLines::ReadLine(VCM::CString& strLine) {
  return m_poWide ? ReadWideLine(strLine) : ReadByteLine(strLine);
}

bool CErrorLines::ReadByteLine(VCM::CString& strLine) {
  do {
    while (m_nPosition >= m_strBytes.size()) {
      if (!m_oLines.ReadLine(strLine)) return false;
      m_strBytes = VCM::ToBytes(strLine);
      m_nPosition = 0;
    }
    const std::size_t nEnd = std::min(m_strBytes.find('\0', m_nPosition), m_strBytes.size());
    strLine = VCM::CString(Decode(std::string_view(m_strBytes).substr(m_nPosition, nEnd - m_nPosition)));
    m_nPosition = nEnd + 1;
  } while (strLine.IsEmpty());
  return true;
}

// At bytes that it can't decode wxTextInputStream stops: it returns empty lines without reading on. So a line
// that takes no bytes is the end.
bool CErrorLines::ReadWideLine(VCM::CString& strLine) {
  strLine.Clear();
  wxFileOffset nBefore = wxInvalidOffset;
  while (strLine.IsEmpty() && !m_oInput.Eof() && m_oInput.TellI() != nBefore) {
    nBefore = m_oInput.TellI();
    strLine = VCM::CString(m_poWide->ReadLine().ToStdWstring());
  }
  return !strLine.IsEmpty();
}

std::wstring CErrorLines::Decode(std::string_view strBytes) {
  std::wstring strText;
  std::size_t nDecoded = 0;
  if (m_bUtf8) {
    if (AppendUtf8Text(strBytes, strText)) return strText;
    nDecoded = AppendUtf8Prefix(strBytes, strText);
    m_bUtf8 = false;
  }
  for (const char ch : strBytes.substr(nDecoded))
    strText += static_cast<wchar_t>(static_cast<unsigned char>(ch));
  return strText;
}

}  // namespace TALVEK::CLIENT
