#include "core/json_text.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "core/character_codec.h"

namespace TALVEK::VCM {
namespace {

void AppendHexEscape(std::uint32_t nCode, std::string& strOut) {
  static constexpr char HEX_DIGITS[] = "0123456789abcdef";
  strOut += "\\u";
  for (int nShift = 12; nShift >= 0; nShift -= 4)
    strOut += HEX_DIGITS[(nCode >> nShift) & 0xF];
}

void AppendCharacter(std::uint32_t nCode, std::string& strOut) {
  // The characters with an escape of one letter, and their letters.
  static constexpr std::wstring_view ESCAPED = L"\"\\\b\f\n\r\t";
  static constexpr char LETTERS[] = "\"\\bfnrt";
  const std::size_t nEscape = ESCAPED.find(static_cast<wchar_t>(nCode));
  if (nEscape != std::wstring_view::npos) {
    strOut += '\\';
    strOut += LETTERS[nEscape];
  } else if (nCode < 0x20 || (nCode >= 0xD800 && nCode < 0xE000)) {
    AppendHexEscape(nCode, strOut);
  } else {
    AppendUtf8(strOut, IsScalarValue(nCode) ? nCode : REPLACEMENT);
  }
}

}  // namespace

void AppendJsonString(const CString& strText, std::string& strOut) {
  strOut += '"';
  for (const wchar_t ch : strText.View())
    AppendCharacter(static_cast<std::uint32_t>(ch), strOut);
  strOut += '"';
}

CJsonLine::CJsonLine(const char* pszRecord) : m_strLine(std::string("{\"") + pszRecord + "\":{") {}

CJsonLine& CJsonLine::Number(const char* pszField, long long nValue) {
  AppendField(pszField);
  m_strLine += std::to_string(nValue);
  return *this;
}

CJsonLine& CJsonLine::Text(const char* pszField, const CString& strValue) {
  AppendField(pszField);
  AppendJsonString(strValue, m_strLine);
  return *this;
}

std::string CJsonLine::Take() {
  m_strLine += "}}\n";
  return std::move(m_strLine);
}

void CJsonLine::AppendField(const char* pszField) {
  if (m_strLine.back() != '{') m_strLine += ',';
  m_strLine += '"';
  m_strLine += pszField;
  m_strLine += "\":";
}

}  // namespace TALVEK::VCM
