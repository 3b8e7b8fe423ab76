#include "session/ignore_list.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <fnmatch.h>

namespace TALVEK::SESSION {

namespace {

/// As the manual of cvs lists them.
constexpr const char* CLIENTS_PATTERNS =
    "RCS SCCS CVS CVS.adm RCSLOG cvslog.* tags TAGS .make.state .nse_depinfo *~ #* .#* ,* _$* *$ "
    "*.old *.bak *.BAK *.orig *.rej .del-* *.a *.olb *.o *.obj *.so *.exe *.Z *.elc *.ln core";

}  // namespace

CIgnoreList CIgnoreList::OfUser() {
  CIgnoreList oList;
  oList.Add(CLIENTS_PATTERNS);
  if (const char* pszHome = std::getenv("HOME")) {
    std::ifstream oFile(std::string(pszHome) + "/.cvsignore", std::ios::binary);
    oList.Add(std::string{std::istreambuf_iterator<char>(oFile), std::istreambuf_iterator<char>()});
  }
  if (const char* pszPatterns = std::getenv("CVSIGNORE")) oList.Add(pszPatterns);
  return oList;
}

void CIgnoreList::Add(std::string_view strPatterns) {
  std::istringstream oWords{std::string(strPatterns)};
  for (std::string strWord; oWords >> strWord;) {
    if (strWord == "!") {
      m_astrPatterns.clear();
    } else {
      m_astrPatterns.push_back(strWord);
    }
  }
}

bool CIgnoreList::Matches(const std::string& strName) const {
  return std::any_of(m_astrPatterns.begin(), m_astrPatterns.end(), [&strName](const std::string& strPattern) {
    return ::fnmatch(strPattern.c_str(), strName.c_str(), 0) == 0;
  });
}

}  // namespace TALVEK::SESSION
