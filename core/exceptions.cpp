#include "core/exceptions.h"

#include "core/text_codec.h"

namespace TALVEK::VCM {

EBaseException::~EBaseException() = default;

const char* EBaseException::what() const noexcept {
  try {
    m_strWhat = ToUtf8(GetErrorMessage());
    return m_strWhat.c_str();
  } catch (...) {
    return "out of memory while an error message was built";
  }
}

EIndexOutOfRange::EIndexOutOfRange(const wchar_t* pszFormat, int nIndex)
    : m_pszFormat(pszFormat), m_nIndex(nIndex) {}

CString EIndexOutOfRange::GetErrorMessage() const {
  CString strMessage;
  strMessage.Format(m_pszFormat, m_nIndex);
  return strMessage;
}

EArrayIndexOutOfRange::EArrayIndexOutOfRange(int nIndex)
    : EIndexOutOfRange(L"Array index (%d) out of range", nIndex) {}

EMapIndexOutOfRange::EMapIndexOutOfRange(int nIndex)
    : EIndexOutOfRange(L"Map index (%d) out of range", nIndex) {}

}  // namespace TALVEK::VCM
