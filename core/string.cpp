#include "core/string.h"

#include <algorithm>
#include <utility>

#include "core/case_map.h"

namespace TALVEK::VCM {

namespace {

/// `nValue`, or the nearest number from 0 to `nLimit`.
std::size_t Clip(int nValue, std::size_t nLimit) {
  return nValue < 0 ? 0 : std::min(static_cast<std::size_t>(nValue), nLimit);
}

int ToIndex(std::size_t nPosition) {
  return nPosition == std::wstring_view::npos ? -1 : static_cast<int>(nPosition);
}

bool EqualNoCase(wchar_t chLeft, wchar_t chRight) {
  return chLeft == chRight || ToLower(chLeft) == ToLower(chRight);
}

}  // namespace

void CString::AssignLatin1(std::string_view strBytes) {
  m_strText.resize(strBytes.size());
  std::transform(strBytes.begin(), strBytes.end(), m_strText.begin(),
                 [](char chByte) { return static_cast<unsigned char>(chByte); });
}

CString& CString::operator+=(const CString& strOther) {
  m_strText += strOther.m_strText;
  return *this;
}

CString& CString::operator+=(std::wstring_view strOther) {
  m_strText += strOther;
  return *this;
}

CString& CString::operator+=(const wchar_t* pszOther) {
  if (pszOther) m_strText += pszOther;
  return *this;
}

CString& CString::operator+=(wchar_t chOther) {
  m_strText += chOther;
  return *this;
}

int CString::CompareNoCase(std::wstring_view strOther) const {
  const std::size_t nCommon = std::min(m_strText.size(), strOther.size());
  for (std::size_t i = 0; i < nCommon; ++i) {
    if (EqualNoCase(m_strText[i], strOther[i])) continue;
    return ToLower(m_strText[i]) < ToLower(strOther[i]) ? -1 : 1;
  }
  if (m_strText.size() == strOther.size()) return 0;
  return m_strText.size() < strOther.size() ? -1 : 1;
}

bool CString::EqualsNoCase(std::wstring_view strOther) const {
  return VCM::EqualsNoCase(View(), strOther);
}

int CString::Find(wchar_t chWanted, int nStart) const {
  return ToIndex(m_strText.find(chWanted, Clip(nStart, m_strText.size())));
}

int CString::Find(const CString& strWanted, int nStart) const {
  return ToIndex(m_strText.find(strWanted.m_strText, Clip(nStart, m_strText.size())));
}

int CString::ReverseFind(wchar_t chWanted) const {
  return ToIndex(m_strText.rfind(chWanted));
}

CString CString::Left(int nCount) const {
  return CString(View().substr(0, Clip(nCount, m_strText.size())));
}

CString CString::Right(int nCount) const {
  return CString(View().substr(m_strText.size() - Clip(nCount, m_strText.size())));
}

CString CString::Mid(int nStart) const {
  return CString(View().substr(Clip(nStart, m_strText.size())));
}

CString CString::Mid(int nStart, int nCount) const {
  const std::wstring_view strRest = View().substr(Clip(nStart, m_strText.size()));
  return CString(strRest.substr(0, Clip(nCount, strRest.size())));
}

void CString::TrimLeft() {
  m_strText.erase(m_strText.begin(), std::find_if_not(m_strText.begin(), m_strText.end(), IsWhiteSpace));
}

void CString::TrimRight() {
  m_strText.erase(std::find_if_not(m_strText.rbegin(), m_strText.rend(), IsWhiteSpace).base(),
                  m_strText.end());
}

void CString::MakeLower() {
  std::transform(m_strText.begin(), m_strText.end(), m_strText.begin(), ToLower);
}

bool EqualsNoCase(std::wstring_view strLeft, std::wstring_view strRight) {
  return strLeft == strRight ||
         std::equal(strLeft.begin(), strLeft.end(), strRight.begin(), strRight.end(),
                    [](wchar_t chLeft, wchar_t chRight) { return EqualNoCase(chLeft, chRight); });
}

CString operator+(const CString& strLeft, const CString& strRight) {
  std::wstring strText;
  strText.reserve(strLeft.View().size() + strRight.View().size());
  strText += strLeft.View();
  strText += strRight.View();
  return CString(std::move(strText));
}

}  // namespace TALVEK::VCM
