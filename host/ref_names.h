#pragma once

#include <set>
#include <string>
#include <string_view>

namespace TALVEK::HOST {

/// Gives each name a place of its own among the references of one kind.
///
/// Git keeps references as files and folders, so besides equal names "a" and "a/b" exclude each other. The
/// name that comes later gets a suffix: "a-2", or "a-2/b".
class CRefNames {
 public:
  /// The name behind refs/heads/ or refs/tags/ for `strName`, valid and not given out before.
  std::string Assign(std::string_view strName);

 private:
  bool IsFree(const std::string& strName) const;
  std::string WithSuffix(const std::string& strName, int nNumber) const;
  void Take(const std::string& strName);

  std::set<std::string> m_astrTaken;
  std::set<std::string> m_astrFolders;  // every proper prefix, at a "/", of a name taken
};

}  // namespace TALVEK::HOST
