#include "core/string_pool.h"

#include <functional>

namespace TALVEK::VCM {

const CString& CStringRef::EmptyText() {
  static const CString s_strEmpty;
  return s_strEmpty;
}

std::size_t CStringPool::THash::operator()(std::wstring_view strText) const {
  return std::hash<std::wstring_view>()(strText);
}

CStringRef CStringPool::Intern(std::wstring_view strText) {
  auto it = m_astrTexts.find(strText);
  if (it == m_astrTexts.end()) it = m_astrTexts.emplace(strText).first;
  return CStringRef(&*it);
}

}  // namespace TALVEK::VCM
