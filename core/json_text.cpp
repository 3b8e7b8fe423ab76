#include "core/json_text.h"

#include <cstdint>
#include <utility>

namespace TALVEK::VCM {
namespace {

void AppendHexEscape(std::uint32_t nCode, std::string& strOut) {
  static constexpr char HEX_DIGITS[] = "0123456789abcdef";
  strOut += "\\u";
  for (int nShift = 12; nShift >= 0; nShift -= 4)
    strOut += HEX_DIGITS[(nCode >> nShift) & 0xF];
}

// The letter of the two-character escape, or 0.
char ShortEscape(std::uint32_t nCode) {
  switch (nCode) {
    case '"':
      return '"';
    case '\\':
      return '\\';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    default:
      return 0;
  }
}

void AppendTrailByte(std::uint32_t nBits, std::string& strOut) {
  strOut += static_cast<char>(0x80 | (nBits & 0x3F));
}

void AppendUtf8(std::uint32_t nCode, std::string& strOut) {
  if (nCode < 0x80) {
    strOut += static_cast<char>(nCode);
    return;
  }
  if (nCode < 0x800) {
    strOut += static_cast<char>(0xC0 | (nCode >> 6));
  } else if (nCode < 0x10000) {
    strOut += static_cast<char>(0xE0 | (nCode >> 12));
    AppendTrailByte(nCode >> 6, strOut);
  } else {
    strOut += static_cast<char>(0xF0 | (nCode >> 18));
    AppendTrailByte(nCode >> 12, strOut);
    AppendTrailByte(nCode >> 6, strOut);
  }
  AppendTrailByte(nCode, strOut);
}

void AppendCharacter(std::uint32_t nCode, std::string& strOut) {
  if (const char chEscape = ShortEscape(nCode)) {
    strOut += '\\';
    strOut += chEscape;
  } else if (nCode < 0x20 || (nCode >= 0xD800 && nCode < 0xE000)) {
    AppendHexEscape(nCode, strOut);
  } else {
    AppendUtf8(nCode > 0x10FFFF ? 0xFFFD : nCode, strOut);
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
