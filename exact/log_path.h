#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace TALVEK::EXACT {

/// Cuts the repository's directory off the paths of a log.
///
/// The directory is the root's, which the log's paths begin with. A saved log may come from another place;
/// the first path tells then what to cut off: the longest tail of the root's directory that stands in it
/// between slashes (for the root /srv/cvs the path /mnt/old/srv/cvs/mod/a.c,v is cut behind "/srv/cvs/"),
/// else what stands before the module's name, else the first slash alone.
class CRepositoryPath {
 public:
  CRepositoryPath(std::string strRootDirectory, std::string strModule);

  /// Settles what is cut off, by the first path of the log.
  void Learn(std::string_view strFirstPath);
  /// Whether a path of the log lies in the repository.
  bool Holds(std::string_view strRcsPath) const { return strRcsPath.starts_with(m_strPrefix); }
  /// "mod/a.c" for "/cvs/mod/Attic/a.c,v".
  std::string Cut(std::string_view strRcsPath) const;

 private:
  std::string m_strRoot;  // with a slash at its end
  std::string m_strModule;
  std::string m_strPrefix;
};

/// Whether the client, which goes through a folder's files and then its folders, each in order of their
/// bytes, prints the first path before the second. Both are as Cut gives them.
bool WalkedBefore(std::string_view strFirst, std::string_view strSecond);

}  // namespace TALVEK::EXACT
