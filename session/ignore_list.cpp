#include "session/ignore_list.h"

#include <algorithm>
#include <cstdlib>

#include <fnmatch.h>

#include "session/folder.h"

namespace TALVEK::SESSION {

namespace {

/// From the manual of cvs.
constexpr const char* CLIENTS_PATTERNS =
    "RCS SCCS CVS CVS.adm RCSLOG cvslog.* tags TAGS .make.state .nse_depinfo *~ #* .#* ,* _$* *$ "
    "*.old *.bak *.BAK *.orig *.rej .del-* *.a *.olb *.o *.obj *.so *.exe *.Z *.elc *.ln core";

}  // namespace

CIgnoreList CIgnoreList::OfUser() {
  CIgnoreList oList;
  oList.Add(CLIENTS_PATTERNS);
  if (const char* pszHome = std::getenv("HOME"))
    oList.Add(ReadFileText(std::string(pszHome) + "/.cvsignore"));
  if (const char* pszPatterns = std::getenv("CVSIGNORE")) oList.Add(pszPatterns);
  return oList;
}

void CIgnoreList::Add(std::string_view strPatterns) {
  constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";
  for (std::size_t nFrom = 0;
       (nFrom = strPatterns.find_first_not_of(WHITE_SPACE, nFrom)) != strPatterns.npos;) {
    const std::string_view strWord =
        strPatterns.substr(nFrom, strPatterns.find_first_of(WHITE_SPACE, nFrom) - nFrom);
    if (strWord == "!") {
      m_astrPatterns.clear();
    } else {
      m_astrPatterns.emplace_back(strWord);
    }
    nFrom += strWord.size();
  }
}

bool CIgnoreList::Matches(const std::string& strName) const {
  return std::any_of(m_astrPatterns.begin(), m_astrPatterns.end(), [&strName](const std::string& strPattern) {
    return ::fnmatch(strPattern.c_str(), strName.c_str(), 0) == 0;
  });
}

}  // namespace TALVEK::SESSION
