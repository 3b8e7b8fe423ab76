#include "core/string_pool.h"

namespace TALVEK::VCM {

const CString& CStringRef::EmptyText() {
  static const CString s_strEmpty;
  return s_strEmpty;
}

CStringRef CStringPool::Intern(const CString& strText) {
  const auto it = m_apIndex.find(strText.View());
  if (it != m_apIndex.end()) return CStringRef(*it);
  const CString* pText = &m_astrTexts.emplace_back(strText);
  m_apIndex.insert(pText);
  return CStringRef(pText);
}

}  // namespace TALVEK::VCM
