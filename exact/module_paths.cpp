#include "exact/module_paths.h"

#include <algorithm>

namespace TALVEK::EXACT {

namespace {

std::string Join(std::string_view strFolder, std::string_view strPath) {
  std::string strJoined(strFolder);
  if (!strJoined.empty() && !strPath.empty()) strJoined += '/';
  return strJoined += strPath;
}

/// The folder of a path; empty at the top.
std::string_view FolderOf(std::string_view strPath) {
  const std::size_t nSlash = strPath.rfind('/');
  return nSlash == std::string_view::npos ? std::string_view() : strPath.substr(0, nSlash);
}

/// True when a path may lead out of the folder that it is to lie in.
bool LeadsOutside(std::string_view strPath) {
  return strPath.starts_with('/') || ("/" + std::string(strPath) + "/").find("/../") != std::string::npos;
}

/// Cuts a folder off the front of a path; false when the path doesn't lie in it. The folder itself leaves an
/// empty path.
bool TakeFolder(std::string_view& strPath, std::string_view strFolder) {
  if (strFolder.empty()) return true;
  if (!strPath.starts_with(strFolder)) return false;
  const std::string_view strRest = strPath.substr(strFolder.size());
  if (!strRest.empty() && strRest.front() != '/') return false;
  strPath = strRest.empty() ? strRest : strRest.substr(1);
  return true;
}

}  // namespace

std::string PlainModuleName(std::string_view strName) {
  std::string strPlain;
  while (!strName.empty()) {
    const std::size_t nEnd = std::min(strName.find('/'), strName.size());
    if (const std::string_view strPart = strName.substr(0, nEnd); !strPart.empty() && strPart != ".")
      strPlain = Join(strPlain, strPart);
    strName.remove_prefix(std::min(nEnd + 1, strName.size()));
  }
  return strPlain.empty() ? "." : strPlain;
}

CModulePaths::CModulePaths(const std::string& strName, const TModules& atModules) {
  Expand(strName, atModules, "", true);
  m_bOneFolder = m_atParts.size() == 1 && m_atParts.front().strTo == m_atParts.front().strTop &&
                 !m_atParts.front().bLocal && m_atParts.front().nLeftOut == 0;
}

// The client looks for a module of that name, then for a folder or file, then for a module whose name stands
// before the first slash. Whether there is such a folder the log tells later: only one of the two has files.
void CModulePaths::Expand(const std::string& strName, const TModules& atModules, const std::string& strBase,
                          bool bTop) {
  if (strName.size() > 1 && strName.front() == '!') {
    m_astrLeftOut.push_back(strName.substr(1));
    return;
  }
  if (const auto it = atModules.find(strName); it != atModules.end()) {
    AddModule(strName, it->second, "", atModules, strBase, bTop);
    return;
  }
  const std::string strFrom = strName == "." ? "" : strName;
  const std::string strTo = Join(strBase, strFrom);
  AddPart(strFrom, strTo, bTop ? strTo : "", strBase, false);
  const std::size_t nSlash = strName.find('/');
  if (nSlash == std::string::npos) return;
  if (const auto it = atModules.find(std::string_view(strName).substr(0, nSlash)); it != atModules.end())
    AddModule(it->first, it->second, strName.substr(nSlash + 1), atModules, strBase, bTop);
}

void CModulePaths::AddModule(const std::string& strName, const TModule& tModule, const std::string& strWithin,
                             const TModules& atModules, const std::string& strBase, bool bTop) {
  if (std::find(m_astrOpen.begin(), m_astrOpen.end(), strName) != m_astrOpen.end()) return;
  m_astrOpen.push_back(strName);
  if (tModule.bAlias) {
    for (const std::string& strWord : tModule.astrWords)
      Expand(strWord, atModules, strBase, bTop && tModule.astrWords.size() == 1);
  } else {
    const std::string strPlace = Join(strBase, tModule.strPlace.empty() ? strName : tModule.strPlace);
    const std::string strTop = bTop ? strPlace : "";
    const std::string strFolder = tModule.astrWords.empty() ? "" : PlainModuleName(tModule.astrWords.front());
    const std::string strFrom = strFolder == "." ? "" : strFolder;
    if (tModule.astrWords.size() == 1)
      AddPart(Join(strFrom, strWithin), Join(strPlace, strWithin), strTop, strBase, tModule.bLocal);
    for (std::size_t n = 1; n < tModule.astrWords.size() && strWithin.empty(); ++n) {
      AddPart(Join(strFrom, tModule.astrWords[n]), Join(strPlace, tModule.astrWords[n]), strTop, strBase,
              false);
    }
    if (strWithin.empty() && !tModule.bLocal) {
      for (const std::string& strIncluded : tModule.astrIncluded) {
        const std::size_t nBefore = m_atParts.size();
        Expand(strIncluded, atModules, strPlace, false);
        for (std::size_t n = nBefore; n < m_atParts.size(); ++n)
          m_atParts[n].strTop = strTop;
      }
    }
  }
  m_astrOpen.pop_back();
}

void CModulePaths::AddPart(const std::string& strFrom, const std::string& strTo, const std::string& strTop,
                           const std::string& strBase, bool bLocal) {
  if (LeadsOutside(strTo)) return;  // the client refuses it, too
  const std::size_t nBase = strBase.empty() ? 0 : strBase.size() + 1;
  m_atParts.push_back({strFrom, strTo, strTop, nBase, m_astrLeftOut.size(), bLocal});
}

// The client leaves out folders that it goes through, never a file that is named alone.
bool CModulePaths::IsLeftOut(const TPart& tPart, const std::string& strPlace) const {
  const std::string_view strFolder = FolderOf(std::string_view(strPlace).substr(tPart.nBase));
  return std::any_of(m_astrLeftOut.begin(),
                     m_astrLeftOut.begin() + static_cast<std::ptrdiff_t>(tPart.nLeftOut),
                     [strFolder](const std::string& strLeftOut) {
                       std::string_view strRest = strFolder;
                       return TakeFolder(strRest, strLeftOut);
                     });
}

template <class TFunction>
void CModulePaths::ForEachPlace(std::string_view strInRepository, TFunction fnPlace) const {
  for (const TPart& tPart : m_atParts) {
    std::string_view strRest = strInRepository;
    if (!TakeFolder(strRest, tPart.strFrom)) continue;
    if (tPart.bLocal && strRest.find('/') != std::string_view::npos) continue;
    const std::string strPlace = Join(tPart.strTo, strRest);
    if (!strRest.empty() && IsLeftOut(tPart, strPlace)) continue;
    std::string_view strPath = strPlace;
    TakeFolder(strPath, tPart.strTop);
    // Empty for a file that was asked for by its own path.
    if (strPath.empty()) strPath = std::string_view(strPlace).substr(strPlace.rfind('/') + 1);
    fnPlace(tPart, strPath);
  }
}

std::vector<std::string> CModulePaths::InModule(std::string_view strInRepository) const {
  std::vector<std::string> astrPaths;
  ForEachPlace(strInRepository, [&astrPaths](const TPart& /*tPart*/, std::string_view strPath) {
    if (std::find(astrPaths.begin(), astrPaths.end(), strPath) == astrPaths.end())
      astrPaths.emplace_back(strPath);
  });
  return astrPaths;
}

bool CModulePaths::Take(std::string_view strInModule, std::string_view strInRepository) {
  return m_astrInRepository.emplace(strInModule, strInRepository).first->second == strInRepository;
}

CModulePaths::TResult CModulePaths::Add(const std::string& strInRepository) {
  TResult nResult = LEFT_OUT;
  ForEachPlace(strInRepository, [&](const TPart& tPart, std::string_view strPath) {
    if (nResult == LEFT_OUT) nResult = TAKEN;
    // A name of one part that isn't a folder is a file.
    if (strInRepository == tPart.strFrom) m_bOneFolder = false;
    if (m_bOneFolder) return;
    bool bTaken = Take(strPath, strInRepository);
    std::string_view strFolder = strInRepository;
    do {
      strPath = FolderOf(strPath);
      strFolder = FolderOf(strFolder);
      bTaken = Take(std::string(strPath) + '/', strFolder) && bTaken;
    } while (strFolder.size() > tPart.strFrom.size());
    if (!bTaken) nResult = CLASHES;
  });
  return nResult;
}

std::string CModulePaths::InRepository(const std::string& strInModule) const {
  const auto it = m_astrInRepository.find(strInModule);
  return it == m_astrInRepository.end() ? Join(Folder(), strInModule) : it->second;
}

}  // namespace TALVEK::EXACT
