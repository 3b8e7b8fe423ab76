#include "core/path.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "core/exceptions.h"

namespace TALVEK::VCM {

namespace {

constexpr wchar_t SEPARATOR = L'/';

/// Cuts the next item off `strRest`; empty when there is none left.
std::wstring_view NextItem(std::wstring_view& strRest) {
  strRest.remove_prefix(std::min(strRest.find_first_not_of(SEPARATOR), strRest.size()));
  const std::wstring_view strItem = strRest.substr(0, strRest.find(SEPARATOR));
  strRest.remove_prefix(strItem.size());
  return strItem;
}

bool IsDots(std::wstring_view strItem) {
  return strItem == L"." || strItem == L"..";
}

bool HasDots(std::wstring_view strText) {
  for (auto strItem = NextItem(strText); !strItem.empty(); strItem = NextItem(strText)) {
    if (IsDots(strItem)) return true;
  }
  return false;
}

void AppendJoined(std::wstring& strPath, std::wstring_view strItems) {
  if (!strPath.empty() && !strItems.empty()) strPath += SEPARATOR;
  strPath += strItems;
}

CString Generate(bool bAbsolute, std::wstring strItems, wchar_t chSeparator) {
  if (bAbsolute) strItems.insert(strItems.begin(), SEPARATOR);
  if (chSeparator != SEPARATOR) std::replace(strItems.begin(), strItems.end(), SEPARATOR, chSeparator);
  return CString(std::move(strItems));
}

}  // namespace

bool CFilePath::Parse(const CString& strText, unsigned nOptions) {
  Clear();
  const bool bRepository = (nOptions & PARSE_REPOSITORY) != 0;
  const std::wstring_view strPath = strText.View();
  if (bRepository ? HasDots(strPath) : strPath.find(L'\0') != std::wstring_view::npos) return false;

  m_bAbsolute = !bRepository && strPath.starts_with(SEPARATOR);
  m_strItems.reserve(strPath.size());
  Add(strText);
  return true;
}

void CFilePath::Clear() {
  m_strItems.clear();
  m_nCount = 0;
  m_bAbsolute = false;
}

void CFilePath::Add(const CString& strItem) {
  std::wstring_view strRest = strItem.View();
  for (auto strNext = NextItem(strRest); !strNext.empty(); strNext = NextItem(strRest)) {
    AppendJoined(m_strItems, strNext);
    ++m_nCount;
  }
}

bool CFilePath::RemoveLastItem() {
  if (m_nCount == 0) return false;
  const std::size_t nSlash = m_strItems.rfind(SEPARATOR);
  m_strItems.resize(nSlash == std::wstring::npos ? 0 : nSlash);
  --m_nCount;
  return true;
}

bool CFilePath::RemoveFirstItem() {
  if (m_nCount == 0) return false;
  const std::size_t nSlash = m_strItems.find(SEPARATOR);
  m_strItems.erase(0, nSlash == std::wstring::npos ? nSlash : nSlash + 1);
  --m_nCount;
  return true;
}

CString CFilePath::GetItemText(int nIndex) const {
  if (nIndex < 0 || nIndex >= m_nCount) throw EArrayIndexOutOfRange(nIndex);
  std::wstring_view strRest = m_strItems;
  for (int i = 0; i < nIndex; ++i) {
    NextItem(strRest);
  }
  return CString(NextItem(strRest));
}

CString CFilePath::GeneratePath(wchar_t chSeparator) const {
  return Generate(m_bAbsolute, m_strItems, chSeparator);
}

CString CFilePath::GeneratePath(const CFilePath& oBase, wchar_t chSeparator) const {
  std::wstring strItems = oBase.m_strItems;
  AppendJoined(strItems, m_strItems);
  return Generate(oBase.m_bAbsolute, std::move(strItems), chSeparator);
}

CString CFilePath::GenerateFolderPath(wchar_t chSeparator) const {
  CFilePath oFolder = *this;
  oFolder.RemoveLastItem();
  return oFolder.GeneratePath(chSeparator);
}

bool CFilePath::IsEqualTo(const CFilePath& oOther, bool bCaseSensitive) const {
  if (m_bAbsolute != oOther.m_bAbsolute || m_nCount != oOther.m_nCount) return false;
  if (bCaseSensitive) return m_strItems == oOther.m_strItems;
  return CString(std::wstring_view(m_strItems)).EqualsNoCase(oOther.m_strItems);
}

}  // namespace TALVEK::VCM
