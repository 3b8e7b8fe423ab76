#include "exact/module_paths.h"

#include <utility>

namespace TALVEK::EXACT {

CModulePaths::CModulePaths(std::string strModule) : m_strFolder(std::move(strModule)) {
  while (m_strFolder.ends_with('/'))
    m_strFolder.pop_back();
  while (m_strFolder.starts_with("./"))
    m_strFolder.erase(0, 2);
  if (m_strFolder == ".") m_strFolder.clear();
}

std::string CModulePaths::InModule(std::string_view strInRepository) const {
  const bool bInside = !m_strFolder.empty() && strInRepository.starts_with(m_strFolder) &&
                       strInRepository.substr(m_strFolder.size()).starts_with('/');
  if (bInside) strInRepository.remove_prefix(m_strFolder.size() + 1);
  return std::string(strInRepository);
}

}  // namespace TALVEK::EXACT
