#include "host/ref_names.h"

#include "host/git_names.h"

namespace TALVEK::HOST {

std::string CRefNames::Assign(std::string_view strName) {
  const std::string strValid = GitRefName(strName);
  std::string strFree = strValid;
  for (int nNumber = 2; !IsFree(strFree); ++nNumber)
    strFree = WithSuffix(strValid, nNumber);
  Take(strFree);
  return strFree;
}

bool CRefNames::IsFree(const std::string& strName) const {
  if (m_astrTaken.contains(strName) || m_astrFolders.contains(strName)) return false;
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    if (m_astrTaken.contains(strName.substr(0, nEnd))) return false;
  }
  return true;
}

// The suffix goes where the name meets the other one: behind its first part that is taken, else at its end.
std::string CRefNames::WithSuffix(const std::string& strName, int nNumber) const {
  std::size_t nEnd = strName.find('/');
  while (nEnd != std::string::npos && !m_astrTaken.contains(strName.substr(0, nEnd))) {
    nEnd = strName.find('/', nEnd + 1);
  }
  std::string strResult = strName;
  return strResult.insert(nEnd == std::string::npos ? strName.size() : nEnd, '-' + std::to_string(nNumber));
}

void CRefNames::Take(const std::string& strName) {
  m_astrTaken.insert(strName);
  for (std::size_t nEnd = strName.find('/'); nEnd != std::string::npos; nEnd = strName.find('/', nEnd + 1)) {
    m_astrFolders.insert(strName.substr(0, nEnd));
  }
}

}  // namespace TALVEK::HOST
