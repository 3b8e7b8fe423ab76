#pragma once

#include <string>
#include <vector>

namespace TALVEK::FUZZ {

/// Watches every folder that the program makes. Linking this file puts a watcher in front of mkdir.
///
/// Owns     The folders made below `strRoot` meanwhile: they are removed at the end. One of these at a time.
class CMadeFolders {
 public:
  explicit CMadeFolders(std::string strRoot);
  ~CMadeFolders();
  CMadeFolders(const CMadeFolders&) = delete;
  CMadeFolders& operator=(const CMadeFolders&) = delete;

  /// Checks that the folder lies below the root.
  void Take(const char* pszPath);

 private:
  std::string m_strRoot;
  std::vector<std::string> m_astrMade;
};

}  // namespace TALVEK::FUZZ
