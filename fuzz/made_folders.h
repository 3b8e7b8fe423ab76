#pragma once

#include <string>
#include <vector>

namespace TALVEK::FUZZ {

/// Checks every folder that the program makes. Linking this file replaces mkdir. Only one object at a time.
///
/// Owns     The folders that are made during its lifetime; removes them at the end.
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
