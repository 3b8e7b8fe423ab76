#include "exact/log_path.h"

#include <algorithm>

namespace TALVEK::EXACT {

CRepositoryPath::CRepositoryPath(std::string strRootDirectory, std::string strModule)
    : m_strRoot(std::move(strRootDirectory)), m_strModule(std::move(strModule)) {
  while (!m_strRoot.empty() && m_strRoot.back() == '/')
    m_strRoot.pop_back();
  m_strRoot += '/';
  if (m_strModule == ".") m_strModule.clear();
}

void CRepositoryPath::Learn(std::string_view strFirstPath) {
  m_strPrefix = m_strRoot;
  if (Holds(strFirstPath)) return;
  for (std::size_t nTail = 0; nTail + 1 < m_strRoot.size(); nTail = m_strRoot.find('/', nTail + 1)) {
    const std::string_view strTail = std::string_view(m_strRoot).substr(nTail);
    const std::size_t nFound = strTail.starts_with('/') ? strFirstPath.find(strTail) : std::string_view::npos;
    if (nFound == std::string_view::npos) continue;
    m_strPrefix = strFirstPath.substr(0, nFound + strTail.size());
    return;
  }
  const std::size_t nModule =
      m_strModule.empty() ? std::string_view::npos : strFirstPath.find("/" + m_strModule + "/");
  if (nModule != std::string_view::npos) {
    m_strPrefix = strFirstPath.substr(0, nModule + 1);
  } else {
    m_strPrefix = strFirstPath.starts_with('/') ? "/" : "";
  }
}

std::string CRepositoryPath::Cut(std::string_view strRcsPath) const {
  if (Holds(strRcsPath)) strRcsPath.remove_prefix(m_strPrefix.size());
  if (strRcsPath.ends_with(",v")) strRcsPath.remove_suffix(2);
  std::string strPath(strRcsPath);
  // A module whose folder is written with a slash at its end.
  for (std::size_t n = 0; (n = strPath.find("//", n)) != std::string::npos;)
    strPath.erase(n, 1);
  const std::size_t nName = strPath.rfind('/') + 1;  // 0 where there is no slash
  constexpr std::string_view ATTIC = "Attic/";
  if (nName < ATTIC.size() || strPath.compare(nName - ATTIC.size(), ATTIC.size(), ATTIC) != 0) return strPath;
  const std::size_t nAttic = nName - ATTIC.size();
  if (nAttic == 0 || strPath[nAttic - 1] == '/') strPath.erase(nAttic, ATTIC.size());
  return strPath;
}

bool WalkedBefore(std::string_view strFirst, std::string_view strSecond) {
  for (;;) {
    const std::size_t nFirst = strFirst.find('/');
    const std::size_t nSecond = strSecond.find('/');
    const bool bFirstIsFile = nFirst == std::string_view::npos;
    const bool bSecondIsFile = nSecond == std::string_view::npos;
    if (bFirstIsFile != bSecondIsFile) return bFirstIsFile;
    const int nOrder = strFirst.substr(0, nFirst).compare(strSecond.substr(0, nSecond));
    if (nOrder != 0 || bFirstIsFile) return nOrder < 0;
    strFirst.remove_prefix(nFirst + 1);
    strSecond.remove_prefix(nSecond + 1);
  }
}

}  // namespace TALVEK::EXACT
