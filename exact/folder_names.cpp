#include "exact/folder_names.h"

#include <utility>

namespace TALVEK::EXACT {

std::unordered_set<std::string> FilesNamedLikeFolders(const CHistory& oHistory) {
  std::unordered_set<std::string> strFolders;
  const TIndex nFiles = static_cast<TIndex>(oHistory.Files().size());
  for (TIndex nFile = 0; nFile < nFiles; ++nFile) {
    std::string strPath = oHistory.Path(nFile);
    for (std::size_t nSlash; (nSlash = strPath.rfind('/')) != std::string::npos;) {
      strPath.resize(nSlash);
      if (!strFolders.insert(strPath).second) break;
    }
  }
  std::unordered_set<std::string> strFiles;
  for (TIndex nFile = 0; nFile < nFiles; ++nFile) {
    std::string strPath = oHistory.Path(nFile);
    if (strFolders.contains(strPath)) strFiles.insert(std::move(strPath));
  }
  return strFiles;
}

}  // namespace TALVEK::EXACT
